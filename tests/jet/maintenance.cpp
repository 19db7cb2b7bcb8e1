#include "store/jet/care/maintenance.h"
#include "mill/tables.h"
#include "store/jet/care/check.h"
#include "store/jet/format/doors.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/jet/chosen_rows.h"
#include "tests/jet/committed.h"
#include "tests/jet/mixed_work.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace jet;

namespace {

const std::filesystem::path file = "Yag.mdb";
const std::filesystem::path result = "Yeni.mdb";
const std::filesystem::path part = "Yeni.mdb.part";

/// A database with work of every kind in it, made once.
const PowerCutDisk::Image& worked()
{
    static const PowerCutDisk::Image image = [] {
        PowerCutDisk disk;
        MixedWork::create(disk, file);
        MixedWork work(5);
        MixedWork::Rows rows;
        {
            const auto database = Database::open(disk, file);
            Transaction change(database->pager());
            for (int i = 0; i < 150; ++i) work.change(*database, rows);
            change.commit();
        }
        return disk.content(file);
    }();
    return image;
}

bool isSound(Disk& disk, const std::filesystem::path& path)
{
    return checkDatabase(*Database::open(disk, path, Pager::Mode::readOnly)).ok();
}

/// What makes the new file.
using Work = void (*)(Disk&);

void doBackup(Disk& disk) { backup(disk, *Database::open(disk, file, Pager::Mode::readOnly), result); }
void doCompact(Disk& disk) { compact(disk, *Database::open(disk, file, Pager::Mode::readOnly), result); }
void doCreate(Disk& disk) { mill::createDatabase(disk, result, turkish, DateTime{45000}); }

class MaintenanceWork : public TableTest<Work> {};

INSTANTIATE_TEST_SUITE_P(, MaintenanceWork,
                         testing::ValuesIn(RowTable<Work>{
                             {"backup", doBackup}, {"compact", doCompact}, {"create", doCreate}}),
                         RowName());

struct MaintenanceOfAWorkedDatabase : testing::Test {
    PowerCutDisk disk{file, worked()};
};

TEST_F(MaintenanceOfAWorkedDatabase, backupHasEveryByteOfTheCommittedState)
{
    std::vector<int> progress;
    {
        const auto database = Database::open(disk, file, Pager::Mode::readOnly);
        backup(disk, *database, result, [&](int percent) { progress.push_back(percent); });
    }
    ASSERT_EQ(disk.content(result), worked());
    ASSERT_TRUE(std::ranges::is_sorted(progress));
    ASSERT_EQ(progress.back(), 100);
}

TEST_F(MaintenanceOfAWorkedDatabase, backupOfAnOpenDatabaseIsItsLastCommit)
{
    const auto database = Database::open(disk, file);
    committed(database->pager(), [&] { database->table(MixedWork::table).eraseAll(); });
    backup(disk, *database, result);
    ASSERT_EQ(disk.content(result), disk.content(file));
    ASSERT_TRUE(MixedWork::read(*Database::open(disk, result)).empty());
}

TEST_F(MaintenanceOfAWorkedDatabase, compactKeepsEveryRowAndShrinksTheFile)
{
    MixedWork::Rows rows;
    {
        const auto database = Database::open(disk, file);
        Transaction change(database->pager());
        rows = MixedWork::read(*database);
        Table& table = database->table(MixedWork::table);
        const std::vector<RowId> all = allRows(table);
        for (std::size_t i = 0; i < all.size(); i += 2) {
            rows.erase(static_cast<std::int32_t>(table.row(all[i])->number(0).value()));
            table.erase(all[i]);
        }
        change.commit();
    }
    doCompact(disk);
    ASSERT_TRUE(isSound(disk, result));
    ASSERT_LT(disk.content(result).size(), disk.content(file).size());
    const auto database = Database::open(disk, result);
    ASSERT_EQ(MixedWork::read(*database), rows);
    // Numbers go on where they were, and storage order is key order.
    const RowId next = database->table(MixedWork::table).insert({});
    ASSERT_GT(database->table(MixedWork::table).row(next)->number(0).value(), rows.rbegin()->first);
    std::int32_t last = 0;
    const auto old = Database::open(disk, file);
    ASSERT_EQ(database->table(MixedWork::table).indexes().size(), old->table(MixedWork::table).indexes().size());
    database->table(MixedWork::table).forEachRow([&](RowId, const RowView& row) {
        const auto number = static_cast<std::int32_t>(row.number(0).value());
        if (number < last) last = INT32_MAX;
        last = std::max(last, number);
        return true;
    });
    ASSERT_NE(last, INT32_MAX);
}

TEST(Maintenance, newDatabaseHasTheMillsTables)
{
    PowerCutDisk disk;
    doCreate(disk);
    ASSERT_TRUE(isSound(disk, result));
    ASSERT_EQ(Database::open(disk, result)->tableNames(), (std::vector<std::u16string>{u"Cari", u"Hareket"}));
}

TEST_P(MaintenanceWork, resultIsWholeOrAbsentAtEveryPowerCut)
{
    const Work work = row();
    PowerCutDisk disk(file, worked());
    std::uint32_t luck = 0;
    int cuts = 0;
    disk.beforeEachChange = [&] {
        for (int i = 0; i < 3; ++i, ++cuts) {
            const auto medium = disk.afterPowerCut(++luck);
            ASSERT_EQ(medium->content(file), worked());
            ASSERT_TRUE(!medium->has(result) || isSound(*medium, result));
        }
    };
    work(disk);
    ASSERT_GT(cuts, 10);
    disk.beforeEachChange = nullptr;
    for (int i = 0; i < 20; ++i) ASSERT_TRUE(isSound(*disk.afterPowerCut(++luck), result));
}

TEST_P(MaintenanceWork, faultLeavesNothingBehind)
{
    const Work work = row();
    for (int fault = 1;; ++fault) {
        PowerCutDisk disk(file, worked());
        disk.failing = {fault};
        const auto refusal = refusalOf([&] { work(disk); });
        if (!refusal.fault) {
            ASSERT_GT(fault, 4);
            return;
        }
        ASSERT_EQ(refusal.fault, Fault::disk);
        ASSERT_EQ(disk.content(file), worked());
        ASSERT_FALSE(disk.has(part));
        // Only the very last step, making the new name last, comes after the name is given.
        ASSERT_TRUE(!disk.has(result) || isSound(disk, result));
    }
}

TEST_P(MaintenanceWork, existingFileIsNeverReplaced)
{
    const Work work = row();
    PowerCutDisk disk(file, worked());
    disk.put(result, {1, 2, 3});
    ASSERT_EQ(faultOf([&] { work(disk); }), Fault::exists);
    ASSERT_EQ(disk.content(result), (PowerCutDisk::Image{1, 2, 3}));
    ASSERT_FALSE(disk.has(part));
}

TEST_P(MaintenanceWork, remainsOfAPowerCutAreNoObstacle)
{
    const Work work = row();
    PowerCutDisk disk(file, worked());
    disk.put(part, PowerCutDisk::Image(1000000, 7));
    work(disk);
    ASSERT_TRUE(isSound(disk, result));
    ASSERT_FALSE(disk.has(part));
}

} // namespace
