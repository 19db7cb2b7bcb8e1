#include "app/keyboard_state.h"
#include "tests/doors/fake_keyboard.h"
#include "tests/support/columns.h"
#include <QTest>
#include <X11/Xlib.h> // after Qt: Xlib's macros break its headers
#include <memory>

using namespace app;
using namespace Qt::StringLiterals;

namespace {

/// An X server forgets its keyboard when its last client leaves; held open, this connection keeps it.
struct CloseDisplay {
    void operator()(Display* display) const { XCloseDisplay(display); }
};
using HeldServer = std::unique_ptr<Display, CloseDisplay>;

/// Types letters on the small-letter keypad: every key appends, then the first letter is made a capital.
QStringList typed(QStringView keys, QString caption = {})
{
    QStringList captions;
    for (const QChar key : keys) captions += caption = IlkHarfBuyut(QString(caption + key));
    return captions;
}

} // namespace

/// Caps Lock forced to the keypad's state, and capitals at the beginning of names.
class KeyboardStateTest : public QObject {
    Q_OBJECT

private slots:
    void capsLockIsPressedOnlyWhenItDiffers_data()
    {
        // state -1: cannot be read
        addColumns<bool, int, QString>("wanted", "state", "sent");
        QTest::newRow("on already") << true << 1 << QString();
        QTest::newRow("off already") << false << 0 << QString();
        QTest::newRow("to be switched on") << true << 0 << u"20/0 20/2 "_s;
        QTest::newRow("to be switched off") << false << 1 << u"20/0 20/2 "_s;
        QTest::newRow("unreadable, wanted on") << true << -1 << QString();
        QTest::newRow("unreadable, wanted off") << false << -1 << QString();
    }

    void capsLockIsPressedOnlyWhenItDiffers()
    {
        QFETCH(bool, wanted);
        QFETCH(int, state);
        QFETCH(QString, sent);
        FakeKeyboard keyboard;
        keyboard.capsLock = state < 0 ? std::nullopt : std::optional(state == 1);
        KeyboardState keys(keyboard);

        bool asked = wanted;
        keys.CapsAyarla(asked);
        QCOMPARE(keyboard.sent, sent);
        QCOMPARE(asked, wanted);
        if (state >= 0) QCOMPARE(keys.CapsOku(), wanted);
    }

    void unreadableKeyboardCountsAsOff()
    {
        FakeKeyboard keyboard;
        keyboard.capsLock.reset();
        QVERIFY(!KeyboardState(keyboard).CapsOku());
    }

    void windowsThatNobodySeesLeaveTheRealKeyboardAlone_data()
    {
        addTexts("platformName", {"offscreen", "minimal", "vnc", "wayland", ""});
    }

    void windowsThatNobodySeesLeaveTheRealKeyboardAlone()
    {
        QFETCH(QString, platformName);
        const HeldServer held(XOpenDisplay(nullptr));
        const auto real = platform::systemKeyboard();
        const auto before = real->toggled(platform::capsLockKey);
        const auto keyboard = keyboardOf(platformName);

        QVERIFY(!keyboard->toggled(platform::capsLockKey).has_value());
        KeyboardState(*keyboard).CapsBas();
        bool wanted = !before.value_or(false);
        KeyboardState(*keyboard).CapsAyarla(wanted);
        QCOMPARE(real->toggled(platform::capsLockKey), before);
    }

    void windowsOnAnXServerFollowItsKeyboard()
    {
        const HeldServer held(XOpenDisplay(nullptr));
        const auto real = platform::systemKeyboard();
        const auto before = real->toggled(platform::capsLockKey);
        if (!before) QSKIP("There is no X server here; ./test starts a virtual one.");
        const auto keyboard = keyboardOf(u"xcb");
        for (bool wanted : {!*before, *before}) {
            KeyboardState(*keyboard).CapsAyarla(wanted);
            QCOMPARE(real->toggled(platform::capsLockKey), wanted);
        }
    }

    void firstLetterBecomesACapital_data()
    {
        addColumns<QString, QString>("caption", "expected");
        // clang-format off
        static const char* const rows[][2] = {
            {"ahmet yılmaz", "Ahmet Yılmaz"}, {"ışık", "Işık"}, {"istanbul ili", "İstanbul ili"},
            {"ali ihsan", "Ali Ihsan"}, {"ömer öz", "Ömer öz"}, {"şule", "Şule"}, {"ğ", "Ğ"},
            {"ünal", "Ünal"}, {"çelik", "Çelik"}, {"ünal ÜNAL", "Ünal Ünal"},
            {"o'neil", "O'neil"}, {"ayşe-nur", "Ayşe-nur"}, {"3 kardeş", "3 Kardeş"}, {"3kardeş", "3kardeş"},
            {"dr.ali", "Dr.ali"}, {"a.b c", "A.b C"}, {"  çift  boşluk ", "  Çift  Boşluk "}, {"a\tb", "A\tB"},
            {"AHMET YILMAZ", "Ahmet Yilmaz"}, {"ALİ", "Alİ"}, {"İSMAİL", "İsmaİl"}, {"IŞIK", "Işik"},
            {"İstanbul i", "İstanbul I"}, {"ihsan ışık", "İhsan ışık"}, {"iSTANBUL", "İSTANBUL"}, {"şAN lI", "ŞAN lI"},
            {"", ""}, {"12,75", "12,75"}, {"1e5", "1e5"}, {"5*", "5*"}, {"Müşteri Seçin", "Müşteri Seçin"},
        };
        // clang-format on
        for (const auto& row : rows) QTest::newRow(row[0]) << QString::fromUtf8(row[0]) << QString::fromUtf8(row[1]);
    }

    void firstLetterBecomesACapital()
    {
        QFETCH(QString, caption);
        QTEST(IlkHarfBuyut(caption), "expected");
    }

    void namesGrowKeyByKey_data()
    {
        addColumns<QString, QStringList>("keys", "captions");
        QTest::newRow("ist") << u"ist"_s << QStringList{u"İ"_s, u"İs"_s, u"İst"_s};
        QTest::newRow("ışık") << u"ışık"_s << QStringList{u"I"_s, u"Iş"_s, u"Işı"_s, u"Işık"_s};
        QTest::newRow("ömer öz") << u"ömer öz"_s << QStringList{u"Ö"_s,     u"Öm"_s,     u"Öme"_s,    u"Ömer"_s,
                                                                u"Ömer "_s, u"Ömer Ö"_s, u"Ömer Öz"_s};
        QTest::newRow("çe") << u"çe"_s << QStringList{u"Ç"_s, u"Çe"_s};
    }

    void namesGrowKeyByKey()
    {
        QFETCH(QString, keys);
        QTEST(typed(keys), "captions");
    }

    void capitalsTypedInBetweenBecomeSmallAgain()
    {
        QCOMPARE(typed(u" ili", u"İstanbul"_s),
                 (QStringList{u"İstanbul "_s, u"İstanbul I"_s, u"İstanbul Il"_s, u"İstanbul Ili"_s}));
        // a, capitals, L (no first-letter rule while the keypad shows capitals), small letters again, i
        QString caption = typed(u"a").last();
        caption += u'L';
        QCOMPARE(caption, u"AL"_s);
        caption = IlkHarfBuyut(caption);
        QCOMPARE(caption, u"Al"_s);
        QCOMPARE(typed(u"i", caption).last(), u"Ali"_s);
    }
};

QTEST_APPLESS_MAIN(KeyboardStateTest)
#include "keyboard_state.moc"
