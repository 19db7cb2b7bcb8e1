#include "app/window_place.h"
#include "app/screen_layout.h"
#include "tests/support/columns.h"
#include <QScreen>
#include <QTemporaryDir>
#include <QWidget>
#include <QtTest>

using namespace Qt::StringLiterals;

using namespace app;

namespace {

struct Store {
    QTemporaryDir folder;
    SettingsStore settings{folder.path()};

    void keep(int left, int top, int width, int height)
    {
        const auto save = [&](const char* key, const QString& text) {
            settings.save(u"Mendrik"_s, u"ActiveResize"_s, QString::fromLatin1(key), text);
        };
        save("Left", QString::number(left));
        save("Top", QString::number(top));
        save("Width", QString::number(width));
        save("Height", QString::number(height));
        save("Maximized", u"False"_s);
    }
};

QRect room() { return QGuiApplication::primaryScreen()->availableGeometry(); }

const QString mendrik = u"Mendrik"_s;

} // namespace

class WindowPlaceTest : public QObject {
    Q_OBJECT

private slots:
    void releaseKeepsTheWindowOnTheScreen_data()
    {
        // after: left and top
        addColumns<QList<double>, QList<double>>("before", "after");
        QTest::newRow("left edge off") << QList<double>{-150, 300, 9000, 6000} << QList<double>{0, 300};
        QTest::newRow("right edge off") << QList<double>{9000, 300, 9000, 6000} << QList<double>{6360, 300};
        QTest::newRow("bottom within 400") << QList<double>{300, 5200, 9000, 6000} << QList<double>{300, 0};
        QTest::newRow("bottom exactly 400 away") << QList<double>{300, 5120, 9000, 6000} << QList<double>{300, 5120};
        QTest::newRow("bottom one twip nearer") << QList<double>{300, 5121, 9000, 6000} << QList<double>{300, 0};
        QTest::newRow("top edge off") << QList<double>{300, -90, 9000, 6000} << QList<double>{300, -90};
        QTest::newRow("wider than the screen") << QList<double>{-10, 0, 16000, 6000} << QList<double>{-640, 0};
    }

    void releaseKeepsTheWindowOnTheScreen()
    {
        QFETCH(QList<double>, before);
        QFETCH(QList<double>, after);
        const WindowPlace kept = keptOnScreen({before[0], before[1], before[2], before[3]}, 15360, 11520);
        QCOMPARE(kept, (WindowPlace{after[0], after[1], before[2], before[3]}));
    }

    void firstStartTakesTheWholeScreen()
    {
        Store store;
        QWidget window;
        ScreenLayout(store.settings).restore(mendrik, true, window);
        QVERIFY(window.isMaximized());
        // Where windows have a frame, as on Windows, its size is known when it is shown.
        if (QGuiApplication::platformName() == u"xcb") QCOMPARE(window.size(), room().size());
        window.show();
        QTRY_VERIFY(window.frameGeometry().contains(room()));
        QVERIFY(room().contains(window.geometry()));
    }

    void windowComesBackWhereItWasLeft()
    {
        Store store;
        QWidget first;
        first.setGeometry(40, 50, 500, 400);
        ScreenLayout(store.settings).save(mendrik, true, first);
        QWidget second;
        ScreenLayout(store.settings).restore(mendrik, true, second);
        QCOMPARE(second.geometry(), QRect(40, 50, 500, 400));
        QVERIFY(!second.isMaximized());
    }

    void laterRestoresKeepTheOperatorsPlace()
    {
        Store store;
        store.keep(40, 50, 500, 400);
        QWidget window;
        ScreenLayout layout(store.settings);
        layout.restore(mendrik, true, window);
        window.setGeometry(60, 70, 450, 350);
        layout.restore(mendrik, true, window);
        QCOMPARE(window.geometry(), QRect(60, 70, 450, 350));
    }

    void windowOfALargerScreenIsBroughtBack()
    {
        Store store;
        store.keep(5000, 3000, 3000, 2000);
        QWidget window;
        window.setMinimumSize(960, 640); // more than this screen has
        ScreenLayout(store.settings).restore(mendrik, true, window);
        QVERIFY(room().contains(window.geometry()));
    }

    void aWindowAsTallAsTheScreenKeepsItsTitleBarOnIt()
    {
        Store store;
        store.keep(0, 0, room().width(), room().height());
        QWidget window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        ScreenLayout(store.settings).restore(mendrik, true, window);
        QTRY_VERIFY2(room().contains(window.frameGeometry()), QTest::toString(window.frameGeometry()));
    }

    void damagedLayoutCountsAsNone()
    {
        Store store;
        store.keep(40, 50, 500, 400);
        store.settings.save(mendrik, u"ActiveResize"_s, u"Width"_s, u"abc"_s);
        QWidget window;
        ScreenLayout(store.settings).restore(mendrik, true, window);
        QVERIFY(window.isMaximized());
    }

    void placeIsKeptPerApplicationName()
    {
        Store store;
        store.keep(40, 50, 500, 400);
        QWidget window;
        ScreenLayout(store.settings).restore(u"Other"_s, true, window);
        QVERIFY(window.isMaximized());
    }
};

QTEST_MAIN(WindowPlaceTest)
#include "window_place.moc"
