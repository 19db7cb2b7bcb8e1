#include "app/pressing_record.h"
#include "mill/tables.h"
#include "platform/system_disk.h"
#include "print/folder_target.h"
#include "store/jet_engine.h"

#include <QTemporaryDir>
#include <QtTest>

/// What a printed slip leaves behind, and what becomes of one that a crash caught on its way.
class PressingRecord : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<store::JetDatabases> databases;
    std::unique_ptr<store::SlipNotes> notes;
    std::unique_ptr<print::FolderTarget> printer;
    std::shared_ptr<store::Engine> engine;
    QStringList log;
    const base::Regional regional = base::Regional::turkish();

    QString database() const { return folder->filePath("Yag.mdb"); }
    int rows(const QString& table) { return int(engine->open(table).rows.size()); }
    store::SlipNote note(int job) const
    {
        store::SlipNote slip;
        slip.job = job;
        slip.moment = 45981.5;
        slip.olives = "1.000";
        slip.oil = "850";
        slip.percentage = "12";
        slip.entitlement = "102";
        slip.fee = "0";
        slip.customer = "Işıl O'Hara";
        slip.container = "10 Litrelik Kap";
        return slip;
    }
    int job(bool sent)
    {
        const print::Document document{"%PDF-1.4", "Fiş", {}, print::Paper::slipRoll80()};
        const int number = printer->createJob(document);
        if (sent) printer->sendAndFinish(number, document);
        return number;
    }
    void settle()
    {
        app::settleOpenSlip(*databases, database(), *notes, *printer, regional,
                            [this](const QString& line) { log << line; });
    }

private slots:
    void init()
    {
        folder = std::make_unique<QTemporaryDir>();
        mill::createDatabase(platform::systemDisk(), database().toStdString(), jet::turkish, jet::DateTime{45981});
        databases = std::make_unique<store::JetDatabases>(platform::systemDisk());
        engine = databases->open(database());
        notes = std::make_unique<store::SlipNotes>(platform::systemDisk(), database().toStdString());
        printer = std::make_unique<print::FolderTarget>(folder->path());
        log.clear();
    }

    void aNoteComesBackLetterForLetter()
    {
        notes->write(note(7));
        QVERIFY(notes->open() == note(7));
        notes->write(note(8));
        QVERIFY(notes->open() == note(8));
        notes->strike();
        QVERIFY(!notes->open());
    }

    void aNoteThatIsNotWholeCountsAsNone()
    {
        notes->write(note(7));
        QFile file(database() + "-slip");
        QVERIFY(file.resize(file.size() - 1));
        QVERIFY(!notes->open());
    }

    void aSlipThatThePrinterTookIsStoredOnce()
    {
        notes->write(note(job(true)));
        settle();
        QCOMPARE(rows("Hareket"), 1);
        QCOMPARE(rows("Cari"), 1);
        const store::Listing journal = engine->open("Hareket");
        QCOMPARE(engine->field(journal, journal.rows[0], 1).number().value(), 1000.0);
        QCOMPARE(engine->field(journal, journal.rows[0], 4).number().value(), 102.0);
        QCOMPARE(engine->field(journal, journal.rows[0], 6).text(), "Işıl O'Hara");
        QCOMPARE(log.size(), 1);
        QVERIFY(!notes->open());
        settle();
        QCOMPARE(rows("Hareket"), 1);
        QCOMPARE(log.size(), 1);
    }

    void aSlipThatWasStoredBeforeTheCrashIsNotStoredAgain()
    {
        const store::SlipNote slip = note(job(true));
        store::DataSource customers(*databases), journal(*databases);
        for (auto* source : {&customers, &journal}) source->setDatabaseName(database());
        customers.setRecordSource("Cari");
        journal.setRecordSource("Hareket");
        customers.refresh();
        journal.refresh();
        notes->write(slip);
        app::storePressing(customers, journal, slip, regional);
        settle();
        QCOMPARE(rows("Hareket"), 1);
        QCOMPARE(rows("Cari"), 1);
        QVERIFY(!notes->open());
    }

    void aSlipThatNeverReachedThePrinterIsDropped()
    {
        notes->write(note(job(false)));
        settle();
        QCOMPARE(rows("Hareket"), 0);
        QCOMPARE(rows("Cari"), 0);
        QCOMPARE(log.size(), 1);
        QVERIFY(!notes->open());
    }

    void theSameCustomerTwiceInOneSecondIsTwoPressings()
    {
        store::DataSource customers(*databases), journal(*databases);
        for (auto* source : {&customers, &journal}) source->setDatabaseName(database());
        customers.setRecordSource("Cari");
        journal.setRecordSource("Hareket");
        customers.refresh();
        journal.refresh();
        app::storePressing(customers, journal, note(job(true)), regional);
        store::SlipNote second = note(job(true));
        second.sameBefore = store::pressingsAt(*engine, second.customer, second.moment);
        QCOMPARE(second.sameBefore, 1);
        notes->write(second);
        settle();
        QCOMPARE(rows("Hareket"), 2);
        QCOMPARE(rows("Cari"), 1);
    }
};

QTEST_GUILESS_MAIN(PressingRecord)
#include "pressing_record.moc"
