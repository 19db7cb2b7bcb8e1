#include "mill/queries.h"
#include "pressing/rules.h"
#include "tests/app/counter_world.h"
#include "tests/support/columns.h"

using namespace app;

/// Customers at the real screen: typed, found, picked, saved and deleted.
class CustomerRegister : public QObject {
    Q_OBJECT

    std::optional<Counter> counter;
    Form1* form = nullptr; ///< its screen

private slots:
    void init() { form = &counter.emplace().form; }
    void cleanup() { counter.reset(); }
    void initTestCase() { applyTheme(*qApp); }

    void switchingStationsMovesColoursKeypadAndList()
    {
        form->start();
        for (const int station : {0, 1, 0, 0, 1}) {
            // The first station works from the start.
            if (station == 1 || form->station() == 1) Counter::click(form->YeniCmd[station]);
            QCOMPARE(form->AktifKontrol, static_cast<float>(station));
            QCOMPARE(form->Frame1[station]->backColor(), colour::green);
            QVERIFY(form->Frame1[station]->enabled());
            QCOMPARE(form->Frame1[1 - station]->backColor(), colour::buttonFace);
            QVERIFY(!form->Frame1[1 - station]->enabled());
            QCOMPARE(form->AktifLbl, form->TxtLbl[station]);
            QCOMPARE(form->TxtLbl[station]->backColor(), colour::cyan);
            QCOMPARE(form->TxtLbl[1 - station]->backColor(), colour::white);
            QCOMPARE(form->dbListe1->Left(), form->Frame1[station]->Left() + form->HakCmd[station]->Left());
            QCOMPARE(form->dbListe1->Top(), form->Frame1[station]->Top() + form->Label2[station]->Top());
        }
    }

    void openListOutlivesTheRowsThatItShows()
    {
        counter->addCustomer(u"Ali"_s);
        counter->addCustomer(u"Ayşe"_s);
        counter->startTyping(u"a"_s);
        QVERIFY(form->dbListe1->visible());
        QCOMPARE(form->dbListe1->rowCount(), 2);
        counter->eraseCustomers();
        QVERIFY(!form->dbListe1->grab().isNull()); // painting a row that is gone
        QCOMPARE(counter->prompt.errors, QList<int>{});
        form->dbListe1->pick(0);
        QCOMPARE(counter->prompt.errors, QList<int>{3167});
        QCOMPARE(form->TxtLbl[0]->caption(), u"A"_s);
    }

    void pickedNameThatBreaksTheSearchIsReportedAndWritesNothing_data()
    {
        addCases<QString>("name", {{"apostrophe", u"Ali O'Neil"_s}, {"opened bracket", u"Ali [x"_s}});
    }

    void pickedNameThatBreaksTheSearchIsReportedAndWritesNothing()
    {
        QFETCH(QString, name);
        counter->addCustomer(u"Al"_s, 20.0, u"20 Litrelik Kap"_s, 100.0);
        counter->addCustomer(name, 5.0, u"10 Litrelik Kap"_s, 50.0);
        counter->startTyping(u"al"_s);
        counter->pick(name);
        QCOMPARE(counter->prompt.errors, QList<int>{3075});
        QCOMPARE(form->TxtLbl[0]->caption(), name);
        // The terms are that customer's, and nothing of the other one can be picked, saved or deleted over the name.
        QCOMPARE(counter->terms(), (QStringList{u"5"_s, u"10 Litrelik Kap"_s, u"50"_s}));
        QVERIFY(!form->dbListe1->visible());
        QVERIFY(!form->Kaydet->visible());
        QCOMPARE(form->AktifLbl, form->TxtLbl[0]);
        QCOMPARE(counter->watched.writes, QStringList());

        // The screen goes on: another name is found.
        counter->retype(u"a"_s);
        QCOMPARE(form->dbListe1->rowCount(), 2);
        QCOMPARE(counter->prompt.errors.size(), 1);
    }

    void pickedCustomerBringsTheOwnTerms_data()
    {
        // first: of the two, in the list
        addColumns<QString, QString, QString>("first", "picked", "typed");
        QTest::newRow("first of the list") << u"Ali Veli"_s << u"Ali"_s << u"ali"_s;
        QTest::newRow("other capitals") << u"Ali Veli"_s << u"ALİ VELİ"_s << u"ali"_s;
        QTest::newRow("other capitals, typed in full") << u"Ali Veli"_s << u"ALİ VELİ"_s << u"ali veli"_s;
        QTest::newRow("a sign for any digit") << u"Ali 25"_s << u"Ali #2"_s << u"ali"_s;
        QTest::newRow("a sign for any digit, nobody else") << u"Ali"_s << u"Ali #2"_s << u"ali"_s;
        QTest::newRow("a sign for any letter") << u"Ali Can"_s << u"Ali ?an"_s << u"ali"_s;
        QTest::newRow("a sign for some letters") << u"Ali b"_s << u"Ali [b]"_s << u"ali"_s;
        QTest::newRow("a sign for anything") << u"Ali Can"_s << u"Ali*"_s << u"ali"_s;
    }

