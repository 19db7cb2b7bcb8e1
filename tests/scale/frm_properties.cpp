#include "scale/frm_properties.h"
#include "scale/formats/format_table.h"
#include "tests/doors/fake_comm_control.h"
#include "tests/doors/fake_port.h"
#include "tests/support/columns.h"
#include "tests/support/no_screen.h"
#include "tests/support/outcome.h"
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>

using namespace scale;

namespace {

/// What is searched must be there; this device of every system is.
#ifdef _WIN32
const QString alwaysThere = u"NUL"_s;
#else
const QString alwaysThere = u"/dev/null"_s;
#endif

/// A line that tells how many of its kind there are.
class CountedPort : public FakePort {
public:
    explicit CountedPort(int& count) : count_(count) { ++count_; }
    ~CountedPort() override { --count_; }
    CountedPort(const CountedPort&) = delete;
    CountedPort& operator=(const CountedPort&) = delete;

private:
    int& count_;
};

} // namespace

/// The port settings dialog over a recording control.
class FrmPropertiesTest : public QObject {
    Q_OBJECT

public:
    static void initMain() { leaveTheScreen(); }

private slots:
    void init()
    {
        dialog_.reset();
        control_ = FakeCommControl();
        saved_.clear();
        warnings_.clear();
        failingKey_.clear();
        reading_ = {};
        listens_ = false;
        refusal_ = 0;
        onlyPort_ = 0;
        line_ = nullptr;
    }

    void listsHoldTheirEntriesInOrder()
    {
        load();
        const auto entries = [this](const char* name) {
            QStringList texts;
            for (int i = 0; i < list(name)->count(); ++i) texts += list(name)->itemText(i);
            return texts.join(u' ');
        };
        QCOMPARE(entries("cboPort"),
                 u"Com1 Com2 Com3 Com4 Com5 Com6 Com7 Com8 Com9 Com10 Com11 Com12 Com13 Com14 Com15 "
                 "Com16"_s);
        QCOMPARE(entries("cboSpeed"),
                 u"110 300 600 1200 2400 4800 9600 14400 19200 28800 38400 56000 57600 115200 128000 "
                 "256000"_s);
        QCOMPARE(entries("cboDataBits"), u"4 5 6 7 8"_s);
        QCOMPARE(entries("cboParity"), u"Even Odd None Mark Space"_s);
        QCOMPARE(entries("cboStopBits"), u"1 1.5 2"_s);
        QStringList flows;
        for (int i = 0; i < 4; ++i) flows += option(u"optFlow(%1)"_s.arg(i))->text();
        QCOMPARE(flows.join(u' '), u"Yok Xon/Xoff RTS Xon/RTS"_s);
    }

    void stateOfTheControlIsPreset_data()
    {
        addColumns<QString, QString, QString, QString, QString>("reported", "speed", "parity", "dataBits", "stopBits");
        QTest::newRow("usual") << u"9600,n,8,1"_s << u"9600"_s << u"None"_s << u"8"_s << u"1"_s;
        QTest::newRow("one and a half") << u"9600,n,8,1.5"_s << u"9600"_s << u"None"_s << u"8"_s << u"1.5"_s;
        QTest::newRow("even") << u"115200,e,7,2"_s << u"115200"_s << u"Even"_s << u"7"_s << u"2"_s;
        QTest::newRow("odd") << u"110,o,5,1.5"_s << u"110"_s << u"Odd"_s << u"5"_s << u"1.5"_s;
        QTest::newRow("mark") << u"256000,m,8,1"_s << u"256000"_s << u"Mark"_s << u"8"_s << u"1"_s;
        QTest::newRow("space") << u"300,s,8,1"_s << u"300"_s << u"Space"_s << u"8"_s << u"1"_s;
        QTest::newRow("capital letter is not recognised")
            << u"9600,N,8,1"_s << u"9600"_s << QString() << u"8"_s << u"1"_s;
    }

    void stateOfTheControlIsPreset()
    {
        QFETCH(QString, reported);
        control_.line = reported;
        control_.port = 16;
        load();
        QTEST(list("cboSpeed")->currentText(), "speed");
        QTEST(list("cboParity")->currentText(), "parity");
        QTEST(list("cboDataBits")->currentText(), "dataBits");
        QTEST(list("cboStopBits")->currentText(), "stopBits");
        QCOMPARE(list("cboPort")->currentText(), u"Com16"_s);
    }

