#include "store/restore.h"
#include "files/error.h"
#include "mill/tables.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/pages/journal.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/jet/protection.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

using namespace jet;

namespace {

const std::filesystem::path directory = "degirmen";
const std::filesystem::path database = directory / "Yag.mdb";
const std::filesystem::path journal = directory / "Yag.mdb-journal";
const std::filesystem::path copy = directory / "Yedek" / "Yag-2025-11-20.mdb";
const std::filesystem::path aside = directory / "Yag-onceki-2025-11-25-081500.mdb";
const store::CopyTime now{2025, 11, 25, false, 8, 15, 0};
constexpr double firstDay = 45980;

void addPressing(Database& to, double moment, const char16_t* customer)
{
    to.table(u"Hareket").insert({{0, DateTime{moment}}, {1, 1000.0}, {6, std::u16string(customer)}});
}

PowerCutDisk::Image mill(int pressings)
{
    PowerCutDisk disk;
    mill::createDatabase(disk, "x.mdb", turkish, DateTime{firstDay});
    const auto to = Database::open(disk, "x.mdb");
    to->table(u"Cari").insert({{0, std::u16string(u"Ali")}});
    for (int i = 0; i < pressings; ++i) addPressing(*to, firstDay + i, u"Ali");
    return disk.content("x.mdb");
}

const PowerCutDisk::Image& oldMill()
{
    static const PowerCutDisk::Image image = mill(3);
    return image;
}
const PowerCutDisk::Image& newMill()
{
    static const PowerCutDisk::Image image = mill(200);
    return image;
}

/// A mill that has gone on since its copy was made.
struct MillWithACopy {
    MillWithACopy()
    {
        disk.put(database, newMill());
        disk.put(copy, oldMill());
    }
    store::Restored restore() { return store::restoreCopy(disk, directory, "2025-11-20", now); }
    /// The copy is in the place of the database, which is kept aside.
    void expectRestored(const PowerCutDisk::Image& kept) const
    {
        ASSERT_EQ(disk.content(database), oldMill());
        ASSERT_EQ(disk.content(aside), kept);
    }
    /// A database that was cut off is no obstacle.
    void expectAWreckKept()
    {
        PowerCutDisk::Image cut = newMill();
        cut.resize(cut.size() - 1000);
        disk.put(database, cut);
        restore();
        expectRestored(cut);
    }
    void expectNothingDone() const
    {
        ASSERT_EQ(disk.content(database), newMill());
        ASSERT_TRUE(!disk.has(aside) && !disk.has("degirmen/Yag.mdb.part"));
    }
    PowerCutDisk disk;
};

const RowTable<std::string> restoreWanted = {
    {"by name", "Yag-2025-11-20.mdb"},
    {"by date", "2025-11-20"},
};

TABLE_SUITE_WITH(RestoreWanted, MillWithACopy, std::string, restoreWanted);

TEST_P(RestoreWanted, theCopyTakesThePlaceAndTheOldFileStays)
{
    const store::Restored done = store::restoreCopy(disk, directory, row(), now);
    ASSERT_TRUE(done.database == database && done.aside == aside && !done.slipOpen);
    expectRestored(newMill());
    ASSERT_EQ(disk.content(copy), oldMill());
    ASSERT_FALSE(disk.has("degirmen/Yag.mdb.part"));
}

struct RestoredMill : testing::Test, MillWithACopy {};

TEST_F(RestoredMill, aSecondRestoreInTheSameSecondKeepsBothFiles)
{
    restore();
    const auto second = restore().aside;
    ASSERT_NE(second, aside);
    ASSERT_EQ(disk.content(aside), newMill());
    ASSERT_EQ(disk.content(second), oldMill());
}

TEST(Restore, aMillWithoutDatabaseGetsTheCopy)
{
    PowerCutDisk disk(copy, oldMill());
    ASSERT_TRUE(store::restoreCopy(disk, directory, "2025-11-20", now).aside.empty());
    ASSERT_EQ(disk.content(database), oldMill());
}

TEST_F(RestoredMill, atEveryPowerCutTheDatabaseIsTheOldOrTheNewOne)
{
    int cuts = 0, old = 0, restored = 0;
    disk.beforeEachChange = [&] {
        for (std::uint32_t seed = 0; seed < 4; ++seed, ++cuts) {
            const auto after = disk.afterPowerCut(seed);
            ASSERT_TRUE(after->has(database));
            if (after->content(database) == newMill()) {
                ++old;
            } else {
                ASSERT_EQ(after->content(database), oldMill());
                ASSERT_TRUE(after->has(aside) && after->content(aside) == newMill());
                ++restored;
            }
            // What is left over is no obstacle to doing it again.
            if (after->content(database) != newMill()) continue;
            store::restoreCopy(*after, directory, "2025-11-20", now);
            ASSERT_EQ(after->content(database), oldMill());
        }
    };
    restore();
    ASSERT_TRUE(old > 0 && restored > 0 && old + restored == cuts);
}

TEST_F(RestoredMill, staysTheOldOneAtAnyFailureOfTheDisk)
{
    restore();
    // The last two changes are the name and its sync: a failure of that sync comes too late.
    for (int failing = 1; failing < disk.changes(); ++failing) {
        MillWithACopy again;
        again.disk.failing = {failing};
        ASSERT_EQ(faultOf([&] { again.restore(); }), Fault::disk);
        ASSERT_EQ(again.disk.content(database), newMill());
    }
}

TEST_F(RestoredMill, aRunningProgramIsLeftAlone)
{
    const auto running = Database::open(disk, database);
    ASSERT_EQ(faultOf([&] { restore(); }), Fault::inUse);
    ASSERT_EQ(disk.content(database), newMill());
    ASSERT_FALSE(disk.has(aside));
}

/// The content as a function, so that mills are made only where one of them is wanted.
using ContentOf = PowerCutDisk::Image (*)();

PowerCutDisk::Image cutMill()
{
    PowerCutDisk::Image cut = oldMill();
    cut.resize(cut.size() - 5000);
    return cut;
}

PowerCutDisk::Image text()
{
    PowerCutDisk::Image text;
    for (int i = 0; i < 20000; ++i)
        for (const char letter : std::string_view("Merhaba")) text.push_back(static_cast<std::uint8_t>(letter));
    return text;
}

PowerCutDisk::Image millWithoutItsLastRows()
{
    PowerCutDisk::Image image = oldMill();
    for (std::size_t page = image.size() / pageSize; page-- > 0;)
        if (image[page * pageSize] == 1) {
            std::fill_n(image.begin() + static_cast<std::ptrdiff_t>(page * pageSize + 14), 4082, std::uint8_t{0xEE});
            break;
        }
    return image;
}

PowerCutDisk::Image databaseWithoutTables()
{
    PowerCutDisk other;
    Database::create(other, "x.mdb", turkish, DateTime{firstDay});
    return other.content("x.mdb");
}

PowerCutDisk::Image millWithPassword()
{
    PowerCutDisk::Image image = oldMill();
    protection::setPassword(image);
    return image;
}

PowerCutDisk::Image coveredMill()
{
    PowerCutDisk::Image image = oldMill();
    protection::cover(image, 0x1234);
    return image;
}

const RowTable<ContentOf> restoreDamagedCopy = {
    {"empty", [] { return PowerCutDisk::Image(); }},
    {"cut", cutMill},
    {"text", text},
    {"rows lost", millWithoutItsLastRows},
    {"no mill", databaseWithoutTables},
    {"with a password", millWithPassword},
    {"with covered pages", coveredMill},
};

TABLE_SUITE_WITH(RestoreDamagedCopy, MillWithACopy, ContentOf, restoreDamagedCopy);

TEST_P(RestoreDamagedCopy, aDamagedCopyReplacesNothing)
{
    disk.put(copy, row()());
    ASSERT_EQ(faultOf([&] { restore(); }), Fault::damaged);
    expectNothingDone();
}

TEST_F(RestoredMill, aProtectedDatabaseGivesWayToTheCopy)
{
    disk.put(database, coveredMill());
    restore();
    expectRestored(coveredMill());
}

const RowTable<std::string> restoreUnknownCopy = {
    {"no such day", "2025-11-21"},
    {"another file", "../Yag.mdb"},
    {"nothing", ""},
};

TABLE_SUITE_WITH(RestoreUnknownCopy, MillWithACopy, std::string, restoreUnknownCopy);

TEST_P(RestoreUnknownCopy, anUnknownCopyIsRefused)
{
    ASSERT_EQ(faultOf([&] { store::restoreCopy(disk, directory, row(), now); }), Fault::notFound);
    ASSERT_EQ(disk.content(database), newMill());
}

TEST_F(RestoredMill, aJournalOfACrashIsAppliedToTheFileThatIsKept)
{
    // The power goes while 100 pressings are being committed, with the journal armed.
    std::unique_ptr<PowerCutDisk> crashed;
    {
        const auto running = Database::open(disk, database);
        Transaction change(running->pager());
        for (int i = 0; i < 100; ++i) addPressing(*running, firstDay + 300 + i, u"Veli");
        disk.beforeEachChange = [&] {
            if (crashed) return;
            auto after = disk.afterPowerCut(1);
            if (after->has(journal) && readJournal(*after->open(journal, Disk::Access::readOnly)) &&
                after->content(database) != newMill())
                crashed = std::move(after);
        };
        change.commit();
    }
    ASSERT_NE(crashed, nullptr);
    store::restoreCopy(*crashed, directory, "2025-11-20", now);
    ASSERT_EQ(crashed->content(database), oldMill());
    ASSERT_EQ(crashed->content(aside), newMill());
    ASSERT_FALSE(crashed->has(journal));
}

TEST_F(RestoredMill, aFileThatCannotBeOpenedIsKeptAsItIs) { expectAWreckKept(); }

/// The same where no open file gives its name away.
struct MillOfKeptNames : RestoredMill {
    MillOfKeptNames() { disk.keepsOpenFiles = true; }
};

TEST_F(MillOfKeptNames, theCopyTakesThePlaceAndNobodyGetsHoldOfTheOldFile)
{
    int announced = 0;
    const auto done = store::restoreCopy(disk, directory, "2025-11-20", now, [&](const auto& next, const auto&) {
        ++announced;
        EXPECT_EQ(disk.content(next), oldMill());
        EXPECT_EQ(faultOf([&] { disk.open(database, Disk::Access::readWrite); }), Fault::inUse);
    });
    ASSERT_EQ(announced, 1);
    ASSERT_EQ(done.aside, aside);
    expectRestored(newMill());
}

TEST_F(MillOfKeptNames, atEveryMomentTheDatabaseIsTheOldOrTheNewOne)
{
    int looks = 0;
    disk.beforeEachChange = [&] {
        ++looks;
        ASSERT_TRUE(disk.has(database));
        ASSERT_TRUE(disk.content(database) == newMill() || disk.content(database) == oldMill());
    };
    restore();
    ASSERT_GT(looks, 5);
}

TEST_F(MillOfKeptNames, aFileThatSomebodyKeepsOpenStaysAndNothingIsAnnounced)
{
    const auto reader = disk.open(database, Disk::Access::readOnly);
    bool announced = false;
    ASSERT_EQ(faultOf([&] {
                  store::restoreCopy(disk, directory, "2025-11-20", now,
                                     [&](const auto&, const auto&) { announced = true; });
              }),
              Fault::inUse);
    ASSERT_FALSE(announced);
    expectNothingDone();
}

TEST_F(MillOfKeptNames, aFileThatCannotBeOpenedIsKeptAsItIs) { expectAWreckKept(); }

TEST_F(RestoredMill, anOpenSlipIsToldAndStays)
{
    disk.put("degirmen/Yag.mdb-slip", {1, 2, 3});
    ASSERT_TRUE(restore().slipOpen);
    ASSERT_TRUE(disk.has("degirmen/Yag.mdb-slip"));
}

TEST(Restore, aDatabaseNamedInCapitalsIsFound)
{
    PowerCutDisk disk(directory / "YAG.MDB", newMill());
    disk.put(copy, oldMill());
    ASSERT_EQ(store::restoreCopy(disk, directory, "2025-11-20", now).database, directory / "YAG.MDB");
    ASSERT_EQ(disk.content(directory / "YAG.MDB"), oldMill());
    ASSERT_FALSE(disk.has(database));
}

TEST(Restore, anOpenSlipIsToldAlsoBesideADatabaseNamedInCapitals)
{
    PowerCutDisk disk(directory / "YAG.MDB", newMill());
    disk.put(copy, oldMill());
    disk.put(directory / "Yag.mdb-slip", {1, 2, 3});
    ASSERT_TRUE(store::restoreCopy(disk, directory, "2025-11-20", now).slipOpen);
}

TEST_F(RestoredMill, theListTellsWhatIsInEachCopy)
{
    disk.put(directory / "Yedek" / "Yag-2025-11-20-140501.mdb", newMill());
    disk.put(directory / "Yedek" / "Yag-2025-11-21.mdb", PowerCutDisk::Image(100));
    disk.put(directory / "Yedek" / "not.txt", {1});
    {
        const auto withTotals = Database::open(disk, copy);
        addPressing(*withTotals, firstDay + 900, u"Toplamlar");
    }
    const auto copies = store::listCopies(disk, directory);
    ASSERT_EQ(copies.size(), 3U);
    ASSERT_EQ(copies[0].name, "Yag-2025-11-21.mdb");
    ASSERT_TRUE(copies[0].unreadable);
    ASSERT_EQ(copies[1].name, "Yag-2025-11-20-140501.mdb");
    ASSERT_EQ(copies[1].pressings, 200U);
    ASSERT_EQ(copies[2].name, "Yag-2025-11-20.mdb");
    ASSERT_EQ(copies[2].customers, 1U);
    ASSERT_EQ(copies[2].pressings, 3U);
    ASSERT_EQ(copies[2].newest, DateTime{firstDay + 2});
    ASSERT_FALSE(copies[2].unreadable);
}

} // namespace
