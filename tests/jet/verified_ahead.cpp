#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "store/jet/format/format.h"
#include "store/jet/format/index_layout.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/jet/committed.h"
#include "tests/jet/mixed_work.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace jet;
using testing::HasSubstr;

namespace {

/// The system's disk, with a count of what one thread reads, and of files that are open.
class CountedDisk final : public files::Disk {
public:
    std::size_t bytesReadHere = 0; ///< by the thread that made the disk
    std::atomic<int> openNow = 0;

    std::unique_ptr<File> open(const std::filesystem::path& path, Access access) override
    {
        return std::make_unique<Counted>(real().open(path, access), *this);
    }
    bool exists(const std::filesystem::path& path) override { return real().exists(path); }
    void remove(const std::filesystem::path& path) override { real().remove(path); }
    void rename(const std::filesystem::path& from, const std::filesystem::path& to) override
    {
        real().rename(from, to);
    }
    void syncFolder(const std::filesystem::path& folder) override { real().syncFolder(folder); }
    void makeFolder(const std::filesystem::path& folder) override { real().makeFolder(folder); }
    std::vector<std::filesystem::path> names(const std::filesystem::path& folder) override
    {
        return real().names(folder);
    }
    std::unique_ptr<File> scratch() override { return real().scratch(); }
    bool isForSeveralThreads() const override { return true; }

private:
    class Counted final : public File {
    public:
        Counted(std::unique_ptr<File> file, CountedDisk& disk) : file_(std::move(file)), disk_(disk)
        {
            ++disk_.openNow;
        }
        ~Counted() override { --disk_.openNow; }
        std::uint64_t size() override { return file_->size(); }
        std::size_t read(std::uint64_t offset, std::span<std::uint8_t> into) override
        {
            const std::size_t got = file_->read(offset, into);
            if (std::this_thread::get_id() == disk_.here_) disk_.bytesReadHere += got;
            return got;
        }
        void write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override { file_->write(offset, bytes); }
        void truncate(std::uint64_t size) override { file_->truncate(size); }
        void sync() override { file_->sync(); }
        bool lock(Lock wanted) override { return file_->lock(wanted); }
        bool writerElsewhere() override { return file_->writerElsewhere(); }
        FileStamp stamp() override { return file_->stamp(); }
        bool holdBytes(std::uint64_t first, std::uint64_t count) override { return file_->holdBytes(first, count); }
        std::optional<std::uint64_t> byteHeldElsewhere(std::uint64_t first, std::uint64_t count) override
        {
            return file_->byteHeldElsewhere(first, count);
        }

    private:
        std::unique_ptr<File> file_;
        CountedDisk& disk_;
    };

