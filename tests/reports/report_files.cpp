#include "base/error.h"
#include "mill/queries.h"
#include "mill/tables.h"
#include "reports/period_report.h"
#include "store/jet/care/check.h"
#include "store/jet_engine.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/support/outcome.h"
#include <QTest>

using namespace reports;

namespace {

const std::filesystem::path file = "mill/Yag.mdb";
const QString fileName = u"mill/Yag.mdb"_s;

/// One text for each row of the journal in the order of the file, the totals rows set apart.
struct Journal {
    QStringList pressings;
    QStringList totals;
    bool operator==(const Journal&) const = default;
};

Journal journalOf(files::Disk& disk)
{
    store::JetDatabases databases(disk);
    const auto engine = databases.open(fileName);
    const store::Listing rows = engine->open(u"Hareket"_s);
    Journal journal;
    for (const store::RowKey row : rows.rows) {
        QStringList fields;
        for (int i = 0; i < 7; ++i) fields += engine->field(rows, row, i).toCell(base::Regional::turkish());
        (fields.last() == mill::totalsName ? journal.totals : journal.pressings) += fields.join(u'|');
    }
    return journal;
}

void add(store::Engine& engine, const QString& moment, double Zeytin, const QString& name)
{
    engine.insert(engine.open(u"Hareket"_s), {{0, store::FieldValue::date(QDateTime::fromString(moment, Qt::ISODate))},
                                              {1, Zeytin},
                                              {2, Zeytin / 5},
                                              {4, 0.0},
                                              {5, 10.0},
                                              {6, name}});
}

/// A mill's database with some pressings and the totals row of an earlier report, which lies in the period.
void fill(files::Disk& disk)
{
    mill::createDatabase(disk, file, jet::turkish, {45000});
    store::JetDatabases databases(disk);
    const auto engine = databases.open(fileName);
    for (int i = 0; i < 30; ++i) add(*engine, u"2025-02-03T10:%1:00"_s.arg(i + 10), 100.5, u"Ali"_s);
    add(*engine, u"2025-02-03T10:15:30"_s, 7, mill::totalsName);
    add(*engine, u"2025-02-04T23:59:59"_s, 1000, u"Ayşe"_s);
    add(*engine, u"2025-02-05T00:00:00"_s, 5000, u"Ayşe"_s);
}

void report(files::Disk& disk, const QString& name = {})
{
    store::JetDatabases databases(disk);
    store::DataSource listing(databases);
    listing.setDatabaseName(fileName);
    RaporYenile({{QDate(2025, 2, 3), QDate(2025, 2, 4)}, true, true, name, name},
                {listing, databases, QDateTime(QDate(2025, 2, 4), QTime(18, 30)), {}});
}

const QString oldTotals = u"03.02.2025 10:15:30|7|1,4||0|10|Toplamlar"_s;
const QString newTotals = u"04.02.2025 18:30:00|4015|803||0|310|Toplamlar"_s;

} // namespace

/// The report routine over database files of this program's own engine.
class ReportFiles : public QObject {
    Q_OBJECT

private slots:
    void reportWritesOneTotalsRowIntoTheFile()
    {
        PowerCutDisk disk;
        fill(disk);
        const Journal before = journalOf(disk);
        QCOMPARE(before.totals, QStringList{oldTotals});
        for (int run = 0; run < 3; ++run) {
            report(disk);
            QCOMPARE(journalOf(disk).totals, QStringList{newTotals});
            QCOMPARE(journalOf(disk).pressings, before.pressings);
        }
        report(disk, u"Nobody"_s);
        QCOMPARE(journalOf(disk).totals, QStringList());
        QCOMPARE(journalOf(disk).pressings, before.pressings);
        const auto database = jet::Database::open(disk, file);
        QVERIFY(jet::checkDatabase(*database).ok());
    }

    void plainJournalShowsTotalsAtTheirOwnMoment()
    {
        PowerCutDisk disk;
        fill(disk);
        report(disk);
        store::JetDatabases databases(disk);
        store::DataSource journal(databases);
        journal.setDatabaseName(fileName);
        journal.setRecordSource(mill::wholeJournal);
        journal.refresh();
        store::RecordSet& rows = journal.recordSet();
        QCOMPARE(rows.size(), 33);
        QCOMPARE(rows.fieldAt(30, 6).text(), mill::totalsName);
        QCOMPARE(rows.fieldAt(31, 6).text(), u"Ayşe"_s);
    }

    void everyPowerCutLeavesOneTotalsRow()
    {
        PowerCutDisk whole;
        fill(whole);
        const Journal before = journalOf(whole);

        // The power goes before each change of the medium that a report makes, with different luck for what was on its
        // way.
        int cuts = 0;
        int withOld = 0;
        int withNew = 0;
        const auto disk = whole.afterPowerCut(0); // everything had been synced
        disk->beforeEachChange = [&] {
            for (const std::uint32_t luck : {1U, 2U, 3U, 4U}) {
                const auto after = disk->afterPowerCut(1000U * static_cast<unsigned>(++cuts) + luck);
                const Journal journal = journalOf(*after);
                QCOMPARE(journal.pressings, before.pressings);
                QCOMPARE(journal.totals.size(), 1);
                withOld += journal.totals.first() == oldTotals;
                withNew += journal.totals.first() == newTotals;
                const auto database = jet::Database::open(*after, file);
                QVERIFY(jet::checkDatabase(*database).ok());
            }
        };
        report(*disk);
        QVERIFY(cuts > 10);
        QCOMPARE(withOld + withNew, cuts);
        QVERIFY(withOld > 0);
        QVERIFY(withNew > 0);
        QCOMPARE(journalOf(*disk->afterPowerCut(7)).totals, QStringList{newTotals});
    }

    void fullDiskLeavesTheOldTotalsRow()
    {
        PowerCutDisk whole;
        fill(whole);
        const Journal before = journalOf(whole);
        const int changes = [&] {
            const auto disk = whole.afterPowerCut(0);
            report(*disk);
            return disk->changes();
        }();
        int failures = 0;
        for (int failing = 1; failing <= changes; ++failing) {
            const auto disk = whole.afterPowerCut(0);
            disk->failing = {failing};
            const bool failed = errorOf([&] { report(*disk); }) != 0;
            failures += failed;
            disk->failing.clear();
            const Journal journal = journalOf(*disk);
            QCOMPARE(journal.pressings, before.pressings);
            QCOMPARE(journal.totals, QStringList{failed ? oldTotals : newTotals});
        }
        QVERIFY(failures > 0);
    }
};

QTEST_GUILESS_MAIN(ReportFiles)
#include "report_files.moc"
