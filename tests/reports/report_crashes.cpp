#include <cstddef> // moc stumbles over <compare> without it

#include "mill/queries.h"
#include "mill/tables.h"
#include "reports/period_report.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet_engine.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/support/columns.h"
#include <QTest>

using namespace reports;
using namespace Qt::StringLiterals;

namespace {

const std::filesystem::path file = "mill/Yag.mdb";
const QString fileName = u"mill/Yag.mdb"_s;

/// What was stored, byte for byte and each row at its place; the totals rows set apart.
struct Dump {
    std::map<std::pair<QString, std::uint64_t>, QByteArray> rows; ///< of all tables: table and place, bytes
    QList<QByteArray> totals;                                     ///< bytes of the totals rows
};

Dump dumpOf(jet::Database& database)
{
    Dump dump;
    for (const auto& name : database.tableNames()) {
        const jet::Table& table = database.table(name);
        const auto journal = table.columnNamed(u"CariHar");
        table.forEachRow([&](jet::RowId id, const jet::RowView& row) {
            const auto raw = row.bytes();
            const QByteArray bytes(reinterpret_cast<const char*>(raw.data()), static_cast<qsizetype>(raw.size()));
            if (journal && row.textIs(*journal, mill::totalsName.toStdU16String()))
                dump.totals += bytes;
            else
                dump.rows[{QString::fromStdU16String(name), id.packed()}] = bytes;
            return true;
        });
    }
    return dump;
}

QByteArray firstFault(jet::Database& database)
{
    const jet::CheckResult result = jet::checkDatabase(database);
    if (!result.ok()) return QByteArray::fromStdString(result.faults.front());
    return result.warnings.empty() ? QByteArray() : QByteArray::fromStdString(result.warnings.front());
}

void add(store::Engine& engine, const QString& moment, double Zeytin, const QString& name)
{
    engine.insert(engine.open(u"Hareket"_s), {{0, store::FieldValue::date(QDateTime::fromString(moment, Qt::ISODate))},
                                              {1, Zeytin},
                                              {2, Zeytin / 5},
                                              {3, 12.0},
                                              {4, Zeytin / 40},
                                              {5, 10.0},
                                              {6, name}});
}

/// A mill with customers, and pressings on several pages.
void fill(files::Disk& disk, bool indexed)
{
    mill::createDatabase(disk, file, jet::turkish, {45000});
    if (!indexed) jet::Database::open(disk, file)->dropIndex(u"Hareket", u"Tarih");
    store::JetDatabases databases(disk);
    const auto engine = databases.open(fileName);
    for (const QString& name : {u"Ali"_s, u"Ayşe"_s, u"Zehra"_s})
        engine->insert(engine->open(u"Cari"_s), {{0, name}, {1, 12.0}, {2, u"10 Litrelik Kap"_s}});
    for (int i = 0; i < 150; ++i)
        add(*engine, u"2025-02-%1T10:%2:00"_s.arg(1 + i / 30, 2, 10, QChar(u'0')).arg(10 + i % 30), 100.5 + i,
            i % 3 == 0 ? u"Ayşe"_s : u"Ali"_s);
}

struct Asked {
    const char* name;
    bool panelShown, reportSelected;
    QString customer;
    int day; ///< of February 2025; the period is that day and the next one
};

const QList<Asked> questions = {{"all customers", true, true, {}, 2},
                                {"one customer in the report view", true, true, u"Ali"_s, 3},
                                {"one customer in the customers' view", true, false, u"Ayşe"_s, 2},
                                {"the customer at the station, panel hidden", false, true, u"Ali"_s, 2},
                                {"a customer without pressings", true, true, u"Zehra"_s, 2},
                                {"days without pressings", true, true, {}, 20}};

void report(files::Disk& disk, const Asked& asked, int minute)
{
    store::JetDatabases databases(disk);
    store::DataSource listing(databases);
    listing.setDatabaseName(fileName);
    const QDate first(2025, 2, asked.day);
    RaporYenile({{first, first.addDays(1)},
                 asked.panelShown,
                 asked.reportSelected,
                 asked.reportSelected ? asked.customer : QString(),
                 asked.customer},
                {listing, databases, QDateTime(QDate(2025, 2, 3), QTime(18, minute)), {}});
}

} // namespace

