#include "scale/terazi_comm.h"
#include "scale/weight_line.h"
#include "tests/scale/ordinary_user.h"
#include "tests/scale/played_devices.h"
#include "tests/scale/pseudo_terminal.h"
#include "tests/support/outcome.h"
#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <ctime>
#include <sys/stat.h>

using namespace scale;

namespace {

/// A station that keeps every weight it was shown.
class KeepingStation : public ScaleStation {
public:
    QString customer() const override { return u"Ali"_s; }
    QString weight() const override { return shown.isEmpty() ? QString() : shown.last(); }
    bool isEnabled() const override { return true; }
    void setWeight(const QString& caption) override { shown += caption; }

    QStringList shown;
};

/// Seconds of processor time that this process has used.
double processorTime() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// Two seconds in which nothing comes: the event loop wakes up for the end of the wait and perhaps a few times at its
/// start, where a line that is asked over and over would wake it twenty times and more; and nothing is worked on.
void expectIdleness()
{
    QEventLoop loop;
    QTimer::singleShot(2000, &loop, &QEventLoop::quit);
    const QSignalSpy awake(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake);
    const double before = processorTime();
    loop.exec();
    const double used = processorTime() - before;
    QCOMPARE_LT(awake.size(), 10);
    QVERIFY2(used < 0.02, qPrintable(u"%1 s in two seconds"_s.arg(used)));
}

} // namespace