    static files::Disk& real() { return platform::systemDisk(); }
    const std::thread::id here_ = std::this_thread::get_id();
};

/// Two tables on the real disk: one with work of every kind, one with a few rows.
struct Verified {
    Verified()
    {
        MixedWork::create(disk, file);
        reopen();
        database->createTable(small, {{u"Ad", ColumnType::text, 200}}, {}, DateTime{45000});
        committed(database->pager(), [&] {
            for (int i = 0; i < 200; ++i) work.change(*database, rows);
        });
        reopen();
    }
    /// Longer than the files whose sum is worked out at every step where asserts are on.
    void grow()
    {
        Table& table = database->table(small);
        committed(database->pager(), [&] {
            for (int i = 0; i < 6000; ++i) table.insert({{0, std::u16string(100, u'ş')}});
        });
    }
    void reopen()
    {
        database.reset();
        database = Database::open(disk, file);
    }
    void finish()
    {
        while (!database->verifyAhead(tables)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::string answer(std::u16string_view table)
    {
        database->pager().lookAround();
        return database->table(table).whyReadOnly().value_or("");
    }
    /// The last leaf of an index of the table, with a number of free bytes that is wrong.
    std::pair<PageNo, std::vector<std::uint8_t>> wrongLeaf()
    {
        Pager& pager = database->pager();
        const PageNo owner = database->table(MixedWork::table).definitionPage();
        for (PageNo page(pager.pageCount() - 1); page > 0; page = PageNo(page.number() - 1)) {
            const PageView view = pager.read(page);
            if (PageType(index_layout::type.get(view)) != PageType::indexLeaf || index_layout::owner.get(view) != owner)
                continue;
            std::vector<std::uint8_t> bytes(view.begin(), view.end());
            index_layout::freeBytes.put(bytes, static_cast<std::uint16_t>(index_layout::freeBytes.get(bytes) + 1));
            return {page, bytes};
        }
        throw std::logic_error("no index");
    }
    enum class Writer : std::uint8_t { alone, beside };
    /// Another program writes it into the file.
    void damageAnIndex(Writer writer)
    {
        const auto [page, bytes] = wrongLeaf();
        if (writer == Writer::alone) database.reset();
        platform::systemDisk().open(file, Disk::Access::readWrite)->write(positionOf(page), bytes);
    }

    static constexpr const char16_t* small = u"Küçük";
    const std::vector<std::u16string> tables{MixedWork::table, small};
    TemporaryFolder folder;
    const std::filesystem::path file = folder / "Yag.mdb";
    CountedDisk disk;
    MixedWork work{7};
    MixedWork::Rows rows;
    std::unique_ptr<Database> database;
};

} // namespace

TEST(VerifiedAhead, aTableThatWasVerifiedIsNotReadAgain)
{
    Verified mill;
    mill.finish();
    const std::size_t before = mill.disk.bytesReadHere;
    ASSERT_EQ(mill.answer(MixedWork::table), "");
    ASSERT_LE(mill.disk.bytesReadHere - before, 4 * pageSize); // relationships are looked for by who asks
    const std::size_t first = mill.disk.bytesReadHere;
    mill.reopen();
    ASSERT_EQ(mill.answer(MixedWork::table), "");
    ASSERT_GT(mill.disk.bytesReadHere - first, 20 * pageSize); // what it reads when nobody has done it ahead
}

TEST(VerifiedAhead, theFirstCommitNeedNotReadTheFile)
{
    Verified mill;
    mill.grow();
    const auto readFor = [&](bool ahead) {
        mill.reopen();
        if (ahead) mill.finish();
        EXPECT_EQ(mill.answer(mill.small), "");
        const std::size_t before = mill.disk.bytesReadHere;
        committed(mill.database->pager(), [&] { mill.database->table(mill.small).insert({{0, u"Ali"}}); });
        return mill.disk.bytesReadHere - before;
    };
    ASSERT_GT(readFor(false), 256 * pageSize);
    ASSERT_LT(readFor(true), 16 * pageSize);
}

TEST(VerifiedAhead, nobodyHasTheFileOpenTwiceWhenAllTablesAreKnown)
{
    Verified mill;
    const int open = mill.disk.openNow;
    for (const std::u16string& table : mill.tables) ASSERT_EQ(mill.answer(table), "");
    ASSERT_TRUE(mill.database->verifyAhead(mill.tables));
    ASSERT_EQ(mill.disk.openNow, open);

    mill.reopen();
    mill.database->verifyAhead(mill.tables);
    for (const std::u16string& table : mill.tables) mill.answer(table);
    mill.finish();
    ASSERT_EQ(mill.disk.openNow, open);
}

TEST(VerifiedAhead, whoAsksWhileItIsUnderWayGetsTheSameAnswer)
{
    for (int round = 0; round < 8; ++round) {
        Verified mill;
        mill.database->verifyAhead(mill.tables);
        ASSERT_EQ(mill.answer(MixedWork::table), "");
        ASSERT_TRUE(mill.database->verifyAhead(mill.tables));
        committed(mill.database->pager(), [&] { mill.work.change(*mill.database, mill.rows); });
        ASSERT_EQ(MixedWork::read(*mill.database), mill.rows);
    }
}

TEST(VerifiedAhead, aRefusalIsTheOneThatIsFoundWithoutIt)
{
    Verified mill;
    mill.damageAnIndex(Verified::Writer::alone);
    mill.reopen();
    const std::string expected = mill.answer(MixedWork::table);
    ASSERT_THAT(expected, HasSubstr("boş alan sayısı yanlış"));
    mill.reopen();
    mill.finish();
    ASSERT_EQ(mill.answer(MixedWork::table), expected);
    ASSERT_EQ(mill.answer(mill.small), "");
}

#ifndef _WIN32 // there nobody else writes while it is open
TEST(VerifiedAhead, whatAnotherProgramDamagesBehindItIsFound)
{
    Verified mill;
    mill.finish();
    mill.damageAnIndex(Verified::Writer::beside);
    ASSERT_THAT(mill.answer(MixedWork::table), HasSubstr("boş alan sayısı yanlış"));
}
#endif

TEST(VerifiedAhead, whatIsWrittenMeanwhileIsVerifiedAsItIsNow)
{
    for (const bool isCommitted : {false, true}) {
        Verified mill;
        mill.finish();
        const auto [page, bytes] = mill.wrongLeaf();
        Transaction change(mill.database->pager());
        std::ranges::copy(bytes, mill.database->pager().write(page).begin());
        if (isCommitted) change.commit();
        ASSERT_THAT(mill.database->table(MixedWork::table).whyReadOnly().value_or(""),
                    HasSubstr("boş alan sayısı yanlış"));
    }
}

TEST(VerifiedAhead, closingTheFileEndsIt)
{
    for (int round = 0; round < 8; ++round) {
        Verified mill;
        mill.database->verifyAhead(mill.tables);
        mill.database.reset();
    }
}

TEST(VerifiedAhead, aTableThatIsNotThereIsPassedOver)
{
    Verified mill;
    mill.database->verifyAhead({u"Yok", MixedWork::table});
    ASSERT_EQ(mill.answer(MixedWork::table), "");
}

TEST(VerifiedAhead, aDiskForOneThreadIsLeftAlone)
{
    PowerCutDisk disk;
    MixedWork::create(disk, "Yag.mdb");
    const auto database = Database::open(disk, "Yag.mdb");
    ASSERT_TRUE(database->verifyAhead({MixedWork::table}));
    ASSERT_FALSE(database->table(MixedWork::table).whyReadOnly());
}
