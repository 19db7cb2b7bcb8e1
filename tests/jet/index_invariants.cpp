#include "tests/doors/power_cut_disk.h"
#include "tests/jet/blank_file.h"

#include "store/jet/index/index_page.h"
#include "store/jet/index/index_tree.h"
#include "store/jet/pages/row_page.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

using namespace jet;

namespace {

constexpr PageNo table = 2; ///< no definition there, only its number counts
constexpr PageNo mapPage = 3;
constexpr PageNo root = 4;

/// A file with one index that counts as verified: every change is followed by the asserts.
class VerifiedTree : public testing::Test {
protected:
    VerifiedTree()
    {
        disk_.put("a.mdb", blankFile(16));
        pager_ = std::make_unique<Pager>(disk_, "a.mdb", Pager::Mode::readWrite);
        tree_ = std::make_unique<IndexTree>(*pager_, root, table, MapRef{0, mapPage}, IndexTree::Trust::verified);
        Transaction setUp(*pager_);
        initRowPage(pager_->write(mapPage), 0);
        appendRow(pager_->write(mapPage), std::vector<std::uint8_t>(69), RowKind::ordinary);
        mapSet(*pager_, {0, mapPage}, root);
        initIndexLeaf(pager_->write(root), table);
        setUp.commit();
    }

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
        tree_->check(faults, warnings, pages);
        return faults;
    }

    PowerCutDisk disk_;
    std::unique_ptr<Pager> pager_;
    std::unique_ptr<IndexTree> tree_;
};

} // namespace

TEST_F(VerifiedTree, staysTrueThroughGrowthAndDecay)
{
    std::mt19937 random(1);
    std::vector<std::uint32_t> numbers;
    for (std::uint32_t number = 0; number < 2500; ++number) numbers.push_back(number);
    std::ranges::shuffle(numbers, random);
    Transaction change(*pager_);
    for (const std::uint32_t number : numbers) tree_->insert(key(number), row(number));
    EXPECT_EQ(faults(), std::vector<std::string>{});
    EXPECT_GE(IndexPage(*pager_, root, table).level(), 1); // it has grown
    std::ranges::shuffle(numbers, random);
    for (const std::uint32_t number : numbers) ASSERT_TRUE(tree_->erase(key(number), row(number)));
    change.commit();
    EXPECT_EQ(faults(), std::vector<std::string>{});
    EXPECT_TRUE(IndexPage(*pager_, root, table).isLeaf());
}

TEST_F(VerifiedTree, tellsEveryLeafEntryOnceToWhoeverChecksIt)
{
    Transaction change(*pager_);
    for (std::uint32_t number = 0; number < 600; ++number) tree_->insert(key(number), row(number));
    change.commit();
    std::vector<std::pair<Key, RowId>> walked, heard;
    tree_->walk({}, [&](std::span<const std::uint8_t> key, RowId row) {
        walked.emplace_back(Key(key.begin(), key.end()), row);
        return true;
    });
    std::vector<std::string> faults, warnings;
    std::vector<PageNo> pages;
    tree_->check(faults, warnings, pages, [&](std::span<const std::uint8_t> key, RowId row) {
        heard.emplace_back(Key(key.begin(), key.end()), row);
    });
    EXPECT_EQ(heard.size(), 600U);
    EXPECT_EQ(heard, walked);
}

#ifndef NDEBUG
TEST_F(VerifiedTree, stopsTheProgramWhenItsLeavesAreNotLinkedAnyMore)
{
    Transaction change(*pager_);
    for (std::uint32_t number = 0; number < 600; ++number) tree_->insert(key(number), row(number));
    const PageNo leaf = IndexPage(*pager_, root, table).child(0);
    ASSERT_TRUE(IndexPage(*pager_, leaf, table).isLeaf());
    index_layout::next.put(pager_->write(leaf), root);
    EXPECT_DEATH(tree_->erase(key(1), row(1)), "Assertion");
}

TEST_F(VerifiedTree, isLeftAloneByAssertsWhereNobodyVerifiedIt)
{
    IndexTree unverified(*pager_, root, table, MapRef{0, mapPage});
    Transaction change(*pager_);
    for (std::uint32_t number = 0; number < 600; ++number) unverified.insert(key(number), row(number));
    const PageNo leaf = IndexPage(*pager_, root, table).child(0);
    index_layout::next.put(pager_->write(leaf), root);
    EXPECT_TRUE(unverified.erase(key(1), row(1)));
}
#endif
