#include "app/setting_names.h"
#include "store/jet/care/check.h"
#include "tests/app/counter_world.h"
#include "tests/support/columns.h"
#include <QTimer>
#include <optional>

using namespace app;

namespace {

QStringList captions(const Form1& form, int station)
{
    return {form.TxtLbl[station]->caption(),  form.Label2[station]->caption(), form.Label3[station]->caption(),
            form.Haklbl[station]->caption(),  form.HakTut[station]->caption(), form.Verilen[station]->caption(),
            form.NakitLbl[station]->caption()};
}

} // namespace

/// "Fiş Yaz" at the real screen: what is printed is stored, what is not is not, and the button always comes back.
class SlipAndRecord : public QObject {
    Q_OBJECT

    std::optional<Counter> counter;
    Form1* form = nullptr; ///< its screen

    void open(const base::Regional& regional = base::Regional::turkish()) { form = &counter.emplace(regional).form; }

private slots:
    void init() { open(); }
    void cleanup() { counter.reset(); }
    void initTestCase() { applyTheme(*qApp); }

    void printedPressingIsStoredFieldByField_data()
    {
        // shown: percentage, oil, entitlement, handed over
        addColumns<bool, QStringList>("english", "shown");
        QTest::newRow("Turkish marks") << false << QStringList{"1,75", "1.500", "26", "1.474"};
        QTest::newRow("English marks") << true << QStringList{"1.75", "1,500", "26", "1,474"};
    }

    void printedPressingIsStoredFieldByField()
    {
        QFETCH(bool, english);
        open(english ? base::Regional::english() : base::Regional::turkish());
        counter->startWith(u"ışıl"_s);
        counter->keys(u"5"_s);
        form->Combo1[0]->setListIndex(1);
        Counter::click(form->HakCmd[0]);
        counter->type(form->Haklbl[0], u"1,75"_s);
        counter->retype(form->Label3[0], u"1500"_s);
        QTEST((QStringList{form->Haklbl[0]->caption(), form->Label3[0]->caption(), form->HakTut[0]->caption(),
                           form->Verilen[0]->caption()}),
              "shown");
        counter->clock.now = QDateTime(QDate(2025, 11, 20), QTime(14, 5, 7, 900));
        QCOMPARE(counter->printSlip(), 1);
        QCOMPARE(counter->rows(u"Cari"_s), QStringList{"Işıl|1,75|10 Litrelik Kap|0"});
        QCOMPARE(counter->rows(u"Hareket"_s), QStringList{"20.11.2025 14:05:07|10005|1500|1,75|26|0|Işıl"});
        QCOMPARE(form->Label4[0]->caption(), u"150 Kap"_s);
        QVERIFY(form->YazCmd[0]->enabled());
        QVERIFY(!counter->notes.open());
    }

    void nothingIsWrittenBeforeThePrinterHasTheSlip()
    {
        counter->startWith(u"ali"_s);
        int steps = 0;
        counter->paper.before = [&](FakePrinter::Step) {
            ++steps;
            QCOMPARE(counter->watched.writes, QStringList());
            QVERIFY(counter->paper.sent.isEmpty());
        };
        Counter::click(form->YazCmd[0]);
        QCOMPARE(steps, 3);
        QCOMPARE(counter->watched.writes, (QStringList{"insert Cari", "insert Hareket"}));
    }

    void slipThatIsNotPrintedLeavesNothing_data()
    {
        addTexts("fault", {"no printer", "job refused", "pages refused", "note not written", "font size", "bold flag",
                           "italic flag", "weight", "oil", "fee", "share", "handed over", "container"});
    }

