#include "app/setting_names.h"
#include "scale/frm_properties.h"
#include "tests/app/counter_world.h"
#include "tests/scale/ordinary_user.h"
#include "tests/scale/pseudo_terminal.h"

#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QPushButton>
#include <QTimer>
#include <functional>
#include <sys/stat.h>

using namespace app;

namespace {

/// A counter whose Com1 and Com3 are lines that the test holds the other end of.
struct WeighingCounter : Counter {
    explicit WeighingCounter(const base::Regional& regional = base::Regional::turkish()) : Counter(regional)
    {
        plugIn(first, 1);
        plugIn(third, 3);
    }
    void plugIn(const PseudoTerminal& line, int port) const
    {
        QVERIFY(QFile::link(line.path(), folder.filePath(QStringLiteral("com%1").arg(port))));
    }
    void store(const char* key, const QString& text)
    {
        settings.save(programTitle, propertiesSection, QString::fromLatin1(key), text);
    }
    QString stored(const char* key) const
    {
        return settings.get(programTitle, propertiesSection, QString::fromLatin1(key), QStringLiteral("-"));
    }
    /// The line says this, and the screen has dealt with it.
    void hear(PseudoTerminal& line, const QByteArray& bytes)
    {
        QTRY_VERIFY(form.TeraziComm->hearsWholeLines());
        const int before = form.scaleEvents();
        line.send(bytes);
        QTRY_COMPARE(form.scaleEvents(), before + 1);
    }