/// The control and the handler on real lines of this machine.
class ScaleLine : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        folder_ = std::make_unique<QTemporaryDir>();
        link_ = folder_->filePath(u"com3"_s);
        plugIn();
    }

    void cleanup()
    {
        control_.reset();
        terminal_.reset();
    }

    void weightsArriveFromALink()
    {
        openAndListen();
        terminal_->send("  1234kg\r");
        QTRY_COMPARE(station_.weight(), u"1.234"_s);
        terminal_->send("ST,GS,+");
        QTest::qWait(20);
        terminal_->send("   567kg\r\n");
        QTRY_COMPARE(station_.weight(), u"567"_s);
        QCOMPARE(station_.shown, (QStringList{u"1.234"_s, u"567"_s}));
    }

    void bytesFromBeforeOpeningAreDiscarded()
    {
        listen();
        terminal_->send("  9999kg\r");
        openQuietLine(*control_);
        terminal_->send("   500kg\r");
        QTRY_VERIFY(!station_.shown.isEmpty());
        QTest::qWait(400);
        QCOMPARE(station_.shown, QStringList{u"500"_s});
    }

    void fiftyLinesASecondAreShownWhole()
    {
        openAndListen();
        std::unique_ptr<QThread> scale(QThread::create([this] {
            for (int weight = 1001; weight <= 1100; ++weight) {
                terminal_->send(u"  %1kg\r\n"_s.arg(weight).toLatin1());
                QThread::msleep(20);
            }
        }));
        const double before = processorTime();
        scale->start();
        QTRY_VERIFY_WITH_TIMEOUT(scale->isFinished(), 10000);
        QTest::qWait(100);
        qInfo("processor time for 100 lines in two seconds: %.0f ms", 1000 * (processorTime() - before));
        // Two lines may share an event on a busy machine, then the second one is dropped: that is the rule, half lines
        // are not.
        QVERIFY2(station_.shown.size() >= 50, qPrintable(QString::number(station_.shown.size())));
        QCOMPARE(station_.shown.first(), u"1.001"_s);
        for (const QString& weight : station_.shown) {
            const double value = QLocale(QLocale::Turkish).toDouble(weight);
            QVERIFY2(value >= 1001 && value <= 1100, qPrintable(weight));
        }
    }

    void streamWithoutPausesShowsNoHalfWeight()
    {
        // A busy machine may hold the playing thread up for longer than a scale ever pauses; such a round proves
        // nothing.
        qint64 longestPause = 0;
        QStringList shown;
        for (int round = 0; round < 10 && (round == 0 || longestPause > 250); ++round) {
            openAndListen();
            longestPause = 0;
            std::unique_ptr<QThread> scale(QThread::create([this, &longestPause] {
                const QByteArray line = "  1234kg\r";
                QElapsedTimer clock;
                for (int i = 0; i < 100 * line.size(); ++i) {
                    clock.start();
                    terminal_->send(line.mid(i % line.size(), 1));
                    QThread::msleep(1);
                    longestPause = std::max(longestPause, clock.elapsed());
                }
            }));
            scale->start();
            QTRY_VERIFY_WITH_TIMEOUT(scale->isFinished(), 20000);
            shown = station_.shown;
        }
        QVERIFY2(longestPause <= 250, "this machine was too busy ten times");
        QVERIFY(!shown.isEmpty());
        QCOMPARE(QSet<QString>(shown.begin(), shown.end()), QSet<QString>{u"1.234"_s});
    }

    void pulledPlugIsSilenceAndNoWork()
    {
        openAndListen();
        terminal_->send("   500kg\r");
        QTRY_COMPARE(station_.weight(), u"500"_s);

        QSignalSpy spy(control_.get(), &TeraziComm::OnComm);
        terminal_->send("   5");
        terminal_->pullOut();
        QTRY_VERIFY(!control_->isPluggedIn());
        QVERIFY(control_->portOpen());

        expectIdleness();
        QVERIFY(spy.isEmpty());
        QCOMPARE(station_.shown, QStringList{u"500"_s});
    }

    void plugThatIsBackBringsWeightsAgain()
    {
        openAndListen();
        for (int round = 1; round <= 3; ++round) {
            QTRY_VERIFY(control_->hearsWholeLines());
            terminal_->send(QByteArray::number(100 * round) + "kg\r");
            QTRY_COMPARE(station_.weight(), QString::number(100 * round));
            terminal_->pullOut();
            QTRY_VERIFY(!control_->isPluggedIn());
            plugIn();
        }
    }

    void plugThatWasOutWhileNothingRanBringsWeightsAgain()
    {
        // A computer that stands by: the adapter goes and comes back as another device, and the program sees neither.
        openAndListen();
        terminal_->send("100kg\r");
        QTRY_COMPARE(station_.weight(), u"100"_s);
        terminal_->pullOut();
        plugIn();
        QThread::sleep(2);
        for (int i = 0; i < 40 && station_.weight() != u"200"_s; ++i) {
            terminal_->send("  200kg\r");
            QTest::qWait(50);
        }
        QCOMPARE(station_.weight(), u"200"_s);
        QVERIFY(control_->isPluggedIn());
    }

    void adapterKeepsItsNumberOnAnyNode()
    {
        PlayedDevices devices(folder_->filePath(u"dev"_s));
        QString memory;
        const auto open = [&] {
            auto control = std::make_unique<TeraziComm>(systemPorts(devices.places(), devices.memory(memory)));
            QObject::connect(control.get(), &TeraziComm::deviceOpened, this, [&](int number, const QString& path) {
                rememberAdapter(number, path, devices.places(), devices.memory(memory));
            });
            control->setCommPort(6);
            return control;
        };
        const auto first = std::make_unique<PseudoTerminal>();
        auto second = std::make_unique<PseudoTerminal>();
        devices.plug(*first, "ttyUSB0", "usb-Terazi_A1");
        devices.plug(*second, "ttyUSB1", "usb-Terazi_B2");
        auto control = open();
        KeepingStation station;
        handle(*control, station);
        openQuietLine(*control);
        QCOMPARE(memory, u"6=by-id/usb-Terazi_B2"_s);
        second->send("  200kg\r");
        QTRY_COMPARE(station.weight(), u"200"_s);

        // Out and in again as another node, while another adapter has taken its own.
        PseudoTerminal third;
        devices.pull("ttyUSB1", "usb-Terazi_B2");
        second->pullOut();
        QTRY_VERIFY(!control->isPluggedIn());
        devices.plug(third, "ttyUSB1", "usb-Terazi_C3");
        second = std::make_unique<PseudoTerminal>();
        devices.plug(*second, "ttyUSB2", "usb-Terazi_B2");
        QTRY_VERIFY(control->isPluggedIn());
        QTRY_VERIFY(control->hearsWholeLines());
        third.send("  300kg\r");
        second->send("  210kg\r");
        QTRY_COMPARE(station.weight(), u"210"_s);
        control.reset();

        // The next morning the two have each other's node.
        devices.pull("ttyUSB0", "usb-Terazi_A1");
        devices.pull("ttyUSB2", "usb-Terazi_B2");
        devices.plug(*second, "ttyUSB0", "usb-Terazi_B2");
        devices.plug(*first, "ttyUSB2", "usb-Terazi_A1");
        control = open();
        handle(*control, station);
        openQuietLine(*control);
        first->send("  100kg\r");
        second->send("  220kg\r");
        QTRY_COMPARE(station.weight(), u"220"_s);
        QCOMPARE(station.shown, (QStringList{u"200"_s, u"210"_s, u"220"_s}));
    }

    void adapterThatWasThereAllTheTimeIsAnothers()
    {
        // Adapters without a name of their own are counted, and the count of one that stays changes when another goes.
        PlayedDevices devices(folder_->filePath(u"dev"_s));
        auto first = std::make_unique<PseudoTerminal>();
        PseudoTerminal second;
        devices.plug(*first, "ttyUSB0");
        devices.plug(second, "ttyUSB1");
        TeraziComm control(systemPorts(devices.places()));
        control.setCommPort(5);
        KeepingStation station;
        handle(control, station);
        openQuietLine(control);
        first->send("  100kg\r");
        QTRY_COMPARE(station.weight(), u"100"_s);
        devices.pull("ttyUSB0");
        first->pullOut();
        QTRY_VERIFY(!control.isPluggedIn());
        QTest::qWait(1000);
        QVERIFY(!control.isPluggedIn());
        QCOMPARE(control.whyNotBack(), 0);

        first = std::make_unique<PseudoTerminal>();
        devices.plug(*first, "ttyUSB0");
        QTRY_VERIFY(control.isPluggedIn());
        QTRY_VERIFY(control.hearsWholeLines());
        first->send("  110kg\r");
        QTRY_COMPARE(station.weight(), u"110"_s);
    }

    void adapterOfTheSameNameIsAnothers()
    {
        // Two of one make without serial numbers: the name leads to the one that was plugged in last.
        PlayedDevices devices(folder_->filePath(u"dev"_s));
        const QString name = u"usb-1a86_USB_Serial"_s;
        QString memory;
        TeraziComm control(systemPorts(devices.places(), devices.memory(memory)));
        QObject::connect(&control, &TeraziComm::deviceOpened, this, [&](int number, const QString& path) {
            rememberAdapter(number, path, devices.places(), devices.memory(memory));
        });
        auto first = std::make_unique<PseudoTerminal>();
        PseudoTerminal second;
        devices.plug(*first, "ttyUSB0", name, "pci-1");
        control.setCommPort(5);
        KeepingStation station;
        handle(control, station);
        openQuietLine(control);
        QCOMPARE(memory, u"5=by-id/usb-1a86_USB_Serial|by-path/pci-1"_s);
        first->send("  100kg\r");
        QTRY_COMPARE(station.weight(), u"100"_s);

        devices.plug(second, "ttyUSB1", name, "pci-2");
        devices.pull("ttyUSB0", name, "pci-1");
        devices.nameTo("ttyUSB1", name); // as the system does now
        first->pullOut();
        QTRY_VERIFY(!control.isPluggedIn());
        QTest::qWait(1000);
        QVERIFY(!control.isPluggedIn());

        // In the first socket again, whichever of the two the name leads to.
        for (const char* const named : {"ttyUSB1", "ttyUSB0"}) {
            first = std::make_unique<PseudoTerminal>();
            devices.plug(*first, "ttyUSB0", {}, "pci-1");
            devices.nameTo(named, name);
            QTRY_VERIFY(control.isPluggedIn());
            QTRY_VERIFY(control.hearsWholeLines());
            second.send("  900kg\r");
            first->send("  110kg\r");
            QTRY_COMPARE(station.weight(), u"110"_s);
            QCOMPARE(memory, u"5=by-path/pci-1"_s);
            devices.pull("ttyUSB0", {}, "pci-1");
            devices.nameTo("ttyUSB1", name);
            first->pullOut();
            QTRY_VERIFY(!control.isPluggedIn());
        }
    }

    void adapterWithoutASecondOneIsFoundInAnySocket()
    {
        PlayedDevices devices(folder_->filePath(u"dev"_s));
        QString memory = u"5=by-id/usb-1a86_USB_Serial|by-path/pci-1"_s;
        TeraziComm control(systemPorts(devices.places(), devices.memory(memory)));
        control.setCommPort(5);
        PseudoTerminal line;
        devices.plug(line, "ttyUSB0", "usb-1a86_USB_Serial", "pci-2");
        control.setPortOpen(true);
        QVERIFY(control.isPluggedIn());
        rememberAdapter(5, u"/nobody-there"_s, devices.places(), devices.memory(memory));
        QCOMPARE(memory, u"5=by-id/usb-1a86_USB_Serial|by-path/pci-1"_s);
        rememberAdapter(5, folder_->filePath(u"dev/ttyUSB0"_s), devices.places(), devices.memory(memory));
        QCOMPARE(memory, u"5=by-id/usb-1a86_USB_Serial|by-path/pci-2"_s);
    }

    void rememberedAdapterCanBeOpenedBeforeItIsPluggedIn()
    {
        PlayedDevices devices(folder_->filePath(u"dev"_s));
        QString memory = u"5=by-id/usb-Terazi_A1"_s;
        TeraziComm control(systemPorts(devices.places(), devices.memory(memory)));
        control.setCommPort(5);
        control.setPortOpen(true);
        QVERIFY(control.portOpen() && !control.isPluggedIn());
        PseudoTerminal first;
        devices.plug(first, "ttyUSB0", "usb-Terazi_A1");
        QTRY_VERIFY(control.isPluggedIn());
    }

    void idleLineWakesNobody()
    {
        const auto control = newControl();
        control->setPortOpen(true);
        expectIdleness();
    }

    void missingAndBusyDevicesAreTold()
    {
        const auto errorOfOpening = [](auto& control) { return errorOf([&] { control->setPortOpen(true); }); };
        const auto first = newControl();
        const auto second = newControl();
        QCOMPARE(errorOfOpening(first), 0);
        QCOMPARE(errorOfOpening(second), errors::inUse);
        QVERIFY(!second->portOpen());
        first->setPortOpen(false);
        QCOMPARE(errorOfOpening(second), 0);
        second->setPortOpen(false);

        terminal_->pullOut();
        const auto third = newControl(); // of a program that has never seen the device
        QCOMPARE(errorOfOpening(third), errors::invalidPortNumber);
        QFile::remove(link_);
        QVERIFY(QFile::link(folder_->filePath(u"nothing"_s), link_));
        QCOMPARE(errorOfOpening(third), errors::invalidPortNumber);
        QVERIFY(!third->portOpen());
    }

    void missingRightIsToldAsSuch()
    {
        QCOMPARE(::chmod(qPrintable(folder_->path()), 0755), 0); // the way to the device stays open
        QCOMPARE(::chmod(qPrintable(terminal_->path()), 0), 0);
        const auto control = newControl();
        {
            const OrdinaryUser user;
            QVERIFY_THROWS_EXCEPTION(base::RuntimeError, control->setPortOpen(true));
        }
        QCOMPARE(control->trouble(), base::errors::permissionDenied);
        QCOMPARE(whyClosed(3, control->trouble()), u"Com3 açılamadı, kullanma izni yok"_s);
    }

    void parametersThatTheLineRefusesAreTold()
    {
        // A pseudo-terminal has 8 bits and no parity, and its driver says so.
        const auto control = newControl();
        control->setSettings(u"9600,E,7,1"_s);
        QVERIFY_THROWS_EXCEPTION(base::RuntimeError, control->setPortOpen(true));
        QCOMPARE(control->trouble(), errors::parametersRefused);
        QVERIFY(!control->portOpen());

        control->setSettings(u"9600,N,8,1"_s);
        openQuietLine(*control);
        QSignalSpy spy(control.get(), &TeraziComm::OnComm);
        QVERIFY_THROWS_EXCEPTION(base::RuntimeError, control->setSettings(u"9600,E,7,1"_s));
        QCOMPARE(control->settings(), u"9600,n,8,1"_s);
        terminal_->send("   500kg\r");
        QVERIFY(spy.wait(1000));
        QCOMPARE(control->commEvent(), 2);
        QCOMPARE(control->input(), u"   500kg\r"_s);
    }

    void everySpeedOfTheDialogOpens()
    {
        const auto control = newControl();
        for (const int speed : {110, 300, 600, 1200, 2400, 4800, 9600, 14400, 19200, 28800, 38400, 56000, 57600, 115200,
                                128000, 256000}) {
            control->setSettings(u"%1,N,8,2"_s.arg(speed));
            openQuietLine(*control);
            QSignalSpy spy(control.get(), &TeraziComm::OnComm);
            terminal_->send("   500kg\r");
            QVERIFY2(spy.wait(1000), qPrintable(QString::number(speed)));
            control->setPortOpen(false);
        }
    }

