#include "store/jet/pages/pager.h"
#include "store/jet/format/header_layout.h"

#include "store/jet/format/doors.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/jet/blank_file.h"
#include "tests/jet/committed.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <random>

using namespace jet;

namespace {

const std::filesystem::path file = "Yag.mdb";
const std::filesystem::path journal = "Yag.mdb-journal";

using Content = std::vector<std::uint8_t>;

Content contentOf(Pager& pager)
{
    Content content;
    for (PageNo page = 0; pager.has(page); ++page) {
        const auto view = pager.read(page);
        content.insert(content.end(), view.begin(), view.end());
    }
    return content;
}

Content contentOf(Disk& disk)
{
    Pager pager(disk, file, Pager::Mode::readWrite);
    return contentOf(pager);
}

void fill(Pager& pager, PageNo page, std::uint8_t with) { std::ranges::fill(pager.write(page), with); }

/// One action's worth of changes: pages overwritten in whole and in part, pages added, a change taken back to what it
/// was.
void change(Pager& pager, std::mt19937& random)
{
    const auto somePage = [&] { return static_cast<PageNo>(2 + random() % (pager.pageCount() - 2)); };
    for (auto n = 1 + random() % 6; n > 0; --n) {
        const auto kind = random() % 8;
        if (kind < 4) {
            const auto bytes = pager.write(somePage());
            bytes[random() % pageSize] = static_cast<std::uint8_t>(random());
        } else if (kind < 6) {
            fill(pager, somePage(), static_cast<std::uint8_t>(random()));
        } else if (kind == 6) {
            pager.extendTo(pager.pageCount() + 1 + random() % 3);
            fill(pager, PageNo(pager.pageCount() - 1), static_cast<std::uint8_t>(random()));
        } else {
            const auto bytes = pager.write(somePage());
            bytes[7] ^= 1;
            bytes[7] ^= 1;
        }
    }
}

class OpenPager : public testing::Test {
protected:
    void commitFilled(PageNo page, std::uint8_t with)
    {
        committed(pager, [&] { fill(pager, page, with); });
    }