    /// The plug is out, and the screen has noticed and says so; the port stays open.
    void pullOut(PseudoTerminal& line)
    {
        line.pullOut();
        QTRY_VERIFY(!form.TeraziComm->isPluggedIn());
        QVERIFY(form.TeraziComm->portOpen());
        QVERIFY(form.status->text().startsWith(QStringLiteral("Terazi: Com1 kablo çıktı (bekleniyor)")));
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

private slots:
    void initTestCase() { applyTheme(*qApp); }

    void checkedConnectItemOpensThePortAtEveryActivation();
    void activationOpensTheOpenPortAfresh();
    void activationGoesOnWhereTheReportOfTheNewDayFails_data();
    void activationGoesOnWhereTheReportOfTheNewDayFails();
    void uncheckedConnectItemLeavesThePortClosed();
    void connectItemOpensAndCloses();
    void storedPortIsOpened_data();
    void storedPortIsOpened();
    void unusableSettingsAreReportedAndThePortStaysClosed_data();
    void unusableSettingsAreReportedAndThePortStaysClosed();
    void settingsAreReadAgainAtEachOpening();
    void missingPortIsSilent();
    void busyPortIsSilent();
    void loadingAloneOpensNoPort();
    void choicesStoredBetweenTwoActivationsHoldFromTheSecond();

    void leavingTheDialogRunsTheActivation_data();
    void leavingTheDialogRunsTheActivation();
    void leavingTheDialogReopensTheConnectedPort_data();
    void leavingTheDialogReopensTheConnectedPort();
    void cancelledDialogLeavesAnUnconnectedPortClosed();
    void choiceOfTheDialogIsInForceAtOnce();

    void weightsGoToTheStationThatIsWorkedOn();
    void otherRegionalSettingsGroupTheirWay();
    void clearedNameLeavesLineAndWeightAlone();
    void afterADialogTheFirstStationWeighs();
    void pulledPlugComesBackAlsoWithoutAName();
    void pulledPlugComesBackThroughTheForm();
    void closedPortIsToldWithItsReason_data();
    void closedPortIsToldWithItsReason();
    void missingRightToThePortIsTold();
    void halfLineIsNoWeight();
    void lineThatCameBackIsNotJudgedByAnOldText();
    void badLinesAreReportedOnceUntilTheOperatorActsOnThePort();
    void weightDoesNotTouchTheKeypadsField();
    void keypadTypesOverAWeight();
};

void ScalePort::checkedConnectItemOpensThePortAtEveryActivation()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    counter.store("Baglan", QStringLiteral("True"));
    form.start();
    QVERIFY(form.Bağlantı->checked());
    QVERIFY(form.TeraziComm->portOpen());
    form.TeraziComm->setPortOpen(false);
    form.activated();
    QVERIFY(form.TeraziComm->portOpen());
    QCOMPARE(counter.prompt.exclamations, QStringList());
}

void ScalePort::activationOpensTheOpenPortAfresh()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    counter.store("Baglan", QStringLiteral("True"));
    form.start();
    counter.store("CommPort", QStringLiteral("3"));
    form.activated();
    QVERIFY(form.TeraziComm->portOpen());
    QCOMPARE(form.TeraziComm->commPort(), 3); // an open port would have refused the number
    counter.hear(counter.third, "  70kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("70"));
}

void ScalePort::activationGoesOnWhereTheReportOfTheNewDayFails_data()
{
    QTest::addColumn<bool>("panel");
    QTest::newRow("name at the second station") << false;
    QTest::newRow("name in the report panel") << true;
}

void ScalePort::activationGoesOnWhereTheReportOfTheNewDayFails()
{
    QFETCH(bool, panel);
    WeighingCounter counter;
    Form1& form = counter.form;
    counter.addCustomer(QStringLiteral("O'Neil"));
    counter.store("Baglan", QStringLiteral("True"));
    form.start();
    Counter::click(form.YeniCmd[1]);
    CaptionLabel* edited = form.TxtLbl[0];
    if (panel) {
        Counter::click(form.GünlükCmd);
        Counter::click(form.Option1[1]);
        edited = form.GünLbl;
    }
    counter.key(QStringLiteral("o"));
    counter.pick(QStringLiteral("O'Neil"));
    form.dbListe1->setVisible(true);
    form.Kaydet->setVisible(!panel);
    counter.prompt.errors.clear();

    counter.clock.pass(qint64(12) * 60 * 60); // past midnight
    counter.inPortDialog([](scale::frmProperties& dialog) { dialog.findChild<QPushButton*>("cmdCancel")->click(); });
    QCOMPARE(counter.prompt.errors, QList<int>{3075});
    QCOMPARE(form.DTPickerBas->value(), counter.clock.now.date());
    QCOMPARE(form.DTPickerSon->value(), counter.clock.now.date());
    QCOMPARE(form.AktifKontrol, 0.0f);
    QVERIFY(form.Frame1[0]->enabled() && !form.Frame1[1]->enabled());
    QCOMPARE(form.AktifLbl, edited);
    QVERIFY(!form.Kaydet->visible());
    QVERIFY(!form.dbListe1->visible());
    QVERIFY(form.Bağlantı->checked());
    QVERIFY(form.TeraziComm->portOpen());
    counter.hear(counter.first, "  70kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("70"));
}

void ScalePort::uncheckedConnectItemLeavesThePortClosed()
{
    WeighingCounter counter;
    counter.store("Baglan", QStringLiteral("False"));
    counter.store("Settings", QStringLiteral("nonsense"));
    counter.form.start();
    QVERIFY(!counter.form.TeraziComm->portOpen());
    QCOMPARE(counter.prompt.exclamations, QStringList());
}

void ScalePort::connectItemOpensAndCloses()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    for (const bool connected : {true, false, true}) {
        form.Bağlantı->trigger();
        QCOMPARE(form.Bağlantı->checked(), connected);
        QCOMPARE(form.TeraziComm->portOpen(), connected);
        QCOMPARE(counter.stored("Baglan"), connected ? QStringLiteral("True") : QStringLiteral("False"));
    }
}

void ScalePort::storedPortIsOpened_data()
{
    QTest::addColumn<QString>("Settings");
    QTest::addColumn<QString>("CommPort");
    QTest::addColumn<QString>("Handshaking");
    QTest::addColumn<QString>("opened"); // number, settings, flow control
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

void ScalePort::storedPortIsOpened()
{
    QFETCH(QString, Settings);
    QFETCH(QString, CommPort);
    QFETCH(QString, Handshaking);
    WeighingCounter counter;
    scale::TeraziComm& line = *counter.form.TeraziComm;
    if (!Settings.isEmpty()) counter.store("Settings", Settings);
    if (!CommPort.isEmpty()) counter.store("CommPort", CommPort);
    if (!Handshaking.isEmpty()) counter.store("Handshaking", Handshaking);
    counter.store("Baglan", QStringLiteral("True"));
    counter.form.start();
    QVERIFY(line.portOpen());
    QTEST(QStringLiteral("%1 %2 %3").arg(line.commPort()).arg(line.settings()).arg(line.handshaking()), "opened");
    QCOMPARE(counter.prompt.exclamations, QStringList());
    QCOMPARE(counter.prompt.errors, QList<int>{});
}

void ScalePort::unusableSettingsAreReportedAndThePortStaysClosed_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("error");
    QTest::addColumn<int>("port"); // afterwards; 3 is stored
    // clang-format off
    QTest::newRow("settings string") << "Settings" << "9600,X,8,1" << 380 << 1;
    QTest::newRow("settings string of another shape") << "Settings" << "9600" << 380 << 1;
    QTest::newRow("flow control that is no number") << "Handshaking" << "abc" << 13 << 3;
    QTest::newRow("flow control that is no mode") << "Handshaking" << "9" << 380 << 3;
    QTest::newRow("flow control beyond any number") << "Handshaking" << "2147483648" << 6 << 3;
    // clang-format on
}

void ScalePort::unusableSettingsAreReportedAndThePortStaysClosed()
{
    QFETCH(QString, key);
    QFETCH(QString, text);
    QFETCH(int, error);
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    QVERIFY(form.TeraziComm->portOpen());
    counter.store(key.toLatin1(), text);
    counter.store("CommPort", QStringLiteral("3"));
    form.activated();
    const QString sentence = error == 380 ? scale::commError(error).text() : base::runtimeError(error).text();
    QCOMPARE(counter.prompt.exclamations, QStringList{sentence});
    QCOMPARE(counter.prompt.errors, QList<int>{});
    QVERIFY(!form.TeraziComm->portOpen());
    QTEST(form.TeraziComm->commPort(), "port");
    QVERIFY(form.Bağlantı->checked());
    QCOMPARE(form.AktifLbl, form.TxtLbl[0]); // the activation itself is done
}

void ScalePort::settingsAreReadAgainAtEachOpening()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    QCOMPARE(form.TeraziComm->settings(), QStringLiteral("9600,n,8,1"));
    form.Bağlantı->trigger();
    counter.store("Settings", QStringLiteral("4800,n,8,1"));
    form.Bağlantı->trigger();
    QCOMPARE(form.TeraziComm->settings(), QStringLiteral("4800,n,8,1"));
}