    void pickedCustomerBringsTheOwnTerms()
    {
        QFETCH(QString, first);
        QFETCH(QString, picked);
        QFETCH(QString, typed);
        counter->addCustomer(first, 10.0, u"10 Litrelik Kap"_s, 100.0);
        counter->addCustomer(picked, 20.0, u"20 Litrelik Kap"_s, 200.0);
        counter->startTyping(typed);
        counter->pick(picked);
        QCOMPARE(counter->prompt.errors, QList<int>{});
        QCOMPARE(form->TxtLbl[0]->caption(), picked);
        QCOMPARE(counter->terms(), (QStringList{u"20"_s, u"20 Litrelik Kap"_s, u"200"_s}));
        QCOMPARE(form->DataCari.recordSet().field(0).text(), picked);
        QCOMPARE(form->AktifLbl, form->Label3[0]);
        QVERIFY(!form->dbListe1->visible());
        QVERIFY(!form->Kaydet->visible());
    }

    void deletingEverybodyLeavesNobodyToPickOrDelete()
    {
        if (TriedDatabases::overRegister()) return; // nobody empties a shared register
        counter->addCustomer(u"Ali"_s);
        counter->startTyping(u"ali"_s);
        QCOMPARE(form->Kaydet->caption(), u"Kaydı Sil"_s);
        form->CariSil->trigger();
        QVERIFY(!form->dbListe1->visible());
        QCOMPARE(form->Kaydet->caption(), u"Kaydet"_s);
        Counter::click(form->Kaydet); // the name that is shown can be saved again
        QCOMPARE(counter->prompt.errors, QList<int>{});
        QCOMPARE(counter->prompt.questions, QStringList());
        QCOMPARE(counter->rows(u"Cari"_s), QStringList{"Ali|-|-|-"});
        QCOMPARE(form->Kaydet->caption(), u"Kaydı Sil"_s);
    }