    void unknownSpeedStopsLoading()
    {
        control_.line = u"12345,n,8,1"_s;
        QCOMPARE(outcomeOf([this] { load(); }), u"E383"_s);
    }

    void everyFlowModePresetsItsButton()
    {
        for (int mode = 0; mode < 4; ++mode) {
            control_.flow = mode;
            load();
            QVERIFY(option(u"optFlow(%1)"_s.arg(mode))->isChecked());
            ok();
            QVERIFY(control_.steps.contains(u"flow=%1"_s.arg(mode)));
        }
    }

    void echoStartsOff()
    {
        load();
        QVERIFY(option(u"optEcho(0)"_s)->isChecked());
        QVERIFY(!option(u"optEcho(1)"_s)->isChecked());
        ok();
        QVERIFY(saved_.contains(u"Echo=False"_s));
    }

    void dialogStandsInTheMiddleOfTheScreen()
    {
        load();
        const QRect screen = dialog_->screen()->geometry();
        QCOMPARE(dialog_->x(), (screen.width() - dialog_->width()) / 2);
        QCOMPARE(dialog_->y(), (screen.height() - dialog_->height()) / 2);
        QVERIFY2(dialog_->height() <= 700 && dialog_->width() <= 1000, "it must fit a 1024 x 768 screen");
    }

    void everythingIsLargeEnoughForAFinger()
    {
        load();
        QList<QWidget*> targets;
        for (auto* widget : dialog_->findChildren<QComboBox*>()) targets += widget;
        for (auto* widget : dialog_->findChildren<QRadioButton*>()) targets += widget;
        for (auto* widget : dialog_->findChildren<QPushButton*>()) targets += widget;
        for (auto* widget : dialog_->findChildren<QCheckBox*>()) targets += widget;
        QCOMPARE(targets.size(), 6 + 6 + 3 + 1);
        for (const QWidget* target : targets)
            QVERIFY2(target->height() >= 48 && target->width() >= 48, qPrintable(target->objectName()));
        for (int i = 0; i < 16; ++i) QVERIFY(list("cboPort")->itemData(i, Qt::SizeHintRole).toSize().height() >= 48);
    }

    void lettersAndFingersGrowWithTheScreenBehind()
    {
        QWidget screen;
        screen.resize(1920, 1080);
        PropertiesDoors doors;
        doors.ports = [](int) { return std::nullopt; };
        frmProperties dialog(control_, doors, &screen);
        dialog.Form_Load();
        dialog.show();
        for (const QWidget* control : dialog.findChildren<QWidget*>())
            if (!control->objectName().isEmpty() && !control->objectName().startsWith(u"qt_"_s))
                QVERIFY2(control->fontInfo().pixelSize() == 24, qPrintable(control->objectName()));
        QVERIFY(dialog.findChild<QPushButton*>(u"cmdOK"_s)->minimumHeight() >= 67);
        QVERIFY(dialog.findChild<QComboBox*>(u"cboBicim"_s)->minimumHeight() >= 67);
        QVERIFY2(dialog.height() <= 1080 && dialog.width() <= 1920, qPrintable(QString::number(dialog.height())));
    }

    void buttonsStayWhereTheScreenIsTooSmallForTheChoices()
    {
        QWidget screen;
        // Letters for which no screen of a test is high enough. Some systems let nobody else grow beyond the screen.
        screen.setMinimumSize(5000, 4000);
        screen.show(); // with its frame, as a dialog's will be
        PropertiesDoors doors;
        doors.ports = [](int) { return std::nullopt; };
        frmProperties dialog(control_, doors, &screen);
        dialog.Form_Load();
        dialog.show();
        const QRect room = dialog.screen()->availableGeometry();
        QVERIFY2(dialog.y() >= room.top() && dialog.geometry().bottom() <= room.bottom(),
                 qPrintable(QString::number(dialog.height())));
        for (const auto* button : dialog.findChildren<QPushButton*>())
            QVERIFY2(button->isVisible() && button->geometry().bottom() <= dialog.rect().bottom(),
                     qPrintable(button->objectName()));

        const auto* const area = dialog.findChild<QScrollArea*>();
        const auto seen = [&](const QWidget* control) {
            const int top = control->mapTo(area->viewport(), QPoint(0, 0)).y();
            return top >= 0 && top + control->height() <= area->viewport()->height();
        };
        const auto* const first = dialog.findChild<QComboBox*>(u"cboPort"_s);
        const auto* const last = dialog.findChild<QLabel*>(u"bulunan"_s);
        QVERIFY(seen(first) && !seen(last));
        area->verticalScrollBar()->setValue(area->verticalScrollBar()->maximum());
        QVERIFY(!seen(first) && seen(last));
    }