void ScalePort::missingPortIsSilent()
{
    WeighingCounter counter;
    counter.store("CommPort", QStringLiteral("3"));
    QVERIFY(QFile::remove(counter.folder.filePath(QStringLiteral("com3"))));
    QVERIFY(QFile::link(QStringLiteral("/dev/nobody-there"), counter.folder.filePath(QStringLiteral("com3"))));
    counter.store("Baglan", QStringLiteral("True"));
    counter.form.start();
    QVERIFY(!counter.form.TeraziComm->portOpen());
    QVERIFY(counter.form.Bağlantı->checked());
    QCOMPARE(counter.prompt.exclamations, QStringList());
    QCOMPARE(counter.prompt.errors, QList<int>{});
}

void ScalePort::busyPortIsSilent()
{
    WeighingCounter counter;
    scale::TeraziComm other(scale::systemPorts(counter.folder.path()));
    other.setPortOpen(true);
    counter.store("Baglan", QStringLiteral("True"));
    counter.form.start();
    QVERIFY(!counter.form.TeraziComm->portOpen());
    QCOMPARE(counter.prompt.exclamations, QStringList());
    QCOMPARE(counter.prompt.errors, QList<int>{});
    QVERIFY(
        counter.form.status->text().startsWith(QStringLiteral("Terazi: Com1 açılamadı, başka bir program kullanıyor")));

    other.setPortOpen(false);
    counter.form.activated();
    counter.hear(counter.first, "  100kg\r");
    QCOMPARE(counter.form.Label2[0]->caption(), QStringLiteral("100"));
}

