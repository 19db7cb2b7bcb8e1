#include "app/setting_names.h"
#include "tests/app/counter_world.h"
#include "tests/scale/played_devices.h"
#include "tests/support/columns.h"
#include "tests/support/text.h"

#include <QElapsedTimer>
#include <algorithm>
#include <ctime>

using namespace Qt::StringLiterals;

using namespace app;

namespace {

/// Seconds of processor time that this process has used.
double processorTime() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// PRESVA_PULLS, or a quick number.
int pulls() { return numberFromEnvironment("PRESVA_PULLS", 10); }

constexpr auto adapter = "usb-Terazi_A1";

/// A line to a scale that can be plugged in again, where the counter expects it.
class Plug {
public:
    /// An adapter that is known by its name, on three nodes in turn; or the mill's own link to a device.
    Plug(Counter& counter, bool isLink) : devices_(counter.devices())
    {
        if (isLink) link_ = counter.folder.filePath(u"com5"_s);
    }
    void in()
    {
        line = std::make_unique<PseudoTerminal>();
        if (link_.isEmpty()) return devices_.plug(*line, node(), adapter);
        QFile::remove(link_);
        if (!QFile::link(line->path(), link_)) throw std::runtime_error("link");
    }
    void out()
    {
        if (link_.isEmpty()) devices_.pull(node(), adapter);
        line->pullOut();
        ++pulls_;
    }

    std::unique_ptr<PseudoTerminal> line;

private:
    QString node() const { return u"ttyUSB%1"_s.arg(pulls_ % 3); }

    PlayedDevices devices_;
    QString link_;
    int pulls_ = 0;
};

QByteArray plainLine(int weight) { return "   " + QByteArray::number(weight) + "kg\r\n"; }
QByteArray frame(int weight) { return "ST,GS,+" + QByteArray::number(weight).rightJustified(7, '0') + "kg\r\n"; }

} // namespace

/// The whole counter, and an adapter that is pulled and plugged in again as another device.
class PulledPlug : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { applyTheme(*qApp); }

    void weightsComeBackWithinTwoSecondsEachTime_data()
    {
        addColumns<bool, QString>("isLink", "format");
        QTest::newRow("an adapter, lines as they are") << false << QString();
        QTest::newRow("a link of the mill, still weights of a format") << true << u"st-gs"_s;
    }

    void weightsComeBackWithinTwoSecondsEachTime()
    {
        QFETCH(bool, isLink);
        QFETCH(QString, format);
        const auto lineOf = format.isEmpty() ? plainLine : frame;
        Counter counter;
        Plug plug(counter, isLink);
        plug.in();
        counter.settings.save(programTitle, propertiesSection, u"CommPort"_s, u"5"_s);
        counter.settings.save(programTitle, propertiesSection, u"Bicim"_s, format);
        counter.settings.save(programTitle, propertiesSection, u"Duran"_s, u"True"_s);
        counter.settings.save(programTitle, propertiesSection, u"Baglan"_s, u"True"_s);
        Form1& form = counter.form;
        form.start();
        QVERIFY(form.TeraziComm->isPluggedIn());

        qint64 slowest = 0;
        double worked = 0;
        double waited = 0;
        for (int pull = 1; pull <= pulls(); ++pull) {
            // The scale streams from the moment it is plugged in, and is in the middle of a line then. Where only still
            // weights count it is empty at first.
            const int weight = 100 + pull;
            const QString shown = QString::number(weight);
            QElapsedTimer clock;
            clock.start();
            plug.line->send(lineOf(weight).sliced(4));
            for (int empty = 0; !format.isEmpty() && empty < 4; empty += form.TeraziComm->isPluggedIn() ? 1 : 0) {
                plug.line->send(frame(0));
                QTest::qWait(50);
            }
            while (form.Label2[0]->caption() != shown && clock.elapsed() < 5000) {
                plug.line->send(lineOf(weight));
                QTest::qWait(50);
            }
            QCOMPARE(form.Label2[0]->caption(), shown);
            slowest = std::max(slowest, clock.elapsed());

            plug.line->send(lineOf(700).first(9)); // 700 is never shown
            plug.out();
            QTRY_VERIFY(!form.TeraziComm->isPluggedIn());
            QVERIFY(form.TeraziComm->portOpen());
            QVERIFY2(form.status->text().contains(u"Com5 kablo çıktı (bekleniyor)"_s), qPrintable(form.status->text()));
            const double before = processorTime();
            clock.start();
            QTest::qWait(pull % 10 == 0 ? 2000 : 20 * (pull % 10)); // a loose contact, and a plug left out for a while
            worked += processorTime() - before;
            waited += static_cast<double>(clock.elapsed()) / 1000;
            QCOMPARE(form.Label2[0]->caption(), shown);
            plug.in();
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
