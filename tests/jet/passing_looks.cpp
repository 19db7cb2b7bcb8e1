#include "store/jet/pages/pager.h"

#include "tests/doors/power_cut_disk.h"
#include "tests/jet/blank_file.h"
#include "tests/support/fault.h"

#include <gtest/gtest.h>

using namespace jet;

namespace {

const std::filesystem::path file = "Yag.mdb";

/// A file whose pages say their numbers.
PowerCutDisk& numbered(PowerCutDisk& disk, PageCount pages)
{
    auto content = blankFile(pages);
    for (PageNo page = 2; page < PageNo(pages); ++page)
        content[positionOf(page) + 100] = static_cast<std::uint8_t>(page.number());
    disk.put(file, content);
    return disk;
}

} // namespace

TEST(PassingLooks, showEveryPageInWhateverOrder)
{
    PowerCutDisk disk;
    Pager pager(numbered(disk, 200), file, Pager::Mode::readOnly);
    PassingBuffer buffer;
    for (const PageNo page : {PageNo{2}, PageNo{199}, PageNo{63}, PageNo{64}, PageNo{3}})
        EXPECT_EQ(pager.look(page, buffer)[100], page.number());
    pager.read(150);
    EXPECT_EQ(pager.look(150, buffer)[100], 150);
    EXPECT_EQ(pager.look(4, buffer)[100], 4);
}

TEST(PassingLooks, showWhatTheTransactionHasWritten)
{
    PowerCutDisk disk;
    Pager pager(numbered(disk, 200), file, Pager::Mode::readWrite);
    Transaction change(pager);
    pager.write(70)[100] = 1;
    pager.extendTo(300);
    pager.write(299)[100] = 2;
    PassingBuffer buffer;
    EXPECT_EQ(pager.look(71, buffer)[100], 71);
    EXPECT_EQ(pager.look(70, buffer)[100], 1);
    EXPECT_EQ(pager.look(299, buffer)[100], 2);
    EXPECT_EQ(pager.look(298, buffer)[100], 0);
}

TEST(PassingLooks, leaveNothingInMemory)
{
    PowerCutDisk disk;
    Pager pager(numbered(disk, 200), file, Pager::Mode::readOnly);
    PassingBuffer buffer;
    EXPECT_EQ(pager.look(70, buffer)[100], 70);
    EXPECT_EQ(pager.read(71)[100], 71);
    // Another program's change is met by whoever goes to the disk again; a page in memory would be given as it was.
    disk.open(file, Disk::Access::readWrite)->write(70 * pageSize + 100, std::vector<std::uint8_t>{9});
    EXPECT_EQ(pager.read(71)[100], 71);
    EXPECT_EQ(faultOf([&] { pager.read(70); }), Fault::changedElsewhere);
}

TEST(PassingLooks, refuseAPageThatIsNotThere)
{
    PowerCutDisk disk;
    Pager pager(numbered(disk, 200), file, Pager::Mode::readOnly);
    PassingBuffer buffer;
    EXPECT_EQ(faultOf([&] { pager.look(200, buffer); }), Fault::damaged);
}
