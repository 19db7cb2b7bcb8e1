#include "app/application.h"
#include "app/setting_names.h"
#include "files/error.h"
#include "screen_fixture.h"
#include "tests/support/columns.h"
#include "tests/support/qt_files.h"
#include <QtTest>
#include <optional>

using namespace Qt::StringLiterals;

using namespace app;

class FormShell : public QObject {
    Q_OBJECT

    std::optional<Screen> screen;
    Form1* form = nullptr; ///< its screen

    /// As when the system is switched off: the program is told that it ends, and no window is closed before.
    static void endSession()
    {
        QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(); });
        QApplication::exec();
    }

private slots:
    void init() { form = &screen.emplace().form; }
    void cleanup() { screen.reset(); }
    void initTestCase() { applyTheme(*qApp); }

    void loadBindsAllSourcesAndNoStation()
    {
        form->Form_Load();
        for (store::DataSource* source : {&form->DataCari, &form->DataHar, &form->GünData, &form->DataTmp})
            QCOMPARE(source->databaseName(), screen->folder.filePath(u"Yag.mdb"_s));
        QCOMPARE(form->AktifKontrol, 999.0f);
        QVERIFY(form->DataCari.hasRecordSet());
        QVERIFY(!form->GünData.hasRecordSet());
        QVERIFY(!form->AktifLbl);
    }

    void missingDatabaseIsReportedAndTheScreenStays()
    {
        screen->disk.remove(screen->folder.filePath(u"Yag.mdb"_s).toStdU16String());
        form->start();
        QVERIFY(screen->prompt.errors.contains(3024));
        QVERIFY(form->isVisible());
        QCOMPARE(form->AktifKontrol, 0.0f);
    }

    void filesSetAsideAreToldAlsoBesideADatabaseThatDoesNotOpen()
    {
        const QString database = screen->folder.filePath(u"Yag.mdb"_s);
        screen->disk.remove(database.toStdU16String());
        screen->disk.open((database + u"-slip-1"_s).toStdU16String(), files::Disk::Access::createNew);
        form->start();
        QVERIFY2(form->status->text().contains(u"Yag.mdb-slip-1"_s), qPrintable(form->status->text()));
    }

    void tapOnTheLineTellsWhatDoesNotFitOnIt()
    {
        form->start();
        QTest::mouseClick(form->status, Qt::LeftButton);
        QCOMPARE(screen->prompt.exclamations, QStringList()); // all of it is there to be read
        const QString refused = u"Sunucu: 3 sıkım bekliyor. "_s + u"neden "_s.repeated(100) + u"düzeltin."_s;
        form->status->setServer(refused);
        form->status->keepUntilSeen(u"Yag.mdb-slip-1: fiş 1"_s);
        QTest::mouseClick(form->status, Qt::LeftButton);
        QCOMPARE(screen->prompt.exclamations, QStringList{u"Yag.mdb-slip-1: fiş 1"_s}); // first what must be seen
        QTest::mouseClick(form->status, Qt::LeftButton);
        QCOMPARE(screen->prompt.exclamations.size(), 2);
        QVERIFY(screen->prompt.exclamations[1].endsWith(u"\n\n"_s + refused));
        QCOMPARE(form->AktifKontrol, 0.0f);
    }

    void controlsCarryTheirNames()
    {
        for (const char* name :
             {"TxtLbl(0)",   "TxtLbl(1)",   "Label2(0)",   "Label3(1)", "Label4(1)",  "Haklbl(0)",   "HakTut(1)",
              "Verilen(0)",  "NakitLbl(1)", "HakCmd(0)",   "Frame1(1)", "Frame3(0)",  "Combo1(1)",   "KapFrm(0)",
              "KapCmd(1)",   "YazCmd(0)",   "YeniCmd(1)",  "Label1(0)", "Label1(48)", "Option1(0)",  "Option1(1)",
              "KapatCmd(0)", "KapatCmd(1)", "Frame2",      "Command1",  "Frame4",     "DTPickerBas", "DTPickerSon",
              "GünLbl",      "DBGrid1",     "dbListe1",    "Kaydet",    "GünlükCmd",  "Dosya",       "CariSil",
              "HesapSil",    "Bağlantı",    "PortAyarlar", "YazFont",   "Sayac",      "PrgExit",     "TeraziComm",
              "Winsock1",    "Winsock2"})
            QVERIFY2(form->findChild<QObject*>(QString::fromUtf8(name)), name);
        QCOMPARE(Form1::controlName(form->Label2[1]), u"Label2"_s);
        QCOMPARE(Form1::controlName(form->GünLbl), u"GünLbl"_s);

        QCOMPARE(form->Frame1[0]->caption(), u" Birinci Kontrol "_s);
        QCOMPARE(form->Frame1[1]->caption(), u" İkinci Kontrol "_s);
        QCOMPARE(form->Label2[0]->title(), u" Sıkılacak Zeytin KG"_s);
        QCOMPARE(form->Label3[0]->title(), u" Sıkılan Zeytin Yağı KG"_s);
        QCOMPARE(form->NakitLbl[0]->title(), u"Zeytin Sıkma TL"_s);
        QCOMPARE(form->Verilen[0]->title(), u" Verilen Lt"_s);
        QCOMPARE(form->TxtLbl[1]->caption(), u"Müşteri Seçin"_s);
        QCOMPARE(form->Label4[1]->caption(), u"0 Kap"_s);
        QCOMPARE(form->HakCmd[0]->caption(), u"Hak Ediş Yok"_s);
        QVERIFY(!form->Frame3[0]->visible());
        QVERIFY(!form->KapFrm[0]->visible());
        QVERIFY(!form->YazCmd[0]->enabled());
        QCOMPARE(form->windowTitle(), u"Mendrik Presva"_s);
    }

    void activationPutsEverythingToItsStart()
    {
        form->start();
        form->Combo1[0]->setListIndex(2);
        form->Combo1[1]->setListIndex(-1);
        QTest::mouseClick(form->YeniCmd[1], Qt::LeftButton);
        form->Kaydet->setVisible(true);
        form->dbListe1->setVisible(true);
        screen->clock.now = QDateTime(QDate(2025, 11, 21), QTime(8, 0));

        form->activated();
        QCOMPARE(form->Combo1[0]->listIndex(), 0);
        QCOMPARE(form->Combo1[1]->listIndex(), 0);
        QCOMPARE(form->DTPickerBas->value(), QDate(2025, 11, 21));
        QCOMPARE(form->DTPickerSon->value(), QDate(2025, 11, 21));
        QCOMPARE(form->AktifKontrol, 0.0f);
        QCOMPARE(form->AktifLbl, form->TxtLbl[0]);
        QVERIFY(form->Frame1[0]->enabled() && !form->Frame1[1]->enabled());
        QCOMPARE(form->Frame1[0]->backColor(), colour::green);
        QCOMPARE(form->Frame1[1]->backColor(), colour::buttonFace);
        QCOMPARE(form->dbListe1->Left(), form->Frame1[0]->Left() + form->HakCmd[0]->Left());
        QVERIFY(!form->Kaydet->visible());
        QVERIFY(!form->dbListe1->visible());
    }

    void activationTakesTheKeypadCaseFromTheSettings_data()
    {
        // keys: of indexes 0, 10, 11, 27
        addColumns<bool, QString, QString>("capitals", "caseKey", "keys");
        QTest::newRow("capitals") << true << u"AB"_s << u"AIİY"_s;
        QTest::newRow("small") << false << u"ab"_s << u"aıiy"_s;
    }

    void activationTakesTheKeypadCaseFromTheSettings()
    {
        QFETCH(bool, capitals);
        screen->settings.saveFlag(u"presva"_s, keypadSection, u"Caps"_s, capitals);
        screen->keyboard.capsLock = !capitals;
        form->start();
        QCOMPARE(form->CapsDurum, capitals);
        QTEST(form->Label1[47]->caption(), "caseKey");
        QTEST(form->Label1[0]->caption() + form->Label1[10]->caption() + form->Label1[11]->caption() +
                  form->Label1[27]->caption(),
              "keys");
        QCOMPARE(screen->keyboard.capsLock, capitals);
        QCOMPARE(screen->keyboard.presses, 1);
        form->activated();
        QCOMPARE(screen->keyboard.presses, 1);
    }

    void activationLeavesExactlyOneCyanLabel()
    {
        form->start();
        form->activate(form->Haklbl[1]);
        form->activated();
        QStringList cyan;
        for (const auto* field : form->findChildren<FieldLabel*>())
            if (field->backColor() == colour::cyan) cyan << field->objectName();
        QCOMPARE(cyan, QStringList{u"TxtLbl(0)"_s});
    }

    void freshInstallationOpensNoPort()
    {
        form->start();
        QVERIFY(!form->Bağlantı->checked());
        QVERIFY(!form->Sayac->checked());
        QVERIFY(!form->TeraziComm->portOpen());
        QCOMPARE(form->Label1[47]->caption(), u"ab"_s);
        QVERIFY(screen->prompt.errors.isEmpty());
        QVERIFY(screen->prompt.exclamations.isEmpty());
    }

    void damagedSettingIsToldAndTheCounterGetsReady_data()
    {
        addColumns<QString, QString, QString>("application", "section", "key");
        QTest::newRow("Caps") << u"presva"_s << keypadSection << u"Caps"_s;
        QTest::newRow("Baglan") << programTitle << propertiesSection << u"Baglan"_s;
        QTest::newRow("Sayac") << programTitle << propertiesSection << u"Sayac"_s;
    }

    void damagedSettingIsToldAndTheCounterGetsReady()
    {
        QFETCH(QString, application);
        QFETCH(QString, section);
        QFETCH(QString, key);
        for (const QString& sound : {u"Sayac"_s, u"Baglan"_s})
            screen->settings.saveFlag(programTitle, propertiesSection, sound, true);
        screen->settings.save(application, section, key, u"1"_s);
        form->start();
        QCOMPARE(screen->prompt.errors, QList<int>{13});
        QCOMPARE(form->AktifKontrol, 0.0f);
        QCOMPARE(form->AktifLbl, form->TxtLbl[0]);
        QVERIFY(form->Frame1[0]->enabled() && !form->Frame1[1]->enabled());
        // What is damaged counts as never stored; the other choices hold.
        QVERIFY(!form->CapsDurum);
        QCOMPARE(form->Label1[0]->caption(), u"a"_s);
        QCOMPARE(form->Bağlantı->checked(), key != u"Baglan");
        QCOMPARE(form->Sayac->checked(), key != u"Sayac");
        QTest::mouseClick(form->Label1[0], Qt::LeftButton);
        QCOMPARE(form->TxtLbl[0]->caption(), u"A"_s);
        QCOMPARE(screen->prompt.errors.size(), 1);
    }

    void menuMarksComeFromTheSettings()
    {
        form->start();
        screen->settings.saveFlag(programTitle, propertiesSection, u"Sayac"_s, true);
        QVERIFY(!form->Sayac->checked());
        form->activated();
        QVERIFY(form->Sayac->checked());
    }

    void otherWindowsDoNotActivate()
    {
        form->start();
        form->Combo1[0]->setListIndex(3);
        QEvent leave(QEvent::WindowDeactivate), back(QEvent::WindowActivate);
        QCoreApplication::sendEvent(form, &leave);
        QCoreApplication::sendEvent(form, &back);
        form->hide();
        form->show();
        QCOMPARE(form->Combo1[0]->listIndex(), 3);
    }

    void connectItemIsKeptAtOnce()
    {
        form->start();
        const auto kept = [&] { return screen->settings.get(programTitle, propertiesSection, u"Baglan"_s, QString()); };
        QCOMPARE(kept(), QString());
        form->Bağlantı->trigger();
        QVERIFY(form->Bağlantı->checked());
        QCOMPARE(kept(), u"True"_s);
        form->Bağlantı->trigger();
        QVERIFY(!form->Bağlantı->checked());
        QCOMPARE(kept(), u"False"_s);
    }

    void caseKeyIsKeptAtOnceAndTakesCapsLockAlong()
    {
        form->start();
        for (const bool capitals : {true, false}) {
            QTest::mouseClick(form->Label1[47], Qt::LeftButton);
            QCOMPARE(form->CapsDurum, capitals);
            QCOMPARE(screen->keyboard.capsLock, capitals);
            QCOMPARE(screen->settings.get(u"presva"_s, keypadSection, u"Caps"_s, {}),
                     capitals ? u"True"_s : u"False"_s);
            QCOMPARE(form->Label1[47]->caption(), capitals ? u"AB"_s : u"ab"_s);
            QCOMPARE(form->Label1[10]->caption() + form->Label1[11]->caption(), capitals ? u"Iİ"_s : u"ıi"_s);
        }
        QCOMPARE(screen->keyboard.presses, 2);
    }

    void touchedFieldIsTheOneThatIsEdited_data()
    {
        addColumns<QString, bool>("field", "edited");
        QTest::newRow("name") << "TxtLbl(1)" << true;
        QTest::newRow("olives") << "Label2(1)" << true;
        QTest::newRow("oil") << "Label3(1)" << true;
        QTest::newRow("percentage") << "Haklbl(1)" << true;
        QTest::newRow("fee") << "NakitLbl(1)" << true;
        QTest::newRow("entitlement is worked out") << "HakTut(1)" << false;
        QTest::newRow("hand-over is worked out") << "Verilen(1)" << false;
        QTest::newRow("containers are counted") << "Label4(1)" << false;
    }

    void touchedFieldIsTheOneThatIsEdited()
    {
        QFETCH(QString, field);
        QFETCH(bool, edited);
        form->start();
        QTest::mouseClick(form->YeniCmd[1], Qt::LeftButton);
        form->TxtLbl[1]->setCaption(u"Ali"_s);
        form->HakCmd_Click(1);
        form->KapFrm[1]->setVisible(true);
        auto* label = form->findChild<CaptionLabel*>(field);
        const Colour ground = label->backColor();
        QTest::mouseClick(label, Qt::LeftButton);
        QCOMPARE(form->AktifLbl, edited ? label : form->TxtLbl[1]);
        QCOMPARE(label->backColor(), edited ? colour::cyan : ground);
        QCOMPARE(form->TxtLbl[1]->backColor(), form->AktifLbl == form->TxtLbl[1] ? colour::cyan : colour::white);
    }

    void bareFormEndsTheHighlight()
    {
        form->start();
        hover(form->Label1[13]);
        QCOMPARE(form->Label1[13]->backColor(), colour::yellow);
        QCOMPARE(form->SonTus, 13.0f);
        hover(form, QPoint(2, form->height() / 2));
        QCOMPARE(form->Label1[13]->backColor(), colour::cyan);
    }

    void nextKeyTakesTheHighlightAndTheExitButtonsColourBack()
    {
        form->start();
        hover(form->Label1[3]);
        form->Command1->setBackColor(colour::white);
        hover(form->Label1[3], QPoint(4, 4)); // yellow already: nothing is recoloured
        QCOMPARE(form->Command1->backColor(), colour::white);
        hover(form->Label1[48]);
        QCOMPARE(form->Label1[3]->backColor(), colour::cyan);
        QCOMPARE(form->Label1[48]->backColor(), colour::yellow);
        QCOMPARE(form->Command1->backColor(), colour::cyan);
        QCOMPARE(form->SonTus, 48.0f);
    }

    void controlsDoNotActAsTheBareForm()
    {
        form->start();
        hover(form->Label1[13]);
        hover(form->Frame1[0], QPoint(5, form->Frame1[0]->height() - 5));
        hover(form->YazCmd[1]);
        hover(form->KapCmd[1]);
        QCOMPARE(form->Label1[13]->backColor(), colour::yellow);
    }

    void closeButtonDropsTheContainers_data()
    {
        addCases<int>("station", {{"first station", 0}, {"second station", 1}});
    }

    void closeButtonDropsTheContainers()
    {
        QFETCH(int, station);
        form->start();
        form->KapSayisi = {5, 7};
        for (ControlFrame* panel : form->KapFrm) panel->setVisible(true);
        form->Label4[station]->setCaption(u"?"_s);
        const QString shown = form->Label4[station]->caption();
        QTest::mouseClick(form->KapCmd[station], Qt::LeftButton);
        QCOMPARE(form->kapSayisi(station), 0.0f);
        QVERIFY(!form->KapFrm[station]->visible());
        QCOMPARE(form->Label4[station]->caption(), shown);
        QVERIFY(form->KapFrm[1 - station]->visible());
        QVERIFY(form->kapSayisi(1 - station) > 0);
    }

    void otherContainerIndexIsOutOfBounds()
    {
        form->start();
        form->run([&] { form->KapCmd_Click(2); });
        form->run([&] { form->KapCmd_Click(-1); });
        QCOMPARE(screen->prompt.errors, (QList<int>{9, 9}));
    }

    void containerPanelAnswersOnAnIdleStation()
    {
        form->start();
        form->kapSayisi(1) = 3;
        form->Label4[1]->setCaption(u"?"_s);
        form->KapFrm[1]->setVisible(true);
        form->Frame1[1]->setEnabled(false);
        QCOMPARE(form->Label4[1]->caption(), u"3 Kap"_s);
        QTest::mouseClick(form->Label4[1], Qt::LeftButton);
        QTest::mouseClick(form->KapFrm[1], Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
        QCOMPARE(form->Label4[1]->caption(), u"1 Kap"_s);
    }

    void everyWayOutSavesTheLayoutAndAsksNothing_data()
    {
        addCases<QString>("way", {{"menu item", u"PrgExit"_s},
                                  {"picture button", u"Command1"_s},
                                  {"close box", u"close"_s},
                                  {"end of the session", u"session"_s}});
    }

    void everyWayOutSavesTheLayoutAndAsksNothing()
    {
        QFETCH(QString, way);
        form->start();
        form->setWindowState(Qt::WindowNoState);
        form->setGeometry(12, 34, 1000, 700);
        if (way == u"PrgExit")
            form->PrgExit->trigger();
        else if (way == u"Command1")
            QTest::mouseClick(form->Command1, Qt::LeftButton);
        else if (way == u"session")
            endSession();
        else
            form->close();
        QVERIFY(!form->isVisible());
        QCOMPARE(screen->settings.get(u"Mendrik"_s, u"ActiveResize"_s, u"Left"_s, {}),
                 QString::number(form->geometry().x()));
        QCOMPARE(screen->settings.get(u"Mendrik"_s, u"ActiveResize"_s, u"Width"_s, {}), QString::number(form->width()));
        QVERIFY(screen->prompt.questions.isEmpty());
    }

    void leavingWritesNoSetting()
    {
        form->start();
        form->close();
        for (const char* key : {"Baglan", "Sayac", "Settings", "Font"})
            QCOMPARE(screen->settings.get(programTitle, propertiesSection, QString::fromLatin1(key), u"-"_s), u"-"_s);
        QCOMPARE(screen->settings.get(u"presva"_s, keypadSection, u"Caps"_s, u"-"_s), u"-"_s);
    }

    void windowComesBackToItsStoredPlace()
    {
        const QList<std::pair<const char*, const char*>> place = {
            {"Left", "40"}, {"Top", "50"}, {"Width", "1000"}, {"Height", "700"}, {"Maximized", "False"}};
        for (const auto& [key, text] : place)
            screen->settings.save(u"Mendrik"_s, u"ActiveResize"_s, QString::fromLatin1(key), QString::fromLatin1(text));
        form->start();
        QTRY_COMPARE(form->geometry(), QRect(40, 50, 1000, 700));
        QVERIFY(!form->isMaximized());
        // Only the first activation puts it there: later the operator may have moved it.
        form->setGeometry(60, 70, 1010, 720);
        form->activated();
        QTest::qWait(50);
        QCOMPARE(form->geometry(), QRect(60, 70, 1010, 720));
    }

    void windowDraggedOffComesBackAtTheNextRelease()
    {
        form->start();
        form->setWindowState(Qt::WindowNoState);
        form->setMinimumSize(0, 0);
        form->resize(500, 300);
        form->move(-40, 100);
        QTRY_COMPARE(form->frameGeometry().x(), -40);
        QTest::mouseClick(form, Qt::LeftButton, Qt::NoModifier, QPoint(1, form->height() / 2));
        QTRY_COMPARE(form->frameGeometry().topLeft(), QPoint(0, 100));
        form->move(20, form->screen()->geometry().height() - 310);
        QTest::mouseClick(form->Frame1[0], Qt::LeftButton); // a control is not the bare form
        QCOMPARE(form->frameGeometry().y(), form->screen()->geometry().height() - 310);
        QTest::mouseClick(form, Qt::LeftButton, Qt::NoModifier, QPoint(1, form->height() / 2));
        QTRY_COMPARE(form->frameGeometry().topLeft(), QPoint(20, 0));
    }

    void errorOfAnActionIsReportedAndTheScreenGoesOn()
    {
        form->start();
        form->Label2[0]->onClick([] { throw base::runtimeError(base::errors::noCurrentRecord); });
        QTest::mouseClick(form->Label2[0], Qt::LeftButton);
        QCOMPARE(screen->prompt.errors, QList<int>{3021});
        QTest::mouseClick(form->TxtLbl[0], Qt::LeftButton);
        QCOMPARE(form->AktifLbl, form->TxtLbl[0]);
    }

    void exceptionThatNobodyExpectedIsToldOnceAsOurOwnBug()
    {
        form->start();
        const int wired = __LINE__ + 1;
        form->GünlükCmd->onClick([] { throw std::logic_error("no such place"); });
        QTest::mouseClick(form->GünlükCmd, Qt::LeftButton);
        QTest::mouseClick(form->GünlükCmd, Qt::LeftButton);
        QCOMPARE(screen->prompt.errors, QList<int>{}); // not the operator's
        QCOMPARE(screen->prompt.exclamations.size(), 1);
        QVERIFY(screen->prompt.exclamations[0].contains(u"GünlükCmd"));
        QVERIFY(screen->prompt.exclamations[0].contains(u"no such place"));
        QVERIFY(screen->prompt.exclamations[0].contains(u"form_shell.cpp:%1)"_s.arg(wired)));
        QCOMPARE(QString::fromUtf8(contentOf(screen->folder.filePath(u"presva.log"_s))),
                 u"2025-11-20T14:05:00 "_s + screen->prompt.exclamations[0] + u'\n');
        // A fault of the engine has a sentence of its own.
        form->GünlükCmd->onClick([] { throw files::Error(files::Fault::disk, "disk"); });
        QTest::mouseClick(form->GünlükCmd, Qt::LeftButton);
        QCOMPARE(screen->prompt.errors, QList<int>{base::errors::databaseFault});
        form->run([&] { form->YeniCmd_Click(1); });
        QCOMPARE(form->AktifKontrol, 1.0f);
    }

    void exceptionOutsideAnActionIsOurOwnBugAndTheScreenGoesOn()
    {
        auto& application = static_cast<Application&>(*qApp);
        application.onUnexpected = [this](const std::exception& error, const QString& receiver) {
            form->ownBug(error, receiver);
        };
        form->start();
        QTimer::singleShot(0, form, [] { throw std::bad_alloc(); });
        QTRY_COMPARE(screen->prompt.exclamations.size(), 1);
        QVERIFY(screen->prompt.exclamations[0].contains(u"bad_alloc"));
        QCOMPARE(screen->prompt.errors, QList<int>{});
        QTest::mouseClick(form->TxtLbl[0], Qt::LeftButton);
        QCOMPARE(form->AktifLbl, form->TxtLbl[0]);
        application.onUnexpected = nullptr;
    }

    void stationWithoutControlsIsError340()
    {
        form->Form_Load();
        form->run([&] { form->TxtLbl[form->station()]->setCaption(QString()); });
        QCOMPARE(screen->prompt.errors, QList<int>{340});
    }
};

int main(int argc, char** argv)
{
    Application application(argc, argv);
    FormShell test;
    return QTest::qExec(&test, argc, argv);
}
#include "form_shell.moc"
