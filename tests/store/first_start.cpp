#include "store/first_start.h"

#include "files/error.h"
#include "files/memory_disk.h"
#include "mill/tables.h"
#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "tests/support/fault.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <set>
#include <stdexcept>

using files::MemoryDisk;

namespace {

const std::filesystem::path folder = std::filesystem::path("users") / "Ali" / "Mendrik Presva";
const std::filesystem::path database = folder / "Yag.mdb";
const std::filesystem::path old = "usb/Yag.mdb";
const jet::DateTime today{46000};

/// The operator at a first start.
struct Operator {
    store::FirstChoice choice;
    int asked = 0;

    std::function<store::FirstChoice()> answers()
    {
        return [this] {
            ++asked;
            return choice;
        };
    }
};

struct FirstStart : testing::Test {
    MemoryDisk disk;
    Operator mill;

    /// The mill's database of former times, with one customer.
    void makeOld()
    {
        disk.makeFolder(old.parent_path());
        mill::createDatabase(disk, old, jet::turkish, today);
        jet::Database::open(disk, old)->table(u"Cari").insert({{0, std::u16string(u"Şükrü Öz")}});
    }
    std::uint32_t customers(const std::filesystem::path& file)
    {
        return jet::Database::open(disk, file, jet::Pager::Mode::readOnly)->table(u"Cari").rowCount();
    }
    bool start(const std::optional<std::filesystem::path>& copyFrom = {})
    {
        return store::ensureDatabase(disk, folder, copyFrom, mill.answers(), today);
    }
};

TEST_F(FirstStart, makesAnEmptyDatabaseInAFolderThatIsNotThereYet)
{
    EXPECT_TRUE(start());
    EXPECT_EQ(mill.asked, 1);
    EXPECT_EQ(customers(database), 0U);
}

TEST_F(FirstStart, bringsTheDatabaseThatIsChosenAndLeavesItAsItIs)
{
    makeOld();
    const auto before = disk.content(old);
    mill.choice.carry = old;
    EXPECT_TRUE(start());
    EXPECT_EQ(customers(database), 1U);
    EXPECT_EQ(disk.content(old), before);
}

TEST_F(FirstStart, bringsTheTextsBesideTheDatabaseAlong)
{
    makeOld();
    const auto put = [this](const std::filesystem::path& file, std::string_view text) {
        disk.content(file).assign(text.begin(), text.end());
    };
    const auto said = [this](const char* name) {
        const auto& content = disk.content(folder / name);
        return std::string(content.begin(), content.end());
    };
    put("usb/PRESVA.TXT", "Mendrik Fabrikasi, Ayvalik\r\n");
    put("usb/Grid1.txt", "1440,#TRUE#\r\n");
    put("usb/Grid0.txt", std::string(2 << 20, 'x')); // the name alone
    put("usb/Presva.Txt.bak", "older");
    put(folder / "grid1.TXT", "of today");
    mill.choice.carry = old;
    EXPECT_TRUE(start());
    EXPECT_EQ(said("Presva.Txt"), "Mendrik Fabrikasi, Ayvalik\r\n");
    EXPECT_EQ(said("grid1.TXT"), "of today");
    for (const char* name : {"Grid1.txt", "Grid0.txt", "Presva.Txt.bak", "Presva.Txt.part"})
        EXPECT_FALSE(disk.exists(folder / name)) << name;
    EXPECT_EQ(customers(database), 1U);
}

TEST_F(FirstStart, asksNobodyWhereAFileIsNamed)
{
    makeOld();
    EXPECT_TRUE(start(old));
    EXPECT_EQ(mill.asked, 0);
    EXPECT_EQ(customers(database), 1U);
}

TEST_F(FirstStart, asksNobodyWhereADatabaseIsThere)
{
    makeOld();
    EXPECT_TRUE(start(old));
    const auto before = disk.content(database);
    EXPECT_TRUE(start());
    EXPECT_EQ(mill.asked, 0);
    EXPECT_EQ(disk.content(database), before);
}

TEST_F(FirstStart, replacesNoDatabase)
{
    makeOld();
    EXPECT_TRUE(start());
    const auto before = disk.content(database);
    EXPECT_THROW(start(old), files::Error);
    EXPECT_EQ(disk.content(database), before);
}

TEST_F(FirstStart, makesNothingWhereTheOperatorLeaves)
{
    mill.choice.leave = true;
    EXPECT_FALSE(start());
    EXPECT_FALSE(disk.exists(database));
}

TEST_F(FirstStart, leavesNothingBehindOfAFileThatIsNoDatabase)
{
    disk.makeFolder(old.parent_path());
    disk.content(old).assign(8192, 0x41);
    mill.choice.carry = old;
    disk.content(old.parent_path() / "Presva.Txt").assign(9, 0x41);
    EXPECT_THROW(start(), files::Error);
    EXPECT_FALSE(disk.exists(database));
    EXPECT_FALSE(disk.exists(folder / "Presva.Txt")); // nor the head of whoever that file is from
}

TEST(FirstStartOnTheDisk, knowsEveryLetterOfAPath)
{
    const TemporaryFolder users;
    files::Disk& real = platform::systemDisk();
    const std::filesystem::path own = users.path() / u"Şükrü Işık" / u"Mendrik Presva ğİ";
    const std::filesystem::path former = users.path() / u"Eski Yağ İğne.mdb";
    mill::createDatabase(real, former, jet::turkish, today);
    jet::Database::open(real, former)->table(u"Cari").insert({{0, std::u16string(u"Şükrü Öz")}});
    const auto nobody = []() -> store::FirstChoice { throw std::logic_error("asked"); };
    ASSERT_TRUE(store::ensureDatabase(real, own, former, nobody, today));
    ASSERT_EQ(jet::Database::open(real, own / "Yag.mdb", jet::Pager::Mode::readOnly)->table(u"Cari").rowCount(), 1U);
    std::set<std::u16string> made;
    for (const auto& each : std::filesystem::directory_iterator(users.path()))
        made.insert(each.path().filename().u16string());
    ASSERT_EQ(made, (std::set<std::u16string>{u"Şükrü Işık", u"Eski Yağ İğne.mdb"}));
    const auto refusal = refusalOf([&] { store::ensureDatabase(real, own, former, nobody, today); });
    ASSERT_THAT(refusal.sentence, testing::HasSubstr("Mendrik Presva ğİ"));
}

} // namespace
