#include "app/setting_names.h"
#include "tests/app/counter_world.h"
#include "tests/scale/pseudo_terminal.h"

#include <QFile>

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
        const int before = form.scaleEvents();
        line.send(bytes);
        QTRY_COMPARE(form.scaleEvents(), before + 1);
    }

    PseudoTerminal first, third;
};

} // namespace

/// The scale's port as the screen opens it, and the weights that come from it.
class ScalePort : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { applyTheme(*qApp); }

    void checkedConnectItemOpensThePortAtEveryActivation();
    void activationOpensTheOpenPortAfresh();
    void uncheckedConnectItemLeavesThePortClosed();
    void connectItemOpensAndCloses();
    void storedPortIsOpened_data();
    void storedPortIsOpened();
    void unusableSettingsAreReportedAndThePortStaysClosed_data();
    void unusableSettingsAreReportedAndThePortStaysClosed();
    void settingsAreReadAgainAtEachOpening();
    void missingPortIsSilent();

    void weightsGoToTheStationThatIsWorkedOn();
    void otherRegionalSettingsGroupTheirWay();
    void clearedNameLeavesLineAndWeightAlone();
    void afterADialogTheFirstStationWeighs();
    void badLinesAreReportedOnceUntilAGoodOne();
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
    QVERIFY(form.TeraziComm->inBufferCount() > 0);
    counter.keys(QStringLiteral("a"));
    counter.hear(counter.first, "  200kg\r"); // the line that waited is the first one of the burst
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("100"));
    QCOMPARE(form.TeraziComm->inBufferCount(), 0);
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

void ScalePort::badLinesAreReportedOnceUntilAGoodOne()
{
    WeighingCounter counter;
    Form1& form = counter.form;
    form.start();
    form.Bağlantı->trigger();
    for (int i = 0; i < 3; ++i) counter.hear(counter.first, "Net 10" + QByteArray::number(i) + "kg\r");
    QCOMPARE(form.Label2[0]->caption(), QStringLiteral("Net 102\r"));
    QCOMPARE(counter.prompt.errors, QList<int>{13});
    counter.hear(counter.first, "  100kg\r");
    counter.hear(counter.first, "Net 100kg\r");
    QCOMPARE(counter.prompt.errors, (QList<int>{13, 13}));
    QVERIFY(form.TeraziComm->portOpen());
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
