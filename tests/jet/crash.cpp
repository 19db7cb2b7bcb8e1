#include "store/jet/database/database.h"
#include "store/jet/format/doors.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/jet/check_result.h"
#include "tests/jet/mixed_work.h"
#include "tests/support/fault.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

using namespace jet;

namespace {

const std::filesystem::path file = "Yag.mdb";

/// PRESVA_STOPS sets how many moments the power is cut at; the usual run tries fewer than a release does.
int stops() { return numberFromEnvironment("PRESVA_STOPS", 2500); }

TEST(Crash, powerCutAtAnyMomentKeepsEveryAcknowledgedChange)
{
    const int wanted = stops();
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
        ASSERT_TRUE(rows == before || rows == after) << "stop " << tried;
        ASSERT_THAT(checkDatabase(*recovered), findsNothing());
    };
    while (tried < wanted && !HasFailure()) {
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
    ASSERT_FALSE(HasFailure());
    ASSERT_EQ(MixedWork::read(*database), before);
}

TEST(Crash, creatingADatabaseOrATableIsWholeOrNothing)
{
    PowerCutDisk disk;
    std::uint32_t luck = 0;
    int whole = 0;
    disk.beforeEachChange = [&] {
        const auto medium = disk.afterPowerCut(++luck);
        if (!medium->has(file)) return;
        const auto recovered = Database::open(*medium, file);
        ASSERT_THAT(checkDatabase(*recovered), findsNoFault());
        const auto tables = recovered->tableNames();
        ASSERT_TRUE(tables.empty() || tables == std::vector<std::u16string>{MixedWork::table});
        ++whole;
    };
    MixedWork::create(disk, file);
    ASSERT_GT(whole, 5);
}

TEST(Crash, everyDiskFaultLeavesTheDatabaseWholeAndUsable)
{
    PowerCutDisk start;
    MixedWork::create(start, file);
    for (int fault = 1; fault < 60; ++fault) {
        PowerCutDisk disk(file, start.content(file));
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
                ASSERT_EQ(error.fault(), Fault::disk);
                database.reset(); // as a person would: close, open, go on
                database = Database::open(disk, file);
                const MixedWork::Rows found = MixedWork::read(*database);
                ASSERT_TRUE(found == rows || found == next);
                rows = found;
            }
            ASSERT_EQ(MixedWork::read(*database), rows);
        }
        ASSERT_THAT(checkDatabase(*database), findsNoFault());
    }
}

} // namespace
