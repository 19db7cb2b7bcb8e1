#include "app/setting_names.h"
#include "scale/frm_properties.h"
#include "tests/app/counter_world.h"
#include "tests/doors/fake_port.h"
#include "tests/scale/ordinary_user.h"
#include "tests/scale/pseudo_terminal.h"
#include "tests/support/columns.h"

#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QPushButton>
#include <QTimer>
#include <functional>
#include <optional>
#include <sys/stat.h>

using namespace app;

namespace {

const QString nobody = u"/dev/nobody-there"_s;

/// A counter whose Com1 and Com3 are lines that the test holds the other end of.
struct WeighingCounter : Counter {
    explicit WeighingCounter(const base::Regional& regional = base::Regional::turkish()) : Counter(regional)
    {
        plugIn(first, 1);
        plugIn(third, 3);
    }
    void plugIn(const PseudoTerminal& line, int port) const { linkPort(port, line.path()); }
    /// The port leads there from now on.
    void linkPort(int port, const QString& device) const
    {
        const QString link = folder.filePath(u"com%1"_s.arg(port));
        QFile::remove(link);
        QVERIFY(QFile::link(device, link));
    }
    /// The screen open, and its first port.
    void startConnected()
    {
        form.start();
        form.Bağlantı->trigger();
    }
    void store(const char* key, const QString& text)
    {
        settings.save(programTitle, propertiesSection, QString::fromLatin1(key), text);
    }
    QString stored(const char* key) const
    {
        return settings.get(programTitle, propertiesSection, QString::fromLatin1(key), u"-"_s);
    }
    /// The line says this, and the screen has dealt with it.
    void hear(PseudoTerminal& line, const QByteArray& bytes)
    {
        QTRY_VERIFY(form.TeraziComm->hearsWholeLines());
        const int before = form.scaleEvents();
        line.send(bytes);
        QTRY_COMPARE(form.scaleEvents(), before + 1);
    }

    /// And shows that weight at the station that works.
    void hear(PseudoTerminal& line, const QByteArray& bytes, const QString& shown)
    {
        hear(line, bytes);
        QCOMPARE(form.Label2[form.station()]->caption(), shown);
    }

    /// The plug is out, and the screen has noticed and says so; the port stays open.
    void pullOut(PseudoTerminal& line)
    {
        line.pullOut();
        QTRY_VERIFY(!form.TeraziComm->isPluggedIn());
        QVERIFY(form.TeraziComm->portOpen());
        QVERIFY(form.status->text().startsWith(u"Terazi: Com1 kablo çıktı (bekleniyor)"_s));
    }

    /// Opens the port's dialog, does this to it and waits until it is closed.
    void inPortDialog(const std::function<void(scale::frmProperties&)>& act)
    {
        bool seen = false;
        QTimer::singleShot(0, &form, [&] {
            auto* const dialog = qobject_cast<scale::frmProperties*>(QApplication::activeModalWidget());
            QVERIFY(dialog);
            seen = true;
            act(*dialog);
        });
        form.PortAyarlar->trigger();
        QVERIFY(seen && !QApplication::activeModalWidget());
    }

