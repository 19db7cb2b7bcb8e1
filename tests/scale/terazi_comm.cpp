#include "scale/terazi_comm.h"
#include "tests/doors/fake_port.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <limits>

using namespace scale;

namespace {

/// Milliseconds of the quickest of several runs: a busy machine makes some of them longer, never shorter. What has to
/// be ready before each run does not count.
template <class Preparation, class Action> qint64 fastestOf(int runs, Preparation&& prepare, Action&& action)
{
    qint64 fastest = std::numeric_limits<qint64>::max();
    for (int run = 0; run < runs; ++run) {
        prepare();
        QElapsedTimer clock;
        clock.start();
        action();
        fastest = std::min(fastest, clock.elapsed());
    }
    return fastest;
}

std::optional<PortDevice> numbered(int number)
{
    if (number == 9) return std::nullopt;
    return PortDevice{u"/dev/com%1"_s.arg(number)};
}

} // namespace

/// The control over a line that a test plays: properties, errors, and how fragments become events.
class TeraziCommTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        auto device = std::make_unique<FakePort>();
        device_ = device.get();
        control_ = std::make_unique<TeraziComm>(numbered, std::move(device));
        events_ = std::make_unique<QSignalSpy>(control_.get(), &TeraziComm::OnComm);
    }

    void freshControlIsClosedOnCom1At9600()
    {
        QCOMPARE(control_->commPort(), 1);
        QCOMPARE(control_->settings(), u"9600,n,8,1"_s);
        QCOMPARE(control_->handshaking(), 0);
        QVERIFY(!control_->portOpen());
        QCOMPARE(control_->inBufferCount(), 0);
    }

    void settingsAreCheckedWhenAssigned()
    {
        control_->setSettings(u"4800,E,7,2"_s);
        QCOMPARE(control_->settings(), u"4800,e,7,2"_s);
        QCOMPARE(outcomeOf([&] { control_->setSettings(u"9600,,8,1"_s); }), u"E380"_s);
        QCOMPARE(outcomeOf([&] { control_->setSettings(u"9600,n,4,1"_s); }), u"E380"_s);
        QCOMPARE(control_->settings(), u"4800,e,7,2"_s);
    }

    void portNumbersAreCheckedWhenAssigned_data()
    {
        addColumns<int, QString>("number", "expected");
        QTest::newRow("0") << 0 << u"E8002"_s;
        QTest::newRow("first") << 1 << u"done"_s;
        QTest::newRow("last") << 16 << u"done"_s;
        QTest::newRow("17") << 17 << u"E8002"_s;
        QTest::newRow("below zero") << -1 << u"E8002"_s;
    }

    void portNumbersAreCheckedWhenAssigned()
    {
        QFETCH(int, number);
        QFETCH(QString, expected);
        control_->setCommPort(3);
        QCOMPARE(outcomeOf([&] { control_->setCommPort(number); }), expected);
        QCOMPARE(control_->commPort(), expected == "done"_L1 ? number : 3);
    }

    void modesFromNoneToBothAreTakenAndUsedAtOpening_data()
    {
        addColumns<int, QString>("mode", "expected");
        for (int mode = 0; mode <= 3; ++mode) QTest::addRow("mode %d", mode) << mode << u"done"_s;
        QTest::newRow("below zero") << -1 << u"E380"_s;
        QTest::newRow("4") << 4 << u"E380"_s;
        QTest::newRow("9") << 9 << u"E380"_s;
    }

    void modesFromNoneToBothAreTakenAndUsedAtOpening()
    {
        QFETCH(int, mode);
        QFETCH(QString, expected);
        QCOMPARE(outcomeOf([&] { control_->setHandshaking(mode); }), expected);
        QCOMPARE(control_->handshaking(), expected == "done"_L1 ? mode : 0);
        control_->setPortOpen(true);
        QCOMPARE(static_cast<int>(device_->usedFlow), control_->handshaking());
    }

    void openPortRefusesWhatItMust()
    {
        control_->setPortOpen(true);
        QCOMPARE(device_->opened, QStringList{u"/dev/com1"_s});
        QCOMPARE(outcomeOf([&] { control_->setPortOpen(true); }), u"E8005"_s);
        QCOMPARE(outcomeOf([&] { control_->setCommPort(2); }), u"E8000"_s);
        QCOMPARE(outcomeOf([&] { control_->setCommPort(1); }), u"E8000"_s);
        QVERIFY(control_->portOpen());
        control_->setPortOpen(false);
        control_->setPortOpen(false);
        QVERIFY(!control_->portOpen());
        control_->setCommPort(2);
        control_->setPortOpen(true);
        QCOMPARE(device_->opened.last(), u"/dev/com2"_s);
    }

    void settingsOfAnOpenPortTakeEffectAtOnce()
    {
        control_->setPortOpen(true);
        control_->setSettings(u"1200,O,7,1"_s);
        QCOMPARE(device_->used.text(), u"1200,o,7,1"_s);
        control_->setHandshaking(2);
        QCOMPARE(device_->usedFlow, FlowControl::hardware);
    }

    void refusedSettingsLeaveTheOldOnes()
    {
        control_->setPortOpen(true);
        device_->refusal = errors::parametersRefused;
        QCOMPARE(outcomeOf([&] { control_->setSettings(u"1200,O,7,1"_s); }), u"E8015"_s);
        QCOMPARE(outcomeOf([&] { control_->setHandshaking(1); }), u"E8015"_s);
        QCOMPARE(control_->settings(), u"9600,n,8,1"_s);
        QCOMPARE(control_->handshaking(), 0);
    }

    void impossibleStopBitsAreRefusedAtOpening()
    {
        control_->setSettings(u"9600,N,8,1.5"_s);
        QCOMPARE(control_->settings(), u"9600,n,8,1.5"_s);
        QCOMPARE(outcomeOf([&] { control_->setPortOpen(true); }), u"E8015"_s);
        QVERIFY(!control_->portOpen());
        QVERIFY(device_->opened.isEmpty());
        QCOMPARE(control_->trouble(), errors::parametersRefused);

        control_->setSettings(u"110,N,5,1.5"_s);
        control_->setPortOpen(true);
        QCOMPARE(device_->used.text(), u"110,n,5,1.5"_s);
        QCOMPARE(control_->trouble(), 0);
        QCOMPARE(outcomeOf([&] { control_->setSettings(u"9600,N,8,1.5"_s); }), u"E8015"_s);
        QCOMPARE(control_->settings(), u"110,n,5,1.5"_s);
    }

    void failedOpeningLeavesThePortClosed_data()
    {
        addColumns<int, int, int>("port", "refusal", "number");
        QTest::newRow("no such port") << 9 << 0 << errors::invalidPortNumber;
        QTest::newRow("missing device") << 1 << errors::invalidPortNumber << errors::invalidPortNumber;
        QTest::newRow("busy") << 1 << errors::inUse << errors::inUse;
        QTest::newRow("parameters refused") << 1 << errors::parametersRefused << errors::parametersRefused;
        QTest::newRow("no right to it") << 1 << base::errors::permissionDenied << base::errors::permissionDenied;
        QTest::newRow("no answer") << 1 << base::errors::deviceUnavailable << base::errors::deviceUnavailable;
    }

    void failedOpeningLeavesThePortClosed()
    {
        QFETCH(int, port);
        QFETCH(int, refusal);
        QFETCH(int, number);
        control_->setCommPort(port);
        device_->refusal = refusal;
        QCOMPARE(outcomeOf([&] { control_->setPortOpen(true); }), u"E%1"_s.arg(number));
        QVERIFY(!control_->portOpen());
        QCOMPARE(control_->trouble(), number);
        QVERIFY(whyClosed(port, number).startsWith(u"Com%1 "_s.arg(port)));
        control_->setPortOpen(false);
        QCOMPARE(control_->trouble(), 0);
    }

    void everyErrorHasATurkishSentence()
    {
        QSet<QString> sentences;
        for (const int number : {68, 70, 380, 8000, 8002, 8005, 8010, 8012, 8015, 8018, 8020}) {
            const base::RuntimeError error = commError(number);
            QCOMPARE(error.number(), number);
            QVERIFY(!error.text().contains("Error"_L1));
            sentences += error.text();
        }
        QCOMPARE(sentences.size(), 11);
    }

    void closedPortIsHarmless()
    {
        QCOMPARE(outcomeOf([&] { control_->input(); }), u"E8018"_s);
        QCOMPARE(outcomeOf([&] { control_->setInBufferCount(0); }), u"done"_s);
        QCOMPARE(outcomeOf([&] { control_->setOutBufferCount(0); }), u"done"_s);
        QCOMPARE(control_->inBufferCount() + control_->outBufferCount(), 0);
    }

    void buffersAreEmptiedByZeroOnly()
    {
        openQuietLine();
        device_->toWrite = 5;
        device_->deliver("12kg\r");
        QTRY_COMPARE(control_->inBufferCount(), 5);
        QCOMPARE(control_->outBufferCount(), 5);
        QCOMPARE(outcomeOf([&] { control_->setInBufferCount(3); }), u"E380"_s);
        QCOMPARE(outcomeOf([&] { control_->setOutBufferCount(3); }), u"E380"_s);
        QCOMPARE(control_->inBufferCount(), 5);
        control_->setInBufferCount(0);
        control_->setOutBufferCount(0);
        QCOMPARE(control_->inBufferCount() + control_->outBufferCount(), 0);
        QCOMPARE(control_->input(), QString());
    }

    void fragmentsBecomeOneEvent()
    {
        openQuietLine();
        for (const char* fragment : {"  1", "2", "34k", "g\r"}) {
            device_->deliver(fragment);
            QTest::qWait(3);
        }
        QTRY_COMPARE(events_->size(), 1);
        QCOMPARE(control_->commEvent(), 2);
        QCOMPARE(control_->input(), u"  1234kg\r"_s);
        QCOMPARE(control_->input(), QString());
        QTest::qWait(400);
        QCOMPARE(events_->size(), 1);
    }

    void lineIsAnnouncedAfterAShortPause()
    {
        openQuietLine();
        const auto forget = [&] {
            events_->clear();
            control_->setInBufferCount(0);
        };
        const qint64 fastest = fastestOf(5, forget, [&] {
            device_->deliver("  1234kg\r");
            QVERIFY(events_->isEmpty()); // never from inside the library's own reading
            QVERIFY(events_->wait(5000));
        });
        QVERIFY2(fastest >= 4 && fastest < 50, qPrintable(QString::number(fastest)));
    }

    void streamWithoutPausesIsAnnouncedAnyway()
    {
        const auto openAfresh = [&] {
            control_->setPortOpen(false);
            openQuietLine();
            events_->clear();
        };
        const qint64 fastest = fastestOf(5, openAfresh, [&] {
            device_->deliver("  1234kg\r");
            for (int i = 0; events_->isEmpty() && i < 5000; ++i) {
                device_->deliver("9");
                QTest::qWait(1);
            }
            QCOMPARE(control_->input(), u"  1234kg\r"_s);
        });
        QVERIFY2(fastest >= 45 && fastest < 100, qPrintable(QString::number(fastest)));
    }

    void halfLineIsAnnouncedAfterSilence()
    {
        openQuietLine();
        QElapsedTimer clock;
        clock.start();
        device_->deliver("12");
        QVERIFY(events_->wait(2000));
        QVERIFY2(clock.elapsed() >= 295, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(control_->input(), u"12"_s);
    }

    void beginningOfTheNextLineStaysBehind()
    {
        openQuietLine();
        hear("   500kg\r   5");
        QCOMPARE(control_->input(), u"   500kg\r"_s);
        control_->setInBufferCount(0);
        hear("10kg\r");
        QCOMPARE(control_->input(), u"   510kg\r"_s);
        QCOMPARE(events_->size(), 2);

        // A line that is never finished is announced like any other half line.
        hear("   520kg\r   5");
        QCOMPARE(control_->input(), u"   520kg\r"_s);
        QVERIFY(events_->wait(1000));
        QCOMPARE(control_->input(), u"   5"_s);
    }

    void lateLineFeedBelongsToItsLine()
    {
        openQuietLine();
        hear("   500kg\r\n");
        QCOMPARE(control_->input(), u"   500kg\r\n"_s);

        hear("   510kg\r");
        QCOMPARE(control_->input(), u"   510kg\r"_s);
        device_->deliver("\n");
        QTest::qWait(400);
        QCOMPARE(events_->size(), 2); // alone it would have emptied the weight
        hear("\n   520kg\r");
        QCOMPARE(control_->input(), u"\n   520kg\r"_s);
    }

    void bytesAreTheTurkishCodePage()
    {
        openQuietLine();
        hear("A\xF0\xFDrl\xFDk\x80\r");
        QCOMPARE(control_->input(), u"Ağırlık€\r"_s);
    }

    void unreadBytesDoNotPileUp()
    {
        openQuietLine();
        hear("   500kg\r");
        for (int i = 0; i < 20; ++i) device_->deliver(QByteArray(1000, 'x'));
        hear("   510kg\r");
        QVERIFY(control_->inBufferCount() <= 4096);
        QVERIFY(control_->input().startsWith("   500kg\r"_L1));
    }

    void noTimerRunsWithoutBytes()
    {
        openQuietLine();
        QCOMPARE(activeTimers(), 0); // the one that waited for the end of a line under way has stopped
        device_->deliver("   500kg\r   5");
        QCOMPARE(activeTimers(), 2);
        QVERIFY(events_->wait(1000));
        QVERIFY(events_->wait(1000));
        QCOMPARE(activeTimers(), 0);
        device_->deliver("12");
        control_->setPortOpen(false);
        QCOMPARE(activeTimers(), 0);
    }

    void firstErrorClosesAndIsRaisedOnce()
    {
        openQuietLine();
        device_->deliver("12");
        for (int i = 0; i < 1000; ++i) device_->failed();
        QVERIFY(control_->portOpen()); // not from inside the library's call
        connect(control_.get(), &TeraziComm::OnComm, this, [&] {
            QVERIFY(!control_->portOpen());
            control_->setPortOpen(false); // whoever touches the port decides
        });
        QVERIFY(events_->wait(1000));
        QCOMPARE(control_->commEvent(), 8020);
        QVERIFY(!control_->portOpen());
        QTest::qWait(150);
        QCOMPARE(events_->size(), 1);
        QCOMPARE(control_->inBufferCount(), 0);
    }

    void brokenLineThatNobodyTouchesIsOpenedAgainOnce()
    {
        QSignalSpy told(control_.get(), &TeraziComm::stateChanged);
        QSignalSpy raised(control_.get(), &TeraziComm::OnComm);
        control_->setPortOpen(true);
        told.clear();
        device_->failed();
        QTRY_COMPARE(raised.size(), 1);
        QVERIFY(control_->portOpen());
        QCOMPARE(control_->trouble(), 0);
        QCOMPARE(told.size(), 2); // closed, and open again

        device_->failed(); // before any byte: closed for good, which is told but no event
        QTRY_COMPARE(told.size(), 3);
        QVERIFY(!control_->portOpen());
        QCOMPARE(control_->trouble(), errors::readFailed);
        QCOMPARE(raised.size(), 1);
        QCOMPARE(device_->opened.size(), 2);
    }

    void lineThatCannotBeOpenedAgainIsToldWithItsReason()
    {
        control_->setPortOpen(true);
        device_->refusal = errors::inUse;
        QSignalSpy told(control_.get(), &TeraziComm::stateChanged);
        device_->failed();
        QTRY_COMPARE(told.size(), 2);
        QVERIFY(!control_->portOpen());
        QCOMPARE(control_->trouble(), errors::inUse);
    }

    void tailOfALineUnderWayAtOpeningIsNoLine_data()
    {
        addColumns<QList<QByteArray>, QString>("fragments", "heard");
        QTest::newRow("tail, then a line") << QList<QByteArray>{"34kg\r", "   500kg\r"} << "   500kg\r";
        QTest::newRow("tail and line in one piece") << QList<QByteArray>{"34kg\r\n   500kg\r"} << "   500kg\r";
        QTest::newRow("tail in pieces") << QList<QByteArray>{"3", "4k", "g\r", "\n", "   500kg\r"} << "   500kg\r";
        QTest::newRow("tail alone") << QList<QByteArray>{"34kg\r"} << "";
        QTest::newRow("tail that never ends") << QList<QByteArray>{"34k"} << "";
    }

    void tailOfALineUnderWayAtOpeningIsNoLine()
    {
        QFETCH(QList<QByteArray>, fragments);
        control_->setPortOpen(true);
        QVERIFY(!control_->hearsWholeLines());
        for (const QByteArray& fragment : fragments) device_->deliver(fragment);
        QTest::qWait(20);
        QTEST(control_->input(), "heard");
        // Silence ends a tail of any kind, and the line after it is whole.
        QTRY_VERIFY(control_->hearsWholeLines());
        device_->deliver("   510kg\r");
        QTRY_COMPARE(control_->inBufferCount(), 9);
        QCOMPARE(control_->input(), u"   510kg\r"_s);
    }

    void pauseInsideALineLosesNothing_data()
    {
        QTest::addColumn<int>("speed");
        for (const int speed :
             {110, 300, 600, 1200, 2400, 4800, 9600, 14400, 19200, 28800, 38400, 56000, 57600, 115200, 128000, 256000})
            QTest::addRow("%d", speed) << speed;
    }

    void pauseInsideALineLosesNothing()
    {
        QFETCH(int, speed);
        control_->setSettings(u"%1,E,8,2"_s.arg(speed));
        // Start bit, eight bits, parity, two stop bits; a pause begins when a character has arrived and ends with the
        // next.
        const int character = 12 * 1000 / speed;
        QVERIFY(control_->silence() >= std::chrono::milliseconds(250 + character));
        openQuietLine();
        device_->deliver("  12");
        QTest::qWait(std::min(250, static_cast<int>(control_->silence().count()) - 40));
        hear("34kg\r");
        QCOMPARE(control_->input(), u"  1234kg\r"_s);
        QCOMPARE(events_->size(), 1);
    }

    void bytesThatWaitedForABusyProgramEndNoLine()
    {
        openQuietLine();
        device_->deliver("  12");
        // The rest arrived in time; the program was busy for longer than the silence and sees the timer first.
        QThread::msleep(static_cast<unsigned long>(control_->silence().count()) + 50);
        QTimer::singleShot(0, this, [this] { device_->deliver("34kg\r"); });
        QVERIFY(events_->wait(1000));
        QCOMPARE(control_->input(), u"  1234kg\r"_s);
    }

    void bytesThatNobodyReadsAreDroppedAfterTwoSeconds()
    {
        openQuietLine();
        hear("   500kg\r");
        QTest::qWait(1200);
        hear("   510kg\r");
        QCOMPARE(control_->inBufferCount(), 18);
        QTest::qWait(900);
        QCOMPARE(control_->inBufferCount(), 9);
        QCOMPARE(control_->input(), u"   510kg\r"_s);
    }

    void halfLineThatNobodyReadIsNotTheBeginningOfTheNext()
    {
        openQuietLine();
        device_->deliver("12");
        QVERIFY(events_->wait(2000));
        device_->deliver("34kg\r");
        QVERIFY(events_->wait(2000));
        QCOMPARE(control_->input(), u"34kg\r"_s);
    }

    void errorOfAnEarlierSessionIsVoid()
    {
        control_->setPortOpen(true);
        device_->failed();
        control_->setPortOpen(false);
        control_->setPortOpen(true);
        QTest::qWait(20);
        QVERIFY(events_->isEmpty());
        QVERIFY(control_->portOpen());
    }

    void lineThatBreaksAgainStaysClosed()
    {
        int raised = 0;
        connect(control_.get(), &TeraziComm::OnComm, this, [&] {
            ++raised;
            device_->breaksAtOnce = true;
            control_->setPortOpen(true);
        });
        control_->setPortOpen(true);
        device_->failed();
        QTest::qWait(100);
        QCOMPARE(raised, 1);
        QCOMPARE(device_->opened.size(), 2);
        QVERIFY(!control_->portOpen());
        QCOMPARE(control_->trouble(), errors::readFailed);
    }

    void lineThatDeliveredMayBreakAgain()
    {
        QStringList raised;
        connect(control_.get(), &TeraziComm::OnComm, this, [&] {
            raised += QString::number(control_->commEvent());
            if (control_->commEvent() == events::readError) openQuietLine();
        });
        openQuietLine();
        device_->failed();
        QTRY_COMPARE(raised.size(), 1);
        device_->deliver("   500kg\r");
        QTRY_COMPARE(raised.size(), 2);
        device_->failed();
        QTRY_COMPARE(raised, (QStringList{u"8020"_s, u"2"_s, u"8020"_s}));
        QVERIFY(control_->portOpen());
    }

    void openingByHandForgetsEarlierErrors()
    {
        control_->setPortOpen(true);
        device_->failed();
        QTRY_COMPARE(events_->size(), 1);
        QVERIFY(control_->portOpen()); // again, by itself
        control_->setPortOpen(false);
        control_->setPortOpen(true);
        device_->failed();
        QTRY_COMPARE(events_->size(), 2);
    }

    void pulledPlugLeavesThePortOpenAndSilent()
    {
        openQuietLine();
        QSignalSpy told(control_.get(), &TeraziComm::stateChanged);
        device_->pullPlug();
        QVERIFY(told.wait(1000));
        QVERIFY(control_->portOpen() && !control_->isPluggedIn());
        QCOMPARE(control_->trouble(), 0);
        QCOMPARE(outcomeOf([&] { control_->setPortOpen(true); }), u"E8005"_s);
        QCOMPARE(outcomeOf([&] { control_->setCommPort(2); }), u"E8000"_s);
        QCOMPARE(control_->input(), QString());
        QCOMPARE(control_->outBufferCount(), 0);
        control_->setOutBufferCount(0);

        device_->isOut = false;
        QVERIFY(told.wait(2000));
        QVERIFY(control_->portOpen() && control_->isPluggedIn());
        QVERIFY(events_->isEmpty());
        device_->deliver("34kg\r   510kg\r"); // the scale was in the middle of a line when the plug came
        QTRY_COMPARE(events_->size(), 1);
        QCOMPARE(control_->commEvent(), 2);
        QCOMPARE(control_->input(), u"   510kg\r"_s);
    }

    void halfALineFromBeforeThePlugWasPulledIsDropped()
    {
        openQuietLine();
        device_->deliver("  12");
        device_->pullPlug();
        QTRY_VERIFY(!control_->isPluggedIn());
        device_->isOut = false;
        QTRY_VERIFY(control_->hearsWholeLines());
        QVERIFY(events_->isEmpty()); // alone it would have emptied the weight
        device_->deliver("34kg\r");
        QTRY_COMPARE(events_->size(), 1);
        QCOMPARE(control_->input(), u"34kg\r"_s);
    }

    void settingsWhileThePlugIsOutHoldWhenItIsBack()
    {
        openQuietLine();
        device_->pullPlug();
        QTRY_VERIFY(!control_->isPluggedIn());
        control_->setSettings(u"4800,E,7,1"_s);
        control_->setHandshaking(1);
        QCOMPARE(outcomeOf([&] { control_->setSettings(u"9600,N,8,1.5"_s); }), u"E8015"_s);
        device_->isOut = false;
        QTRY_VERIFY(control_->isPluggedIn());
        QCOMPARE(device_->used.text(), u"4800,e,7,1"_s);
        QCOMPARE(device_->usedFlow, FlowControl::software);
    }

    void readErrorOnTheWayOutIsNone()
    {
        openQuietLine();
        device_->pullPlug();
        for (int i = 0; i < 10; ++i) device_->failed();
        QTRY_VERIFY(!control_->isPluggedIn());
        QTest::qWait(20);
        QVERIFY(events_->isEmpty());
        QVERIFY(control_->portOpen());
    }

    void readErrorWhoseDeviceIsGoneByThenWaitsForThePlug()
    {
        openQuietLine();
        device_->failed(); // some drivers fail a moment before the system takes the device away
        device_->isOut = true;
        QTRY_COMPARE(events_->size(), 1);
        QCOMPARE(control_->commEvent(), 8020);
        QVERIFY(control_->portOpen() && !control_->isPluggedIn());
        device_->isOut = false;
        QTRY_VERIFY(control_->isPluggedIn());
    }

    void weightsOfAFormatBecomeLinesThatHandlersKnow()
    {
        openQuietLine({u"st-gs"_s, false});
        const QByteArray frame = "ST,GS,+01240.5kg\r\n";
        device_->deliver(frame + frame);
        device_->deliver(frame.first(9)); // three that say the same count; the third comes in pieces
        QVERIFY(events_->isEmpty());
        device_->deliver(frame.sliced(9));
        QTRY_COMPARE(events_->size(), 1);
        QCOMPARE(control_->commEvent(), 2);
        QCOMPARE(control_->input(), u"1240,5kg\r"_s);
        QCOMPARE(control_->lastLine(), frame);
        QCOMPARE(control_->why(), QString());

        QSignalSpy told(control_.get(), &TeraziComm::understandingChanged);
        device_->deliver("OL,GS,+     . kg\r\n");
        QTRY_COMPARE(told.size(), 1);
        QCOMPARE(control_->why(), u"terazi aşırı yük bildiriyor"_s);
        QTest::qWait(400);
        QCOMPARE(events_->size(), 1); // overload is no line at all
        for (int i = 0; i < 3; ++i) device_->deliver(frame);
        QTRY_COMPARE(control_->why(), QString());

        // What the next opening reads is chosen anew.
        control_->setPortOpen(false);
        openQuietLine({});
        device_->deliver(frame);
        QTRY_VERIFY(control_->inBufferCount() > 0);
        QCOMPARE(control_->input(), u"ST,GS,+01240.5kg\r\n"_s);
    }

    void newestWeightOfAFormatTakesThePlaceOfAnUnreadOne()
    {
        openQuietLine({u"st-gs"_s, false});
        for (int i = 0; i < 4; ++i) device_->deliver("ST,GS,+0001000kg\r\n");
        QTRY_VERIFY(control_->inBufferCount() > 0);
        for (int i = 0; i < 4; ++i) device_->deliver("ST,GS,+0001200kg\r\n");
        QTRY_VERIFY(events_->size() > 1);
        QTest::qWait(50);
        QCOMPARE(control_->input(), u"1200kg\r"_s);
        QCOMPARE(control_->inBufferCount(), 0);
    }

    void decimalMarkIsTheUsers()
    {
        control_->readAs({u"st-gs"_s, false}, base::Regional::english());
        openQuietLine();
        for (int i = 0; i < 3; ++i) device_->deliver("ST,GS,+01240.5kg\r\n");
        QTRY_VERIFY(control_->inBufferCount() > 0);
        QCOMPARE(control_->input(), u"1240.5kg\r"_s);
    }

    void stillWeightComesOncePerLoad()
    {
        openQuietLine({u"st-gs"_s, true});
        QStringList heard;
        connect(control_.get(), &TeraziComm::OnComm, this, [&] { heard += control_->input(); });
        const auto stream = [&](const char* frame) {
            for (int i = 0; i < 10; ++i) {
                device_->deliver(frame);
                QTest::qWait(60);
            }
        };
        stream("US,GS,+0000700kg\r\n");
        stream("ST,GS,+0001240kg\r\n");
        stream("ST,GS,+0001240kg\r\n");
        QCOMPARE(heard, QStringList{u"1240kg\r"_s});
        stream("ST,GS,+0000000kg\r\n");
        stream("ST,GS,+0000980kg\r\n");
        QCOMPARE(heard, (QStringList{u"1240kg\r"_s, u"980kg\r"_s}));
    }

    void stillWeightThatNobodyReadComesAgain()
    {
        openQuietLine({u"st-gs"_s, true});
        const auto stream = [&] {
            for (int i = 0; i < 4; ++i) device_->deliver("ST,GS,+0001240kg\r\n");
        };
        stream();
        QTRY_COMPARE(events_->size(), 1); // no customer's name: the handler leaves it
        stream();
        QTRY_COMPARE(events_->size(), 2);
        QVERIFY(control_->input().startsWith(u"1240kg\r"_s));
    }

    void stillWeightOutlivesAPulledPlugAndAClosedPort()
    {
        openQuietLine({u"st-gs"_s, true});
        QStringList heard;
        connect(control_.get(), &TeraziComm::OnComm, this, [&] { heard += control_->input(); });
        const auto deliver = [&](const char* frame) {
            for (int i = 0; i < 4; ++i) device_->deliver(frame);
            QTest::qWait(60);
        };
        deliver("ST,GS,+0001240kg\r\n");
        QCOMPARE(heard, QStringList{u"1240kg\r"_s});
        device_->pullPlug();
        QTRY_VERIFY(!control_->isPluggedIn());
        device_->isOut = false;
        QTRY_VERIFY(control_->isPluggedIn());
        deliver("ST,GS,+0001240kg\r\n");
        control_->setPortOpen(false);
        openQuietLine({u"st-gs"_s, true});
        deliver("ST,GS,+0001240kg\r\n");
        deliver("ST,GS,+0001239kg\r\n");
        QCOMPARE(heard, QStringList{u"1240kg\r"_s});
        deliver("ST,GS,+0000000kg\r\n");
        deliver("ST,GS,+0001240kg\r\n");
        QCOMPARE(heard.size(), 2);

        // Another scale's load is another load.
        control_->setPortOpen(false);
        control_->setCommPort(control_->commPort() + 1);
        openQuietLine();
        deliver("ST,GS,+0001240kg\r\n");
        QCOMPARE(heard.size(), 3);
    }

    void loadThatChangesBeforeTheScaleWasEmptyIsTold_data()
    {
        addCases<QByteArray>("frame", {{"the display drifts", QByteArray("ST,GS,+0001241kg\r\n")},
                                       {"half of the sacks are off", QByteArray("ST,GS,+0000600kg\r\n")}});
    }

    void loadThatChangesBeforeTheScaleWasEmptyIsTold()
    {
        QFETCH(QByteArray, frame);
        openQuietLine({u"st-gs"_s, true});
        QStringList heard;
        connect(control_.get(), &TeraziComm::OnComm, this, [&] { heard += control_->input(); });
        for (int i = 0; i < 4; ++i) device_->deliver("ST,GS,+0001240kg\r\n");
        QTRY_COMPARE(heard.size(), 1);
        for (int i = 0; i < 4; ++i) device_->deliver(frame);
        QTRY_COMPARE(control_->why(), u"yük değişti ve alınmadı: yeni tartım terazi boşalınca alınır"_s);
        QTest::qWait(100);
        QCOMPARE(heard.size(), 1);
    }

    void loadThatSwingsIsNotTaken()
    {
        // No word for rest in this format: what counts are the turning points, three lines long.
        openQuietLine({u"cas10"_s, true});
        for (int round = 0; round < 2; ++round)
            for (const int weight : {1300, 1300, 1300, 1260, 1180, 1100, 1060, 1060, 1060, 1100, 1180, 1260}) {
                device_->deliver(QByteArray::number(weight).rightJustified(8, '0') + "\r\n");
                QTest::qWait(95);
            }
        QVERIFY(events_->isEmpty());
    }

    void printOnAKeyComesWhenNothingFollows()
    {
        openQuietLine({u"cas10"_s, false});
        QElapsedTimer clock;
        clock.start();
        device_->deliver("00001300\r\n");
        QTRY_COMPARE(events_->size(), 1);
        QVERIFY2(clock.elapsed() >= 990, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(control_->input(), u"1300kg\r"_s);
        QTRY_COMPARE_WITH_TIMEOUT(activeTimers(), 0, 7000);
        QCOMPARE(events_->size(), 1);
    }

    void printOnADisturbedLineIsAskedForAgain()
    {
        openQuietLine({u"cas10"_s, false});
        device_->deliver("00001300\r\n0000x300\r\n");
        QTest::qWait(1200);
        for (int print = 1; print <= 3; ++print) {
            QVERIFY(events_->isEmpty());
            device_->deliver("00001300\r\n");
            if (print < 3)
                QTRY_COMPARE(control_->why(),
                             u"tek satır doğrulanamadı, aynı tartımı terazinin tuşuyla üç kez gönderin"_s);
            QTest::qWait(1200);
        }
        QCOMPARE(events_->size(), 1);
        QCOMPARE(control_->input(), u"1300kg\r"_s);
        QCOMPARE(control_->why(), QString());
    }

    void printThatMayNotStandIsAskedForAgain()
    {
        openQuietLine({u"cas10"_s, true});
        device_->deliver("00001300\r\n");
        QTRY_COMPARE(control_->why(), u"tek satırdan durduğu bilinmez, aynı tartımı bir kez daha gönderin"_s);
        QVERIFY(events_->isEmpty());
        QTest::qWait(500); // for a hand at the key
        device_->deliver("00001300\r\n");
        QTRY_COMPARE(events_->size(), 1);
        QCOMPARE(control_->input(), u"1300kg\r"_s);
        QCOMPARE(control_->why(), QString());
    }

    void streamThatShowsSomethingElseAsItIsIsNamed_data()
    {
        addColumns<QByteArray, QByteArray, QString>("frame", "next", "format");
        QTest::newRow("decimal point") << QByteArray("ST,GS,+01240.5kg\r\n") << QByteArray("ST,GS,+01250.5kg\r\n")
                                       << "st-gs";
        QTest::newRow("minus cut off") << QByteArray("ST,GS,-0000050kg\r\n") << QByteArray("ST,GS,-0000051kg\r\n")
                                       << "st-gs";
        QTest::newRow("shown as it says")
            << QByteArray("ST,GS,+0001240kg\r\n") << QByteArray("ST,GS,+0001250kg\r\n") << "";
        QTest::newRow("the counter's own") << QByteArray("  1240kg\r") << QByteArray("  1250kg\r") << "";
    }

    void streamThatShowsSomethingElseAsItIsIsNamed()
    {
        QFETCH(QByteArray, frame);
        QFETCH(QByteArray, next);
        QFETCH(QString, format);
        openQuietLine({});
        for (int i = 0; i < 50; ++i) {
            device_->deliver(i % 10 == 9 ? next : frame);
            QTest::qWait(50);
        }
        QVERIFY(!events_->isEmpty()); // nothing is changed by itself
        QVERIFY(control_->input().startsWith(QString::fromLatin1(frame.first(4))));
        const QString title = format.isEmpty() ? QString() : titleOf(*formatOf({format, false}));
        QCOMPARE(control_->hint(), title);
        control_->setPortOpen(false);
        QCOMPARE(control_->hint(), QString());
    }

private:
    /// What comes from now on is a line of its own.
    void openQuietLine()
    {
        control_->setPortOpen(true);
        QTRY_VERIFY(control_->hearsWholeLines());
    }
    void openQuietLine(const ReadingChoice& reading)
    {
        control_->readAs(reading, base::Regional::turkish());
        openQuietLine();
    }
    /// These bytes come, and the control says so.
    void hear(const QByteArray& bytes)
    {
        device_->deliver(bytes);
        QVERIFY(events_->wait(1000));
    }
    int activeTimers() const
    {
        int active = 0;
        for (const QTimer* timer : control_->findChildren<QTimer*>()) active += timer->isActive() ? 1 : 0;
        return active;
    }

    FakePort* device_ = nullptr;
    std::unique_ptr<TeraziComm> control_;
    std::unique_ptr<QSignalSpy> events_;
};

QTEST_GUILESS_MAIN(TeraziCommTest)
#include "terazi_comm.moc"