void ScalePort::loadingAloneOpensNoPort()
{
    WeighingCounter counter;
    counter.store("Baglan", QStringLiteral("True"));
    counter.form.Form_Load();
    QVERIFY(!counter.form.TeraziComm->portOpen());
    QVERIFY(!counter.form.Bağlantı->checked());
    counter.form.activated();
    QVERIFY(counter.form.TeraziComm->portOpen());
}

void ScalePort::choicesStoredBetweenTwoActivationsHoldFromTheSecond()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    QVERIFY(!form.TeraziComm->portOpen());
    for (const bool on : {true, false}) {
        const bool open = form.TeraziComm->portOpen();
        counter.settings.saveFlag(QStringLiteral("presva"), keypadSection, QStringLiteral("Caps"), on);
        counter.settings.saveFlag(programTitle, propertiesSection, QStringLiteral("Baglan"), on);
        QCOMPARE(form.CapsDurum, !on);
        QCOMPARE(form.Bağlantı->checked(), !on);
        QCOMPARE(form.TeraziComm->portOpen(), open);
        form.activated();
        QCOMPARE(form.CapsDurum, on);
        QCOMPARE(form.Label1[47]->caption(), on ? QStringLiteral("AB") : QStringLiteral("ab"));
        QCOMPARE(form.Bağlantı->checked(), on);
        // An unchecked item opens no port, and closes none either: that is for the item itself.
        QVERIFY(form.TeraziComm->portOpen());
    }
}

void ScalePort::leavingTheDialogRunsTheActivation_data() { addLeavings(); }

void ScalePort::leavingTheDialogRunsTheActivation()
{
    QFETCH(Leaving, leave);
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    Counter::click(form.YeniCmd[1]);
    for (DropDownList* list : form.Combo1) list->setListIndex(2);
    form.DTPickerSon->setValue(QDate(2025, 11, 3));
    form.DTPickerBas->setValue(QDate(2025, 11, 2));
    counter.inPortDialog(leave);
    QCOMPARE(form.AktifKontrol, 0.0f);
    QCOMPARE(form.AktifLbl, form.TxtLbl[0]);
    for (const DropDownList* list : form.Combo1) QCOMPARE(list->listIndex(), 0);
    QCOMPARE(form.DTPickerBas->value(), counter.clock.now.date());
    QCOMPARE(form.DTPickerSon->value(), counter.clock.now.date());
}

void ScalePort::leavingTheDialogReopensTheConnectedPort_data() { addLeavings(); }

