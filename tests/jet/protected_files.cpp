// Files that ask for a password and files whose pages are covered: read, and not written.

#include "files/memory_disk.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/care/rescue.h"
#include "store/jet/database/database.h"
#include "store/jet/pages/page_code.h"
#include "tests/jet/check_result.h"
#include "tests/jet/mixed_work.h"
#include "tests/jet/protection.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

#include <random>

using namespace jet;

namespace {

using testing::HasSubstr;
using Content = files::MemoryDisk::Content;

const std::filesystem::path file = "gizli.mdb";

struct Protected {
    std::function<void(Content&)> protect;
    const char* says;
};
class ProtectedFile : public TableTest<Protected> {
protected:
    void SetUp() override
    {
        MixedWork::create(disk, file);
        {
            const auto database = Database::open(disk, file);
            MixedWork work(6);
            Transaction change(database->pager());
            for (int i = 0; i < 300; ++i) work.insert(database->table(MixedWork::table), rows);
            change.commit();
        }
        row().protect(disk.content(file));
        before = disk.content(file);
    }

    files::MemoryDisk disk;
    MixedWork::Rows rows;
    Content before;
};

const RowTable<Protected> protections = {
    {"a password", {protection::setPassword, "parolasız bir kopyası için: presva-mdb compact"}},
    {"covered pages",
     {[](Content& c) { protection::cover(c, 2321351155U); }, "kodlanmış; açık bir kopyası için: presva-mdb compact"}},
    {"both",
     {[](Content& c) {
          protection::setPassword(c);
          protection::cover(c, 1);
      },
      "kodlanmış; açık bir kopyası için: presva-mdb compact"}},
};

INSTANTIATE_TEST_SUITE_P(, ProtectedFile, testing::ValuesIn(protections), RowName());

TEST_P(ProtectedFile, isReadLikeAnyOther)
{
    for (const Pager::Mode mode : {Pager::Mode::readOnly, Pager::Mode::readWrite}) {
        const auto database = Database::open(disk, file, mode);
        ASSERT_EQ(MixedWork::read(*database), rows);
        ASSERT_THAT(checkDatabase(*database), findsNothing());
    }
    ASSERT_EQ(disk.content(file), before);
}

TEST_P(ProtectedFile, isNotWrittenAndTheWayOutIsNamed)
{
    const auto database = Database::open(disk, file);
    ASSERT_FALSE(database->pager().writable());
    const auto why = database->table(MixedWork::table).whyReadOnly();
    ASSERT_TRUE(why);
    ASSERT_THAT(*why, HasSubstr(row().says));
    MixedWork work(7);
    ASSERT_EQ(faultOf([&] { work.insert(database->table(MixedWork::table), rows); }), Fault::readOnly);
    ASSERT_EQ(faultOf([&] { Transaction change(database->pager()); }), Fault::readOnly);
    ASSERT_EQ(disk.content(file), before);
}

TEST_P(ProtectedFile, isRescuedIntoAnOpenOne)
{
    const RescueResult result = rescue(disk, file, "acik.mdb", DateTime{45000}, {}, {});
    ASSERT_TRUE(result.whole()) << testing::PrintToString(result.losses);
    const auto open = Database::open(disk, "acik.mdb");
    ASSERT_TRUE(open->pager().writable());
    ASSERT_EQ(MixedWork::read(*open), rows);
    ASSERT_FALSE(hasPassword(open->pager().read(0)));
    ASSERT_EQ(pageKeyOf(open->pager().read(0)), 0U);
}

TEST_P(ProtectedFile, isCompactedIntoAnOpenOne)
{
    compact(disk, *Database::open(disk, file, Pager::Mode::readOnly), "yogun.mdb", {});
    const auto compacted = Database::open(disk, "yogun.mdb");
    ASSERT_EQ(compacted->pager().protection(), Protection::none);
    ASSERT_TRUE(compacted->pager().writable());
    ASSERT_EQ(MixedWork::read(*compacted), rows);
    ASSERT_EQ(disk.content(file), before);
}

TEST_P(ProtectedFile, withDamageIsAnsweredAndNeverWritten)
{
    std::mt19937 random(12);
    for (int round = 0; round < 40; ++round) {
        Content& content = disk.content(file);
        content = before;
        for (int n = 0; n < 3; ++n) {
            const std::size_t place = round % 2 == 0 ? random() % content.size() : random() % pageSize;
            content[place] = static_cast<std::uint8_t>(random());
        }
        if (round % 7 == 0) content.resize(random() % content.size());
        const Content damaged = content;
        static_cast<void>(faultOf([&] {
            const auto database = Database::open(disk, file, Pager::Mode::readOnly);
            static_cast<void>(checkDatabase(*database));
        }));
        static_cast<void>(faultOf([&] { static_cast<void>(survey(disk, file, {})); }));
        ASSERT_EQ(disk.content(file), damaged);
    }
}

TEST(OpenFile, isRescuedWholeWhereDamageLooksLikeAKey)
{
    files::MemoryDisk disk;
    MixedWork::create(disk, file);
    MixedWork::Rows rows;
    {
        const auto database = Database::open(disk, file);
        MixedWork work(6);
        for (int i = 0; i < 20; ++i) work.insert(database->table(MixedWork::table), rows);
    }
    protection::inHeader(disk.content(file), [](PageBytes page) { header_layout::encodingKey.put(page, 0x40); });
    static_cast<void>(rescue(disk, file, "acik.mdb", DateTime{45000}, {}, {}));
    ASSERT_EQ(MixedWork::read(*Database::open(disk, "acik.mdb")), rows);
}

TEST(CoveredFile, isNotBackedUpPlain)
{
    files::MemoryDisk disk;
    MixedWork::create(disk, file);
    protection::cover(disk.content(file), 77);
    const auto database = Database::open(disk, file, Pager::Mode::readOnly);
    ASSERT_EQ(faultOf([&] { backup(disk, *database, "kopya.mdb", {}); }), Fault::encoded);
    ASSERT_FALSE(disk.exists("kopya.mdb"));
}

} // namespace
