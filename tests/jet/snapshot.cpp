#include "platform/system_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/format/doors.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/jet/mixed_work.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <thread>

using namespace jet;

namespace {

const std::filesystem::path file = "Yag.mdb";

/// A database with some work in it, open for writing.
struct Worked {
    explicit Worked(unsigned seed) : work(seed)
    {
        MixedWork::create(disk, file);
        database = Database::open(disk, file);
        change(40);
    }
    void change(int times)
    {
        Transaction all(database->pager());
        for (int i = 0; i < times; ++i) work.change(*database, rows);
        all.commit();
    }

    PowerCutDisk disk;
    MixedWork work;
    MixedWork::Rows rows;
    std::unique_ptr<Database> database;
};

PowerCutDisk::Image readAll(Snapshot& snapshot, PageCount pagesAtOnce, const std::function<void()>& between)
{
    PowerCutDisk::Image all;
    std::vector<std::uint8_t> buffer(pagesAtOnce * pageSize);
    while (const PageCount count = snapshot.readNext(buffer)) {
        all.insert(all.end(), buffer.begin(), buffer.begin() + std::ptrdiff_t(count * pageSize));
        between();
    }
    return all;
}

const RowTable<int> snapshotSlices = {
    {"page by page", 1},
    {"in slices", 7},
    {"all at once", 4096},
};

TABLE_SUITE(SnapshotSlices, int, snapshotSlices);

TEST_P(SnapshotSlices, everyPageIsThatOfTheMomentWhateverIsCommittedMeanwhile)
{
    const int pagesAtOnce = row();
    for (unsigned seed = 1; seed <= 5; ++seed) {
        Worked world(seed);
        const PowerCutDisk::Image moment = world.disk.content(file);
        const auto snapshot = world.database->pager().snapshot();
        world.change(3);
        const auto copy = readAll(*snapshot, static_cast<PageCount>(pagesAtOnce), [&] { world.change(2); });
        ASSERT_NE(world.disk.content(file), moment);
        ASSERT_EQ(copy, moment);
    }
}

TEST(Snapshot, aCommitThatFailsLeavesTheSnapshotTrue)
{
    Worked world(1);
    const PowerCutDisk::Image moment = world.disk.content(file);
    const int before = world.disk.changes();
    // One failure after another, at every write, sync and name of a commit.
    for (int failing = 1; failing < 60; ++failing) {
        const auto snapshot = world.database->pager().snapshot();
        const PowerCutDisk::Image now = world.disk.content(file);
        world.disk.failing = {world.disk.changes() + failing % 12};
        const auto copy = readAll(*snapshot, 5, [&] {
            try {
                world.change(1);
            } catch (const Error&) {
                world.rows = MixedWork::read(*world.database);
                world.work.forgetPlaces(*world.database);
            }
        });
        ASSERT_EQ(copy, now) << std::to_string(failing);
    }
    ASSERT_TRUE(world.disk.changes() > before && world.disk.content(file) != moment);
}

TEST(Snapshot, severalSnapshotsKeepTheirOwnMoments)
{
    Worked world(3);
    const PowerCutDisk::Image first = world.disk.content(file);
    const auto one = world.database->pager().snapshot();
    world.change(5);
    const PowerCutDisk::Image second = world.disk.content(file);
    const auto two = world.database->pager().snapshot();
    world.change(5);
    ASSERT_EQ(readAll(*two, 3, [&] { world.change(1); }), second);
    ASSERT_EQ(readAll(*one, 3, [&] { world.change(1); }), first);
}

TEST(Snapshot, whatWasOpenButNotCommittedIsNotInIt)
{
    Worked world(4);
    const PowerCutDisk::Image moment = world.disk.content(file);
    const auto snapshot = world.database->pager().snapshot();
    Transaction open(world.database->pager());
    world.work.change(*world.database, world.rows);
    ASSERT_EQ(readAll(*snapshot, 3, [] {}), moment);
}

TEST(Snapshot, aDatabaseThatIsClosedMeanwhileEndsTheCopy)
{
    Worked world(2);
    const auto snapshot = world.database->pager().snapshot();
    std::vector<std::uint8_t> page(pageSize);
    ASSERT_EQ(snapshot->readNext(page), PageCount{1});
    world.database.reset();
    ASSERT_EQ(faultOf([&] { snapshot->readNext(page); }), Fault::disk);
}

TEST(Snapshot, aDatabaseThatOthersMayChangeGivesNone)
{
    Worked world(2);
    world.database.reset();
    const auto database = Database::open(world.disk, file, Pager::Mode::readOnly);
    ASSERT_EQ(faultOf([&] { database->pager().snapshot(); }), Fault::readOnly);
}

TEST(Snapshot, aCopyIsWholeOrAbsentAtEveryPowerCut)
{
    const auto attempt = [](const std::function<void(Worked&)>& prepare) {
        auto world = std::make_unique<Worked>(6);
        const auto snapshot = world->database->pager().snapshot();
        prepare(*world);
        backup(world->disk, *snapshot, "Yedek/Yag-2025-11-20.mdb", "Yedek/yedek.part");
        return world;
    };
    std::vector<std::unique_ptr<PowerCutDisk>> after;
    const auto whole = attempt([&](Worked& world) {
        world.disk.beforeEachChange = [&world, &after] {
            after.push_back(world.disk.afterPowerCut(static_cast<std::uint32_t>(after.size())));
        };
    });
    const auto& copy = whole->disk.content("Yedek/Yag-2025-11-20.mdb");
    ASSERT_EQ(copy, whole->disk.content(file));
    ASSERT_GT(after.size(), 4);
    for (const auto& disk : after)
        if (disk->has("Yedek/Yag-2025-11-20.mdb")) {
            ASSERT_EQ(disk->content("Yedek/Yag-2025-11-20.mdb"), copy);
        }
}

TEST(Snapshot, aDamagedDatabaseGivesNoCopy)
{
    Worked world(6);
    world.database.reset();
    PowerCutDisk::Image image = world.disk.content(file);
    // The last row page of the table loses its rows.
    for (std::size_t page = image.size() / pageSize; page-- > 0;) {
        const std::size_t at = page * pageSize;
        if (image[at] != 1 || page < 20) continue;
        std::fill_n(image.begin() + static_cast<std::ptrdiff_t>(at + 14), pageSize - 14, std::uint8_t{0xEE});
        break;
    }
    PowerCutDisk disk(file, image);
    const auto database = Database::open(disk, file);
    const auto snapshot = database->pager().snapshot();
    ASSERT_EQ(faultOf([&] { backup(disk, *snapshot, "Kopya.mdb", "Kopya.part"); }), Fault::damaged);
    ASSERT_TRUE(!disk.has("Kopya.mdb") && !disk.has("Kopya.part"));
}

/// Two threads and the real disk: the copy is some state between two commits, and that of the moment.
TEST(Snapshot, anotherThreadCopiesWhileThisOneCommits)
{
    TemporaryFolder folder;
    const std::filesystem::path path = (folder / "Yag.mdb");
    Disk& disk = platform::systemDisk();
    MixedWork::create(disk, path);
    const auto database = Database::open(disk, path);
    MixedWork work(9);
    MixedWork::Rows rows;
    for (int round = 0; round < 6; ++round) {
        {
            Transaction change(database->pager());
            for (int i = 0; i < 60; ++i) work.change(*database, rows);
            change.commit();
        }
        const MixedWork::Rows moment = rows;
        const std::shared_ptr<Snapshot> snapshot = database->pager().snapshot();
        const std::filesystem::path copy = folder / ("kopya" + std::to_string(round) + ".mdb");
        std::atomic<bool> done = false;
        std::string fault;
        std::thread copying([&] {
            try {
                backup(disk, *snapshot, copy, (folder / "kopya.part"));
            } catch (const std::exception& error) {
                fault = error.what();
            }
            done = true;
        });
        int commits = 0;
        while (!done) {
            work.change(*database, rows);
            ++commits;
        }
        copying.join();
        ASSERT_TRUE(fault.empty()) << fault.c_str();
        ASSERT_GT(commits, 0);
        const auto copied = Database::open(disk, copy, Pager::Mode::readOnly);
        ASSERT_EQ(MixedWork::read(*copied), moment);
    }
}

} // namespace
