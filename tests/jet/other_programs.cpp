// Other programs beside the engine: those that keep to its locks, those that know the lock file alone, and those that
// know nothing.

#include "store/jet/database/database.h"
#include "store/jet/format/session_layout.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/jet/blank_file.h"
#include "tests/jet/check_result.h"
#include "tests/jet/chosen_rows.h"
#include "tests/jet/mixed_work.h"
#include "tests/jet/property_block.h"
#include "tests/support/fault.h"

#include <gmock/gmock.h>

#include <chrono>

using namespace jet;

namespace {

using testing::HasSubstr;

const std::filesystem::path file = "Yag.mdb";
const std::filesystem::path lockFile = "Yag.ldb";
using session_layout::firstUserByte;
using session_layout::mostUsers;

/// What a program writes that has the file to itself: the bytes of a database after some more rows.
PowerCutDisk::Image afterTheWorkOf(unsigned seed, const PowerCutDisk::Image& before, int rows, MixedWork::Rows& model)
{
    PowerCutDisk disk(file, before);
    {
        const auto database = Database::open(disk, file);
        MixedWork work(seed);
        Transaction change(database->pager());
        for (int i = 0; i < rows; ++i) work.insert(database->table(MixedWork::table), model);
        change.commit();
    }
    return disk.content(file);
}

/// Writes those bytes over the file, as a program does that asks nobody.
void overwrite(PowerCutDisk& disk, const PowerCutDisk::Image& bytes)
{
    const auto opened = disk.open(file, Disk::Access::readWrite);
    opened->write(0, bytes);
}

class BesideOtherPrograms : public testing::Test {
protected:
    void SetUp() override
    {
        MixedWork::create(disk, file);
        database = Database::open(disk, file);
        Transaction start(database->pager());
        for (int i = 0; i < 30; ++i) work.insert(table(), rows);
        start.commit();
    }
    Table& table() { return database->table(MixedWork::table); }
    void expectWhole(const MixedWork::Rows& expected)
    {
        database->pager().lookAround();
        ASSERT_TRUE(MixedWork::read(*database) == expected);
        ASSERT_THAT(checkDatabase(*database), findsNothing());
    }