    void starInANameDeletesExactlyThatName()
    {
        for (const char* name : {"A*", "Ali", "Ayşe"}) {
            counter->addCustomer(QString::fromUtf8(name));
            counter->addPressing(QString::fromUtf8(name));
        }
        counter->startTyping(u"a*"_s);
        QCOMPARE(form->dbListe1->rowCount(), 3);
        QCOMPARE(form->Kaydet->caption(), u"Kaydı Sil"_s);
        counter->deleteShown();
        QCOMPARE(counter->prompt.errors, QList<int>{});
        QCOMPARE(counter->rows(u"Cari"_s), (QStringList{"Ali|-|-|-", "Ayşe|-|-|-"}));
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 2);
    }

    void savingStoresTheNameAloneAndRecallsNothing()
    {
        counter->addCustomer(u"Ali Veli"_s, 12.0, u"10 Litrelik Kap"_s, 100.0);
        counter->startTyping(u"ali"_s);
        QCOMPARE(form->Kaydet->caption(), u"Kaydet"_s);
        Counter::click(form->Label2[0]); // the name is saved, whichever field is active
        Counter::click(form->Kaydet);
        QCOMPARE(counter->rows(u"Cari"_s), (QStringList{"Ali Veli|12|10 Litrelik Kap|100", "Ali|-|-|-"}));
        QCOMPARE(form->Kaydet->caption(), u"Kaydı Sil"_s);
        QCOMPARE(form->DataCari.recordSet().field(0).text(), u"Ali"_s);
        QCOMPARE(form->Haklbl[0]->caption(), u"12"_s);
        QCOMPARE(form->NakitLbl[0]->caption(), u"100"_s);
        QVERIFY(counter->prompt.questions.isEmpty());
    }

    void nameTooLongForTheRegisterIsNotSaved()
    {
        form->start();
        form->run([&] { form->TxtLbl[0]->setCaption(QString(101, u'A')); });
        QCOMPARE(form->Kaydet->caption(), u"Kaydet"_s);
        Counter::click(form->Kaydet);
        QCOMPARE(counter->prompt.errors, QList<int>{3163});
        QCOMPARE(form->Kaydet->caption(), u"Kaydet"_s);
        QCOMPARE(counter->rows(u"Cari"_s), QStringList());
    }

    void deletingClearsTheStationFirstAndTakesPressingsBeforeTheCustomer()
    {
        counter->addCustomer(u"Ali"_s);
        counter->addCustomer(u"Ali Veli"_s);
        counter->addPressing(u"Ali"_s);
        counter->addPressing(u"Ali Veli"_s);
        counter->startWith(u"ali"_s);
        form->KapFrm[0]->setVisible(true);
        form->kapSayisi(0) = 4;

        Counter::click(form->Kaydet);
        QCOMPARE(counter->prompt.questions, QStringList{u"Kayıt Silme|Kayıt Silinecek Eminmisiniz..!"_s});
        QCOMPARE(form->TxtLbl[0]->caption(), u"Ali"_s);
        QCOMPARE(form->AktifLbl, form->Label2[0]);
        QCOMPARE(counter->watched.writes, QStringList());

        counter->deleteShown();
        QCOMPARE(counter->watched.writes, (QStringList{"DELETE FROM Hareket Where CariHar='Ali'", "erase Cari"}));
        QCOMPARE(counter->rows(u"Cari"_s), QStringList{"Ali Veli|-|-|-"});
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 1);
        QCOMPARE(form->AktifLbl, form->TxtLbl[0]);
        QCOMPARE(form->TxtLbl[0]->caption(), QString());
        QCOMPARE(form->TxtLbl[0]->backColor(), colour::cyan);
        QCOMPARE(form->Label2[0]->backColor(), colour::white);
        QCOMPARE(form->Label2[0]->caption(), u"0"_s);
        QVERIFY(!form->YazCmd[0]->enabled());
        QVERIFY(!form->KapFrm[0]->visible());
        QCOMPARE(form->kapSayisi(0), 0.0f);
        QCOMPARE(form->Label4[0]->caption(), u"0 Kap"_s);
        QVERIFY(!form->Kaydet->visible());
        QVERIFY(!form->dbListe1->visible());
    }

    void deletingWithoutACurrentCustomerIsReported()
    {
        counter->addCustomer(u"Ali"_s);
        counter->startTyping(u"ali"_s);
        counter->eraseCustomers();
        counter->addPressing(u"Ali"_s);
        QCOMPARE(form->Kaydet->caption(), u"Kaydı Sil"_s);
        counter->deleteShown();
        QCOMPARE(counter->prompt.errors, QList<int>{3167});
        QCOMPARE(form->TxtLbl[0]->caption(), u"Ali"_s);
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 1);
    }

    void termsAreRecalledOneByOne_data()
    {
        using store::FieldValue;
        // yuzde, invalid: Null; shown: percentage, container, fee; before: 7, 20 litres, 30
        addColumns<QVariant, QVariant, QVariant, QStringList>("yuzde", "kap", "nakit", "shown");
        const QVariant null;
        QTest::newRow("all") << QVariant(12.0) << QVariant("10 Litrelik Kap") << QVariant(100.0)
                             << QStringList{"12", "10 Litrelik Kap", "100"};
        QTest::newRow("decimals") << QVariant(12.5) << QVariant("10 Litrelik Kap") << QVariant(1250.5)
                                  << QStringList{"12,5", "10 Litrelik Kap", "1250,5"};
        QTest::newRow("never printed") << null << null << null << QStringList{"7", "20 Litrelik Kap", "30"};
        QTest::newRow("no container") << QVariant(12.5) << null << QVariant(0.0)
                                      << QStringList{"12,5", "20 Litrelik Kap", "0"};
        QTest::newRow("blank of the first kind missing")
            << QVariant(12.0) << QVariant("5 Litrelik Kap") << QVariant(100.0)
            << QStringList{"12", "20 Litrelik Kap", "100"};
        QTest::newRow("first kind") << QVariant(12.0) << QVariant(" 5 Litrelik Kap") << null
                                    << QStringList{"12", " 5 Litrelik Kap", "30"};
    }

    void termsAreRecalledOneByOne()
    {
        QFETCH(QVariant, yuzde);
        QFETCH(QVariant, kap);
        QFETCH(QVariant, nakit);
        const auto number = [](const QVariant& value) {
            return value.isValid() ? store::FieldValue(value.toDouble()) : store::FieldValue();
        };
        counter->addCustomer(u"Ali"_s, number(yuzde),
                             kap.isValid() ? store::FieldValue(kap.toString()) : store::FieldValue(), number(nakit));
        form->start();
        Counter::click(form->YeniCmd[1]);
        counter->key(u"z"_s); // clears the prompt, which resets the station
        form->Haklbl[1]->setCaption(u"7"_s);
        form->Combo1[1]->setListIndex(3);
        form->NakitLbl[1]->setCaption(u"30"_s);
        const QStringList idle = counter->terms();
        form->run([&] { form->TxtLbl[1]->setCaption(u"A"_s); });
        QTEST(counter->terms(1), "shown");
        QCOMPARE(counter->terms(), idle);
        QCOMPARE(counter->prompt.errors, QList<int>{});
    }

    void aNameThatReadsAsANumberStaysThatCustomers_data()
    {
        addColumns<QString, double>("name", "fee"); // the fee comes back with the name, whole or not
        QTest::newRow("thousands") << u"1000"_s << 250.0;
        QTest::newRow("thousands, a fee with decimals") << u"1000"_s << 12.5;
        QTest::newRow("digit") << u"5"_s << 12.5;
        QTest::newRow("mark at its end") << u"5,"_s << 10.0;
        QTest::newRow("telephone number") << u"05321112233"_s << 250.0;
        QTest::newRow("decimals") << u"12,75"_s << 250.0;
    }

    void aNameThatReadsAsANumberStaysThatCustomers()
    {
        QFETCH(QString, name);
        QFETCH(double, fee);
        counter->addCustomer(u"4"_s, 7.0, u"20 Litrelik Kap"_s, 1.0);
        counter->addCustomer(name, 12.0, u"10 Litrelik Kap"_s, fee);
        counter->startTyping(name); // every key finds it, and brings its fee
        QCOMPARE(form->TxtLbl[0]->caption(), name);
        QCOMPARE(form->Kaydet->caption(), u"Kaydı Sil"_s);
        counter->retype(name.left(1));
        counter->pick(name);
        QCOMPARE(form->TxtLbl[0]->caption(), name);
        QCOMPARE(form->Haklbl[0]->caption(), u"12"_s);

        // In the report panel, too: it is that customer's listing.
        Counter::click(form->GünlükCmd);
        counter->keys(name.left(1));
        counter->pick(name);
        QCOMPARE(form->GünLbl->caption(), name);
        Counter::click(form->KapatCmd[0]);
        counter->type(form->Label2[0], u"700"_s);
        Counter::click(form->YazCmd[0]);
        QCOMPARE(counter->prompt.errors, QList<int>{});
        QCOMPARE(counter->rows(u"Cari"_s).size(), 2);
        QVERIFY2(counter->rows(u"Hareket"_s).value(0).endsWith(u'|' + name),
                 qPrintable(counter->rows(u"Hareket"_s).join(u'\n')));
    }

    void namesThatAreNumbersAlikeAreFoundOneByOne()
    {
        // One fee is written with decimals and the other one without: no mark goes to and fro between the names.
        counter->addCustomer(u"5"_s, {}, {}, 12.5);
        counter->addCustomer(u"5,"_s, {}, {}, 10.0);
        counter->startTyping(u"5"_s);
        QCOMPARE(form->TxtLbl[0]->caption(), u"5"_s);
        QCOMPARE(form->NakitLbl[0]->caption(), u"12,5"_s);
        counter->key(u","_s);
        QCOMPARE(form->TxtLbl[0]->caption(), u"5,"_s);
        QCOMPARE(form->NakitLbl[0]->caption(), u"10"_s);
        counter->retype(u"a"_s);
        QCOMPARE(form->TxtLbl[0]->caption(), u"A"_s);
        QCOMPARE(counter->prompt.errors, QList<int>{});
    }

    void nothingOfAnotherCustomerStaysWhenOneIsPicked_data()
    {
        using store::FieldValue;
        // yuzde, invalid: Null
        addColumns<QVariant, QVariant, QString, QString>("yuzde", "nakit", "percentage", "fee");
        const QVariant null;
        QTest::newRow("never printed") << null << null << u"0"_s << u"0"_s;
        QTest::newRow("no percentage") << null << QVariant(50.0) << u"0"_s << u"50"_s;
        QTest::newRow("no fee") << QVariant(8.0) << null << u"8"_s << u"0"_s;
        QTest::newRow("both") << QVariant(8.0) << QVariant(50.0) << u"8"_s << u"50"_s;
    }

    void nothingOfAnotherCustomerStaysWhenOneIsPicked()
    {
        QFETCH(QVariant, yuzde);
        QFETCH(QVariant, nakit);
        const auto number = [](const QVariant& value) {
            return value.isValid() ? store::FieldValue(value.toDouble()) : store::FieldValue();
        };
        counter->addCustomer(u"Ali"_s, number(yuzde), {}, number(nakit));
        counter->addCustomer(u"Ali Veli"_s, 12.0, u"20 Litrelik Kap"_s, 200.0);
        form->start();
        for (const char* typed : {"a", "ali"}) { // in full, the pick finds it there already
            counter->retype(QString::fromUtf8(typed));
            counter->pick(u"Ali Veli"_s);
            QCOMPARE(form->Haklbl[0]->caption(), u"12"_s);
            QCOMPARE(form->NakitLbl[0]->caption(), u"200"_s);
            counter->retype(form->TxtLbl[0], QString::fromUtf8(typed));
            counter->pick(u"Ali"_s);
            QTEST(form->Haklbl[0]->caption(), "percentage");
            QTEST(form->NakitLbl[0]->caption(), "fee");
            // The size of the containers that stand there is nobody's terms.
            QCOMPARE(form->Combo1[0]->text(), u"20 Litrelik Kap"_s);
            Counter::click(form->TxtLbl[0]);
        }
        QCOMPARE(counter->prompt.errors, QList<int>{});
    }

    void nothingIsDeletedWhileAPrintedSlipWaitsForItsRow_data()
    {
        addColumns<QString, int>("button", "left"); // pressings, once the printer has answered and it is tapped again
        QTest::newRow("Kaydı Sil") << u"Kaydet"_s << 1;
        if (TriedDatabases::overRegister()) return; // nobody empties a shared register
        QTest::newRow("Carileri Sil") << u"CariSil"_s << 0;
        QTest::newRow("Hesapları Sil") << u"HesapSil"_s << 0;
    }

    void nothingIsDeletedWhileAPrintedSlipWaitsForItsRow()
    {
        QFETCH(QString, button);
        counter->addCustomer(u"Ali"_s, 12.0);
        counter->addPressing(u"Ali"_s);
        counter->addPressing(u"Veli"_s);
        counter->startTyping(u"ali"_s);
        counter->leaveSlipOf(u"Ali"_s);
        counter->paper.silent = true;
        counter->prompt.answer = true;
        const auto tap = [&] {
            if (auto* item = form->findChild<MenuItem*>(button))
                item->trigger();
            else
                Counter::click(form->Kaydet);
        };
        tap();
        QVERIFY2(form->status->text().startsWith(
                     u"Hiçbir şey silinmedi: önceki fişin kaydı bekliyor. fiş 1 (Ali, 1.000 kg) basıldı mı"_s),
                 qPrintable(form->status->text()));
        QCOMPARE(form->TxtLbl[0]->caption(), u"Ali"_s);
        QCOMPARE(counter->rows(u"Cari"_s).size(), 1);
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 2);
        QVERIFY(counter->notes.open());

        // Once it answers, the row comes first, and goes with the others.
        counter->paper.silent = false;
        tap();
        QVERIFY(!form->status->text().contains(u"silinmedi"_s));
        QVERIFY(!counter->notes.open());
        QCOMPARE(counter->prompt.errors, QList<int>{});
        QTEST(int(counter->rows(u"Hareket"_s).size()), "left");
    }

    void choosingAWeightClosesTheList()
    {
        counter->addCustomer(u"Ali"_s);
        counter->startTyping(u"a"_s);
        QVERIFY(form->dbListe1->visible());
        Counter::click(form->Label3[0]); // no name can be picked into it any more
        QVERIFY(!form->dbListe1->visible());
        QVERIFY(form->Kaydet->visible()); // the name that was typed can still be saved
        Counter::click(form->TxtLbl[0]);
        QVERIFY(!form->dbListe1->visible());
        counter->keys(u"l"_s);
        QVERIFY(form->dbListe1->visible());
    }

    void weightWithoutACustomerAsksForOne_data()
    {
        addColumns<QString, bool, bool>("name", "oil", "asks");
        for (const bool oil : {false, true}) {
            const QByteArray field = oil ? "oil, " : "olives, ";
            QTest::newRow((field + "prompt").constData()) << u"Müşteri Seçin"_s << oil << true;
            QTest::newRow((field + "empty").constData()) << QString() << oil << true;
            QTest::newRow((field + "blank is a name").constData()) << u" "_s << oil << false;
            QTest::newRow((field + "name").constData()) << u"Ali"_s << oil << false;
        }
    }

    void weightWithoutACustomerAsksForOne()
    {
        QFETCH(QString, name);
        QFETCH(bool, oil);
        QFETCH(bool, asks);
        form->start();
        form->run([&] { form->TxtLbl[0]->setCaption(name); });
        FieldLabel* field = oil ? form->Label3[0] : form->Label2[0];
        Counter::click(field);
        QCOMPARE(form->AktifLbl, asks ? form->TxtLbl[0] : field);
        QCOMPARE(form->AktifLbl->backColor(), colour::cyan);
        QCOMPARE(form->TxtLbl[0]->caption(), asks ? mill::customerPrompt : name);
        QCOMPARE(field->backColor(), asks ? colour::white : colour::cyan);
    }

    void emptyRegisterShowsNoList()
    {
        counter->startTyping(u"a"_s);
        QVERIFY(!form->dbListe1->visible());
        QVERIFY(form->Kaydet->visible());
        QCOMPARE(form->Kaydet->caption(), u"Kaydet"_s);
        counter->key(u"Geri Sil"_s);
        QVERIFY(!form->Kaydet->visible());
        QCOMPARE(counter->prompt.errors, QList<int>{});
    }

    void statusLineCountsThePressingsThatAreLeft()
    {
        counter->addCustomer(u"Ali"_s);
        for (int i = 0; i < 3; ++i) counter->addPressing(u"Ali"_s);
        counter->addPressing(u"Veli"_s);
        form->start();
        const auto shown = [&] { return form->status->text().section(u"Yag.mdb: "_s, 1); };
        QTRY_COMPARE(shown(), u"4 kayıt"_s);
        counter->pressingOf(u"ali"_s);
        Counter::click(form->YazCmd[0]);
        QCOMPARE(shown(), u"5 kayıt"_s);
        counter->deleteShown();
        QCOMPARE(shown(), u"1 kayıt"_s);
        if (TriedDatabases::overRegister()) return; // nobody empties a shared register
        form->HesapSil->trigger();
        QCOMPARE(shown(), u"0 kayıt"_s);
        counter->pressingOf(u"ali"_s);
        Counter::click(form->YazCmd[0]);
        QCOMPARE(shown(), u"1 kayıt"_s);
    }

    void clearedNameTurnsTheEntitlementOff()
    {
        counter->startWith(u"ali"_s);
        Counter::click(form->HakCmd[0]);
        QVERIFY(form->HakCmd[0]->value() && form->HakVar[0]);
        Counter::click(form->TxtLbl[0]);
        counter->key(u"Sil"_s);
        QCOMPARE(form->HakCmd[0]->caption(), pressing::entitlementOff);
        QVERIFY(!form->HakCmd[0]->value());
        QVERIFY(!form->HakVar[0]);
        QVERIFY(!form->Frame3[0]->visible());
        Counter::click(form->HakCmd[0]);
        QCOMPARE(form->HakCmd[0]->caption(), pressing::entitlementOn);
        QVERIFY(form->HakVar[0]);
    }

    void switchWhoseRuleFailsStaysOn()
    {
        counter->addCustomer(u"Ali Veli"_s);
        counter->startWith(u"ali"_s);
        Counter::click(form->HakCmd[0]);
        counter->type(form->Haklbl[0], u"10"_s);
        Counter::click(form->Label3[0]);
        form->run([&] { form->Label3[0]->setCaption(u"Ali Veli"_s); }); // a name where the oil should be
        Counter::click(form->HakCmd[0]);
        QCOMPARE(counter->prompt.errors, (QList<int>{13, 13}));
        QCOMPARE(form->HakCmd[0]->caption(), pressing::entitlementOn);
        QVERIFY(form->HakCmd[0]->value());
        QVERIFY(form->HakVar[0] && form->Frame3[0]->visible());
        counter->key(u"Sil"_s);
        Counter::click(form->HakCmd[0]);
        QCOMPARE(form->HakCmd[0]->caption(), pressing::entitlementOff);
        QVERIFY(!form->HakCmd[0]->value());
        QVERIFY(!form->HakVar[0]);
    }

    void entitlementFollowsTheStation()
    {
        counter->startWith(u"ali"_s);
        Counter::click(form->HakCmd[0]);
        counter->type(form->Haklbl[0], u"10"_s);
        QCOMPARE(form->HakTut[0]->caption(), u"90"_s);
        Counter::click(form->YeniCmd[1]);
        counter->keys(u"b"_s);
        counter->type(form->Label3[1], u"500"_s);
        QCOMPARE(form->HakTut[1]->caption(), u"0"_s); // the other station's share does not reach here
        Counter::click(form->YeniCmd[0]);
        counter->retype(form->Label3[0], u"500"_s);
        QCOMPARE(form->HakTut[0]->caption(), u"50"_s);
    }

    void deletingTakesTheCustomerWhoIsShown()
    {
        for (const char* name : {"Ali", "Veli"}) {
            counter->addCustomer(QString::fromUtf8(name));
            counter->addPressing(QString::fromUtf8(name));
        }
        counter->startTyping(u"ali"_s);
        QCOMPARE(form->Kaydet->caption(), u"Kaydı Sil"_s);
        // Whatever makes another row the current one, the name on the screen is what counts.
        form->DataCari.setRecordSource(mill::customerTable);
        form->DataCari.refresh();
        form->DataCari.recordSet().moveLast();
        QCOMPARE(form->DataCari.recordSet().field(0).text(), u"Veli"_s);
        counter->deleteShown();
        QCOMPARE(counter->rows(u"Cari"_s), QStringList{"Veli|-|-|-"});
        QCOMPARE(counter->rows(u"Hareket"_s).size(), 1);
        QVERIFY(counter->rows(u"Hareket"_s).first().endsWith(u"|Veli"_s));
    }

    void deletingAfterAnotherSearchTakesNobodyElse()
    {
        counter->addCustomer(u"Ali"_s);
        counter->addCustomer(u"Veli"_s);
        counter->startTyping(u"veli"_s);
        Counter::click(form->GünlükCmd);
        QVERIFY(!form->Kaydet->visible());
        Counter::click(form->Option1[1]);
        counter->keys(u"ali"_s); // the panel's search
        Counter::click(form->KapatCmd[0]);
        QVERIFY(!form->Kaydet->visible());
        counter->key(u"Geri Sil"_s);
        counter->keys(u"i"_s);
        QCOMPARE(form->Kaydet->caption(), u"Kaydı Sil"_s);
        counter->deleteShown();
        QCOMPARE(counter->rows(u"Cari"_s), QStringList{"Ali|-|-|-"});
    }

    void aFractionLeftOpenStaysGoneWhenThePanelCloses()
    {
        form->start();
        counter->type(form->NakitLbl[0], u"12,"_s);
        QCOMPARE(form->NakitLbl[0]->caption(), u"12,"_s);
        Counter::click(form->GünlükCmd);
        Counter::click(form->KapatCmd[0]);
        QCOMPARE(form->NakitLbl[0]->caption(), u"12"_s);
    }

    void saveButtonIsSeenOnlyOverANameThatIsTyped_data()
    {
        addTexts("after", {"other station", "same station", "panel", "dialog", "pick", "prompt"});
    }

    void saveButtonIsSeenOnlyOverANameThatIsTyped()
    {
        QFETCH(QString, after);
        counter->addCustomer(u"Ali"_s);
        counter->startTyping(u"al"_s);
        QVERIFY(form->Kaydet->visible());
        QVERIFY(form->dbListe1->visible());
        if (after == u"other station") Counter::click(form->YeniCmd[1]);
        if (after == u"same station") Counter::click(form->YeniCmd[0]);
        if (after == u"panel") Counter::click(form->GünlükCmd);
        if (after == u"dialog") form->activated();
        if (after == u"pick") counter->pick(u"Ali"_s);
        if (after == u"prompt") {
            counter->key(u"Sil"_s);
            Counter::click(form->Label2[0]);
            QCOMPARE(form->TxtLbl[0]->caption(), mill::customerPrompt);
        }
        QVERIFY(!form->Kaydet->visible());
        QVERIFY(!form->dbListe1->visible());
    }

    void savingClosesTheList()
    {
        counter->addCustomer(u"Ali Veli"_s);
        counter->startTyping(u"ali"_s);
        QVERIFY(form->dbListe1->visible());
        Counter::click(form->Kaydet);
        QVERIFY(!form->dbListe1->visible());
        QCOMPARE(form->Kaydet->caption(), u"Kaydı Sil"_s);
    }

    void savingANameThatIsThereAddsNoSecondRow()
    {
        // Equal letters in another case stand first, and are another name.
        counter->addCustomer(u"ALİ"_s);
        counter->addCustomer(u"Ali"_s);
        counter->startTyping(u"ali"_s);
        QCOMPARE(form->DataCari.recordSet().field(0).text(), u"ALİ"_s);
        QCOMPARE(form->Kaydet->caption(), u"Kaydet"_s);
        Counter::click(form->Kaydet);
        QCOMPARE(counter->rows(u"Cari"_s).size(), 2);
        QCOMPARE(form->Kaydet->caption(), u"Kaydı Sil"_s);
        QCOMPARE(form->DataCari.recordSet().field(0).text(), u"Ali"_s);
    }

    void namesThatNoCustomerCanHaveAreNotSaved_data()
    {
        addCases<QString>("name", {{"totals row", u"Toplamlar"_s}, {"blanks", u"  "_s}});
    }

    void namesThatNoCustomerCanHaveAreNotSaved()
    {
        QFETCH(QString, name);
        counter->startWith(name.toLower());
        QCOMPARE(form->TxtLbl[0]->caption(), name);
        Counter::click(form->Kaydet);
        QCOMPARE(counter->prompt.errors, QList<int>{base::errors::invalidCall});
        QCOMPARE(form->Kaydet->caption(), u"Kaydet"_s);
        QCOMPARE(counter->printSlip(), 0);
        QVERIFY(form->status->text().startsWith(u"Fiş basılmadı: "_s));
        QCOMPARE(counter->prompt.errors.size(), 1);
        QCOMPARE(counter->rows(u"Cari"_s), QStringList());
        QCOMPARE(counter->rows(u"Hareket"_s), QStringList());
    }

    void promptThatComesBackSearchesNobody()
    {
        // A weight of 0 is the active text while the prompt comes back.
        counter->addCustomer(u"0"_s, 33.0, u"20 Litrelik Kap"_s, 77.0);
        counter->startTyping(u"x"_s);
        counter->key(u"Sil"_s);
        const QStringList before = counter->terms();
        Counter::click(form->Label2[0]);
        QCOMPARE(form->TxtLbl[0]->caption(), mill::customerPrompt);
        QCOMPARE(counter->terms(), before);
    }

    void feeRecalledBesideAnEntitlementIsZeroAgain()
    {
        counter->addCustomer(u"Ali"_s, 12.0, u"10 Litrelik Kap"_s, 250.0);
        counter->startWith(u"a"_s); // recalls the fee already
        QCOMPARE(form->NakitLbl[0]->caption(), u"250"_s);
        Counter::click(form->HakCmd[0]);
        QCOMPARE(form->NakitLbl[0]->caption(), u"0"_s);
        counter->type(form->TxtLbl[0], u"li"_s);
        QCOMPARE(form->Haklbl[0]->caption(), u"12"_s);
        QCOMPARE(form->NakitLbl[0]->caption(), u"0"_s);
        counter->type(form->NakitLbl[0], u"99"_s);
        QCOMPARE(form->NakitLbl[0]->caption(), u"0"_s);
        QCOMPARE(counter->prompt.errors, QList<int>{});
    }

    void percentageRecalledBesideAnEntitlementLeavesTheShareUntilAFigureIsTouched()
    {
        counter->addCustomer(u"Can"_s, 12.0, u"10 Litrelik Kap"_s, 0.0);
        counter->startWith(u"bo"_s);
        Counter::click(form->HakCmd[0]);
        counter->type(form->Haklbl[0], u"10"_s);
        QCOMPARE(form->HakTut[0]->caption(), u"90"_s);
        Counter::click(form->TxtLbl[0]);
        counter->key(u"Geri Sil"_s);
        counter->key(u"Geri Sil"_s); // the name is empty: the station begins anew
        QCOMPARE(form->HakTut[0]->caption(), u"0"_s);
        QVERIFY(!form->Frame3[0]->visible());

        // Switched on before the name: the share is that of the weight that comes, by the terms that came with the
        // name.
        Counter::click(form->HakCmd[0]);
        Counter::click(form->TxtLbl[0]);
        counter->key(u"c"_s);
        QCOMPARE(form->Haklbl[0]->caption(), u"12"_s);
        counter->type(form->Label2[0], u"1000"_s);
        QCOMPARE(form->HakTut[0]->caption(), u"108"_s);

        // A percentage that comes with a name typed over a finished pressing changes no other figure by itself.
        counter->retype(form->Haklbl[0], u"20"_s);
        Counter::click(form->TxtLbl[0]);
        counter->key(u"a"_s);
        QCOMPARE(form->Haklbl[0]->caption(), u"12"_s);
        QCOMPARE(form->HakTut[0]->caption(), u"180"_s);
        QCOMPARE(form->Verilen[0]->caption(), u"720"_s);
        QVERIFY(form->status->text().contains(u"hak ediş yüzdeye uymuyor"_s));
        counter->retype(form->Label3[0], u"900"_s);
        QCOMPARE(form->HakTut[0]->caption(), u"108"_s);
        QVERIFY(!form->status->text().contains(u"uymuyor"_s));
        QCOMPARE(counter->prompt.errors, QList<int>{});
    }

    void switchingOffWhileThePercentageIsEditedEditsTheFee()
    {
        counter->startWith(u"ali"_s);
        Counter::click(form->HakCmd[0]);
        counter->type(form->Haklbl[0], u"12,"_s);
        Counter::click(form->HakCmd[0]);
        QCOMPARE(form->AktifLbl, form->NakitLbl[0]);
        QCOMPARE(form->Haklbl[0]->caption(), u"12"_s);
        counter->keys(u"5"_s);
        QCOMPARE(form->NakitLbl[0]->caption(), u"5"_s);
        QCOMPARE(form->HakTut[0]->caption(), u"0"_s);
    }

    void figureTooLargeChangesNothing()
    {
        counter->startWith(u"ali"_s);
        Counter::click(form->HakCmd[0]);
        counter->type(form->Haklbl[0], u"99"_s);
        counter->retype(form->Label3[0], u"1"_s);
        QString before;
        for (int i = 0; i < 400 && counter->prompt.errors.isEmpty(); ++i) {
            before =
                form->Label3[0]->caption() + u'|' + form->HakTut[0]->caption() + u'|' + form->Verilen[0]->caption();
            counter->key(u"0"_s);
        }
        QCOMPARE(counter->prompt.errors, QList<int>{6});
        QCOMPARE(form->Label3[0]->caption() + u'|' + form->HakTut[0]->caption() + u'|' + form->Verilen[0]->caption(),
                 before);
    }

    void switchThatIsTakenBackLeavesNoNamesFound()
    {
        counter->addCustomer(u"Büyük"_s, 1e308);
        counter->addCustomer(u"5"_s);
        counter->startTyping(u"bü"_s); // brings a percentage that is too large for any share
        counter->type(form->Label2[0], u"1000"_s);
        Counter::click(form->TxtLbl[0]);
        counter->key(u"Geri Sil"_s);
        counter->key(u"Geri Sil"_s);
        counter->keys(u"5,"_s);
        counter->type(form->Label2[0], u"1000"_s);
        counter->type(form->NakitLbl[0], u"7"_s);
        Counter::click(form->YeniCmd[0]);
        counter->prompt.errors.clear();
        Counter::click(form->HakCmd[0]);
        QCOMPARE(counter->prompt.errors, QList<int>{6});
        QCOMPARE(form->TxtLbl[0]->caption(), u"5,"_s);
        QCOMPARE(form->NakitLbl[0]->caption(), u"7"_s);
        QVERIFY(!form->dbListe1->visible());
        QVERIFY(!form->Kaydet->visible());
    }

    void handedOverIsOilLessEntitlement()
    {
        counter->startWith(u"ali"_s);
        QCOMPARE(form->Verilen[0]->caption(), u"900"_s); // before any entitlement was switched on
        counter->retype(form->Label3[0], u"850"_s);
        QCOMPARE(form->Verilen[0]->caption(), u"850"_s);
    }
};

QTEST_MAIN(CustomerRegister)
#include "customer_register.moc"
