#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/format/doors.h"
#include "tests/jet/mixed_work.h"
#include "tests/jet/power_cut_disk.h"

#include <QtTest>

using namespace jet;

namespace {

const std::filesystem::path file = "Yag.mdb";

/// PRESVA_STOPS sets how many moments the power is cut at; the usual run tries fewer than a release does.
int stops() { return std::max(1, qEnvironmentVariableIntValue("PRESVA_STOPS")); }
constexpr int usualStops = 2500;

QByteArray firstFault(const CheckResult& result)
{
    return result.ok() ? QByteArray() : QByteArray::fromStdString(result.faults.front());
}

} // namespace

class CrashTest : public QObject {
    Q_OBJECT
private slots:
    void powerCutAtAnyMomentKeepsEveryAcknowledgedChange();
    void creatingADatabaseOrATableIsWholeOrNothing();
    void everyDiskFaultLeavesTheDatabaseWholeAndUsable();
};

void CrashTest::powerCutAtAnyMomentKeepsEveryAcknowledgedChange()
{
    const int wanted = qEnvironmentVariableIsSet("PRESVA_STOPS") ? stops() : usualStops;
    PowerCutDisk disk;
    MixedWork::create(disk, file);
    MixedWork work(7);
    MixedWork::Rows before;
    MixedWork::Rows after;
    int tried = 0;
    std::uint32_t luck = 0;
    auto database = Database::open(disk, file);
    {
        Transaction start(database->pager());
        for (int i = 0; i < 120; ++i) work.insert(database->table(MixedWork::table), before);
        start.commit();
    }
    disk.beforeEachChange = [&] {
        ++tried;
        const auto medium = disk.afterPowerCut(++luck);
        const auto recovered = Database::open(*medium, file);
        const MixedWork::Rows rows = MixedWork::read(*recovered);
        QVERIFY2(rows == before || rows == after, qPrintable(QStringLiteral("stop %1").arg(tried)));
        const CheckResult result = checkDatabase(*recovered);
        QVERIFY2(result.ok(), firstFault(result));
        QVERIFY2(result.warnings.empty(), result.warnings.empty() ? "" : result.warnings.front().c_str());
    };
    while (tried < wanted && !QTest::currentTestFailed()) {
        after = before;
        Transaction transaction(database->pager());
        work.change(*database, after);
        if (work.random()() % 10 == 0) {
            after = before;
            database->pager().rollback();
            work.forgetPlaces(*database);
            continue;
        }
        transaction.commit();
        before = after;
        if (work.random()() % 50 == 0) {
            database.reset();
            database = Database::open(disk, file);
        }
    }
    QVERIFY(!QTest::currentTestFailed());
    QCOMPARE(MixedWork::read(*database), before);
}

void CrashTest::creatingADatabaseOrATableIsWholeOrNothing()
{
    PowerCutDisk disk;
    std::uint32_t luck = 0;
    int whole = 0;
    disk.beforeEachChange = [&] {
        const auto medium = disk.afterPowerCut(++luck);
        if (!medium->has(file)) return;
        const auto recovered = Database::open(*medium, file);
        const CheckResult result = checkDatabase(*recovered);
        QVERIFY2(result.ok(), firstFault(result));
        const auto tables = recovered->tableNames();
        QVERIFY(tables.empty() || tables == std::vector<std::u16string>{MixedWork::table});
        ++whole;
    };
    MixedWork::create(disk, file);
    QVERIFY(whole > 5);
}

void CrashTest::everyDiskFaultLeavesTheDatabaseWholeAndUsable()
{
    PowerCutDisk start;
    MixedWork::create(start, file);
    for (int fault = 1; fault < 60; ++fault) {
        PowerCutDisk disk;
        disk.put(file, start.content(file));
        MixedWork work(static_cast<unsigned>(fault));
        MixedWork::Rows rows;
        auto database = Database::open(disk, file);
        disk.failing = {fault, fault + 1};
        for (int i = 0; i < 6; ++i) {
            MixedWork::Rows next = rows;
            try {
                Transaction transaction(database->pager());
                for (int k = 0; k < 5; ++k) work.insert(database->table(MixedWork::table), next);
                transaction.commit();
                rows = next;
            } catch (const Error& error) {
                QCOMPARE(error.fault(), Fault::disk);
                database.reset(); // as a person would: close, open, go on
                database = Database::open(disk, file);
                const MixedWork::Rows found = MixedWork::read(*database);
                QVERIFY(found == rows || found == next);
                rows = found;
            }
            QCOMPARE(MixedWork::read(*database), rows);
        }
        const CheckResult result = checkDatabase(*database);
        QVERIFY2(result.ok(), firstFault(result));
    }
}

QTEST_APPLESS_MAIN(CrashTest)
#include "crash.moc"