    PowerCutDisk disk{file, blankFile()};
    Pager pager{disk, file, Pager::Mode::readWrite};
};

TEST(Pager, readsWhatStandsInTheFile)
{
    PowerCutDisk disk;
    auto content = blankFile(200);
    for (PageNo page = 2; page < 200; ++page) content[positionOf(page) + 5] = static_cast<std::uint8_t>(page.number());
    disk.put(file, content);
    Pager pager(disk, file, Pager::Mode::readWrite);
    ASSERT_TRUE(pager.writable());
    ASSERT_EQ(pager.pageCount(), 200U);
    ASSERT_EQ(contentOf(pager), content);
}

TEST_F(OpenPager, viewsStayValidAndShowTheTransaction)
{
    const auto view = pager.read(7);
    Transaction change(pager);
    fill(pager, 7, 9);
    pager.extendTo(5000);
    ASSERT_EQ(view[100], 9);
    change.commit();
    ASSERT_EQ(view[100], 9);
    ASSERT_EQ(pager.read(7).data(), view.data());
}

TEST_F(OpenPager, rollbackRestoresPagesAndLength)
{
    const auto before = contentOf(pager);
    pager.begin();
    fill(pager, 3, 1);
    pager.extendTo(40);
    fill(pager, 39, 1);
    pager.rollback();
    ASSERT_EQ(contentOf(pager), before);
    Transaction again(pager);
    pager.extendTo(40);
    ASSERT_EQ(pager.read(39)[0], 0);
    again.commit();
    ASSERT_EQ(disk.content(file).size(), 40 * pageSize);
}

TEST_F(OpenPager, leavingAScopeEarlyRollsBack)
{
    try {
        Transaction change(pager);
        fill(pager, 3, 1);
        throw std::runtime_error("left");
    } catch (const std::runtime_error&) {
    }
    ASSERT_FALSE(pager.inTransaction());
    ASSERT_EQ(pager.read(3)[9], 0);
}

TEST_F(OpenPager, innerTransactionJoinsTheOuterOne)
{
    {
        Transaction outer(pager);
        commitFilled(3, 1);
        ASSERT_TRUE(pager.inTransaction());
        ASSERT_EQ(disk.content(file)[3 * pageSize], 0);
        outer.commit();
    }
    ASSERT_EQ(disk.content(file)[3 * pageSize], 1);
}

TEST_F(OpenPager, refusedInnerStepLeavesTheOuterOneWhole)
{
    Transaction outer(pager);
    fill(pager, 3, 1);
    {
        Transaction refused(pager);
        pager.read(4);
    }
    outer.commit();
    ASSERT_EQ(disk.content(file)[3 * pageSize], 1);
}

TEST_F(OpenPager, halfInnerStepSpoilsTheOuterOne)
{
    const auto before = contentOf(pager);
    {
        Transaction outer(pager);
        fill(pager, 3, 1);
        {
            Transaction half(pager);
            fill(pager, 3, 2);
        }
        ASSERT_EQ(faultOf([&] { outer.commit(); }), Fault::disk);
    }
    ASSERT_EQ(contentOf(pager), before);
    ASSERT_EQ(disk.content(file), before);
    commitFilled(3, 3);
    ASSERT_EQ(disk.content(file)[3 * pageSize], 3);
}

TEST_F(OpenPager, commitNeedsExactlyThreeSyncs)
{
    for (int i = 0; i < 4; ++i) {
        const int before = disk.syncs();
        Transaction change(pager);
        fill(pager, 3, static_cast<std::uint8_t>(i + 1));
        pager.extendTo(pager.pageCount() + 1);
        change.commit();
        // The first one makes the journal's name last as well.
        ASSERT_EQ(disk.syncs() - before, i == 0 ? 4 : 3);
    }
}

TEST_F(OpenPager, commitWithoutChangesTouchesNothing)
{
    Transaction change(pager);
    fill(pager, 3, 1);
    fill(pager, 3, 0);
    change.commit();
    ASSERT_EQ(disk.changes(), 0);
    ASSERT_FALSE(pager.inTransaction());
}

TEST(Pager, closingRemovesTheJournal)
{
    PowerCutDisk disk(file, blankFile());
    {
        Pager pager(disk, file, Pager::Mode::readWrite);
        committed(pager, [&] { fill(pager, 3, 1); });
        ASSERT_TRUE(disk.has(journal));
    }
    ASSERT_FALSE(disk.has(journal));
}

TEST_F(OpenPager, changeCountMovesWithCommitAndRollback)
{
    const auto start = pager.changeCount();
    {
        Transaction change(pager);
        fill(pager, 3, 1);
        ASSERT_EQ(pager.changeCount(), start);
        change.commit();
    }
    ASSERT_EQ(pager.changeCount(), start + 1);
    {
        Transaction change(pager);
        fill(pager, 3, 2);
    }
    ASSERT_EQ(pager.changeCount(), start + 2);
    {
        Transaction nothing(pager);
    }
    ASSERT_EQ(pager.changeCount(), start + 2);
}

TEST(Pager, readOnlyFileIsNotWritten)
{
    PowerCutDisk disk(file, blankFile());
    {
        Pager pager(disk, file, Pager::Mode::readOnly);
        ASSERT_FALSE(pager.writable());
        ASSERT_EQ(faultOf([&] { pager.begin(); }), Fault::readOnly);
    }
    disk.readOnly = true;
    Pager pager(disk, file, Pager::Mode::readWrite);
    ASSERT_FALSE(pager.writable());
    ASSERT_EQ(faultOf([&] { Transaction change(pager); }), Fault::readOnly);
    ASSERT_FALSE(pager.inTransaction());
}

struct PagerFileSizeRow {
    int size;
    int version;
    bool signature;
    Fault fault;
};

const RowTable<PagerFileSizeRow> pagerFileSize = {
    {"empty", {0, 1, false, Fault::notADatabase}},
    {"a text", {100, 1, false, Fault::notADatabase}},
    {"a long text", {70001, 1, false, Fault::notADatabase}},
    {"cut in a page", {70001, 1, true, Fault::cutShort}},
    {"cut in the header", {24, 1, true, Fault::cutShort}},
    {"cut before page 16", {15 * 4096, 1, true, Fault::cutShort}},
    {"half pages of Access 97", {35 * 2048, 0, true, Fault::oldFormat}},
    {"small file of Access 97", {20 * 2048, 0, true, Fault::oldFormat}},
};

TABLE_SUITE(PagerFileSize, PagerFileSizeRow, pagerFileSize);

TEST_P(PagerFileSize, wrongSizesAreNamed)
{
    const auto& [size, version, signature, fault] = row();
    auto content = blankFile(32);
    header_layout::version.put(content, static_cast<std::uint32_t>(version));
    if (!signature) content[header_layout::signature.begin] = 'x';
    content.resize(static_cast<std::size_t>(size));
    PowerCutDisk disk(file, content);
    ASSERT_EQ(faultOf([&] { Pager(disk, file, Pager::Mode::readWrite); }), fault);
}

TEST_F(OpenPager, missingPageIsDamage)
{
    ASSERT_EQ(faultOf([&] { pager.read(16); }), Fault::damaged);
    ASSERT_EQ(faultOf([&] { pager.read(PageNo(0xFFFFFFFFU)); }), Fault::damaged);
    Transaction change(pager);
    ASSERT_EQ(faultOf([&] { pager.write(16); }), Fault::damaged);
}

TEST_F(OpenPager, largestFileIsTheLimit)
{
    Transaction change(pager);
    ASSERT_EQ(faultOf([&] { pager.extendTo(maxPages + 1); }), Fault::disk);
    ASSERT_EQ(pager.pageCount(), 16U);
}

RowTable<unsigned> pagerPowerCut()
{
    RowTable<unsigned> table;
    for (unsigned seed = 1; seed <= 8; ++seed) table.push_back({"seed " + std::to_string(seed), seed});
    return table;
}

TABLE_SUITE(PagerPowerCut, unsigned, pagerPowerCut());

TEST_P(PagerPowerCut, everyPowerCutLeavesBeforeOrAfter)
{
    const unsigned seed = row();
    std::mt19937 random(seed);
    PowerCutDisk disk(file, blankFile(20));
    Content before = disk.content(file);
    Content after = before;
    std::uint32_t luck = seed * 100000;
    int cuts = 0;
    const auto holds = [&](PowerCutDisk& medium) {
        const Content found = contentOf(medium);
        return found == before || found == after;
    };
    disk.beforeEachChange = [&] {
        for (int i = 0; i < 3; ++i) {
            ++cuts;
            const auto medium = disk.afterPowerCut(++luck);
            // The repair itself is interrupted as well, at each of its steps.
            bool repairHolds = true;
            medium->beforeEachChange = [&] {
                const auto again = medium->afterPowerCut(++luck);
                repairHolds = repairHolds && holds(*again);
            };
            ASSERT_TRUE(holds(*medium)) << "cut at change " << disk.changes() + 1;
            ASSERT_TRUE(repairHolds);
            medium->beforeEachChange = nullptr;
            // The struck out journal must never come back beside what was committed since.
            Content next;
            {
                Pager pager(*medium, file, Pager::Mode::readWrite);
                Transaction transaction(pager);
                change(pager, random);
                next = contentOf(pager);
                transaction.commit();
            }
            for (int k = 0; k < 2; ++k) ASSERT_EQ(contentOf(*medium->afterPowerCut(++luck)), next);
        }
    };
    for (int session = 0; session < 3; ++session) {
        Pager pager(disk, file, Pager::Mode::readWrite);
        for (int i = 0; i < 12; ++i) {
            Transaction transaction(pager);
            change(pager, random);
            after = contentOf(pager);
            if (random() % 5 == 0) {
                after = before;
                continue;
            }
            transaction.commit();
            before = after; // acknowledged: from now on nothing else will do
        }
    }
    ASSERT_FALSE(HasFailure());
    ASSERT_GT(cuts, 500) << std::to_string(cuts);
}

TEST(Pager, longJournalIsPutBackWhole)
{
    PowerCutDisk disk;
    auto content = blankFile(400);
    for (std::size_t i = 2 * pageSize; i < content.size(); ++i) content[i] = static_cast<std::uint8_t>(i * 7 >> 3);
    disk.put(file, content);
    Pager pager(disk, file, Pager::Mode::readWrite);
    Transaction transaction(pager);
    for (PageNo page = 2; page < 400; ++page)
        if (page.number() % 5 != 0) fill(pager, page, static_cast<std::uint8_t>(page.number()));
    pager.extendTo(700);
    const auto after = contentOf(pager);
    disk.beforeEachChange = [&] {
        const auto found = contentOf(*disk.afterPowerCut(static_cast<std::uint32_t>(disk.changes())));
        ASSERT_TRUE(found == content || found == after);
    };
    transaction.commit();
    disk.beforeEachChange = nullptr;
    ASSERT_EQ(contentOf(*disk.afterPowerCut(1)), after);
}

TEST(Pager, everyPassingFaultLeavesTheStateBefore)
{
    for (int fault = 1;; ++fault) {
        PowerCutDisk disk(file, blankFile(20));
        const auto before = disk.content(file);
        disk.failing = {fault};
        bool failed = false;
        {
            Pager pager(disk, file, Pager::Mode::readWrite);
            Transaction transaction(pager);
            std::mt19937 random(3);
            for (int i = 0; i < 4; ++i) change(pager, random);
            const auto after = contentOf(pager);
            bool whole = true;
            std::uint32_t luckInBetween = 0;
            disk.beforeEachChange = [&] {
                for (int i = 0; i < 10; ++i) {
                    const auto found = contentOf(*disk.afterPowerCut(++luckInBetween));
                    whole = whole && (found == before || found == after);
                }
            };
            failed = faultOf([&] { transaction.commit(); }).has_value();
            ASSERT_TRUE(whole) << "a power cut while the failed commit was taken back";
            disk.beforeEachChange = nullptr;
            ASSERT_FALSE(pager.inTransaction());
            ASSERT_EQ(contentOf(pager), failed ? before : after);
            for (std::uint32_t luck = 0; luck < 20; ++luck)
                ASSERT_EQ(contentOf(*disk.afterPowerCut(luck)), failed ? before : after);
            // Work goes on as if nothing had happened.
            disk.failing.clear();
            Transaction next(pager);
            fill(pager, 5, 77);
            const auto last = contentOf(pager);
            next.commit();
            for (std::uint32_t luck = 0; luck < 20; ++luck) ASSERT_EQ(contentOf(*disk.afterPowerCut(luck)), last);
        }
        if (!failed) {
            ASSERT_GT(fault, 6);
            return;
        }
    }
}

TEST(Pager, everyLastingFaultLeavesTheStateBefore)
{
    for (int fault = 1;; ++fault) {
        PowerCutDisk disk(file, blankFile(20));
        const auto before = disk.content(file);
        disk.failingFrom = fault;
        Pager pager(disk, file, Pager::Mode::readWrite);
        Transaction transaction(pager);
        std::mt19937 random(3);
        for (int i = 0; i < 4; ++i) change(pager, random);
        const auto after = contentOf(pager);
        if (!faultOf([&] { transaction.commit(); })) {
            ASSERT_GT(fault, 6);
            return;
        }
        // A disk that cannot be told to forget the journal may keep either state, but never a mixture.
        const bool triedToStrikeOut = disk.content(file) == after;
        for (std::uint32_t luck = 0; luck < 50; ++luck) {
            const auto found = contentOf(*disk.afterPowerCut(luck));
            ASSERT_TRUE(found == before || (triedToStrikeOut && found == after));
        }
        // Either the pager still works on the old state, or it refuses everything.
        const auto refusal = faultOf([&] { pager.read(2); });
        if (refusal) {
            ASSERT_EQ(refusal, Fault::disk);
        } else {
            ASSERT_EQ(contentOf(pager), before);
        }
    }
}

TEST(Pager, fullDiskLeavesTheStateBefore)
{
    const std::size_t start = blankFile(20).size();
    bool committed = false;
    int refused = 0;
    for (std::size_t room = 0; !committed; room += 1500) {
        PowerCutDisk disk(file, blankFile(20));
        const auto before = disk.content(file);
        disk.capacity = start + room;
        Pager pager(disk, file, Pager::Mode::readWrite);
        {
            Transaction transaction(pager);
            fill(pager, 3, 1);
            fill(pager, 9, 1);
            pager.extendTo(24);
            fill(pager, 22, 1);
            committed = !faultOf([&] { transaction.commit(); });
        }
        if (committed) break;
        ++refused;
        ASSERT_EQ(contentOf(pager), before);
        for (std::uint32_t luck = 0; luck < 20; ++luck) ASSERT_EQ(contentOf(*disk.afterPowerCut(luck)), before);
        disk.capacity.reset();
        Transaction again(pager);
        fill(pager, 3, 1);
        again.commit();
        ASSERT_EQ(disk.content(file)[3 * pageSize], 1);
        ASSERT_EQ(disk.content(file).size(), before.size());
    }
    ASSERT_GT(refused, 10);
}

TEST(Pager, keepsNoLongJournalWhateverBecomesOfTheCommit)
{
    constexpr PageCount pages = 400; // more than a journal of a megabyte holds
    const auto changeAll = [&](Pager& pager) {
        for (PageNo page = 1; page < PageNo(pages); ++page) fill(pager, page, 1);
    };
    PowerCutDisk disk(file, blankFile(pages));
    const auto before = disk.content(file);
    Pager pager(disk, file, Pager::Mode::readWrite);
    disk.capacity = before.size() + pages / 2 * pageSize;
    {
        Transaction transaction(pager);
        changeAll(pager);
        ASSERT_EQ(faultOf([&] { transaction.commit(); }), Fault::disk);
    }
    EXPECT_EQ(contentOf(pager), before);
    EXPECT_EQ(disk.content(journal).size(), 0);
    disk.capacity.reset();
    Transaction again(pager);
    changeAll(pager);
    again.commit();
    EXPECT_EQ(disk.content(journal).size(), 0);
}

/// The disk right before the journal of a commit is struck out: the new pages are in the file, the old ones can still
/// come back.
class StoppedCommit : public testing::Test {
protected:
    void SetUp() override;