    PowerCutDisk disk;
    std::unique_ptr<Database> database;
    MixedWork work{1};
    MixedWork::Rows rows;
};

TEST_F(BesideOtherPrograms, aRowIsAddedToWhatAnotherProgramHasLeft)
{
    for (unsigned round = 2; round < 12; ++round) {
        overwrite(disk, afterTheWorkOf(round, disk.content(file), 5, rows));
        work.insert(table(), rows);
    }
    expectWhole(rows);
}

TEST_F(BesideOtherPrograms, rulesThatTheyChangeAreReadAgain)
{
    const auto theySay = [this](const char16_t* rule) {
        PowerCutDisk theirs(file, disk.content(file));
        properties::put(*Database::open(theirs, file), MixedWork::table,
                        {{{u"Tutar", {{u"ValidationRule", rule}, {u"DefaultValue", u"20"}}}}});
        overwrite(disk, theirs.content(file));
    };
    const std::size_t amount = *table().columnNamed(u"Tutar");
    const auto insert = [&](double value) { return faultOf([&] { table().insert({{amount, value}}); }); };
    ASSERT_EQ(insert(5), std::nullopt);
    theySay(u">10");
    ASSERT_EQ(insert(5), Fault::ruleBroken);
    ASSERT_EQ(table().row(table().insert({}))->value(amount), Value(20.0));
    theySay(u">1");
    ASSERT_EQ(insert(5), std::nullopt);
}

TEST_F(BesideOtherPrograms, aChangeThatBeganBeforeIsRefusedWholeAndTheirsStays)
{
    MixedWork::Rows theirs = rows;
    const auto left = afterTheWorkOf(2, disk.content(file), 5, theirs);
    {
        Transaction change(database->pager());
        work.insert(table(), rows);
        overwrite(disk, left);
        ASSERT_EQ(faultOf([&] { change.commit(); }), Fault::changedElsewhere);
    }
    ASSERT_TRUE(disk.content(file) == left);
    expectWhole(theirs);
    work.insert(table(), theirs);
    expectWhole(theirs);
}

TEST_F(BesideOtherPrograms, aChangeThatNoClockShowsIsSeenInThePages)
{
    MixedWork::Rows theirs = rows;
    const auto left = afterTheWorkOf(2, disk.content(file), 1, theirs);
    ASSERT_EQ(left.size(), disk.content(file).size());
    disk.clockStands = true;
    {
        Transaction change(database->pager());
        work.insert(table(), rows);
        overwrite(disk, left);
        ASSERT_EQ(faultOf([&] { change.commit(); }), Fault::changedElsewhere);
    }
    ASSERT_TRUE(disk.content(file) == left);
}

/// At every step that a commit takes before its first page: what another program writes then is there afterwards, and
/// so is the row.
TEST_F(BesideOtherPrograms, anActionIsTriedOnceMoreWhereAnotherProgramWroteMeanwhile)
{
    int tried = 0;
    unsigned seed = 1;
    for (const int step : {1, 1, 2}) { // the journal made, written, synced
        const auto left = afterTheWorkOf(++seed, disk.content(file), 3, rows);
        int changes = 0;
        bool within = false;
        disk.beforeEachChange = [&] {
            if (within || ++changes != step) return;
            within = true;
            overwrite(disk, left);
            ++tried;
        };
        work.insert(table(), rows);
        disk.beforeEachChange = {};
        expectWhole(rows);
    }
    ASSERT_EQ(tried, 3);
}

TEST_F(BesideOtherPrograms, aRowThatAnotherProgramChangedMeanwhileIsNotOverwritten)
{
    const RowId first = allRows(table()).front();
    const std::size_t amount = *table().columnNamed(u"Tutar");
    PowerCutDisk elsewhere(file, disk.content(file));
    Database::open(elsewhere, file)->table(MixedWork::table).update(first, {{amount, 4711.0}});
    bool within = false;
    disk.beforeEachChange = [&] {
        if (!within) overwrite((within = true, disk), elsewhere.content(file));
    };
    ASSERT_EQ(faultOf([&] { table().update(first, {{amount, 1.0}}); }), Fault::changedElsewhere);
    disk.beforeEachChange = {};
    database->pager().lookAround();
    ASSERT_EQ(table().row(first)->number(amount), 4711.0);
}

TEST_F(BesideOtherPrograms, aRefusedCommitLeavesNoJournalThatCounts)
{
    MixedWork::Rows theirs = rows;
    const auto left = afterTheWorkOf(2, disk.content(file), 5, theirs);
    bool within = false;
    {
        Transaction change(database->pager());
        work.insert(table(), rows);
        disk.beforeEachChange = [&] {
            if (!within) overwrite((within = true, disk), left);
        };
        ASSERT_EQ(faultOf([&] { change.commit(); }), Fault::changedElsewhere);
        disk.beforeEachChange = {};
    }
    for (std::uint32_t luck = 0; luck < 20; ++luck) {
        const auto medium = disk.afterPowerCut(luck);
        // What the other program wrote was never synced; where it arrived whole it must be what is found.
        if (medium->content(file) != left) continue;
        ASSERT_TRUE(MixedWork::read(*Database::open(*medium, file)) == theirs);
    }
    database.reset();
    ASSERT_TRUE(disk.content(file) == left);
}

TEST_F(BesideOtherPrograms, anotherFileInItsPlaceIsNotWritten)
{
    disk.rename(file, "eski.mdb");
    ASSERT_EQ(faultOf([&] { work.insert(table(), rows); }), Fault::changedElsewhere);
}

// ---- the lock file ----

class LockFile : public testing::Test {
protected:
    void SetUp() override { disk.put(file, blankFile()); }
    /// A session of another program: the record of its user, and his byte.
    void someoneWorks(std::uint64_t place, PowerCutDisk::Image content)
    {
        disk.put(lockFile, std::move(content));
        other = disk.open(lockFile, Disk::Access::readWrite);
        ASSERT_TRUE(other->holdBytes(firstUserByte + place, 1));
    }
    static PowerCutDisk::Image record(std::size_t place, std::string_view machine, std::string_view user)
    {
        PowerCutDisk::Image content((place + 1) * 64);
        std::copy(machine.begin(), machine.end(), content.begin() + std::ptrdiff_t(place * 64));
        std::copy(user.begin(), user.end(), content.begin() + std::ptrdiff_t(place * 64 + 32));
        return content;
    }
    std::string refusal()
    {
        const auto refusal = refusalOf([&] { Pager(disk, file, Pager::Mode::readWrite); });
        EXPECT_EQ(refusal.fault, Fault::inUse);
        return refusal.sentence;
    }

