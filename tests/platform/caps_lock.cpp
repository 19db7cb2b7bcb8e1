#include "platform/caps_lock.h"
#include <QTest>
#include <X11/XKBlib.h> // after Qt: Xlib's macros break its headers

using namespace platform;

/// The real keyboard of an X server, read back through the indicator light instead of the lock that the room uses.
class CapsLock : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        display_ = XOpenDisplay(nullptr);
        if (display_ == nullptr) QSKIP("There is no X server here; ./test starts a virtual one.");
        XkbLockModifiers(display_, XkbUseCoreKbd, LockMask, 0);
        XSync(display_, 0);
    }

    void cleanup()
    {
        if (display_ == nullptr) return;
        XkbLockModifiers(display_, XkbUseCoreKbd, LockMask, 0);
        XCloseDisplay(display_);
        display_ = nullptr;
    }

    void pressAndReleaseTurnTheLockOver()
    {
        QVERIFY(!light());
        QVERIFY(!keyboard_->toggled(capsLockKey).value());
        press();
        QVERIFY(light());
        QVERIFY(keyboard_->toggled(capsLockKey).value());
        press();
        QVERIFY(!light());
        QVERIFY(!keyboard_->toggled(capsLockKey).value());
    }

    void releaseAloneChangesNothing()
    {
        keyboard_->send(capsLockKey, keyUp);
        QVERIFY(!light());
    }

    void otherKeysAreUnknownAndUntouched()
    {
        constexpr std::uint32_t numLock = 144;
        QVERIFY(!keyboard_->toggled(numLock).has_value());
        keyboard_->send(numLock, 0);
        QVERIFY(!light());
    }

    void withoutAnXServerNothingIsKnown()
    {
        const QByteArray display = qgetenv("DISPLAY");
        qputenv("DISPLAY", ":9876");
        const auto toggled = keyboard_->toggled(capsLockKey);
        press();
        qputenv("DISPLAY", display);
        QVERIFY(!toggled.has_value());
        QVERIFY(!light());
    }

private:
    /// The light is a second witness of the server, on a connection of its own.
    bool light() const
    {
        unsigned int lights = 0;
        XkbGetIndicatorState(display_, XkbUseCoreKbd, &lights);
        return (lights & 1U) != 0;
    }
    void press()
    {
        keyboard_->send(capsLockKey, 0);
        keyboard_->send(capsLockKey, keyUp);
    }

    Display* display_ = nullptr;
    std::unique_ptr<Keyboard> keyboard_ = systemKeyboard();
};

QTEST_APPLESS_MAIN(CapsLock)
#include "caps_lock.moc"