private:
    void plugIn()
    {
        terminal_ = std::make_unique<PseudoTerminal>();
        QFile::remove(link_);
        QVERIFY(QFile::link(terminal_->path(), link_));
    }
    /// Opens the port and waits until what comes is a line of its own.
    static void openQuietLine(TeraziComm& control)
    {
        control.setPortOpen(true);
        QTRY_VERIFY(control.hearsWholeLines());
    }
    std::unique_ptr<TeraziComm> newControl() const
    {
        auto control = std::make_unique<TeraziComm>(systemPorts({.programDirectory = folder_->path().toStdString()}));
        control->setCommPort(3);
        return control;
    }
    /// A control of its own with a station, which keeps what it is shown.
    void listen()
    {
        control_ = newControl();
        station_.shown.clear();
        handle(*control_, station_);
    }
    void openAndListen()
    {
        listen();
        openQuietLine(*control_);
    }
    void handle(TeraziComm& control, KeepingStation& station)
    {
        connect(&control, &TeraziComm::OnComm, this, [&control, &station] {
            onScaleEvent(control, station, base::Regional::turkish(), [] { QCoreApplication::processEvents(); });
        });
    }

    std::unique_ptr<QTemporaryDir> folder_;
    QString link_;
    std::unique_ptr<PseudoTerminal> terminal_;
    KeepingStation station_;
    std::unique_ptr<TeraziComm> control_;
};

QTEST_GUILESS_MAIN(ScaleLine)
#include "scale_line.moc"
