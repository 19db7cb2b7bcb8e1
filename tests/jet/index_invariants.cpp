#include "tests/jet/index_workbench.h"

#include <gtest/gtest.h>

#include <random>

using namespace jet;

namespace {

using index_bench::mapPage, index_bench::root, index_bench::table;

/// A file with one index that counts as verified: every change is followed by the asserts.
class VerifiedTree : public testing::Test, protected index_bench::Workbench {
protected:
    VerifiedTree() : Workbench(IndexTree::Trust::verified) {}

    /// Keys of some length with a beginning in common, so that pages have a prefix, and splits change it.
    static Key key(std::uint32_t number)
    {
        Key key(12 + number % 40, static_cast<std::uint8_t>(number % 3));
        key.front() = 0x7F;
        for (unsigned i = 0; i < 4; ++i) key[1 + i] = static_cast<std::uint8_t>(number >> (24 - 8 * i));
        return key;
    }
    static RowId row(std::uint32_t number) { return {PageNo(100 + number / 200), SlotNo(number % 200)}; }
    std::vector<std::string> faults() const
    {
        std::vector<std::string> faults, warnings;
        std::vector<PageNo> pages;
        tree->check(faults, warnings, pages);
        return faults;
    }
};

} // namespace

TEST_F(VerifiedTree, staysTrueThroughGrowthAndDecay)
{
    std::mt19937 random(1);
    std::vector<std::uint32_t> numbers;
    for (std::uint32_t number = 0; number < 2500; ++number) numbers.push_back(number);
    std::ranges::shuffle(numbers, random);
    Transaction change(*pager);
    for (const std::uint32_t number : numbers) tree->insert(key(number), row(number));
    EXPECT_EQ(faults(), std::vector<std::string>{});
    EXPECT_GE(IndexPage(*pager, root, table).level(), 1); // it has grown
    std::ranges::shuffle(numbers, random);
    for (const std::uint32_t number : numbers) ASSERT_TRUE(tree->erase(key(number), row(number)));
    change.commit();
    EXPECT_EQ(faults(), std::vector<std::string>{});
    EXPECT_TRUE(IndexPage(*pager, root, table).isLeaf());
}

TEST_F(VerifiedTree, tellsEveryLeafEntryOnceToWhoeverChecksIt)
{
    Transaction change(*pager);
    for (std::uint32_t number = 0; number < 600; ++number) tree->insert(key(number), row(number));
    change.commit();
    std::vector<std::pair<Key, RowId>> walked, heard;
    tree->walk({}, [&](std::span<const std::uint8_t> key, RowId row) {
        walked.emplace_back(Key(key.begin(), key.end()), row);
        return true;
    });
    std::vector<std::string> faults, warnings;
    std::vector<PageNo> pages;
    tree->check(faults, warnings, pages, [&](std::span<const std::uint8_t> key, RowId row) {
        heard.emplace_back(Key(key.begin(), key.end()), row);
    });
    EXPECT_EQ(heard.size(), 600U);
    EXPECT_EQ(heard, walked);
}

#ifndef NDEBUG
TEST_F(VerifiedTree, stopsTheProgramWhenItsLeavesAreNotLinkedAnyMore)
{
    Transaction change(*pager);
    for (std::uint32_t number = 0; number < 600; ++number) tree->insert(key(number), row(number));
    const PageNo leaf = IndexPage(*pager, root, table).child(0);
    ASSERT_TRUE(IndexPage(*pager, leaf, table).isLeaf());
    index_layout::next.put(pager->write(leaf), root);
    EXPECT_DEATH(tree->erase(key(1), row(1)), "Assertion");
}

TEST_F(VerifiedTree, isLeftAloneByAssertsWhereNobodyVerifiedIt)
{
    IndexTree unverified(*pager, root, table, MapRef{0, mapPage});
    Transaction change(*pager);
    for (std::uint32_t number = 0; number < 600; ++number) unverified.insert(key(number), row(number));
    const PageNo leaf = IndexPage(*pager, root, table).child(0);
    index_layout::next.put(pager->write(leaf), root);
    EXPECT_TRUE(unverified.erase(key(1), row(1)));
}
#endif