void ScalePort::leavingTheDialogReopensTheConnectedPort()
{
    QFETCH(Leaving, leave);
    WeighingCounter counter;
    Form1& form = counter.form;
    counter.store("Baglan", QStringLiteral("True"));
    counter.store("CommPort", QStringLiteral("3"));
    form.start();
    counter.inPortDialog([&](scale::frmProperties& dialog) {
        QVERIFY(!form.TeraziComm->portOpen());
        QVERIFY(form.status->text().startsWith(QStringLiteral("Terazi: bağlı değil")));
        dialog.findChild<QComboBox*>("cboPort")->setCurrentIndex(0);
        leave(dialog);
    });
    QVERIFY(form.TeraziComm->portOpen());
    QCOMPARE(form.PortAyarlar->caption(), QStringLiteral("Port Ayar Com=3"));
    QVERIFY(form.status->text().startsWith(QStringLiteral("Com3: ")));
    QCOMPARE(counter.stored("CommPort"), QStringLiteral("3"));
    counter.hear(counter.third, "  70kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("70"));
}

void ScalePort::cancelledDialogLeavesAnUnconnectedPortClosed()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    counter.inPortDialog([](scale::frmProperties& dialog) { dialog.findChild<QPushButton*>("cmdCancel")->click(); });
    QVERIFY(!form.TeraziComm->portOpen());
    QCOMPARE(form.PortAyarlar->caption(), QStringLiteral("Port Ayarları"));
    QCOMPARE(counter.stored("CommPort"), QStringLiteral("-"));
    QVERIFY(form.status->text().startsWith(QStringLiteral("Terazi: bağlı değil")));
}

void ScalePort::choiceOfTheDialogIsInForceAtOnce()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    counter.inPortDialog([](scale::frmProperties& dialog) {
        dialog.findChild<QComboBox*>("cboPort")->setCurrentIndex(2);
        dialog.findChild<QPushButton*>("cmdOK")->click();
    });
    QVERIFY(!form.Bağlantı->checked());
    QCOMPARE(form.PortAyarlar->caption(), QStringLiteral("Port Ayar Com=3"));
    counter.hear(counter.third, "  70kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("70"));

    // What the port was closed for is told at once, and only there.
    QVERIFY(QFile::link(QStringLiteral("/dev/nobody-there"), counter.folder.filePath(QStringLiteral("com4"))));
    counter.inPortDialog([](scale::frmProperties& dialog) {
        dialog.findChild<QComboBox*>("cboPort")->setCurrentIndex(3);
        dialog.findChild<QPushButton*>("cmdOK")->click();
    });
    QCOMPARE(form.PortAyarlar->caption(), QStringLiteral("Port Ayarları"));
    QVERIFY(form.status->text().startsWith(QStringLiteral("Terazi: Com4 açılamadı, aygıt takılı değil")));
    QCOMPARE(counter.prompt.exclamations, QStringList());
}

void ScalePort::weightsGoToTheStationThatIsWorkedOn()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    counter.hear(counter.first, "  1234kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("1.234")); // nobody is chosen yet, and weighing goes on
    QCOMPARE(form.Label3[0]->caption(), QStringLiteral("1.111"));
    QVERIFY(form.YazCmd[0]->enabled());
    Counter::click(form.YeniCmd[1]);
    counter.hear(counter.first, "   500kg\r   510kg\r");
    QCOMPARE(form.Label2[1]->caption(), QStringLiteral("500"));
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("1.234"));
    QVERIFY(form.YazCmd[1]->enabled());
}

void ScalePort::otherRegionalSettingsGroupTheirWay()
{
    WeighingCounter counter(base::Regional::english());
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    counter.hear(counter.first, "1234.5kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("1,235"));
    QCOMPARE(form.Label3[0]->caption(), QStringLiteral("1,112"));
}

void ScalePort::clearedNameLeavesLineAndWeightAlone()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    counter.key(QStringLiteral("Sil"));
    QCOMPARE(form.TxtLbl[0]->caption(), QString());
    counter.hear(counter.first, "  100kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("0"));
    QVERIFY(form.status->text().startsWith(QStringLiteral("Com1: bağlı, tartım bekleniyor")));
    QVERIFY(form.TeraziComm->inBufferCount() > 0);
    counter.keys(QStringLiteral("a"));
    QTest::qWait(2100);
    counter.hear(counter.first, "  200kg\r"); // what waited is too old to be a weight
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("200"));
    QCOMPARE(form.TeraziComm->inBufferCount(), 0);
}