    PseudoTerminal first, third;
};

/// The ways out of the port's dialog that apply nothing.
using Leaving = std::function<void(scale::frmProperties&)>;

void addLeavings()
{
    QTest::addColumn<Leaving>("leave");
    const auto row = [](const char* name, const Leaving& leave) { QTest::newRow(name) << leave; };
    row("İptal", [](auto& dialog) { dialog.template findChild<QPushButton*>("cmdCancel")->click(); });
    row("Esc", [](auto& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    row("its window's cross", [](auto& dialog) { dialog.close(); });
}

} // namespace

/// The scale's port as the screen opens it, and the weights that come from it.
class ScalePort : public QObject {
    Q_OBJECT

    std::optional<WeighingCounter> counter;
    Form1* form = nullptr; ///< its screen

    void open(const base::Regional& regional = base::Regional::turkish()) { form = &counter.emplace(regional).form; }

private slots:
    void init() { open(); }
    void cleanup() { counter.reset(); }
    void initTestCase() { applyTheme(*qApp); }

    void checkedConnectItemOpensThePortAtEveryActivation()
    {
        counter->store("Baglan", u"True"_s);
        form->start();
        QVERIFY(form->Bağlantı->checked());
        QVERIFY(form->TeraziComm->portOpen());
        form->TeraziComm->setPortOpen(false);
        form->activated();
        QVERIFY(form->TeraziComm->portOpen());
        QCOMPARE(counter->prompt.exclamations, QStringList());
    }

    void activationOpensTheOpenPortAfresh()
    {
        counter->store("Baglan", u"True"_s);
        form->start();
        counter->store("CommPort", u"3"_s);
        form->activated();
        QVERIFY(form->TeraziComm->portOpen());
        QCOMPARE(form->TeraziComm->commPort(), 3); // an open port would have refused the number
        counter->hear(counter->third, "  70kg\r", u"70"_s);
    }

    void activationGoesOnWhereTheReportOfTheNewDayFails_data()
    {
        addCases<bool>("panel", {{"name at the second station", false}, {"name in the report panel", true}});
    }

    void activationGoesOnWhereTheReportOfTheNewDayFails()
    {
        QFETCH(bool, panel);
        counter->addCustomer(u"O'Neil"_s);
        counter->store("Baglan", u"True"_s);
        form->start();
        Counter::click(form->YeniCmd[1]);
        CaptionLabel* edited = form->TxtLbl[0];
        if (panel) {
            Counter::click(form->GünlükCmd);
            Counter::click(form->Option1[1]);
            edited = form->GünLbl;
        }
        counter->key(u"o"_s);
        counter->pick(u"O'Neil"_s);
        form->dbListe1->setVisible(true);
        form->Kaydet->setVisible(!panel);
        counter->prompt.errors.clear();

        counter->clock.pass(qint64(12) * 60 * 60); // past midnight
        counter->inPortDialog(
            [](scale::frmProperties& dialog) { dialog.findChild<QPushButton*>("cmdCancel")->click(); });
        QCOMPARE(counter->prompt.errors, QList<int>{3075});
        QCOMPARE(form->DTPickerBas->value(), counter->clock.now.date());
        QCOMPARE(form->DTPickerSon->value(), counter->clock.now.date());
        QCOMPARE(form->AktifKontrol, 0.0f);
        QVERIFY(form->Frame1[0]->enabled() && !form->Frame1[1]->enabled());
        QCOMPARE(form->AktifLbl, edited);
        QVERIFY(!form->Kaydet->visible());
        QVERIFY(!form->dbListe1->visible());
        QVERIFY(form->Bağlantı->checked());
        QVERIFY(form->TeraziComm->portOpen());
        counter->hear(counter->first, "  70kg\r", u"70"_s);
    }

    void uncheckedConnectItemLeavesThePortClosed()
    {
        counter->store("Baglan", u"False"_s);
        counter->store("Settings", u"nonsense"_s);
        form->start();
        QVERIFY(!form->TeraziComm->portOpen());
        QCOMPARE(counter->prompt.exclamations, QStringList());
    }

    void connectItemOpensAndCloses()
    {
        form->start();
        for (const bool connected : {true, false, true}) {
            form->Bağlantı->trigger();
            QCOMPARE(form->Bağlantı->checked(), connected);
            QCOMPARE(form->TeraziComm->portOpen(), connected);
            QCOMPARE(counter->stored("Baglan"), connected ? u"True"_s : u"False"_s);
        }
    }

    void storedPortIsOpened_data()
    {
        // opened: number, settings, flow control
        addColumns<QString, QString, QString, QString>("Settings", "CommPort", "Handshaking", "opened");
        // clang-format off
        QTest::newRow("nothing stored") << "" << "" << "" << "1 9600,n,8,1 0";
        QTest::newRow("all stored") << "19200,N,8,1" << "3" << "1" << "3 19200,n,8,1 1";
        QTest::newRow("number with decimals is rounded") << "" << "2,6" << "" << "3 9600,n,8,1 0";
        QTest::newRow("halves go to the even port") << "" << "0,5" << "" << "1 9600,n,8,1 0";
        QTest::newRow("number that is none says nothing") << "" << "com3" << "" << "1 9600,n,8,1 0";
        QTest::newRow("number too large says nothing") << "" << "40000" << "" << "1 9600,n,8,1 0";
        QTest::newRow("number beyond the ports says nothing") << "" << "17" << "2" << "1 9600,n,8,1 2";
        // clang-format on
    }

    void storedPortIsOpened()
    {
        QFETCH(QString, Settings);
        QFETCH(QString, CommPort);
        QFETCH(QString, Handshaking);
        scale::TeraziComm& line = *form->TeraziComm;
        if (!Settings.isEmpty()) counter->store("Settings", Settings);
        if (!CommPort.isEmpty()) counter->store("CommPort", CommPort);
        if (!Handshaking.isEmpty()) counter->store("Handshaking", Handshaking);
        counter->store("Baglan", u"True"_s);
        form->start();
        QVERIFY(line.portOpen());
        QTEST(u"%1 %2 %3"_s.arg(line.commPort()).arg(line.settings()).arg(line.handshaking()), "opened");
        QCOMPARE(counter->messages(), QStringList());
    }

    void unusableSettingsAreReportedAndThePortStaysClosed_data()
    {
        // port: afterwards; 3 is stored
        addColumns<QString, QString, int, int>("key", "text", "error", "port");
        // clang-format off
        QTest::newRow("settings string") << "Settings" << "9600,X,8,1" << 380 << 1;
        QTest::newRow("settings string of another shape") << "Settings" << "9600" << 380 << 1;
        QTest::newRow("flow control that is no number") << "Handshaking" << "abc" << 13 << 3;
        QTest::newRow("flow control that is no mode") << "Handshaking" << "9" << 380 << 3;
        QTest::newRow("flow control beyond any number") << "Handshaking" << "2147483648" << 6 << 3;
        // clang-format on
    }

    void unusableSettingsAreReportedAndThePortStaysClosed()
    {
        QFETCH(QString, key);
        QFETCH(QString, text);
        QFETCH(int, error);
        counter->startConnected();
        QVERIFY(form->TeraziComm->portOpen());
        counter->store(key.toLatin1(), text);
        counter->store("CommPort", u"3"_s);
        form->activated();
        const QString sentence = error == 380 ? scale::commError(error).text() : base::runtimeError(error).text();
        QCOMPARE(counter->prompt.exclamations, QStringList{sentence});
        QCOMPARE(counter->prompt.errors, QList<int>{});
        QVERIFY(!form->TeraziComm->portOpen());
        QTEST(form->TeraziComm->commPort(), "port");
        QVERIFY(form->Bağlantı->checked());
        QCOMPARE(form->AktifLbl, form->TxtLbl[0]); // the activation itself is done
    }

    void settingsAreReadAgainAtEachOpening()
    {
        counter->startConnected();
        QCOMPARE(form->TeraziComm->settings(), u"9600,n,8,1"_s);
        form->Bağlantı->trigger();
        counter->store("Settings", u"4800,n,8,1"_s);
        form->Bağlantı->trigger();
        QCOMPARE(form->TeraziComm->settings(), u"4800,n,8,1"_s);
    }

    void missingPortIsSilent()
    {
        counter->store("CommPort", u"3"_s);
        counter->linkPort(3, nobody);
        counter->store("Baglan", u"True"_s);
        form->start();
        QVERIFY(!form->TeraziComm->portOpen());
        QVERIFY(form->Bağlantı->checked());
        QCOMPARE(counter->messages(), QStringList());
    }

    void busyPortIsSilent()
    {
        scale::TeraziComm other(scale::systemPorts({.programDirectory = counter->folder.path().toStdString()}));
        other.setPortOpen(true);
        counter->store("Baglan", u"True"_s);
        form->start();
        QVERIFY(!form->TeraziComm->portOpen());
        QCOMPARE(counter->messages(), QStringList());
        QVERIFY(form->status->text().startsWith(u"Terazi: Com1 açılamadı, başka bir program kullanıyor"_s));

        other.setPortOpen(false);
        form->activated();
        counter->hear(counter->first, "  100kg\r", u"100"_s);
    }

    void loadingAloneOpensNoPort()
    {
        counter->store("Baglan", u"True"_s);
        form->Form_Load();
        QVERIFY(!form->TeraziComm->portOpen());
        QVERIFY(!form->Bağlantı->checked());
        form->activated();
        QVERIFY(form->TeraziComm->portOpen());
    }

    void choicesStoredBetweenTwoActivationsHoldFromTheSecond()
    {
        form->start();
        QVERIFY(!form->TeraziComm->portOpen());
        for (const bool on : {true, false}) {
            const bool open = form->TeraziComm->portOpen();
            counter->settings.saveFlag(u"presva"_s, keypadSection, u"Caps"_s, on);
            counter->settings.saveFlag(programTitle, propertiesSection, u"Baglan"_s, on);
            QCOMPARE(form->CapsDurum, !on);
            QCOMPARE(form->Bağlantı->checked(), !on);
            QCOMPARE(form->TeraziComm->portOpen(), open);
            form->activated();
            QCOMPARE(form->CapsDurum, on);
            QCOMPARE(form->Label1[47]->caption(), on ? u"AB"_s : u"ab"_s);
            QCOMPARE(form->Bağlantı->checked(), on);
            // An unchecked item opens no port, and closes none either: that is for the item itself.
            QVERIFY(form->TeraziComm->portOpen());
        }
    }

    void leavingTheDialogRunsTheActivation_data() { addLeavings(); }

    void leavingTheDialogRunsTheActivation()
    {
        QFETCH(Leaving, leave);
        form->start();
        Counter::click(form->YeniCmd[1]);
        for (DropDownList* list : form->Combo1) list->setListIndex(2);
        form->DTPickerSon->setValue(QDate(2025, 11, 3));
        form->DTPickerBas->setValue(QDate(2025, 11, 2));
        counter->inPortDialog(leave);
        QCOMPARE(form->AktifKontrol, 0.0f);
        QCOMPARE(form->AktifLbl, form->TxtLbl[0]);
        for (const DropDownList* list : form->Combo1) QCOMPARE(list->listIndex(), 0);
        QCOMPARE(form->DTPickerBas->value(), counter->clock.now.date());
        QCOMPARE(form->DTPickerSon->value(), counter->clock.now.date());
    }

    void leavingTheDialogReopensTheConnectedPort_data() { addLeavings(); }

    void leavingTheDialogReopensTheConnectedPort()
    {
        QFETCH(Leaving, leave);
        counter->store("Baglan", u"True"_s);
        counter->store("CommPort", u"3"_s);
        form->start();
        counter->inPortDialog([&](scale::frmProperties& dialog) {
            QVERIFY(!form->TeraziComm->portOpen());
            QVERIFY(form->status->text().startsWith(u"Terazi: bağlı değil"_s));
            dialog.findChild<QComboBox*>("cboPort")->setCurrentIndex(0);
            leave(dialog);
        });
        QVERIFY(form->TeraziComm->portOpen());
        QCOMPARE(form->PortAyarlar->caption(), u"Port Ayar Com=3"_s);
        QVERIFY(form->status->text().startsWith(u"Com3: "_s));
        QCOMPARE(counter->stored("CommPort"), u"3"_s);
        counter->hear(counter->third, "  70kg\r", u"70"_s);
    }

    void cancelledDialogLeavesAnUnconnectedPortClosed()
    {
        form->start();
        counter->inPortDialog(
            [](scale::frmProperties& dialog) { dialog.findChild<QPushButton*>("cmdCancel")->click(); });
        QVERIFY(!form->TeraziComm->portOpen());
        QCOMPARE(form->PortAyarlar->caption(), u"Port Ayarları"_s);
        QCOMPARE(counter->stored("CommPort"), u"-"_s);
        QVERIFY(form->status->text().startsWith(u"Terazi: bağlı değil"_s));
    }

    void choiceOfTheDialogIsInForceAtOnce()
    {
        form->start();
        counter->inPortDialog([](scale::frmProperties& dialog) {
            dialog.findChild<QComboBox*>("cboPort")->setCurrentIndex(2);
            dialog.findChild<QPushButton*>("cmdOK")->click();
        });
        QVERIFY(!form->Bağlantı->checked());
        QCOMPARE(form->PortAyarlar->caption(), u"Port Ayar Com=3"_s);
        counter->hear(counter->third, "  70kg\r", u"70"_s);

        // What the port was closed for is told at once, and only there.
        counter->linkPort(4, nobody);
        counter->inPortDialog([](scale::frmProperties& dialog) {
            dialog.findChild<QComboBox*>("cboPort")->setCurrentIndex(3);
            dialog.findChild<QPushButton*>("cmdOK")->click();
        });
        QCOMPARE(form->PortAyarlar->caption(), u"Port Ayarları"_s);
        QVERIFY(form->status->text().startsWith(u"Terazi: Com4 açılamadı, aygıt takılı değil"_s));
        QCOMPARE(counter->prompt.exclamations, QStringList());
    }

    void weightsGoToTheStationThatIsWorkedOn()
    {
        counter->startConnected();
        counter->hear(counter->first, "  1234kg\r", u"1.234"_s); // nobody is chosen yet, and weighing goes on
        QCOMPARE(form->Label3[0]->caption(), u"1.111"_s);
        QVERIFY(form->YazCmd[0]->enabled());
        Counter::click(form->YeniCmd[1]);
        counter->hear(counter->first, "   500kg\r   510kg\r", u"500"_s);
        QCOMPARE(form->Label2[0]->caption(), u"1.234"_s);
        QVERIFY(form->YazCmd[1]->enabled());
    }

    void aTypedWeightIsMarkedAndAWeighedOneIsNot()
    {
        counter->startConnected();
        const auto marked = [&] { return form->status->text().contains(u"✎ elle: zeytin"_s); };
        counter->keys(u"ali"_s); // a name typed over the prompt empties the weight
        counter->hear(counter->first, "  1234kg\r");
        QCOMPARE(form->origins().of(0).olives.bytes, std::string("  1234kg\r"));
        QVERIFY(!marked());
        counter->type(form->Label2[0], u"5"_s);
        QCOMPARE(form->Label2[0]->caption(), u"12.345"_s);
        QVERIFY(marked());
        Counter::click(form->YeniCmd[1]);
        QVERIFY(!marked()); // the other station's
        Counter::click(form->YeniCmd[0]);
        QVERIFY(marked());
        counter->hear(counter->first, "   500kg\r   510kg\r");
        QCOMPARE(form->origins().of(0).olives.bytes, std::string("   500kg\r"));
        QVERIFY(!marked());
        counter->hear(counter->first, "  600", u"0"_s);
        QCOMPARE(form->origins().of(0).olives.bytes, std::string());
        QVERIFY(!marked()); // a weight of 0 is none
    }

    void otherRegionalSettingsGroupTheirWay()
    {
        open(base::Regional::english());
        counter->startConnected();
        counter->hear(counter->first, "1234.5kg\r", u"1,235"_s);
        QCOMPARE(form->Label3[0]->caption(), u"1,112"_s);
    }

    void clearedNameLeavesLineAndWeightAlone()
    {
        counter->startConnected();
        counter->key(u"Sil"_s);
        QCOMPARE(form->TxtLbl[0]->caption(), QString());
        counter->hear(counter->first, "  100kg\r", u"0"_s);
        QVERIFY(form->status->text().startsWith(u"Com1: bağlı, tartım bekleniyor"_s));
        QVERIFY(form->TeraziComm->inBufferCount() > 0);
        counter->keys(u"a"_s);
        QTest::qWait(2100);
        counter->hear(counter->first, "  200kg\r", u"200"_s); // what waited is too old to be a weight
        QCOMPARE(form->TeraziComm->inBufferCount(), 0);
    }

    void afterADialogTheFirstStationWeighs()
    {
        counter->startConnected();
        Counter::click(form->YeniCmd[1]);
        form->activated();
        counter->hear(counter->first, "  100kg\r", u"100"_s);
        QCOMPARE(form->Label2[1]->caption(), u"0"_s);
        QCOMPARE(form->TeraziComm->inBufferCount(), 0);
    }

    void pulledPlugComesBackAlsoWithoutAName()
    {
        counter->startConnected();
        counter->key(u"Sil"_s);
        PseudoTerminal next;
        counter->plugIn(next, 1);
        counter->pullOut(counter->first);
        counter->keys(u"a"_s);
        counter->hear(next, "  200kg\r", u"200"_s);
    }

    void pulledPlugComesBackThroughTheForm()
    {
        counter->startConnected();
        counter->hear(counter->first, "  100kg\r");
        PseudoTerminal next;
        counter->plugIn(next, 1);
        const int before = form->scaleEvents();
        counter->pullOut(counter->first);
        counter->hear(next, "  200kg\r");
        QCOMPARE(form->scaleEvents(), before + 1);
        QCOMPARE(form->Label2[0]->caption(), u"200"_s);

        // The plug stays out; the status line says so at once, and nothing else does, whatever dialog comes and goes.
        counter->linkPort(1, nobody);
        counter->pullOut(next);
        form->activated();
        QVERIFY(form->TeraziComm->portOpen());
        QVERIFY(form->status->text().startsWith(u"Terazi: Com1 kablo çıktı (bekleniyor)"_s));
        PseudoTerminal last;
        counter->plugIn(last, 1);
        counter->hear(last, "  300kg\r", u"300"_s);
        QCOMPARE(counter->messages(), QStringList());
    }

    void readErrorReopensTheLineAndASecondOneIsToldAtOnce()
    {
        FakePort* line = nullptr;
        Surroundings at = counter->surroundings(counter->watched, counter->paper, counter->notes);
        at.serialDevice = [&] {
            auto made = std::make_unique<FakePort>();
            line = made.get();
            return made;
        };
        Form1 screen(at);
        screen.start();
        screen.Bağlantı->trigger();
        const auto says = [&](const QByteArray& bytes, const QString& weight) {
            QTRY_VERIFY(screen.TeraziComm->hearsWholeLines());
            line->deliver(bytes);
            QTRY_COMPARE(screen.Label2[0]->caption(), weight);
            QVERIFY(screen.status->text().startsWith(u"Com1: "_s));
        };
        says("  100kg\r", u"100"_s);

        // The driver could not read, the adapter is there: closed and opened, and the weights go on.
        line->failed();
        QTRY_COMPARE(line->opened.size(), 2);
        QVERIFY(screen.TeraziComm->portOpen());
        says("  200kg\r", u"200"_s);

        // It comes back broken, before any byte: the line is closed, and the status line says so and why.
        line->breaksAtOnce = true;
        line->failed();
        QTRY_VERIFY(!screen.TeraziComm->portOpen());
        QVERIFY2(screen.status->text().startsWith(u"Terazi: Com1 okunamadı"_s), qPrintable(screen.status->text()));
        QCOMPARE(screen.Label2[0]->caption(), u"200"_s);
        QCOMPARE(counter->messages(), QStringList());

        // Whoever acts on the port gets it back.
        line->breaksAtOnce = false;
        screen.Bağlantı->trigger();
        screen.Bağlantı->trigger();
        says("  300kg\r", u"300"_s);
    }

    void closedPortIsToldWithItsReason_data()
    {
        addColumns<QString, QString, QString>("link", "settings", "told");
        QTest::newRow("missing") << nobody << QString() << u"Terazi: Com3 açılamadı, aygıt takılı değil"_s;
        QTest::newRow("no scale at all") << u"/dev/null"_s << QString()
                                         << u"Terazi: Com3 açılamadı, hat ayarları uymuyor"_s;
        QTest::newRow("settings that the line refuses")
            << QString() << u"9600,e,7,1"_s << u"Terazi: Com3 açılamadı, hat ayarları uymuyor"_s;
        QTest::newRow("settings that are none") << QString() << u"9600"_s << u"Terazi: port ayarları geçersiz"_s;
    }

    void closedPortIsToldWithItsReason()
    {
        QFETCH(QString, link);
        QFETCH(QString, settings);
        QFETCH(QString, told);
        counter->store("CommPort", u"3"_s);
        if (!settings.isEmpty()) counter->store("Settings", settings);
        if (!link.isEmpty()) {
            counter->linkPort(3, link);
        }
        counter->startConnected();
        QVERIFY(!form->TeraziComm->portOpen());
        QVERIFY2(form->status->text().startsWith(told), qPrintable(form->status->text()));
        form->Bağlantı->trigger();
        QVERIFY(form->status->text().startsWith(u"Terazi: bağlı değil"_s));
    }

    void formatThatNobodyKnowsLeavesThePortClosed()
    {
        counter->store("Bicim", u"no-such-format"_s);
        counter->startConnected();
        QVERIFY(!form->TeraziComm->portOpen());
        QVERIFY2(form->status->text().startsWith(u"Terazi: biçimi bilinmiyor (no-such-format)"_s),
                 qPrintable(form->status->text()));
        QCOMPARE(counter->prompt.exclamations, QStringList());
        counter->store("Bicim", QString());
        form->activated();
        QVERIFY(form->TeraziComm->portOpen());
    }

    void missingRightToThePortIsTold()
    {
        form->start();
        counter->store("Baglan", u"True"_s);
        QCOMPARE(::chmod(qPrintable(counter->folder.path()), 0755), 0); // the way to the device stays open
        QCOMPARE(::chmod(qPrintable(counter->first.path()), 0), 0);
        {
            const OrdinaryUser user;
            form->activated();
        }
        QVERIFY(form->Bağlantı->checked());
        QVERIFY(!form->TeraziComm->portOpen());
        QVERIFY2(form->status->text().startsWith(u"Terazi: Com1 açılamadı, kullanma izni yok"_s),
                 qPrintable(form->status->text()));
        QCOMPARE(counter->messages(), QStringList());
    }

    void halfLineIsNoWeight()
    {
        counter->startConnected();
        counter->hear(counter->first, "  100kg", u"0"_s);
        QVERIFY(form->status->text().startsWith(u"Com1: tanınmayan satır"_s));
        QCOMPARE(counter->prompt.errors, QList<int>{});
        counter->hear(counter->first, "  100kg\r", u"100"_s);
        QVERIFY(!form->status->text().contains(u"tanınmayan satır"_s));
    }

    void lineThatCameBackIsNotJudgedByAnOldText()
    {
        counter->startConnected();
        counter->hear(counter->first, "Net 12kg\r");
        QVERIFY(form->status->text().startsWith(u"Com1: tanınmayan satır"_s));
        PseudoTerminal next;
        counter->plugIn(next, 1);
        counter->pullOut(counter->first);
        QTRY_VERIFY(form->TeraziComm->isPluggedIn());
        QCOMPARE(form->Label2[0]->caption(), u"Net 12\r"_s);
        QVERIFY2(form->status->text().startsWith(u"Com1: bağlı, tartım bekleniyor"_s),
                 qPrintable(form->status->text()));
    }

    void badLinesAreReportedOnceUntilTheOperatorActsOnThePort()
    {
        counter->startConnected();
        for (int i = 0; i < 3; ++i) counter->hear(counter->first, "Net 10" + QByteArray::number(i) + "kg\r");
        QCOMPARE(form->Label2[0]->caption(), u"Net 102\r"_s);
        QCOMPARE(counter->prompt.errors, QList<int>{13});
        QVERIFY(form->status->text().contains(u"tanınmayan satır"_s));
        counter->hear(counter->first, "  100kg\r");
        QVERIFY(!form->status->text().contains(u"tanınmayan satır"_s));
        for (int i = 0; i < 2; ++i) { // the second is the text that is shown already
            counter->hear(counter->first, "Net 100kg\r");
            QCOMPARE(counter->prompt.errors, QList<int>{13});
            QVERIFY(form->status->text().contains(u"tanınmayan satır"_s));
        }
        QVERIFY(form->TeraziComm->portOpen());

        form->Bağlantı->trigger();
        form->Bağlantı->trigger();
        counter->hear(counter->first, "Net 101kg\r");
        QCOMPARE(counter->prompt.errors, (QList<int>{13, 13}));
    }

    void weightDoesNotTouchTheKeypadsField()
    {
        counter->startConnected();
        counter->keys(u"al"_s);
        counter->hear(counter->first, "  100kg\r");
        QCOMPARE(form->AktifLbl, form->TxtLbl[0]);
        counter->keys(u"i"_s);
        QCOMPARE(form->TxtLbl[0]->caption(), u"Ali"_s);
        QCOMPARE(form->Label2[0]->caption(), u"100"_s);
    }

    void keypadTypesOverAWeight()
    {
        counter->startConnected();
        counter->keys(u"a"_s);
        Counter::click(form->Label2[0]);
        counter->hear(counter->first, "  100kg\r");
        counter->keys(u"5"_s);
        QCOMPARE(form->Label2[0]->caption(), u"1.005"_s);
        counter->hear(counter->first, "  100kg\r", u"100"_s);
        QCOMPARE(form->Label3[0]->caption(), u"90"_s);
    }
};

QTEST_MAIN(ScalePort)
#include "scale_port.moc"