    void wheelOverAListChangesNoChoice()
    {
        load();
        auto* const speeds = list("cboSpeed");
        const QString before = speeds->currentText();
        QWheelEvent turn(QPointF(5, 5), speeds->mapToGlobal(QPointF(5, 5)), {}, QPoint(0, -120), Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(speeds, &turn);
        QCOMPARE(speeds->currentText(), before);
    }

    void deviceOfTheChosenPortIsShown()
    {
        load();
        QCOMPARE(list("cboPort")->toolTip(), u"/dev/ttyS1"_s);
        choose("cboPort", u"Com5"_s);
        QCOMPARE(list("cboPort")->toolTip(), u"/dev/ttyS4"_s);
        choose("cboPort", u"Com9"_s);
        QCOMPARE(list("cboPort")->toolTip(), u"Bağlı aygıt yok"_s);
    }

    void choiceBecomesASettingsString_data()
    {
        addColumns<QStringList, QString>("choice", "assigned");
        QTest::newRow("usual") << QStringList{u"9600"_s, u"None"_s, u"8"_s, u"1"_s} << u"9600,N,8,1"_s;
        QTest::newRow("even") << QStringList{u"115200"_s, u"Even"_s, u"7"_s, u"1.5"_s} << u"115200,E,7,1.5"_s;
        QTest::newRow("space") << QStringList{u"110"_s, u"Space"_s, u"5"_s, u"2"_s} << u"110,S,5,2"_s;
    }

    void choiceBecomesASettingsString()
    {
        QFETCH(QStringList, choice);
        QFETCH(QString, assigned);
        load();
        choose("cboSpeed", choice[0]);
        choose("cboParity", choice[1]);
        choose("cboDataBits", choice[2]);
        choose("cboStopBits", choice[3]);
        ok();
        QVERIFY(control_.steps.contains("settings="_L1 + assigned));
        QVERIFY(closed());
    }

    void okAppliesSavesOpensAndCloses()
    {
        load();
        choose("cboPort", u"Com7"_s);
        ok();
        QCOMPARE(control_.steps,
                 (QStringList{u"port=7"_s, u"settings=9600,N,8,1"_s, u"flow=0"_s, u"read as "_s, u"open"_s}));
        QCOMPARE(saved_, (QStringList{u"Settings=9600,n,8,1"_s, u"CommPort=7"_s, u"Handshaking=0"_s, u"Echo=False"_s,
                                      u"Bicim="_s, u"Duran=False"_s}));
        QCOMPARE(warnings_, QStringList());
        QVERIFY(control_.open);
        QVERIFY(closed());
    }

    void unchangedPortIsNotTouched()
    {
        control_.open = true;
        load();
        ok();
        QVERIFY(!control_.steps.contains(u"close"_s));
        QVERIFY(!control_.steps.contains(u"port=2"_s));
    }

    void changedPortIsReopenedIfItWasOpen()
    {
        control_.open = true;
        load();
        choose("cboPort", u"Com3"_s);
        ok();
        QCOMPARE(control_.steps.mid(0, 3), (QStringList{u"close"_s, u"port=3"_s, u"open"_s}));
        QVERIFY(control_.open && closed());
    }

    void refusalOfAnotherPortKeepsTheOldNumberAndTheDialog_data()
    {
        addColumns<QString, int, QStringList, QString>("refused", "error", "steps", "told");
        const auto row = [](const char* name, const QString& refused, int error, const QStringList& steps,
                            const QString& told) { QTest::newRow(name) << refused << error << steps << told; };
        row("its number", u"port=3"_s, errors::invalidPortNumber, {u"close"_s, u"port=3"_s, u"port=2"_s},
            u"Geçersiz bağlantı noktası numarası"_s);
        row("closing", u"close"_s, errors::notOpen, {u"close"_s, u"port=3"_s, u"port=2"_s}, u"Aygıt açık değil"_s);
        row("reopening", u"open"_s, errors::inUse, {u"close"_s, u"port=3"_s, u"open"_s, u"port=2"_s},
            u"Aygıt kullanılamıyor (başka bir program kullanıyor)"_s);
    }

    void refusalOfAnotherPortKeepsTheOldNumberAndTheDialog()
    {
        QFETCH(QString, refused);
        QFETCH(int, error);
        QFETCH(QString, told);
        control_.open = true;
        control_.failures[refused] = error;
        load();
        choose("cboPort", u"Com3"_s);
        ok();
        QTEST(control_.steps, "steps");
        QCOMPARE(warnings_, QStringList{told});
        QCOMPARE(saved_, QStringList());
        QCOMPARE(control_.port, 2);
        QCOMPARE(control_.open, refused == u"close");
        QVERIFY(!closed());
    }

    void refusedSettingsSaveNothing()
    {
        control_.failures[u"settings=9600,N,8,1"_s] = base::errors::invalidProperty;
        load();
        choose("cboPort", u"Com3"_s);
        ok();
        QCOMPARE(warnings_, QStringList{u"Geçersiz özellik değeri"_s});
        QCOMPARE(saved_, QStringList());
        QCOMPARE(control_.port, 3); // what step one changed stays changed
        QVERIFY(!closed());

        control_.failures.clear(); // and the operator can correct the choice
        ok();
        QCOMPARE(saved_.size(), 6);
        QVERIFY(closed());
    }

    void unusableChoiceIsRefused_data()
    {
        addColumns<QString, QString, QString>("reported", "dataBits", "assigned");
        QTest::newRow("parity not chosen") << u"9600,N,8,1"_s << u"8"_s << u"settings=9600,,8,1"_s;
        QTest::newRow("four data bits") << u"9600,n,8,1"_s << u"4"_s << u"settings=9600,N,4,1"_s;
    }

    void unusableChoiceIsRefused()
    {
        QFETCH(QString, reported);
        QFETCH(QString, dataBits);
        QFETCH(QString, assigned);
        control_.line = reported;
        load();
        choose("cboDataBits", dataBits);
        ok();
        QCOMPARE(control_.steps, QStringList{assigned});
        QCOMPARE(warnings_, QStringList{u"Geçersiz özellik değeri"_s});
        QCOMPARE(saved_, QStringList());
        QVERIFY(!closed());
    }

    void refusedFlowSavesNothing()
    {
        control_.failures[u"flow=2"_s] = base::errors::invalidProperty;
        load();
        choose("cboSpeed", u"4800"_s);
        option(u"optFlow(2)"_s)->click();
        ok();
        QCOMPARE(warnings_.size(), 1);
        QCOMPARE(saved_, QStringList());
        QCOMPARE(control_.line, u"4800,n,8,1"_s); // what step two changed stays changed
        QVERIFY(!closed());
    }

    void failedOpeningIsSilent_data()
    {
        QTest::addColumn<int>("error");
        for (const int error : {errors::invalidPortNumber, errors::inUse, errors::parametersRefused})
            QTest::addRow("%d", error) << error;
    }

    void failedOpeningIsSilent()
    {
        QFETCH(int, error);
        control_.failures[u"open"_s] = error;
        load();
        ok();
        QCOMPARE(warnings_, QStringList());
        QCOMPARE(saved_.size(), 6);
        QVERIFY(!control_.open && closed());
    }

    void choiceIsSavedBeforeThePortIsOpened()
    {
        load();
        control_.onOpen = [this] { QCOMPARE(saved_.size(), 6); };
        ok();
        QVERIFY(control_.open && closed());
    }

    void cancelAfterARefusalGivesTheControlBack_data()
    {
        addColumns<QString, bool>("refused", "escape");
        QTest::newRow("settings, button") << "settings=4800,E,8,2" << false;
        QTest::newRow("settings, Esc") << "settings=4800,E,8,2" << true;
        QTest::newRow("flow, button") << "flow=1" << false;
        QTest::newRow("flow, Esc") << "flow=1" << true;
    }

    void cancelAfterARefusalGivesTheControlBack()
    {
        QFETCH(QString, refused);
        QFETCH(bool, escape);
        control_.failures[refused] = base::errors::invalidProperty;
        load();
        choose("cboPort", u"Com7"_s);
        choose("cboSpeed", u"4800"_s);
        choose("cboParity", u"Even"_s);
        choose("cboStopBits", u"2"_s);
        option(u"optFlow(1)"_s)->click();
        ok();
        QCOMPARE(warnings_.size(), 1);
        QVERIFY(!closed());
        QCOMPARE(control_.port, 7);
        if (escape)
            QTest::keyClick(dialog_.get(), Qt::Key_Escape);
        else
            dialog_->findChild<QPushButton*>(u"cmdCancel"_s)->click();
        QVERIFY(closed());
        QCOMPARE(control_.port, 2);
        QCOMPARE(control_.line, u"9600,n,8,1"_s);
        QCOMPARE(control_.flow, 0);
        QVERIFY(!control_.open);
        QCOMPARE(saved_, QStringList());
    }

    void portThatIsStillOpenStaysOpen()
    {
        control_.open = true;
        load();
        ok();
        QCOMPARE(control_.steps.last(), u"open"_s);
        QCOMPARE(warnings_, QStringList());
        QVERIFY(control_.open && closed());
    }

    void failedSavingIsToldAndTheRestIsSaved()
    {
        failingKey_ = u"CommPort"_s;
        load();
        ok();
        QCOMPARE(saved_, (QStringList{u"Settings=9600,n,8,1"_s, u"Handshaking=0"_s, u"Echo=False"_s, u"Bicim="_s,
                                      u"Duran=False"_s}));
        QCOMPARE(warnings_.size(), 1);
        QVERIFY(control_.open && closed());
    }

    void cancelChangesNothing()
    {
        load();
        choose("cboPort", u"Com3"_s);
        option(u"optFlow(1)"_s)->click();
        dialog_->findChild<QPushButton*>(u"cmdCancel"_s)->click();
        QCOMPARE(control_.steps, QStringList());
        QCOMPARE(saved_, QStringList());
        QVERIFY(closed());
    }

    void clickedFlowAndEchoAreApplied()
    {
        load();
        option(u"optFlow(3)"_s)->click();
        option(u"optEcho(1)"_s)->click();
        ok();
        QCOMPARE(control_.flow, 3);
        QCOMPARE(saved_, (QStringList{u"Settings=9600,n,8,1"_s, u"CommPort=2"_s, u"Handshaking=3"_s, u"Echo=True"_s,
                                      u"Bicim="_s, u"Duran=False"_s}));
    }

    void menuItemClosesShowsAndNamesThePort()
    {
        control_.open = true;
        QString caption = runPortSettings(control_, [this] { control_.steps += u"shown"_s; });
        QCOMPARE(control_.steps, (QStringList{u"close"_s, u"shown"_s}));
        QCOMPARE(caption, u"Port Ayarları"_s);
        caption = runPortSettings(control_, [this] {
            load();
            choose("cboPort", u"Com7"_s);
            ok();
        });
        QCOMPARE(caption, u"Port Ayar Com=7"_s);
    }

    void menuItemPassesFailuresOver()
    {
        control_.open = true;
        control_.failures[u"close"_s] = errors::notOpen;
        QString caption = runPortSettings(control_, [this] { control_.steps += u"shown"_s; });
        QCOMPARE(control_.steps, (QStringList{u"close"_s, u"shown"_s}));
        QCOMPARE(caption, u"Port Ayar Com=2"_s);

        control_ = FakeCommControl();
        control_.line = u"12345,n,8,1"_s;
        caption = runPortSettings(control_, [this] { load(); });
        QCOMPARE(caption, u"Port Ayarları"_s);
    }

    void formatsAreListedAsItIsFirst()
    {
        load();
        QCOMPARE(list("cboBicim")->itemText(0), u"Olduğu gibi"_s);
        QCOMPARE(list("cboBicim")->currentIndex(), 0);
        QCOMPARE(list("cboBicim")->count(), 1 + static_cast<int>(lineFormats().size()));
        QVERIFY(!dialog_->findChild<QCheckBox*>(u"chkDuran"_s)->isChecked());
    }

    void storedFormatIsPreset_data()
    {
        addColumns<QString, bool, int>("format", "stillOnly", "entry");
        QTest::newRow("as it is") << QString() << false << 0;
        QTest::newRow("the first") << QString::fromStdString(lineFormats().front().name) << true << 1;
        QTest::newRow("the last") << QString::fromStdString(lineFormats().back().name) << false
                                  << static_cast<int>(lineFormats().size());
        QTest::newRow("one that nobody knows") << u"no-such-format"_s << false << 0;
    }

    void storedFormatIsPreset()
    {
        QFETCH(QString, format);
        QFETCH(bool, stillOnly);
        reading_ = {format, stillOnly};
        load();
        QTEST(list("cboBicim")->currentIndex(), "entry");
        QCOMPARE(dialog_->findChild<QCheckBox*>(u"chkDuran"_s)->isChecked(), stillOnly);
    }

    void stillWeightsAreAFormatsChoiceOnly()
    {
        reading_ = {u"st-gs"_s, true};
        load();
        auto* const still = dialog_->findChild<QCheckBox*>(u"chkDuran"_s);
        QVERIFY(still->isEnabled() && still->isChecked());
        list("cboBicim")->setCurrentIndex(0);
        QVERIFY(!still->isEnabled());
        ok();
        QVERIFY(saved_.contains(u"Bicim="_s));
        QVERIFY(saved_.contains(u"Duran=False"_s));
    }

    void formatIsSavedAndInForceWhenThePortOpens()
    {
        load();
        choose("cboBicim", QString::fromStdString(lineFormatNamed("st-gs")->title));
        dialog_->findChild<QCheckBox*>(u"chkDuran"_s)->click();
        ok();
        QCOMPARE(saved_.mid(4), (QStringList{u"Bicim=st-gs"_s, u"Duran=True"_s}));
        QCOMPARE(control_.steps.mid(control_.steps.size() - 2), (QStringList{u"read as st-gs"_s, u"open"_s}));
    }

    void cancelLeavesTheFormat()
    {
        load();
        choose("cboBicim", QString::fromStdString(lineFormatNamed("st-gs")->title));
        dialog_->findChild<QPushButton*>(u"cmdCancel"_s)->click();
        QCOMPARE(control_.steps, QStringList());
        QCOMPARE(saved_, QStringList());
    }

    void whatArrivesIsShownAsTheScreenWouldShowIt()
    {
        listens_ = true;
        load();
        const auto text = [this](const char* name) {
            return dialog_->findChild<QLabel*>(QLatin1StringView(name))->text();
        };
        const auto stream = [&] {
            QTRY_VERIFY(line_ && line_->isOpen());
            for (const int kilograms : {1235, 1236, 1237, 1238, 1239, 1240, 1240, 1240})
                line_->deliver("ST,GS,+0" + QByteArray::number(kilograms) + ".5kg\r\n");
        };
        stream();
        // The first whole line of the burst counts, and a full stop groups: this is what the screen would show.
        QTRY_COMPARE(text("ekranda"), u"12.365"_s);
        QVERIFY(text("gelen").endsWith(u"ST,GS,+01240.5kg<CR><LF>"_s));
        QVERIFY(text("bayt").endsWith(u"35 6B 67 0D 0A"_s));
        QTRY_VERIFY2(text("taninan").endsWith(u": 1240,5 kg"_s), qPrintable(text("taninan")));

        line_ = nullptr;
        choose("cboBicim", QString::fromStdString(lineFormatNamed("st-gs")->title));
        stream();
        QTRY_COMPARE(text("ekranda"), u"1.241"_s);
        line_->deliver("OL,GS,+     . kg\r\n");
        QTRY_COMPARE(text("ekranda"), u"1.241  (terazi aşırı yük bildiriyor)"_s);
        QCOMPARE(control_.steps, QStringList());
        QVERIFY(!control_.open);
    }

    void lineIsLeftBeforeTheControlOpensIt()
    {
        listens_ = true;
        load();
        QTRY_VERIFY(line_ && line_->isOpen());
        QCOMPARE(listening_, 1);
        control_.onOpen = [this] { QCOMPARE(listening_, 0); };
        ok();
        QVERIFY(control_.open && closed());
    }

    void lineThatCannotBeListenedToIsToldWithItsReason()
    {
        listens_ = true;
        refusal_ = errors::inUse;
        load();
        QTRY_COMPARE(dialog_->findChild<QLabel*>(u"ekranda"_s)->text(),
                     u"-  (Com2 açılamadı, başka bir program kullanıyor)"_s);
    }

    void foundScaleFillsTheDialogInAndNothingElse()
    {
        listens_ = true;
        onlyPort_ = 5;
        load();
        auto* const search = dialog_->findChild<QPushButton*>(u"cmdBul"_s);
        auto* const told = dialog_->findChild<QLabel*>(u"bulunan"_s);
        search->click();
        QTRY_VERIFY(line_ && line_->isOpen());
        QCOMPARE(search->text(), u"Durdur"_s);
        QCOMPARE(told->text(), u"Com5, 9600,n,8,1 dinleniyor…"_s);
        for (const int kilograms : {1235, 1236, 1237, 1238, 1239, 1240})
            line_->deliver("ST,GS,+0" + QByteArray::number(kilograms) + ".5kg\r\n");
        QTRY_COMPARE(search->text(), u"Terazi Bul"_s);
        const QString title = QString::fromStdString(lineFormatNamed("st-gs")->title);
        QCOMPARE(told->text(), u"Com5, 9600,n,8,1, %1: 1240,5 kg"_s.arg(title));
        QCOMPARE(list("cboPort")->currentText(), u"Com5"_s);
        QCOMPARE(list("cboSpeed")->currentText(), u"9600"_s);
        QCOMPARE(list("cboBicim")->currentText(), title);
        QCOMPARE(control_.steps, QStringList());
        QCOMPARE(saved_, QStringList());

        ok();
        QVERIFY(saved_.contains(u"CommPort=5"_s) && saved_.contains(u"Bicim=st-gs"_s));
        QVERIFY(control_.open);
    }

    void searchStopsAtATap()
    {
        listens_ = true;
        onlyPort_ = 5;
        load();
        auto* const search = dialog_->findChild<QPushButton*>(u"cmdBul"_s);
        search->click();
        QTRY_VERIFY(line_ && line_->isOpen());
        QCOMPARE(search->text(), u"Durdur"_s);
        search->click();
        QCOMPARE(search->text(), u"Terazi Bul"_s);
        QCOMPARE(dialog_->findChild<QLabel*>(u"bulunan"_s)->text(), u"Durduruldu."_s);
        QCOMPARE(list("cboPort")->currentText(), u"Com2"_s);
        QCOMPARE(control_.steps, QStringList());
        QCOMPARE(saved_, QStringList());

        // Closing the dialog in the middle of a search stops it, too.
        search->click();
        dialog_->findChild<QPushButton*>(u"cmdCancel"_s)->click();
        QCOMPARE(listening_, 0);
        QCOMPARE(control_.steps, QStringList());
    }

private:
    void load()
    {
        PropertiesDoors doors;
        doors.ports = [this](int number) -> std::optional<PortDevice> {
            if (onlyPort_ > 0) return number == onlyPort_ ? std::optional(PortDevice{alwaysThere}) : std::nullopt;
            if (number > 6) return std::nullopt;
            return PortDevice{u"/dev/ttyS%1"_s.arg(number - 1)};
        };
        doors.save = [this](const QString& key, const QString& text) {
            if (key == failingKey_) throw base::runtimeError(base::errors::pathAccess);
            saved_ += key + u'=' + text;
        };
        doors.warn = [this](const QString& text) { warnings_ += text; };
        doors.reading = reading_;
        doors.readAs = [this](const ReadingChoice& choice) { control_.steps += u"read as "_s + choice.format; };
        doors.regional = base::Regional::turkish();
        if (listens_)
            doors.devices = [this] {
                auto device = std::make_unique<CountedPort>(listening_);
                device->refusal = refusal_;
                line_ = device.get();
                return device;
            };
        dialog_ = std::make_unique<frmProperties>(control_, doors);
        dialog_->setResult(-1);
        dialog_->Form_Load();
        control_.steps.clear();
        dialog_->show();
    }
    QComboBox* list(const char* name) const { return dialog_->findChild<QComboBox*>(QLatin1StringView(name)); }
    QRadioButton* option(const QString& name) const { return dialog_->findChild<QRadioButton*>(name); }
    void choose(const char* name, const QString& text) const
    {
        list(name)->setCurrentIndex(list(name)->findText(text));
    }
    void ok() const { dialog_->findChild<QPushButton*>(u"cmdOK"_s)->click(); }
    bool closed() const { return !dialog_->isVisible(); }

    FakeCommControl control_;
    std::unique_ptr<frmProperties> dialog_;
    QStringList saved_;
    QStringList warnings_;
    QString failingKey_;
    ReadingChoice reading_;
    bool listens_ = false;
    int refusal_ = 0;
    int onlyPort_ = 0;         ///< the one that is there; 0: the first six
    int listening_ = 0;        ///< devices that the dialog has
    FakePort* line_ = nullptr; ///< that the dialog listened to last
};

QTEST_MAIN(FrmPropertiesTest)
#include "frm_properties.moc"
