#include "store/copy_names.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

using namespace store;

namespace {

std::string dayName(int index) { return copyName({2025, 1 + index / 28, 1 + index % 28}); }

TEST(CopyNames, aNameIsReadBackAsItWasWritten)
{
    const CopyTime day{2025, 11, 20};
    ASSERT_EQ(copyName(day), "Yag-2025-11-20.mdb");
    ASSERT_EQ(copyTime("Yag-2025-11-20.mdb"), day);
    const CopyTime moment{2025, 11, 20, false, 14, 5, 1};
    ASSERT_EQ(copyName(moment), "Yag-2025-11-20-140501.mdb");
    ASSERT_EQ(copyTime("Yag-2025-11-20-140501.mdb"), moment);
}

class CopyNamesOfOthers : public TableTest<std::string> {};

RowTable<std::string> copyNamesOfOthers()
{
    RowTable<std::string> table;
    for (const char* name :
         {"Yag.mdb", "Yag-.mdb", "Yag-2025-11-20", "Yag-2025-11-20.mdb.part", "yag-2025-11-20.mdb", "Yag-2025-11-2.mdb",
          "Yag-2025-11-200.mdb", "Yag-2025-13-01.mdb", "Yag-2025-02-29.mdb", "Yag-2025-11-20-1405.mdb",
          "Yag-2025-11-20-240000.mdb", "Yag-2025-11-20-140560.mdb", "Yag-2025-11-20 kopyası.mdb",
          "Yag-onceki-2025-11-20-140501.mdb", "aYag-2025-11-20.mdb", "-.mdb", ".mdb"})
        table.push_back({name, name});
    return table;
}

INSTANTIATE_TEST_SUITE_P(, CopyNamesOfOthers, testing::ValuesIn(copyNamesOfOthers()), NumberedRowName());

TEST_P(CopyNamesOfOthers, otherNamesAreNotOurs) { ASSERT_FALSE(copyTime(row())); }

TEST(CopyNames, theNewestThirtyStay)
{
    std::vector<std::filesystem::path> names = {"Yag.mdb", "okubeni.txt", "Yag-2025-11-20.mdb.part"};
    for (int i = 0; i < 40; ++i) names.emplace_back(dayName(i));
    const auto removed = copiesToRemove(names, dayName(39));
    std::set<std::filesystem::path> expected;
    for (int i = 0; i < 10; ++i) expected.insert(dayName(i));
    ASSERT_EQ(std::set(removed.begin(), removed.end()), expected);
}

TEST(CopyNames, nothingGoesBeforeThereAreMoreThanThirty)
{
    std::vector<std::filesystem::path> names;
    for (int i = 0; i < 30; ++i) names.emplace_back(dayName(i));
    ASSERT_TRUE(copiesToRemove(names, dayName(29)).empty());
}

TEST(CopyNames, deletionsDoNotPushOutTheCopiesOfDays)
{
    std::vector<std::filesystem::path> names;
    for (int i = 0; i < 30; ++i) names.emplace_back(dayName(i));
    for (int i = 0; i < 50; ++i) names.emplace_back(copyName({2025, 11, 20, false, 14, i, 0}));
    const auto removed = copiesToRemove(names, copyName({2025, 11, 20, false, 14, 49, 0}));
    ASSERT_EQ(removed.size(), 20U);
    ASSERT_TRUE(std::ranges::all_of(removed, [](const auto& name) { return !copyTime(name)->ofDay; }));
}

TEST(CopyNames, theCopyJustMadeStaysWhenTheClockWasPutBack)
{
    std::vector<std::filesystem::path> names = {copyName({2000, 1, 1})};
    for (int i = 0; i < 30; ++i) names.emplace_back(dayName(i));
    const auto removed = copiesToRemove(names, copyName({2000, 1, 1}));
    ASSERT_EQ(removed, std::vector<std::filesystem::path>{dayName(0)});
}

} // namespace
