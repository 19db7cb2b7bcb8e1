#include "scale/line_settings.h"
#include "tests/support/columns.h"
#include <QTest>

using namespace scale;
using namespace Qt::StringLiterals;

/// Settings strings: which are accepted, how they are reported, which of them hardware can do.
class LineSettingsTest : public QObject {
    Q_OBJECT

private slots:
    void properStringsAreReportedWithASmallLetter_data()
    {
        addColumns<QString, QString>("text", "reported");
        QTest::newRow("capital") << u"9600,N,8,1"_s << u"9600,n,8,1"_s;
        QTest::newRow("small") << u"9600,n,8,1"_s << u"9600,n,8,1"_s;
        QTest::newRow("even") << u"115200,E,7,2"_s << u"115200,e,7,2"_s;
        QTest::newRow("odd") << u"1200,o,7,1"_s << u"1200,o,7,1"_s;
        QTest::newRow("mark") << u"4800,M,8,1"_s << u"4800,m,8,1"_s;
        QTest::newRow("space") << u"4800,S,8,1"_s << u"4800,s,8,1"_s;
        QTest::newRow("one and a half") << u"110,N,5,1.5"_s << u"110,n,5,1.5"_s;
        QTest::newRow("one and a half with 8 bits") << u"9600,N,8,1.5"_s << u"9600,n,8,1.5"_s;
        QTest::newRow("six bits") << u"256000,N,6,1"_s << u"256000,n,6,1"_s;
    }

    void properStringsAreReportedWithASmallLetter()
    {
        QFETCH(QString, text);
        QFETCH(QString, reported);
        const auto parsed = parseLineSettings(text);
        QVERIFY(parsed.has_value());
        QCOMPARE(parsed->text(), reported);
        QCOMPARE(parseLineSettings(reported), parsed);
    }

    void everySpeedOfTheDialogIsAccepted()
    {
        for (const int speed : {110, 300, 600, 1200, 2400, 4800, 9600, 14400, 19200, 28800, 38400, 56000, 57600, 115200,
                                128000, 256000}) {
            const auto parsed = parseLineSettings(u"%1,N,8,1"_s.arg(speed));
            QVERIFY(parsed.has_value());
            QCOMPARE(parsed->speed, speed);
        }
    }

    void otherStringsAreRefused_data()
    {
        QTest::addColumn<QString>("text");
        for (const char* text : {"12345,N,8,1", "9600,X,8,1",  "9600,,8,1",    "9600,N,9,1",  "9600,N,3,1",
                                 "9600,N,,1",   "9600,N,8,3",  "9600,N,8,1,5", "9600,N,8,",   "9600",
                                 "9600,N,8",    "abc",         "9600;N;8;1",   ",N,8,1",      "",
                                 " 9600,N,8,1", "9600,N,8,1 ", "09600,N,8,1",  "9600,No,8,1", "9600,N,8,1.50",
                                 "-9600,N,8,1", "9600,N,٨,1"})
            QTest::newRow(qPrintable(u"<%1>"_s.arg(QString::fromUtf8(text)))) << QString::fromUtf8(text);
        QTest::newRow("4 data bits, which no line has") << u"256000,N,4,1"_s;
    }

    void otherStringsAreRefused()
    {
        QFETCH(QString, text);
        QVERIFY(!parseLineSettings(text).has_value());
    }

    void stopBitsDependOnTheDataBits_data()
    {
        addColumns<QString, bool>("text", "feasible");
        QTest::newRow("8 and 1") << u"9600,n,8,1"_s << true;
        QTest::newRow("8 and 2") << u"9600,n,8,2"_s << true;
        QTest::newRow("8 and 1.5") << u"9600,n,8,1.5"_s << false;
        QTest::newRow("6 and 1.5") << u"9600,n,6,1.5"_s << false;
        QTest::newRow("5 and 1") << u"110,n,5,1"_s << true;
        QTest::newRow("5 and 1.5") << u"110,n,5,1.5"_s << true;
        QTest::newRow("5 and 2") << u"110,n,5,2"_s << false;
    }

    void stopBitsDependOnTheDataBits()
    {
        QFETCH(QString, text);
        QTEST(isFeasible(parseLineSettings(text).value()), "feasible");
    }
};

QTEST_APPLESS_MAIN(LineSettingsTest)
#include "line_settings.moc"
