#include "platform/system_disk.h"
#include "store/copy_names.h"
#include "tests/app/screen_fixture.h"
#include "tests/jet/chosen_rows.h"
#include "tests/support/columns.h"
#include "tests/support/qt_files.h"

#include <QDir>
#include <QtTest>
#include <optional>

/// A screen on a database on the real disk, with the copies that it makes by itself.
struct CopyingScreen : World {
    CopyingScreen()
    {
        const std::filesystem::path file = path("Yag.mdb").toStdU16String();
        mill::createDatabase(platform::systemDisk(), file, jet::turkish, jet::DateTime{45981});
        form = std::make_unique<app::Form1>(surroundings(realDatabases, printer, realSlips, &backups));
        form->start();
    }

    QString path(const QString& name) const { return folder.filePath(name); }
    QStringList copies() const { return QDir(path("Yedek")).entryList(QDir::Files, QDir::Name); }
    int rowsOf(const QString& table) { return static_cast<int>(form->DataCari.database().open(table).rows.size()); }
    int copiedRowsOf(const std::u16string& table, const QString& copy)
    {
        const auto database = jet::Database::open(platform::systemDisk(), path("Yedek/" + copy).toStdU16String(),
                                                  jet::Pager::Mode::readOnly);
        return static_cast<int>(allRows(database->table(table)).size());
    }
    void press(const QString& customer)
    {
        form->TxtLbl[0]->setCaption(customer);
        form->Label2[0]->setCaption("1000");
        form->YazCmd[0]->click();
        backups.wait();
        QCoreApplication::processEvents();
    }

    TriedDatabases realDatabases{platform::systemDisk()};
    store::SlipNotes realSlips{platform::systemDisk(), path("Yag.mdb").toStdU16String()};
    store::Backups backups{platform::systemDisk(), folder.path().toStdU16String()};
    std::unique_ptr<app::Form1> form;
};

class Copies : public QObject {
    Q_OBJECT

    std::optional<CopyingScreen> screen;

private slots:
    void init() { screen.emplace(); }
    void cleanup() { screen.reset(); }

    void theFirstSlipOfTheDayMakesACopyWithItsPressing()
    {
        QVERIFY(screen->copies().isEmpty());
        screen->press("Ali");
        QCOMPARE(screen->copies(), QStringList{"Yag-2025-11-20.mdb"});
        QCOMPARE(screen->copiedRowsOf(u"Hareket", "Yag-2025-11-20.mdb"), 1);
        QCOMPARE(screen->copiedRowsOf(u"Cari", "Yag-2025-11-20.mdb"), 1);
        screen->press("Veli");
        QCOMPARE(screen->copies().size(), 1);
        QCOMPARE(screen->copiedRowsOf(u"Hareket", "Yag-2025-11-20.mdb"), 1);
    }

    void aSlipThatWasNotPrintedMakesNone()
    {
        screen->form->Combo1[0]->setListIndex(-1); // no container: the slip fails
        screen->press("Ali");
        QCOMPARE(screen->rowsOf("Hareket"), 0);
        QVERIFY(screen->copies().isEmpty());
    }

    void bulkDeletesArePrecededByACopy_data()
    {
        addCases<bool>("customers", {{"Carileri Sil", true}, {"Hesapları Sil", false}});
    }
    void bulkDeletesArePrecededByACopy()
    {
        if (TriedDatabases::overRegister()) return; // nobody empties a shared register
        QFETCH(bool, customers);
        screen->press("Ali");
        screen->press("Veli");
        (customers ? screen->form->CariSil : screen->form->HesapSil)->trigger();
        QCOMPARE(screen->rowsOf("Hareket"), 0);
        QCOMPARE(screen->rowsOf("Cari"), customers ? 0 : 2);
        QCOMPARE(screen->copies(), (QStringList{"Yag-2025-11-20-140500.mdb", "Yag-2025-11-20.mdb"}));
        QCOMPARE(screen->copiedRowsOf(u"Hareket", "Yag-2025-11-20-140500.mdb"), 2);
        QCOMPARE(screen->copiedRowsOf(u"Cari", "Yag-2025-11-20-140500.mdb"), 2);
        QVERIFY(screen->prompt.questions.isEmpty() && screen->prompt.exclamations.isEmpty());
    }

    void deletingACustomerIsPrecededByACopy()
    {
        screen->press("Ali");
        screen->form->TxtLbl_Click(0);
        screen->form->TxtLbl[0]->setCaption("Al");
        screen->form->TxtLbl[0]->setCaption("Ali");
        screen->prompt.answer = false;
        screen->form->Kaydet->click();
        QCOMPARE(screen->copies().size(), 1); // "No": nothing is deleted, nothing copied
        screen->form->TxtLbl[0]->setCaption("Al");
        screen->form->TxtLbl[0]->setCaption("Ali");
        screen->prompt.answer = true;
        screen->form->Kaydet->click();
        QCOMPARE(screen->rowsOf("Hareket"), 0);
        QCOMPARE(screen->copiedRowsOf(u"Hareket", "Yag-2025-11-20-140500.mdb"), 1);
        QCOMPARE(screen->prompt.questions.size(), 2);
    }

    void aCopyThatFailsIsToldOnceAndStopsNothing()
    {
        putFile(screen->path("Yedek")); // in the way
        screen->press("Ali");
        screen->press("Veli");
        QCOMPARE(screen->rowsOf("Hareket"), 2);
        QCOMPARE(screen->prompt.exclamations.size(), 1);
        QVERIFY(screen->prompt.exclamations[0].contains("Yedek alınamadı"));
        if (TriedDatabases::overRegister()) return; // nobody empties a shared register
        screen->form->HesapSil->trigger();
        QCoreApplication::processEvents();
        QCOMPARE(screen->rowsOf("Hareket"), 0);
        QCOMPARE(screen->prompt.exclamations.size(), 1);
        QVERIFY(screen->prompt.errors.isEmpty());
    }

    void aNoteWaitsForTheEndOfTheAction()
    {
        screen->form->run([&] {
            screen->form->run([&] { screen->form->note("Bir"); });
            screen->form->note("İki");
            QVERIFY(screen->prompt.exclamations.isEmpty());
        });
        QCOMPARE(screen->prompt.exclamations, (QStringList{"Bir", "İki"}));
        screen->form->note("Üç");
        QCOMPARE(screen->prompt.exclamations.size(), 3);
    }

    void aScreenThatIsClosedWhileItCopiesLeavesNothingHalf()
    {
        screen->form->TxtLbl[0]->setCaption("Ali");
        screen->form->Label2[0]->setCaption("1000");
        screen->form->YazCmd[0]->click();
        screen->form.reset();
        QCoreApplication::processEvents();
        QVERIFY(screen->prompt.exclamations.isEmpty());
        for (const QString& copy : screen->copies()) QVERIFY(store::copyTime(copy.toStdU16String()));
    }
};

QTEST_MAIN(Copies)
#include "copies.moc"