    void slipThatIsNotPrintedLeavesNothing()
    {
        QFETCH(QString, fault);
        form->start();
        counter->settings.saveFlag(programTitle, propertiesSection, u"Sayac"_s, true);
        form->activated();
        counter->pressingOf(u"ali"_s);
        const auto setting = [&](const char* key) {
            counter->settings.save(programTitle, propertiesSection, QString::fromLatin1(key), u"sekiz"_s);
        };
        const auto caption = [&](FieldLabel* field) {
            field->onChange({});
            field->setCaption(u"1234KG"_s);
        };
        const auto share = [&] {
            Counter::click(form->HakCmd[0]);
            QVERIFY(form->HakVar[0]);
        };
        if (fault == u"no printer") counter->paper.failAt = FakePrinter::Step::paper;
        if (fault == u"job refused") counter->paper.failAt = FakePrinter::Step::create;
        if (fault == u"pages refused") counter->paper.failAt = FakePrinter::Step::send;
        if (fault == u"note not written") counter->noteDisk.capacity = 0;
        if (fault == u"font size") setting("Size");
        if (fault == u"bold flag") setting("Bold");
        if (fault == u"italic flag") setting("Ital");
        if (fault == u"weight") caption(form->Label2[0]);
        if (fault == u"oil") caption(form->Label3[0]);
        if (fault == u"fee") caption(form->NakitLbl[0]);
        if (fault == u"share" || fault == u"handed over") share();
        if (fault == u"share") caption(form->HakTut[0]);
        if (fault == u"handed over") caption(form->Verilen[0]);
        if (fault == u"container") form->Combo1[0]->setListIndex(-1);
        const QStringList before = captions(*form, 0);

        Counter::click(form->YazCmd[0]);
        QCOMPARE(counter->paper.sent, QList<int>{});
        QCOMPARE(counter->watched.writes, QStringList());
        QCOMPARE(counter->rows(u"Cari"_s), QStringList());
        QCOMPARE(counter->rows(u"Hareket"_s), QStringList());
        QCOMPARE(captions(*form, 0), before);
        QVERIFY(form->YazCmd[0]->enabled());
        QVERIFY(!form->KapFrm[0]->visible());
        QVERIFY(!counter->notes.open());
        // Without a word.
        QCOMPARE(counter->messages(), QStringList());
    }

    void countOnTheScreenStaysWhenALaterLineFails_data()
    {
        addColumns<bool, QString>("container", "count");
        QTest::newRow("before the containers") << false << u"0 Kap"_s;
        QTest::newRow("after the containers") << true << u"180 Kap"_s;
    }

    void countOnTheScreenStaysWhenALaterLineFails()
    {
        QFETCH(bool, container);
        counter->startWith(u"ali"_s);
        Counter::click(form->HakCmd[0]);
        form->Verilen[0]->setCaption(u"?"_s);
        if (!container) form->Combo1[0]->setListIndex(-1);
        Counter::click(form->YazCmd[0]);
        QTEST(form->Label4[0]->caption(), "count");
        QVERIFY(counter->paper.sent.isEmpty());
    }