    PowerCutDisk disk;
    std::unique_ptr<File> other;
};

TEST_F(LockFile, isThereWhileTheFileIsOpenForWriting)
{
    disk.self = {"Sayaç", "Ayşe"};
    {
        const Pager writer(disk, file, Pager::Mode::readWrite);
        ASSERT_EQ(disk.content(lockFile), record(0, "Saya\xE7",
                                                 "Ay\xFE"
                                                 "e"));
        const auto looking = disk.open(lockFile, Disk::Access::readOnly);
        for (std::uint64_t user = 0; user < mostUsers; ++user)
            ASSERT_EQ(looking->byteHeldElsewhere(firstUserByte + user, 1), firstUserByte + user);
        ASSERT_FALSE(looking->byteHeldElsewhere(firstUserByte - 1, 1));
        ASSERT_FALSE(looking->byteHeldElsewhere(firstUserByte + mostUsers, 1));
    }
    ASSERT_FALSE(disk.has(lockFile));
    const Pager reader(disk, file, Pager::Mode::readOnly);
    ASSERT_FALSE(disk.has(lockFile));
}

TEST_F(LockFile, namesWhoeverHasTheFile)
{
    someoneWorks(4, record(4, "OFIS",
                           "Ay\xFE"
                           "e"));
    const auto start = std::chrono::steady_clock::now();
    ASSERT_THAT(refusal(), HasSubstr("(OFIS bilgisayarında Ayşe)"));
    ASSERT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    other.reset();
    {
        const Pager nobodyElse(disk, file, Pager::Mode::readWrite);
    }
    ASSERT_FALSE(disk.has(lockFile));
}

TEST_F(LockFile, ofAProgramThatEndedIsTakenOver)
{
    disk.put(lockFile, record(200, "OFIS", "Admin"));
    {
        const Pager writer(disk, file, Pager::Mode::readWrite);
        ASSERT_TRUE(writer.writable());
        ASSERT_EQ(disk.content(lockFile).size(), 64U);
    }
    ASSERT_FALSE(disk.has(lockFile));
}

TEST_F(LockFile, thatIsDamagedAndHeldByNobodyIsTakenOver)
{
    std::mt19937 random(6);
    for (const std::size_t size : {0U, 1U, 63U, 64U, 65U, 700U, 16320U, 20000U}) {
        PowerCutDisk::Image content(size);
        for (auto& byte : content) byte = static_cast<std::uint8_t>(random());
        disk.put(lockFile, content);
        {
            const Pager reader(disk, file, Pager::Mode::readOnly);
            ASSERT_EQ(disk.content(lockFile), content);
        }
        {
            const Pager writer(disk, file, Pager::Mode::readWrite);
            ASSERT_TRUE(writer.writable());
            ASSERT_EQ(disk.content(lockFile).size(), 64U);
        }
        ASSERT_FALSE(disk.has(lockFile));
    }
}

TEST_F(LockFile, thatTheDiskDoesNotTakeKeepsNobodyFromTheFile)
{
    MixedWork::create(disk, "Dolu.mdb");
    const PowerCutDisk::Image start = disk.content("Dolu.mdb");
    for (int fault = 1; fault < 8; ++fault)
        for (const std::size_t left : {0, 640}) { // what a crash left of one
            PowerCutDisk failing(file, start);
            if (left > 0) failing.put(lockFile, PowerCutDisk::Image(left, 0x41));
            failing.failingLockFiles = {fault, fault + 1};
            MixedWork work(3);
            MixedWork::Rows rows;
            {
                const auto database = Database::open(failing, file);
                work.insert(database->table(MixedWork::table), rows);
            }
            failing.failingLockFiles.clear();
            const auto database = Database::open(failing, file);
            ASSERT_TRUE(MixedWork::read(*database) == rows) << fault;
            ASSERT_TRUE(checkDatabase(*database).ok()) << fault;
        }
}

TEST_F(LockFile, namesTheSecondProgramOfOursTheFirst)
{
    disk.self = {"SAYAC", "presva"};
    const Pager writer(disk, file, Pager::Mode::readWrite);
    ASSERT_THAT(refusal(), HasSubstr("(SAYAC bilgisayarında presva)"));
}

TEST_F(LockFile, withAnyBytesMakesASentenceThatCanBeRead)
{
    std::mt19937 random(5);
    for (int round = 0; round < 6; ++round) {
        PowerCutDisk::Image content(random() % 700);
        for (auto& byte : content) byte = static_cast<std::uint8_t>(random());
        someoneWorks(random() % 255, content);
        const std::string sentence = refusal();
        ASSERT_THAT(sentence, HasSubstr("kullanılıyor"));
        for (const char each : sentence) ASSERT_TRUE(static_cast<unsigned char>(each) >= 0x20);
        other.reset();
        disk.remove(lockFile);
    }
}

TEST_F(LockFile, thatCannotBeMadeKeepsNobodyFromTheFile)
{
    disk.noLockFiles = true;
    const Pager writer(disk, file, Pager::Mode::readWrite);
    ASSERT_TRUE(writer.writable());
    ASSERT_FALSE(disk.has(lockFile));
}

// ---- reading beside a writer ----

TEST(ReadingBesideAWriter, showsOneStateAndKeepsNobodyWaiting)
{
    PowerCutDisk disk;
    MixedWork::create(disk, file);
    MixedWork work(3);
    MixedWork::Rows rows;
    {
        const auto database = Database::open(disk, file);
        Transaction start(database->pager());
        for (int i = 0; i < 200; ++i) work.insert(database->table(MixedWork::table), rows);
        start.commit();
    }
    const MixedWork::Rows before = rows;
    const auto early = Database::open(disk, file, Pager::Mode::readOnly);
    const auto writer = Database::open(disk, file);
    // The first page that it has to read shows it the writer.
    ASSERT_TRUE(MixedWork::read(*early) == before);
    const auto late = Database::open(disk, file, Pager::Mode::readOnly);
    const auto start = std::chrono::steady_clock::now();
    Transaction change(writer->pager());
    for (int i = 0; i < 50; ++i) work.change(*writer, rows);
    change.commit();
    ASSERT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    ASSERT_TRUE(MixedWork::read(*late) == before);
    ASSERT_TRUE(MixedWork::read(*early) == before);
    ASSERT_TRUE(checkDatabase(*late).ok());
    ASSERT_TRUE(MixedWork::read(*Database::open(disk, file, Pager::Mode::readOnly)) == rows);
}

TEST(ReadingBesideAWriter, worksBesideASessionOfAccessThatIsQuiet)
{
    PowerCutDisk disk;
    MixedWork::create(disk, file);
    disk.put(lockFile, PowerCutDisk::Image(64));
    const auto access = disk.open(lockFile, Disk::Access::readWrite);
    ASSERT_TRUE(access->holdBytes(firstUserByte, 1));
    const auto reader = Database::open(disk, file, Pager::Mode::readOnly);
    const auto content = disk.content(file);
    overwrite(disk, PowerCutDisk::Image(content.size()));
    ASSERT_TRUE(MixedWork::read(*reader).empty());
    ASSERT_TRUE(checkDatabase(*reader).ok());
}

TEST(ReadingBesideAWriter, isRefusedWhereAStrangerWroteSinceTheFirstPage)
{
    PowerCutDisk disk;
    MixedWork::create(disk, file);
    MixedWork::Rows rows;
    overwrite(disk, afterTheWorkOf(2, disk.content(file), 300, rows));
    const auto reader = Database::open(disk, file, Pager::Mode::readOnly);
    overwrite(disk, disk.content(file));
    ASSERT_EQ(faultOf([&] { reader->table(MixedWork::table).requireSoundRows(); }), Fault::changedElsewhere);
}

} // namespace
