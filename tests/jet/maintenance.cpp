#include <cstddef> // moc stumbles over <compare> without it

#include "mill/tables.h"
#include "store/jet/care/check.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/format/doors.h"
#include "tests/jet/mixed_work.h"
#include "tests/jet/power_cut_disk.h"

#include <QtTest>

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
void doCompact(Disk& disk)
{
    compact(disk, *Database::open(disk, file, Pager::Mode::readOnly), result, DateTime{45000});
}
void doCreate(Disk& disk) { mill::createDatabase(disk, result, turkish, DateTime{45000}); }

} // namespace
Q_DECLARE_METATYPE(Work)

class MaintenanceTest : public QObject {
    Q_OBJECT
private slots:
    void backupHasEveryByteOfTheCommittedState();
    void backupOfAnOpenDatabaseIsItsLastCommit();
    void compactKeepsEveryRowAndShrinksTheFile();
    void newDatabaseHasTheMillsTables();
    void resultIsWholeOrAbsentAtEveryPowerCut_data();
    void resultIsWholeOrAbsentAtEveryPowerCut();
    void faultLeavesNothingBehind_data();
    void faultLeavesNothingBehind();
    void existingFileIsNeverReplaced_data();
    void existingFileIsNeverReplaced();
    void remainsOfAPowerCutAreNoObstacle_data();
    void remainsOfAPowerCutAreNoObstacle();

private:
    void allWork()
    {
        QTest::addColumn<Work>("work");
        QTest::newRow("backup") << Work(doBackup);
        QTest::newRow("compact") << Work(doCompact);
        QTest::newRow("create") << Work(doCreate);
    }
};

void MaintenanceTest::backupHasEveryByteOfTheCommittedState()
{
    PowerCutDisk disk;
    disk.put(file, worked());
    std::vector<int> progress;
    {
        const auto database = Database::open(disk, file, Pager::Mode::readOnly);
        backup(disk, *database, result, [&](int percent) { progress.push_back(percent); });
    }
    QVERIFY(disk.content(result) == worked());
    QVERIFY(std::ranges::is_sorted(progress));
    QCOMPARE(progress.back(), 100);
}

void MaintenanceTest::backupOfAnOpenDatabaseIsItsLastCommit()
{
    PowerCutDisk disk;
    disk.put(file, worked());
    const auto database = Database::open(disk, file);
    {
        Transaction change(database->pager());
        database->table(MixedWork::table).eraseAll();
        change.commit();
    }
    backup(disk, *database, result);
    QVERIFY(disk.content(result) == disk.content(file));
    QVERIFY(MixedWork::read(*Database::open(disk, result)).empty());
}

void MaintenanceTest::compactKeepsEveryRowAndShrinksTheFile()
{
    PowerCutDisk disk;
    disk.put(file, worked());
    MixedWork::Rows rows;
    {
        const auto database = Database::open(disk, file);
        Transaction change(database->pager());
        rows = MixedWork::read(*database);
        Table& table = database->table(MixedWork::table);
        std::vector<RowId> all;
        table.forEachRow([&](RowId id, const RowView&) {
            all.push_back(id);
            return true;
        });
        for (std::size_t i = 0; i < all.size(); i += 2) {
            rows.erase(static_cast<std::int32_t>(table.row(all[i])->number(0).value()));
            table.erase(all[i]);
        }
        change.commit();
    }
    doCompact(disk);
    QVERIFY(isSound(disk, result));
    QVERIFY(disk.content(result).size() < disk.content(file).size());
    const auto database = Database::open(disk, result);
    QVERIFY(MixedWork::read(*database) == rows);
    // Numbers go on where they were, and storage order is key order.
    const RowId next = database->table(MixedWork::table).insert({});
    QVERIFY(database->table(MixedWork::table).row(next)->number(0).value() > rows.rbegin()->first);
    std::int32_t last = 0;
    const auto old = Database::open(disk, file);
    QCOMPARE(database->table(MixedWork::table).indexes().size(), old->table(MixedWork::table).indexes().size());
    database->table(MixedWork::table).forEachRow([&](RowId, const RowView& row) {
        const auto number = static_cast<std::int32_t>(row.number(0).value());
        if (number < last) last = INT32_MAX;
        last = std::max(last, number);
        return true;
    });
    QVERIFY(last != INT32_MAX);
}

void MaintenanceTest::newDatabaseHasTheMillsTables()
{
    PowerCutDisk disk;
    doCreate(disk);
    QVERIFY(isSound(disk, result));
    QCOMPARE(Database::open(disk, result)->tableNames(), (std::vector<std::u16string>{u"Cari", u"Hareket"}));
}

void MaintenanceTest::resultIsWholeOrAbsentAtEveryPowerCut_data() { allWork(); }
void MaintenanceTest::resultIsWholeOrAbsentAtEveryPowerCut()
{
    QFETCH(Work, work);
    PowerCutDisk disk;
    disk.put(file, worked());
    std::uint32_t luck = 0;
    int cuts = 0;
    disk.beforeEachChange = [&] {
        for (int i = 0; i < 3; ++i, ++cuts) {
            const auto medium = disk.afterPowerCut(++luck);
            QVERIFY(medium->content(file) == worked());
            QVERIFY(!medium->has(result) || isSound(*medium, result));
        }
    };
    work(disk);
    QVERIFY(cuts > 10);
    disk.beforeEachChange = nullptr;
    for (int i = 0; i < 20; ++i) QVERIFY(isSound(*disk.afterPowerCut(++luck), result));
}

void MaintenanceTest::faultLeavesNothingBehind_data() { allWork(); }
void MaintenanceTest::faultLeavesNothingBehind()
{
    QFETCH(Work, work);
    for (int fault = 1;; ++fault) {
        PowerCutDisk disk;
        disk.put(file, worked());
        disk.failing = {fault};
        try {
            work(disk);
            QVERIFY(fault > 4);
            return;
        } catch (const Error& error) {
            QCOMPARE(error.fault(), Fault::disk);
        }
        QVERIFY(disk.content(file) == worked());
        QVERIFY(!disk.has(part));
        // Only the very last step, making the new name last, comes after the name is given.
        QVERIFY(!disk.has(result) || isSound(disk, result));
    }
}

void MaintenanceTest::existingFileIsNeverReplaced_data() { allWork(); }
void MaintenanceTest::existingFileIsNeverReplaced()
{
    QFETCH(Work, work);
    PowerCutDisk disk;
    disk.put(file, worked());
    disk.put(result, {1, 2, 3});
    try {
        work(disk);
        QFAIL("replaced");
    } catch (const Error& error) {
        QCOMPARE(error.fault(), Fault::exists);
    }
    QCOMPARE(disk.content(result), (PowerCutDisk::Image{1, 2, 3}));
    QVERIFY(!disk.has(part));
}

void MaintenanceTest::remainsOfAPowerCutAreNoObstacle_data() { allWork(); }
void MaintenanceTest::remainsOfAPowerCutAreNoObstacle()
{
    QFETCH(Work, work);
    PowerCutDisk disk;
    disk.put(file, worked());
    disk.put(part, PowerCutDisk::Image(1000000, 7));
    work(disk);
    QVERIFY(isSound(disk, result));
    QVERIFY(!disk.has(part));
}

QTEST_APPLESS_MAIN(MaintenanceTest)
#include "maintenance.moc"