    void slipGoesOutAfterTheFaultIsMended()
    {
        counter->startWith(u"ali"_s);
        for (const auto fault : {FakePrinter::Step::paper, FakePrinter::Step::create, FakePrinter::Step::send}) {
            counter->paper.failAt = fault;
            Counter::click(form->YazCmd[0]);
        }
        counter->paper.failAt.reset();
        QCOMPARE(counter->printSlip(), 1);
        QCOMPARE(counter->rows(u"Cari"_s).size(), 1);
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 1);
    }

    void secondTapDuringASlipIsDropped()
    {
        counter->startWith(u"ali"_s);
        int taps = 0;
        // The tap waits in the queue while the slip is composed, as a finger's does.
        counter->paper.before = [&](FakePrinter::Step step) {
            if (step != FakePrinter::Step::paper || taps > 0) return;
            QTimer::singleShot(0, form, [&] {
                ++taps;
                Counter::click(form->YazCmd[0]);
            });
        };
        Counter::click(form->YazCmd[0]);
        QCoreApplication::processEvents();
        QCOMPARE(taps, 1);
        QCOMPARE(counter->paper.sent.size(), 1);
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 1);
        Counter::click(form->YazCmd[0]);
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 2);
    }

    void buttonStaysDisabledUntilTheSlipIsDone()
    {
        counter->startWith(u"ali"_s);
        bool enabledInside = true;
        bool otherInside = false;
        form->YazCmd[1]->setEnabled(true);
        counter->paper.before = [&](FakePrinter::Step) {
            enabledInside = form->YazCmd[0]->enabled();
            otherInside = form->YazCmd[1]->enabled();
        };
        Counter::click(form->YazCmd[0]);
        QVERIFY(!enabledInside);
        QVERIFY(otherInside);
        QVERIFY(form->YazCmd[0]->enabled());
    }

    void buttonComesBackAsTheWeightOfMeanwhileWantsIt_data()
    {
        addColumns<QString, bool>("meanwhile", "enabled");
        QTest::newRow("nothing") << QString() << true;
        QTest::newRow("the customer was cleared") << u"clear"_s << false;
        QTest::newRow("the scale was emptied") << u"0"_s << false;
        QTest::newRow("the next load came") << u"500"_s << true;
        QTest::newRow("a line that is no weight came") << u"Net 12kg"_s << true;
    }

    void buttonComesBackAsTheWeightOfMeanwhileWantsIt()
    {
        QFETCH(QString, meanwhile);
        QFETCH(bool, enabled);
        counter->startWith(u"ali"_s);
        // What comes waits in the queue while the slip is composed; a second tap on the button waits behind it.
        bool came = false;
        bool enabledInside = false;
        counter->paper.before = [&](FakePrinter::Step step) {
            if (step != FakePrinter::Step::paper || came) return;
            QTimer::singleShot(0, form, [&] {
                came = true;
                if (meanwhile == u"clear") {
                    Counter::click(form->TxtLbl[0]);
                    counter->key(u"Sil"_s);
                } else if (!meanwhile.isEmpty()) {
                    form->run([&] { form->Label2[0]->setCaption(meanwhile); });
                }
                enabledInside = form->YazCmd[0]->enabled();
                Counter::click(form->YazCmd[0]);
            });
        };
        Counter::click(form->YazCmd[0]);
        QVERIFY(came);
        QVERIFY(!enabledInside);
        QCOMPARE(counter->paper.sent.size(), 1);
        QCOMPARE(form->YazCmd[0]->enabled(), enabled);
        if (meanwhile == u"clear") QCOMPARE(form->TxtLbl[0]->caption(), QString());

        // Later the rule of the weight has the button again.
        form->run([&] { form->Label2[0]->setCaption(u"0"_s); });
        QVERIFY(!form->YazCmd[0]->enabled());
        form->run([&] { form->Label2[0]->setCaption(u"750"_s); });
        QVERIFY(form->YazCmd[0]->enabled());
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 1);
    }

    void buttonNamesThePanelAndTheStationNamesTheFigures()
    {
        counter->settings.saveFlag(programTitle, propertiesSection, u"Sayac"_s, true);
        counter->startWith(u"ali"_s);
        form->run([&] { form->YazCmd_Click(1); });
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 1);
        QVERIFY(counter->rows(u"Hareket"_s).first().endsWith(u"|Ali"_s));
        QCOMPARE(form->Label4[0]->caption(), u"180 Kap"_s);
        QCOMPARE(form->kapSayisi(0), 180.0f);
        QCOMPARE(form->kapSayisi(1), 0.0f);
        QVERIFY(form->KapFrm[1]->visible());
        QVERIFY(!form->KapFrm[0]->visible());
        QVERIFY(form->YazCmd[1]->enabled());
    }

    void panelFollowsTheCounterSwitch_data()
    {
        addColumns<bool, QString, bool, bool>("counting", "oil", "before", "shown");
        QTest::newRow("counted") << true << u"850"_s << false << true;
        QTest::newRow("not counted") << false << u"850"_s << true << false;
        QTest::newRow("nothing to fill, counted") << true << u"4"_s << false << true;
        QTest::newRow("nothing to fill, not counted") << false << u"4"_s << true << false;
    }

    void panelFollowsTheCounterSwitch()
    {
        QFETCH(bool, counting);
        QFETCH(QString, oil);
        QFETCH(bool, before);
        form->start();
        if (counting) form->Sayac->trigger();
        counter->pressingOf(u"ali"_s);
        counter->retype(form->Label3[0], oil);
        form->KapFrm[0]->setVisible(before);
        QCOMPARE(counter->printSlip(), 1);
        QTEST(form->KapFrm[0]->visible(), "shown");
    }

    void differentNameAddsAndTheSameNameEdits()
    {
        counter->addCustomer(u"Ali Veli"_s, 5.0, u"20 Litrelik Kap"_s, 10.0);
        counter->startWith(u"ali"_s);
        counter->retype(form->NakitLbl[0], u"100"_s);
        form->Combo1[0]->setListIndex(0);
        Counter::click(form->YazCmd[0]);
        const QString untouched = u"Ali Veli|5|20 Litrelik Kap|10"_s;
        QCOMPARE(counter->rows(u"Cari"_s), (QStringList{untouched, "Ali|5| 5 Litrelik Kap|100"}));

        counter->keys(u"0"_s);
        form->Combo1[0]->setListIndex(2);
        Counter::click(form->YazCmd[0]);
        QCOMPARE(counter->rows(u"Cari"_s), (QStringList{untouched, "Ali|5|15 Litrelik Kap|1000"}));
        QCOMPARE(form->NakitLbl[0]->caption(), u"1.000"_s); // nothing was recalled by it
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 2);
    }

    void customerDeletedMeanwhileIsAddedAgain()
    {
        counter->addCustomer(u"Ali"_s);
        counter->startWith(u"ali"_s);
        if (TriedDatabases::overRegister()) // nobody empties a shared one
            counter->eraseCustomers();
        else
            form->CariSil->trigger();
        QCOMPARE(counter->rows(u"Cari"_s), QStringList());
        Counter::click(form->YazCmd[0]);
        QCOMPARE(counter->rows(u"Cari"_s).size(), 1);
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 1);
    }

    void tableThatTakesNoRowPrintsNoSlip_data()
    {
        addCases<QString>("table", {{"customers", u"Cari"_s}, {"journal", u"Hareket"_s}});
    }

    void tableThatTakesNoRowPrintsNoSlip()
    {
        QFETCH(QString, table);
        counter->startWith(u"ali"_s);
        counter->watched.refused = table;
        QCOMPARE(counter->printSlip(), 0);
        QCOMPARE(counter->rows(u"Cari"_s), QStringList());
        QCOMPARE(counter->rows(u"Hareket"_s), QStringList());
        QVERIFY(form->YazCmd[0]->enabled());
        QVERIFY(!counter->notes.open());
        QCOMPARE(counter->prompt.errors, QList<int>{});
        QVERIFY2(form->status->text().startsWith(u"Fiş basılmadı: "_s), qPrintable(form->status->text()));
        counter->watched.refused.clear();
        QCOMPARE(counter->printSlip(), 1);
        QVERIFY(!form->status->text().contains(u"basılmadı"_s));
    }

    void customerThatFailsBehindThePrinterLeavesThePressing()
    {
        counter->startWith(u"ali"_s);
        counter->paper.before = [&](FakePrinter::Step step) {
            if (step == FakePrinter::Step::send) counter->watched.refused = u"Cari"_s;
        };
        QCOMPARE(counter->printSlip(), 1);
        QCOMPARE(counter->rows(u"Cari"_s), QStringList());
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 1);
        QVERIFY(form->YazCmd[0]->enabled());
        QVERIFY(!counter->notes.open());
        QCOMPARE(counter->prompt.errors, QList<int>{});
    }

    void customerThatAnIndexRefusesGetsNoSlip()
    {
        const std::filesystem::path path = counter->file().toStdU16String();
        counter->disk.remove(path);
        jet::Database::create(counter->disk, path, jet::turkish, {});
        {
            // As the mills' own files have it: no two customers of one name, letter case aside.
            const auto database = jet::Database::open(counter->disk, path);
            jet::NewIndex oneOfEach;
            oneOfEach.name = u"Unvan";
            oneOfEach.columns = {{u"Unvan", true}};
            oneOfEach.unique = true;
            const auto text = [](const char16_t* name) { return jet::NewColumn{name, jet::ColumnType::text, 100}; };
            const auto number = [](const char16_t* name) { return jet::NewColumn{name, jet::ColumnType::doubleFloat}; };
            database->createTable(u"Cari", {text(u"Unvan"), number(u"Yuzde"), text(u"Kap"), number(u"Nakit")},
                                  {oneOfEach}, {});
            database->createTable(u"Hareket",
                                  {{u"Tarih", jet::ColumnType::dateTime},
                                   number(u"Zeytin"),
                                   number(u"Yağ"),
                                   number(u"Yuzde"),
                                   number(u"HakTut"),
                                   number(u"Nakit"),
                                   text(u"CariHar")},
                                  {}, {});
        }
        counter->addCustomer(u"ALi"_s, 5.0);
        counter->startWith(u"ali"_s); // Ali: another name than ALi to the rule, the same to the index
        Counter::click(form->YazCmd[0]);
        QCOMPARE(counter->rows(u"Cari"_s), QStringList{"ALi|5|-|-"});
        QCOMPARE(counter->rows(u"Hareket"_s), QStringList());
        QCOMPARE(counter->paper.sent.size(), 0);
        QVERIFY(form->status->text().startsWith(u"Fiş basılmadı: "_s));
        QVERIFY(form->status->text().contains(u"Unvan"_s));
        QCOMPARE(counter->prompt.errors, QList<int>{});
        QVERIFY(form->YazCmd[0]->enabled());
        QVERIFY(jet::checkDatabase(*jet::Database::open(counter->disk, path)).ok());
    }

    void pressingThatFailsBehindThePrinterKeepsItsNote()
    {
        counter->settings.saveFlag(programTitle, propertiesSection, u"Sayac"_s, true);
        counter->startWith(u"ali"_s);
        counter->paper.before = [&](FakePrinter::Step step) {
            if (step == FakePrinter::Step::send) counter->watched.refused = u"Hareket"_s;
        };
        QCOMPARE(counter->printSlip(), 1);
        QCOMPARE(counter->rows(u"Hareket"_s), QStringList());
        QVERIFY(counter->notes.open());
        QVERIFY(form->status->text().contains(u"kaydı yapılamadı"_s));
        QVERIFY(form->KapFrm[0]->visible());
        QVERIFY(form->YazCmd[0]->enabled());
        QCOMPARE(counter->prompt.errors, QList<int>{});

        // While the table refuses, nothing more is printed; then both are stored.
        QCOMPARE(counter->printSlip(), 1);
        QVERIFY(form->status->text().contains(u"önceki fişin kaydı bekliyor"_s));
        counter->paper.before = {};
        counter->watched.refused.clear();
        QCOMPARE(counter->printSlip(), 2);
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 2);
        QCOMPARE(counter->rows(u"Cari"_s).size(), 1);
        QVERIFY(!counter->notes.open());
    }

    void pressingThatCanNeverBeStoredIsToldAtTheStartAndBlocksNothing()
    {
        counter->leaveSlipOf(u"Toplamlar"_s);
        form->start();
        QVERIFY2(form->status->text().contains(u"basılmış, kaydedilemiyor"_s), qPrintable(form->status->text()));
        QVERIFY(form->status->text().contains(u"Yag.mdb-slip-1"_s));
        QVERIFY(!counter->notes.open());
        counter->pressingOf(u"ali"_s);
        QCOMPARE(counter->printSlip(), 2);
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 1);
        QCOMPARE(counter->prompt.errors, QList<int>{});

        // Nothing takes its place until somebody has seen it: no slip, no deletion, no panel.
        if (!TriedDatabases::overRegister()) form->HesapSil->trigger(); // nobody empties a shared register
        Counter::click(form->GünlükCmd);
        Counter::click(form->KapatCmd[0]);
        QVERIFY(form->status->text().startsWith(u"⚠ Okumak için dokunun: Yag.mdb-slip-1: fiş 1 (Toplamlar"_s));
        Counter::click(form->status);
        QCOMPARE(counter->prompt.exclamations.size(), 1);
        QVERIFY(counter->prompt.exclamations[0].endsWith(u"sıkımı elle girin"_s));
        QVERIFY(!form->status->text().contains(u"slip"_s));
        Counter::click(form->status);
        QCOMPARE(counter->prompt.exclamations.size(), 1);
    }

    void customerOfASlipThatWasRefusedIsFoundByNoSearch()
    {
        counter->addCustomer(u"Ayşe"_s);
        counter->startWith(u"ali"_s); // the search knows the register's order from here on
        counter->watched.refused = u"Hareket"_s;
        QCOMPARE(counter->printSlip(), 0); // the customer's row was tried, and taken back
        QCOMPARE(form->Kaydet->caption(), u"Kaydet"_s);
        counter->retype(form->TxtLbl[0], u"a"_s);
        QCOMPARE(form->dbListe1->rowCount(), 1);
        counter->keys(u"li"_s);
        QVERIFY(!form->dbListe1->visible());
        QCOMPARE(form->Kaydet->caption(), u"Kaydet"_s);
    }

    void fileThatTakesNoPressingIsToldAtTheStartAndPrintsNoSlip()
    {
        PowerCutDisk disk;
        store::JetDatabases books{disk};
        Counter counter(base::Regional::turkish(), books);
        Form1& form = counter.form;
        const std::filesystem::path path = counter.file().toStdU16String();
        disk.put(path, counter.disk.content(path));
        disk.readOnly = true;
        form.start();
        QTRY_COMPARE(counter.prompt.exclamations.size(), 1);
        QVERIFY(counter.prompt.exclamations[0].contains(u"tablosuna yazılamaz"_s));
        counter.pressingOf(u"ali"_s);
        Counter::click(form.YazCmd[0]);
        QCOMPARE(counter.paper.sent.size(), 0);
        QCOMPARE(counter.prompt.errors, QList<int>{base::errors::readOnlyDatabase});
        QVERIFY(form.YazCmd[0]->enabled());
        QVERIFY(!form.KapFrm[0]->visible());
    }

    void fieldThatTakesNoTextPrintsNoSlip()
    {
        counter->addCustomer(u"Ali"_s, 12.0, u"10 Litrelik Kap"_s, 100.0);
        counter->startWith(u"ali"_s);
        form->Haklbl[0]->onChange({});
        form->Haklbl[0]->setCaption(u"1e"_s); // cash does not print it
        QCOMPARE(counter->printSlip(), 0);
        QCOMPARE(counter->rows(u"Cari"_s), QStringList{"Ali|12|10 Litrelik Kap|100"});
        QCOMPARE(counter->rows(u"Hareket"_s), QStringList());
        QVERIFY(form->status->text().startsWith(u"Fiş basılmadı: Cari tablosunun Yuzde alanı “1e”"_s));
    }

    void saveButtonKnowsTheCustomerThatASlipHasAdded()
    {
        counter->startWith(u"ali"_s);
        QCOMPARE(form->Kaydet->caption(), u"Kaydet"_s);
        Counter::click(form->YazCmd[0]);
        QVERIFY(form->Kaydet->visible());
        QCOMPARE(form->Kaydet->caption(), u"Kaydı Sil"_s);
        QCOMPARE(counter->rows(u"Cari"_s).size(), 1);
    }

    void markLeftDanglingIsGoneFromTheSlip()
    {
        counter->startWith(u"ali"_s);
        counter->type(form->NakitLbl[0], u"1250,"_s);
        QCOMPARE(form->NakitLbl[0]->caption(), u"1.250,"_s);
        Counter::click(form->YazCmd[0]);
        QCOMPARE(form->NakitLbl[0]->caption(), u"1.250"_s);
        QVERIFY(counter->rows(u"Hareket"_s).first().endsWith(u"|1250|Ali"_s));
        counter->keys(u",50"_s);
        Counter::click(form->YazCmd[0]);
        QVERIFY(counter->rows(u"Hareket"_s).last().endsWith(u"|1250,5|Ali"_s));
    }

    void slipOfANameThatIsNotCurrentAddsNoSecondRow()
    {
        counter->addCustomer(u"Ali"_s, 5.0, u"20 Litrelik Kap"_s, 10.0);
        counter->addCustomer(u"Veli"_s, 7.0, u"20 Litrelik Kap"_s, 20.0);
        counter->startWith(u"ali"_s);
        counter->retype(form->NakitLbl[0], u"99"_s);
        Counter::click(form->YeniCmd[1]);
        counter->keys(u"veli"_s); // the search of the other station
        Counter::click(form->YeniCmd[0]);
        Counter::click(form->YazCmd[0]);
        QCOMPARE(counter->rows(u"Cari"_s), (QStringList{"Ali|5|20 Litrelik Kap|99", "Veli|7|20 Litrelik Kap|20"}));
        QCOMPARE(form->NakitLbl[0]->caption(), u"99"_s); // looked up, not recalled
    }

    void openListClosesAtTheSlip()
    {
        counter->addCustomer(u"Ali Veli"_s);
        counter->startWith(u"ali"_s);
        Counter::click(form->TxtLbl[0]);
        counter->key(u"Geri Sil"_s);
        QVERIFY(form->dbListe1->visible());
        Counter::click(form->YazCmd[0]);
        QVERIFY(!form->dbListe1->visible());
        QVERIFY(counter->rows(u"Hareket"_s).first().endsWith(u"|Al"_s));
    }

    void fontDialogIsPresetAndStored_data()
    {
        addColumns<bool, QString>("english", "stored");
        QTest::newRow("Turkish") << false << u"10,5"_s;
        QTest::newRow("English") << true << u"10.5"_s;
    }

    void fontDialogIsPresetAndStored()
    {
        QFETCH(bool, english);
        open(english ? base::Regional::english() : base::Regional::turkish());
        form->start();
        form->Combo1[0]->setListIndex(3);
        counter->prompt.font = FontChoice{u"Courier New"_s, 10.5f, true, false};
        form->YazFont->trigger();
        QCOMPARE(counter->prompt.fontPresets.size(), 1);
        QCOMPARE(counter->prompt.fontPresets[0].name, u"Arial"_s);
        QCOMPARE(counter->prompt.fontPresets[0].size, 8.0f);
        QVERIFY(!counter->prompt.fontPresets[0].bold && !counter->prompt.fontPresets[0].italic);
        const auto kept = [&](const char* key) {
            return counter->settings.get(programTitle, propertiesSection, QString::fromLatin1(key), u"-"_s);
        };
        QCOMPARE(kept("Font"), u"Courier New"_s);
        QTEST(kept("Size"), "stored");
        QCOMPARE(kept("Bold"), u"True"_s);
        QCOMPARE(kept("Ital"), u"False"_s);
        QCOMPARE(form->Combo1[0]->listIndex(), 0); // a dialog has closed: the screen was activated

        form->YazFont->trigger();
        QCOMPARE(counter->prompt.fontPresets[1].name, u"Courier New"_s);
        QCOMPARE(counter->prompt.fontPresets[1].size, 10.5f);
        QVERIFY(counter->prompt.fontPresets[1].bold);
    }

    void cancelledFontDialogStoresNothing()
    {
        form->start();
        form->Combo1[0]->setListIndex(3);
        form->YazFont->trigger();
        QCOMPARE(counter->prompt.fontPresets.size(), 1);
        for (const char* key : {"Font", "Size", "Bold", "Ital"})
            QCOMPARE(counter->settings.get(programTitle, propertiesSection, QString::fromLatin1(key), u"-"_s), u"-"_s);
        QCOMPARE(form->Combo1[0]->listIndex(), 0);
        QCOMPARE(counter->prompt.errors, QList<int>{});
    }

    void damagedFontSizeOpensNoDialog()
    {
        form->start();
        form->Combo1[0]->setListIndex(3);
        counter->settings.save(programTitle, propertiesSection, u"Size"_s, u"sekiz"_s);
        form->YazFont->trigger();
        QVERIFY(counter->prompt.fontPresets.isEmpty());
        QCOMPARE(counter->prompt.errors, QList<int>{});
        QCOMPARE(form->Combo1[0]->listIndex(), 3); // no dialog was there to come back from
    }

    void counterSwitchIsKeptAtOnce()
    {
        form->start();
        for (const bool on : {true, false}) {
            form->Sayac->trigger();
            QCOMPARE(form->Sayac->checked(), on);
            QCOMPARE(counter->settings.get(programTitle, propertiesSection, u"Sayac"_s, {}),
                     on ? u"True"_s : u"False"_s);
        }
    }
};

QTEST_MAIN(SlipAndRecord)
#include "slip_and_record.moc"
