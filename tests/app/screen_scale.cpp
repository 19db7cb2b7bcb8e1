#include "app/screen_scale.h"
#include "app/form1.h"
#include "tests/support/columns.h"
#include <QtTest>

using namespace app;

/// How far the system's scale gives way on a screen that is too small for it.
class ScreenScale : public QObject {
    Q_OBJECT

private slots:
    void contentHasItsLeastSizeWhereTheScreenHasThePixels_data()
    {
        // Below a title bar of 23 pixels and above a taskbar of 48, both of the system's scale.
        addColumns<QSize, double, double>("screen", "system", "multiplied");
        const auto row = [](const char* name, int width, int height, double system, double multiplied) {
            QTest::newRow(name) << QSize(width, height) << system << multiplied;
        };
        row("1366 x 768 at 100 %", 1366, 768, 1, 1);
        row("1366 x 768 at 125 %", 1366, 768, 1.25, 543 / 640.0);
        row("1366 x 768 at 150 %", 1366, 768, 1.5, 441 / 640.0);
        row("1280 x 800 at 150 %", 1280, 800, 1.5, 462 / 640.0);
        row("1024 x 768 at 125 %", 1024, 768, 1.25, 543 / 640.0);
        row("1024 x 768 at 150 %", 1024, 768, 1.5, 441 / 640.0);
        row("1024 x 600 at 125 %, not below its own pixels", 1024, 600, 1.25, 1 / 1.25);
        row("1024 x 600 at 100 %", 1024, 600, 1, 1);
        row("1080 x 1920 at 150 %, upright", 1080, 1920, 1.5, 720 / 960.0);
        row("1920 x 1080 at 150 %", 1920, 1080, 1.5, 1);
        row("1920 x 1080 at 200 %", 1920, 1080, 2, 469 / 640.0);
        row("3840 x 2160 at 300 %", 3840, 2160, 3, 1);
    }

    void contentHasItsLeastSizeWhereTheScreenHasThePixels()
    {
        QFETCH(QSize, screen);
        QFETCH(double, system);
        QFETCH(double, multiplied);
        platform::ScreenRoom room{static_cast<int>(screen.width() / system),
                                  static_cast<int>(screen.height() / system) - 23 - 48, system};
        const double scale = scaleToFit(Form1::leastSize, room);
        QVERIFY2(std::abs(scale - multiplied) < 1e-9, qPrintable(QString::number(scale)));
    }

    void ownChoiceStays_data()
    {
        addTexts("variable", {"QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS", "QT_ENABLE_HIGHDPI_SCALING"});
    }

    void ownChoiceStays()
    {
        QFETCH(QString, variable);
        const QByteArray name = variable.toUtf8();
        const QByteArray before = qgetenv(name.constData());
        const bool wasSet = qEnvironmentVariableIsSet(name.constData());
        qputenv(name.constData(), "1.75");
        lowerScaleFor(QSize(100'000, 100'000));
        QCOMPARE(qgetenv(name.constData()), "1.75"_ba);
        wasSet ? qputenv(name.constData(), before) : qunsetenv(name.constData());
    }
};

QTEST_GUILESS_MAIN(ScreenScale)
#include "screen_scale.moc"
