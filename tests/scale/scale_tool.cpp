#include "scale/terazi_comm.h"
#include "scale/weight_line.h"
#include "tests/support/columns.h"
#include "tests/support/qt_files.h"
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace scale;
using namespace Qt::StringLiterals;

/// The played scale, seen from the program's end of the line.
class ScaleTool : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        disconnect(&control_, nullptr, this, nullptr);
        control_.setPortOpen(false);
        tool_.kill();
        tool_.waitForFinished();
        QFile::remove(link_);
        fields_.clear();
    }

    void shapesArriveAsWeightFields_data()
    {
        addColumns<QString, QString>("shape", "field");
        QTest::newRow("padded") << u"padded"_s << u"  1234\r"_s;
        QTest::newRow("crlf") << u"crlf"_s << u"  1234 \r"_s;
        QTest::newRow("sign") << u"sign"_s << u"+  1234\r"_s;
        QTest::newRow("unit-first") << u"unit-first"_s << u"  1234\r"_s;
        QTest::newRow("capitals") << u"capitals"_s << u" 1234KG\r"_s;
        QTest::newRow("burst") << u"burst"_s << u"  1234\r"_s;
        QTest::newRow("pause") << u"pause"_s << u"  1234\r"_s;
        QTest::newRow("half") << u"half"_s << QString();
    }

    void shapesArriveAsWeightFields()
    {
        QFETCH(QString, shape);
        QFETCH(QString, field);
        // A line every half second: what comes before the first silence may be the tail of one, and half lines end by
        // one.
        play({u"--shape"_s, shape, u"--rate"_s, u"2"_s, u"--count"_s, u"6"_s});
        QTRY_VERIFY(fields_.size() >= 3);
        for (const QString& received : fields_) QCOMPARE(received, field);
    }

    void weightsAreSentInTurnAtTheirRate()
    {
        play({u"--weight"_s, u"100,200,300"_s, u"--rate"_s, u"20"_s, u"--count"_s, u"40"_s});
        QElapsedTimer clock;
        clock.start();
        QTRY_VERIFY_WITH_TIMEOUT(tool_.state() == QProcess::NotRunning, 20000);
        QVERIFY2(clock.elapsed() >= 1900, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(tool_.exitCode(), 0);
        QVERIFY(fields_.size() > 20);
        QVERIFY(fields_.contains(u"   100\r"_s) && fields_.contains(u"   200\r"_s) && fields_.contains(u"   300\r"_s));
    }

    void filesAreReplayedInTime()
    {
        const QString path = folder_.filePath(u"day.txt"_s);
        putFile(path, "# a morning\n1200   1234kg\\r\n1500 12\n1550 34kg\\x0d\n");
        play({u"--replay"_s, path});
        QTRY_COMPARE(fields_, (QStringList{u"  1234\r"_s, u"1234\r"_s}));
        QTRY_COMPARE(tool_.state(), QProcess::NotRunning);
    }

    void stoppingTakesTheLinkAway()
    {
        play({});
        QTRY_VERIFY(!fields_.isEmpty());
        tool_.terminate();
        QVERIFY(tool_.waitForFinished(5000));
        QCOMPARE(tool_.exitStatus(), QProcess::NormalExit);
        QVERIFY(!QFile(link_).exists() && !QFileInfo(link_).isSymLink());
        QTRY_VERIFY(!control_.isPluggedIn());
    }

    void mistakesAreToldAndLeaveNoLink_data()
    {
        addCases<QStringList>("arguments", {{"unknown option", QStringList{u"--colour"_s, u"red"_s}},
                                            {"missing value", QStringList{u"--rate"_s}},
                                            {"not a number", QStringList{u"--rate"_s, u"fast"_s}},
                                            {"no rate", QStringList{u"--rate"_s, u"0"_s}},
                                            {"unknown shape", QStringList{u"--shape"_s, u"round"_s}},
                                            {"missing file", QStringList{u"--replay"_s, u"/no/such/file"_s}}});
    }

    void mistakesAreToldAndLeaveNoLink()
    {
        QFETCH(QStringList, arguments);
        tool_.start(QString::fromUtf8(PRESVA_SCALE), QStringList{u"--link"_s, link_} + arguments);
        QVERIFY(tool_.waitForFinished(5000));
        QCOMPARE(tool_.exitCode(), 1);
        QVERIFY(tool_.readAllStandardError().startsWith("presva-scale: "));
        QVERIFY(!QFileInfo(link_).isSymLink());
    }

    void somebodysFileIsNotReplaced()
    {
        putFile(link_, "mine");
        tool_.start(QString::fromUtf8(PRESVA_SCALE), {u"--link"_s, link_});
        QVERIFY(tool_.waitForFinished(5000));
        QCOMPARE(tool_.exitCode(), 1);
        QCOMPARE(contentOf(link_), "mine"_ba);
    }

    void helpIsTurkish()
    {
        tool_.start(QString::fromUtf8(PRESVA_SCALE), {u"--help"_s});
        QVERIFY(tool_.waitForFinished(5000));
        QCOMPARE(tool_.exitCode(), 0);
        const QString text = QString::fromUtf8(tool_.readAllStandardOutput());
        QVERIFY(text.contains(u"Kullanım"_s));
        for (const auto* option : {"--link", "--weight", "--rate", "--count", "--shape", "--replay"})
            QVERIFY2(text.contains(QLatin1StringView(option)), option);
    }

private:
    /// Starts the tool on Com1 of the folder and opens the port as soon as the link is there.
    void play(const QStringList& arguments)
    {
        tool_.start(QString::fromUtf8(PRESVA_SCALE), QStringList{u"--link"_s, link_} + arguments);
        QTRY_VERIFY(QFile::exists(link_) || tool_.state() == QProcess::NotRunning);
        connect(&control_, &TeraziComm::OnComm, this, [this] {
            if (control_.commEvent() == events::received) return void(fields_ += weightField(control_.input()));
            control_.setPortOpen(false); // opened again, Com1 would be whatever else this machine has
        });
        control_.setPortOpen(true);
    }

    QTemporaryDir folder_;
    QString link_ = folder_.filePath(u"com1"_s);
    TeraziComm control_{systemPorts({.programDirectory = folder_.path().toStdString()})};
    QProcess tool_;
    QStringList fields_;
};

QTEST_GUILESS_MAIN(ScaleTool)
#include "scale_tool.moc"