/// Reports on a disk that stops at any moment: before each write, sync, and change of a name.
class ReportCrashes : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        for (const bool indexed : {false, true}) {
            PowerCutDisk disk;
            fill(disk, indexed);
            filled_[indexed] = disk.content(file);
        }
    }

    void stopLeavesTheOldTotalsOrTheNewAndEveryOtherRow_data()
    {
        // totals: moments of the totals rows that are there before
        addColumns<bool, int, QStringList>("indexed", "question", "totals");
        const std::vector<std::pair<const char*, QStringList>> states = {
            {"no totals", {}},
            {"totals in the period", {u"2025-02-03T10:20:30"_s}},
            {"totals of another period", {u"2024-11-03T10:20:30"_s}},
            {"a second totals row by a foreign hand", {u"2025-02-03T10:20:30"_s, u"2025-02-02T10:00:00"_s}},
        };
        for (const bool indexed : {false, true})
            for (int i = 0; i < questions.size(); ++i)
                for (const auto& [name, totals] : states)
                    QTest::addRow("%s, %s%s", questions[i].name, name, indexed ? ", indexed" : "")
                        << indexed << i << totals;
    }

    void stopLeavesTheOldTotalsOrTheNewAndEveryOtherRow()
    {
        QFETCH(bool, indexed);
        QFETCH(int, question);
        QFETCH(QStringList, totals);
        PowerCutDisk disk(file, filled_[indexed]);
        {
            store::JetDatabases databases(disk);
            const auto engine = databases.open(fileName);
            for (const QString& moment : totals) add(*engine, moment, 7, mill::totalsName);
        }
        // Twice the same: the second time the totals row of the first is there.
        for (const int minute : {30, 31}) {
            reportWithStops(disk, questions[question], minute);
            if (QTest::currentTestFailed()) whole_ = false;
            if (!whole_) return;
        }
    }

    void cleanupTestCase()
    {
        if (!whole_) return;
        qInfo("%u stops: %d left the totals of before, %d those of the report", stops_, leftOld_, leftNew_);
        QVERIFY(stops_ >= 500);
        QVERIFY(leftOld_ > 100);
        QVERIFY(leftNew_ > 100);
    }

private:
    /// One report with the power cut before each change of the medium; each time the file is looked at as the next
    /// start finds it, and again after another report there.
    void reportWithStops(PowerCutDisk& disk, const Asked& asked, int minute)
    {
        const Dump before = dumpOf(*jet::Database::open(disk, file));
        const Dump after = [&] {
            PowerCutDisk undisturbed(file, disk.content(file));
            report(undisturbed, asked, minute);
            return dumpOf(*jet::Database::open(undisturbed, file));
        }();
        QVERIFY(after.rows == before.rows);
        QVERIFY(after.totals.size() <= 1);

        disk.beforeEachChange = [&] {
            const auto medium = disk.afterPowerCut(++stops_);
            {
                const auto recovered = jet::Database::open(*medium, file);
                const Dump found = dumpOf(*recovered);
                QVERIFY(found.rows == before.rows);
                QVERIFY(found.totals == before.totals || found.totals == after.totals);
                QCOMPARE(firstFault(*recovered), QByteArray());
                if (before.totals != after.totals) ++(found.totals == before.totals ? leftOld_ : leftNew_);
            }
            report(*medium, questions[static_cast<qsizetype>(stops_) % questions.size()], 59);
            const auto next = jet::Database::open(*medium, file);
            const Dump found = dumpOf(*next);
            QVERIFY(found.rows == before.rows);
            QVERIFY(found.totals.size() <= 1);
            QCOMPARE(firstFault(*next), QByteArray());
        };
        report(disk, asked, minute);
        disk.beforeEachChange = {};
        const Dump found = dumpOf(*jet::Database::open(disk, file));
        QVERIFY(found.rows == before.rows);
        QVERIFY(found.totals == after.totals);
    }

    std::map<bool, PowerCutDisk::Image> filled_; ///< by whether the journal has an index
    std::uint32_t stops_ = 0;
    int leftOld_ = 0, leftNew_ = 0;
    bool whole_ = true;
};

QTEST_GUILESS_MAIN(ReportCrashes)
#include "report_crashes.moc"