    Content before = blankFile(20);
    Content after;
    PowerCutDisk stopped;
};

void StoppedCommit::SetUp()
{
    PowerCutDisk disk(file, before);
    Pager pager(disk, file, Pager::Mode::readWrite);
    Transaction transaction(pager);
    fill(pager, 3, 1);
    fill(pager, 9, 1);
    pager.extendTo(22);
    after = contentOf(pager);
    disk.beforeEachChange = [&] {
        if (disk.content(file) != after || stopped.has(file)) return;
        stopped.put(file, disk.content(file));
        stopped.put(journal, disk.content(journal));
    };
    transaction.commit();
    ASSERT_TRUE(stopped.has(journal));
}

TEST_F(StoppedCommit, journalWithAnyWrongByteIsIgnored)
{
    const auto whole = stopped.content(journal);
    ASSERT_EQ(contentOf(stopped), before);
    for (std::size_t at = 0; at < whole.size(); at += at < 560 ? 1 : 97) {
        if (at >= 40 && at < 512) continue;                                         // unused rest of the header block
        if (at >= 512 && (at - 512) % 4112 >= 4 && (at - 512) % 4112 < 8) continue; // unused field of a record
        auto wrong = whole;
        wrong[at] = static_cast<std::uint8_t>(wrong[at] ^ 0x10);
        PowerCutDisk disk(file, after);
        disk.put(journal, wrong);
        ASSERT_EQ(contentOf(disk), after) << std::to_string(at);
    }
    for (const std::size_t size : {std::size_t{0}, std::size_t{40}, std::size_t{511}, whole.size() - 1}) {
        PowerCutDisk disk(file, after);
        disk.put(journal, Content(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
        ASSERT_EQ(contentOf(disk), after);
    }
}

TEST_F(StoppedCommit, journalBesideAReplacedDatabaseIsSetAside)
{
    auto other = before;
    other[12 * pageSize + 44] = 5; // one page differs that the journal knows nothing of
    for (const PageCount pages : {18U, 20U, 22U, 40U}) {
        auto replaced = other;
        replaced.resize(pages * pageSize);
        PowerCutDisk disk(file, replaced);
        disk.put(journal, stopped.content(journal));
        ASSERT_EQ(contentOf(disk), replaced);
        ASSERT_FALSE(disk.has(journal));
        ASSERT_TRUE(disk.has("Yag.mdb-journal.old"));
        ASSERT_EQ(contentOf(*disk.afterPowerCut(1)), replaced);
    }
}

TEST_F(StoppedCommit, journalBesideAnOlderCopyGivesTheStateItWasWrittenFor)
{
    // Differs only where the journal holds the whole page: putting it back makes a state that did exist.
    auto older = before;
    older[9 * pageSize + 44] = 5;
    PowerCutDisk disk(file, older);
    disk.put(journal, stopped.content(journal));
    ASSERT_EQ(contentOf(disk), before);
}

TEST_F(StoppedCommit, journalOnAProtectedMediumIsAppliedInMemory)
{
    stopped.readOnly = true;
    for (const auto mode : {Pager::Mode::readOnly, Pager::Mode::readWrite}) {
        Pager pager(stopped, file, mode);
        ASSERT_FALSE(pager.writable());
        ASSERT_EQ(contentOf(pager), before);
    }
    ASSERT_EQ(stopped.content(file), after);
}

TEST_F(StoppedCommit, readerRepairsTheFileWhereItMay)
{
    Pager pager(stopped, file, Pager::Mode::readOnly);
    ASSERT_EQ(contentOf(pager), before);
    ASSERT_EQ(stopped.content(file), before);
    ASSERT_EQ(contentOf(*stopped.afterPowerCut(4)), before);
}

TEST_F(StoppedCommit, foreignChangeAfterARepairIsNotTakenBack)
{
    ASSERT_EQ(contentOf(stopped), before);
    // Another program, which knows no journal, changes a page that the journal held.
    const auto opened = stopped.open(file, Disk::Access::readWrite);
    opened->write(3 * pageSize + 10, std::vector<std::uint8_t>{42});
    opened->sync();
    const auto changed = stopped.content(file);
    for (std::uint32_t luck = 0; luck < 50; ++luck) ASSERT_EQ(contentOf(*stopped.afterPowerCut(luck)), changed);
}

TEST(Pager, secondWriterIsRefused)
{
    PowerCutDisk disk(file, blankFile());
    auto first = std::make_unique<Pager>(disk, file, Pager::Mode::readWrite);
    ASSERT_EQ(faultOf([&] { Pager(disk, file, Pager::Mode::readWrite); }), Fault::inUse);
    first.reset();
    Pager second(disk, file, Pager::Mode::readWrite);
    ASSERT_TRUE(second.writable());
}

TEST(Pager, readerComesInBesideAnIdleWriter)
{
    PowerCutDisk disk(file, blankFile());
    Pager writer(disk, file, Pager::Mode::readWrite);
    Transaction change(writer);
    fill(writer, 3, 1);
    {
        Pager reader(disk, file, Pager::Mode::readOnly);
        ASSERT_EQ(reader.read(3)[0], 0);
    }
    change.commit();
    Pager reader(disk, file, Pager::Mode::readOnly);
    ASSERT_EQ(reader.read(3)[0], 1);
}

TEST(Pager, commitWaitsForReadersAndGivesUpWhole)
{
    PowerCutDisk disk(file, blankFile());
    Pager writer(disk, file, Pager::Mode::readWrite);
    const auto before = contentOf(writer);
    {
        const auto reader = disk.open(file, Disk::Access::readOnly);
        ASSERT_TRUE(reader->lock(File::Lock::reader));
        Transaction change(writer);
        fill(writer, 3, 1);
        const auto start = std::chrono::steady_clock::now();
        ASSERT_EQ(faultOf([&] { change.commit(); }), Fault::inUse);
        ASSERT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
        ASSERT_EQ(disk.changes(), 0);
        ASSERT_EQ(contentOf(writer), before);
    }
    committed(writer, [&] { fill(writer, 3, 1); });
    ASSERT_EQ(disk.content(file)[3 * pageSize], 1);
}

} // namespace
