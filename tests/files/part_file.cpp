#include "files/part_file.h"
#include "files/error.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/support/fault.h"

#include <gtest/gtest.h>

namespace {

using files::PartFile;

const std::filesystem::path name = "mill/Yag.mdb";
const std::filesystem::path part = "mill/Yag.mdb.part";
const PowerCutDisk::Image before = {1}, after = {2, 3};

/// What a writer does who wants the file whole or not at all.
void writeWhole(PowerCutDisk& disk)
{
    PartFile file = PartFile::replacing(disk, name);
    const auto opened = disk.open(file.path(), files::Disk::Access::createNew);
    opened->write(0, after);
    opened->sync();
    file.publish();
}

} // namespace

TEST(PartFile, aPowerCutLeavesTheOldFileOrTheNewOneWhole)
{
    PowerCutDisk disk(name, before);
    int cuts = 0;
    disk.beforeEachChange = [&] {
        for (std::uint32_t seed = 0; seed < 8; ++seed, ++cuts) {
            const auto left = disk.afterPowerCut(seed);
            EXPECT_TRUE(left->content(name) == before || left->content(name) == after);
        }
    };
    writeWhole(disk);
    EXPECT_GE(cuts, 32);
    EXPECT_EQ(disk.afterPowerCut(0)->content(name), after);
}

TEST(PartFile, aFailureAtAnyStepLeavesNoPart)
{
    for (const int failing : {1, 2, 3, 4}) {
        PowerCutDisk disk(name, before);
        disk.failing = {failing};
        EXPECT_EQ(faultOf([&] { writeWhole(disk); }), files::Fault::disk);
        EXPECT_FALSE(disk.has(part)) << "change " << failing;
        EXPECT_EQ(disk.content(name), before);
    }
}

TEST(PartFile, aFailureIsToldWithTheNameThatWasAskedFor)
{
    PowerCutDisk disk;
    const PartFile file(disk, name);
    std::string told;
    try {
        file.make([&] { disk.open(file.path(), files::Disk::Access::readOnly); });
    } catch (const files::Error& error) {
        told = error.what();
        EXPECT_EQ(error.fault(), files::Fault::notFound);
    }
    EXPECT_EQ(told, "mill/Yag.mdb yok");
}

TEST(PartFile, aFileThatIsThereIsReplacedByNobodyElse)
{
    PowerCutDisk disk;
    disk.put(part, before); // of an attempt that a power cut ended
    PartFile file(disk, name);
    EXPECT_FALSE(disk.has(part));
    disk.put(part, after);
    disk.put(name, before); // somebody else's, meanwhile
    EXPECT_EQ(faultOf([&] { file.publish(); }), files::Fault::exists);
    EXPECT_EQ(faultOf([&] { PartFile(disk, name); }), files::Fault::exists);
    EXPECT_EQ(disk.content(name), before);
}