void ScalePort::pulledPlugComesBackThroughTheForm()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    counter.hear(counter.first, "  100kg\r");
    PseudoTerminal next;
    QVERIFY(QFile::remove(counter.folder.filePath(QStringLiteral("com1"))));
    counter.plugIn(next, 1);
    const int before = form.scaleEvents();
    counter.pullOut(counter.first);
    counter.hear(next, "  200kg\r");
    QCOMPARE(form.scaleEvents(), before + 1);
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("200"));

    // The plug stays out; the status line says so at once, and nothing else does, whatever dialog comes and goes.
    QVERIFY(QFile::remove(counter.folder.filePath(QStringLiteral("com1"))));
    QVERIFY(QFile::link(QStringLiteral("/dev/nobody-there"), counter.folder.filePath(QStringLiteral("com1"))));
    counter.pullOut(next);
    form.activated();
    QVERIFY(form.TeraziComm->portOpen());
    QVERIFY(form.status->text().startsWith(QStringLiteral("Terazi: Com1 kablo çıktı (bekleniyor)")));
    PseudoTerminal last;
    QVERIFY(QFile::remove(counter.folder.filePath(QStringLiteral("com1"))));
    counter.plugIn(last, 1);
    counter.hear(last, "  300kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("300"));
    QCOMPARE(counter.prompt.errors, QList<int>{});
    QCOMPARE(counter.prompt.exclamations, QStringList());
}

void ScalePort::pulledPlugComesBackAlsoWithoutAName()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    counter.key(QStringLiteral("Sil"));
    PseudoTerminal next;
    QVERIFY(QFile::remove(counter.folder.filePath(QStringLiteral("com1"))));
    counter.plugIn(next, 1);
    counter.pullOut(counter.first);
    counter.keys(QStringLiteral("a"));
    counter.hear(next, "  200kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("200"));
}

void ScalePort::closedPortIsToldWithItsReason_data()
{
    QTest::addColumn<QString>("link");
    QTest::addColumn<QString>("settings");
    QTest::addColumn<QString>("told");
    QTest::newRow("missing") << "/dev/nobody-there"
                             << ""
                             << "Terazi: Com3 açılamadı, aygıt takılı değil";
    QTest::newRow("no scale at all") << "/dev/null"
                                     << ""
                                     << "Terazi: Com3 açılamadı, hat ayarları uymuyor";
    QTest::newRow("settings that the line refuses") << ""
                                                    << "9600,e,7,1"
                                                    << "Terazi: Com3 açılamadı, hat ayarları uymuyor";
    QTest::newRow("settings that are none") << ""
                                            << "9600"
                                            << "Terazi: port ayarları geçersiz";
}

void ScalePort::closedPortIsToldWithItsReason()
{
    QFETCH(QString, link);
    QFETCH(QString, settings);
    QFETCH(QString, told);
    WeighingCounter counter;
    counter.store("CommPort", QStringLiteral("3"));
    if (!settings.isEmpty()) counter.store("Settings", settings);
    if (!link.isEmpty()) {
        QVERIFY(QFile::remove(counter.folder.filePath(QStringLiteral("com3"))));
        QVERIFY(QFile::link(link, counter.folder.filePath(QStringLiteral("com3"))));
    }
    counter.form.start();
    counter.form.Bağlantı->trigger();
    QVERIFY(!counter.form.TeraziComm->portOpen());
    QVERIFY2(counter.form.status->text().startsWith(told), qPrintable(counter.form.status->text()));
    counter.form.Bağlantı->trigger();
    QVERIFY(counter.form.status->text().startsWith(QStringLiteral("Terazi: bağlı değil")));
}

void ScalePort::missingRightToThePortIsTold()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    counter.store("Baglan", QStringLiteral("True"));
    QCOMPARE(::chmod(qPrintable(counter.folder.path()), 0755), 0); // the way to the device stays open
    QCOMPARE(::chmod(qPrintable(counter.first.path()), 0), 0);
    {
        const OrdinaryUser user;
        form.activated();
    }
    QVERIFY(form.Bağlantı->checked());
    QVERIFY(!form.TeraziComm->portOpen());
    QVERIFY2(form.status->text().startsWith(QStringLiteral("Terazi: Com1 açılamadı, kullanma izni yok")),
             qPrintable(form.status->text()));
    QCOMPARE(counter.prompt.exclamations, QStringList());
    QCOMPARE(counter.prompt.errors, QList<int>{});
}

