#include "app/setting_names.h"
#include "tests/app/counter_world.h"
#include "tests/scale/played_devices.h"

#include <QElapsedTimer>
#include <algorithm>
#include <ctime>

using namespace Qt::StringLiterals;

using namespace app;

namespace {

/// Seconds of processor time that this process has used.
double processorTime() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// PRESVA_PULLS, or a quick number.
int pulls()
{
    const int wanted = qEnvironmentVariableIntValue("PRESVA_PULLS");
    return wanted > 0 ? wanted : 10;
}

constexpr auto adapter = "usb-Terazi_A1";

} // namespace

/// The whole counter, and an adapter that is pulled and plugged in again as another device.
class PulledPlug : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { applyTheme(*qApp); }

    void weightsComeBackWithinTwoSecondsEachTime()
    {
        Counter counter;
        PlayedDevices devices(counter.devices());
        auto line = std::make_unique<PseudoTerminal>();
        devices.plug(*line, u"ttyUSB0"_s, adapter);
        counter.settings.save(programTitle, propertiesSection, u"CommPort"_s, u"5"_s);
        counter.settings.save(programTitle, propertiesSection, u"Baglan"_s, u"True"_s);
        Form1& form = counter.form;
        form.start();
        QVERIFY(form.TeraziComm->isPluggedIn());

        qint64 slowest = 0;
        double worked = 0;
        double waited = 0;
        for (int pull = 1; pull <= pulls(); ++pull) {
            // The scale streams from the moment it is plugged in, and is in the middle of a line then.
            const int weight = 100 + pull;
            const QByteArray stream = QByteArray::number(weight) + "kg\r\n   ";
            const QString shown = QString::number(weight);
            QElapsedTimer clock;
            clock.start();
            line->send("5kg\r\n   ");
            while (form.Label2[0]->caption() != shown && clock.elapsed() < 5000) {
                line->send(stream);
                QTest::qWait(50);
            }
            QCOMPARE(form.Label2[0]->caption(), shown);
            slowest = std::max(slowest, clock.elapsed());

            line->send("   7"); // 7 of 700
            devices.pull(u"ttyUSB%1"_s.arg((pull - 1) % 3), adapter);
            line->pullOut();
            QTRY_VERIFY(!form.TeraziComm->isPluggedIn());
            QVERIFY(form.TeraziComm->portOpen());
            QVERIFY2(form.status->text().contains(u"Com5 kablo çıktı (bekleniyor)"_s), qPrintable(form.status->text()));
            const double before = processorTime();
            clock.start();
            QTest::qWait(pull % 10 == 0 ? 2000 : 20 * (pull % 10)); // a loose contact, and a plug left out for a while
            worked += processorTime() - before;
            waited += static_cast<double>(clock.elapsed()) / 1000;
            QCOMPARE(form.Label2[0]->caption(), shown);

            line = std::make_unique<PseudoTerminal>();
            devices.plug(*line, u"ttyUSB%1"_s.arg(pull % 3), adapter);
        }
        qInfo("%d pulls: weights back after %lld ms at the latest; %.1f %% of the processor while the plug was out",
              pulls(), static_cast<long long>(slowest), 100 * worked / waited);
        QVERIFY2(slowest < 2000, qPrintable(QString::number(slowest)));
        // A loop that never rests would take all of it.
        QVERIFY2(worked < 0.1 * waited, qPrintable(u"%1 s in %2 s"_s.arg(worked).arg(waited)));
        QCOMPARE(counter.prompt.errors, QList<int>{});
        QCOMPARE(counter.prompt.exclamations, QStringList());
    }
};

QTEST_MAIN(PulledPlug)
#include "pulled_plug.moc"