void ScalePort::halfLineIsNoWeight()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    counter.hear(counter.first, "  100kg");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("0"));
    QVERIFY(form.status->text().startsWith(QStringLiteral("Com1: tanınmayan satır")));
    QCOMPARE(counter.prompt.errors, QList<int>{});
    counter.hear(counter.first, "  100kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("100"));
    QVERIFY(!form.status->text().contains(QStringLiteral("tanınmayan satır")));
}

void ScalePort::lineThatCameBackIsNotJudgedByAnOldText()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    counter.hear(counter.first, "Net 12kg\r");
    QVERIFY(form.status->text().startsWith(QStringLiteral("Com1: tanınmayan satır")));
    PseudoTerminal next;
    QVERIFY(QFile::remove(counter.folder.filePath(QStringLiteral("com1"))));
    counter.plugIn(next, 1);
    counter.pullOut(counter.first);
    QTRY_VERIFY(form.TeraziComm->isPluggedIn());
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("Net 12\r"));
    QVERIFY2(form.status->text().startsWith(QStringLiteral("Com1: bağlı, tartım bekleniyor")),
             qPrintable(form.status->text()));
}

void ScalePort::afterADialogTheFirstStationWeighs()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    Counter::click(form.YeniCmd[1]);
    form.activated();
    counter.hear(counter.first, "  100kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("100"));
    QCOMPARE(form.Label2[1]->caption(), QStringLiteral("0"));
    QCOMPARE(form.TeraziComm->inBufferCount(), 0);
}

void ScalePort::badLinesAreReportedOnceUntilTheOperatorActsOnThePort()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    for (int i = 0; i < 3; ++i) counter.hear(counter.first, "Net 10" + QByteArray::number(i) + "kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("Net 102\r"));
    QCOMPARE(counter.prompt.errors, QList<int>{13});
    QVERIFY(form.status->text().contains(QStringLiteral("tanınmayan satır")));
    counter.hear(counter.first, "  100kg\r");
    QVERIFY(!form.status->text().contains(QStringLiteral("tanınmayan satır")));
    for (int i = 0; i < 2; ++i) { // the second is the text that is shown already
        counter.hear(counter.first, "Net 100kg\r");
        QCOMPARE(counter.prompt.errors, QList<int>{13});
        QVERIFY(form.status->text().contains(QStringLiteral("tanınmayan satır")));
    }
    QVERIFY(form.TeraziComm->portOpen());

    form.Bağlantı->trigger();
    form.Bağlantı->trigger();
    counter.hear(counter.first, "Net 101kg\r");
    QCOMPARE(counter.prompt.errors, (QList<int>{13, 13}));
}

void ScalePort::weightDoesNotTouchTheKeypadsField()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    counter.keys(QStringLiteral("al"));
    counter.hear(counter.first, "  100kg\r");
    QCOMPARE(form.AktifLbl, form.TxtLbl[0]);
    counter.keys(QStringLiteral("i"));
    QCOMPARE(form.TxtLbl[0]->caption(), QStringLiteral("Ali"));
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("100"));
}

void ScalePort::keypadTypesOverAWeight()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    counter.keys(QStringLiteral("a"));
    Counter::click(form.Label2[0]);
    counter.hear(counter.first, "  100kg\r");
    counter.keys(QStringLiteral("5"));
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("1.005"));
    counter.hear(counter.first, "  100kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("100"));
    QCOMPARE(form.Label3[0]->caption(), QStringLiteral("90"));
}

QTEST_MAIN(ScalePort)
#include "scale_port.moc"
