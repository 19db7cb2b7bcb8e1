#include "tests/jet/committed.h"
#include "tests/jet/index_workbench.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

#include <numeric>
#include <optional>
#include <random>
#include <span>

using namespace index_bench;
namespace at = jet::index_layout;

/// Trees as Access leaves them and this engine never makes them, written byte by byte; a reader of its own tells what
/// stands on a page afterwards.
namespace {

using Entry = std::vector<std::uint8_t>; ///< key, row, and in a node the child's page

Entry joined(const Key& key, RowId row)
{
    Entry entry = key;
    const std::uint32_t page = row.page.number();
    for (const unsigned shift : {16U, 8U, 0U}) entry.push_back(std::uint8_t(page >> shift));
    entry.push_back(std::uint8_t(row.slot.number()));
    return entry;
}

Entry above(Entry entry, PageNo child)
{
    const std::uint32_t page = child.number();
    for (const unsigned shift : {24U, 16U, 8U, 0U}) entry.push_back(std::uint8_t(page >> shift));
    return entry;
}

struct Image {
    jet::PageType type = jet::PageType::indexLeaf;
    PageNo previous{}, next{}, tail{};
    std::size_t prefix = 0;
    std::vector<Entry> entries{};
};

void put(Workbench& bench, PageNo number, const Image& image)
{
    const jet::PageBytes page = bench.pager->write(number);
    std::ranges::fill(page, std::uint8_t{0});
    jet::stampPage(page, image.type);
    at::owner.put(page, table);
    at::previous.put(page, image.previous);
    at::next.put(page, image.next);
    at::tail.put(page, image.tail);
    at::prefix.put(page, std::uint32_t(image.prefix));
    at::level.put(page, image.type == jet::PageType::indexNode ? 1 : 0);
    std::size_t end = 0;
    for (const Entry& entry : image.entries) {
        const std::size_t left = end == 0 ? 0 : image.prefix;
        std::copy(entry.begin() + std::ptrdiff_t(left), entry.end(), at::area.of(page).begin() + std::ptrdiff_t(end));
        end += entry.size() - left;
        std::uint8_t& ends = at::mask.of(page)[end / 8];
        ends = std::uint8_t(ends | 1U << end % 8);
    }
    at::freeBytes.put(page, std::uint32_t(at::area.size - end));
}

/// The entries of a page in full length, by nothing but the format.
std::vector<Entry> entriesOn(jet::PageView page)
{
    std::vector<Entry> entries;
    const std::size_t prefix = at::prefix.get(page);
    const auto area = at::area.of(page);
    for (std::size_t begin = 0, end = 1; end <= area.size(); ++end) {
        if ((at::mask.of(page)[end / 8] >> end % 8 & 1) == 0) continue;
        Entry entry;
        if (!entries.empty()) entry.assign(entries[0].begin(), entries[0].begin() + std::ptrdiff_t(prefix));
        entry.insert(entry.end(), area.begin() + std::ptrdiff_t(begin), area.begin() + std::ptrdiff_t(end));
        entries.push_back(std::move(entry));
        begin = end;
    }
    return entries;
}

/// All entries of the leaves from left to right, by the same reader.
std::vector<Entry> entriesOfLeaves(Workbench& bench)
{
    PageNo page = root;
    while (jet::isPageOf(bench.pager->read(page), jet::PageType::indexNode)) {
        const auto entries = entriesOn(bench.pager->read(page));
        if (entries.empty())
            page = at::tail.get(bench.pager->read(page));
        else
            page = PageNo(jet::getU32BigEndian(std::span(entries.front()).last(at::childPageBytes).data()));
    }
    std::vector<Entry> all;
    while (page != 0) {
        const auto view = bench.pager->read(page);
        const auto entries = entriesOn(view);
        all.insert(all.end(), entries.begin(), entries.end());
        page = at::next.get(view);
    }
    return all;
}

std::vector<Entry> entriesOf(const Model& model)
{
    std::vector<Entry> entries;
    for (const auto& [key, row] : model) entries.push_back(joined(key, row));
    return entries;
}

/// A key of that many bytes that say nothing.
Key repeatedKey(std::size_t length)
{
    Key key(length, 0x4A);
    key.front() = 0x7F;
    key.back() = 0;
    return key;
}

PageNo pageNumber(std::uint32_t number) { return PageNo(number); }

constexpr std::uint32_t rowPages = 291 * 256; ///< pages from there on differ in their last byte alone

struct PrefixRow {
    std::size_t keyLength;
    std::size_t intoRow;  ///< bytes of the row's place that the prefix takes
    unsigned pagesOfRows; ///< on that many pages stand the rows
    unsigned rowsOnPage;
};

class PrefixIntoTheRow : public TableTest<PrefixRow> {
protected:
    /// One leaf: so many rows of one key, too many for a page without a prefix.
    void makeLeaf()
    {
        const auto& [keyLength, intoRow, pagesOfRows, rowsOnPage] = row();
        key_ = repeatedKey(keyLength);
        Image leaf;
        leaf.prefix = keyLength + intoRow;
        for (unsigned page = 0; page < pagesOfRows; ++page)
            for (unsigned slot = 0; slot < rowsOnPage; ++slot) {
                const RowId place{pageNumber(rowPages + page), SlotNo(slot)};
                leaf.entries.push_back(joined(key_, place));
                model_.emplace(key_, place);
            }
        ASSERT_GT(leaf.entries.size() * (keyLength + 4), jet::indexArea);
        committed(*bench_.pager, [&] { put(bench_, root, leaf); });
    }
    void insert(const Key& key, RowId place)
    {
        committed(*bench_.pager, [&] { bench_.tree->insert(key, place); });
        model_.emplace(key, place);
        ASSERT_EQ(firstFault(bench_, model_), "");
        ASSERT_EQ(entriesOfLeaves(bench_), entriesOf(model_));
    }
    void erase(std::pair<Key, RowId> entry)
    {
        committed(*bench_.pager, [&] { ASSERT_TRUE(bench_.tree->erase(entry.first, entry.second)); });
        model_.erase(entry);
    }

    Workbench bench_;
    Key key_;
    Model model_;
};

INSTANTIATE_TEST_SUITE_P(, PrefixIntoTheRow,
                         testing::ValuesIn(RowTable<PrefixRow>{
                             {"first byte of the page", {9, 1, 4, 200}},
                             {"two bytes of the page", {9, 2, 4, 200}},
                             {"whole page", {40, 3, 1, 250}},
                             {"Null", {1, 2, 5, 250}},
                             {"long key", {300, 2, 3, 100}},
                         }),
                         RowName());

TEST_P(PrefixIntoTheRow, isSoundAndReadWhole)
{
    makeLeaf();
    ASSERT_EQ(entriesOn(bench_.pager->read(root)), entriesOf(model_));
    ASSERT_EQ(firstFault(bench_, model_), "");
    ASSERT_TRUE(bench_.tree->hasKey(key_, RowId{}));
    ASSERT_FALSE(bench_.tree->hasKey(Key{0x7F, 0}, RowId{}));
}

TEST_P(PrefixIntoTheRow, takesFurtherRowsOfTheKey)
{
    makeLeaf();
    const RowId first = model_.begin()->second, last = model_.rbegin()->second;
    insert(key_, {first.page, 251});
    insert(key_, {last.page, 252});
    insert(key_, {pageNumber(3), 7});                 // before all others
    insert(key_, {pageNumber(rowPages + 500000), 7}); // behind them
    insert(key_, {pageNumber(rowPages - 128), 1});    // nothing of the page in common but its first byte
}

TEST_P(PrefixIntoTheRow, takesOtherKeys)
{
    makeLeaf();
    insert({0x10, 0}, {pageNumber(50), 1});
    insert({0x90, 0}, {pageNumber(50), 2});
    Key longer = key_;
    longer.push_back(1);
    insert(longer, {pageNumber(50), 3});
    if (key_.size() > 1) insert(Key(key_.begin(), key_.end() - 1), {pageNumber(50), 4});
}

TEST_P(PrefixIntoTheRow, givesRowsAway)
{
    makeLeaf();
    std::mt19937 random(3);
    while (!model_.empty()) {
        erase(*model_.begin());
        if (!model_.empty()) erase(*model_.rbegin());
        for (int i = 0; i < 20 && !model_.empty(); ++i)
            erase(*std::next(model_.begin(), std::ptrdiff_t(random() % model_.size())));
        ASSERT_EQ(firstFault(bench_, model_), "");
        ASSERT_EQ(entriesOfLeaves(bench_), entriesOf(model_));
    }
}

TEST(TreesOfAccess, aNodesPrefixMayReachIntoTheRowToo)
{
    // Leaves of one key, each of the rows of one page: the node's entries differ in the last byte of the page.
    Workbench bench;
    Model model;
    const Key key = repeatedKey(60);
    constexpr std::uint32_t leaves = 70;
    jet::Transaction change(*bench.pager);
    std::vector<PageNo> pages;
    for (std::uint32_t i = 0; i < leaves; ++i) {
        pages.push_back(jet::allocatePage(*bench.pager));
        jet::mapSet(*bench.pager, {0, mapPage}, pages.back());
    }
    Image node{.type = jet::PageType::indexNode, .tail = pages.back(), .prefix = key.size() + 2};
    for (std::uint32_t i = 0; i < leaves; ++i) {
        Image leaf{.previous = i == 0 ? PageNo{} : pages[i - 1], .next = i + 1 == leaves ? PageNo{} : pages[i + 1]};
        for (unsigned slot = 0; slot < 5; ++slot) {
            const RowId place{pageNumber(0x4400 + i), SlotNo(slot)};
            leaf.entries.push_back(joined(key, place));
            model.emplace(key, place);
        }
        put(bench, pages[i], leaf);
        if (i + 1 < leaves) node.entries.push_back(above(leaf.entries.back(), pages[i]));
    }
    put(bench, root, node);
    change.commit();
    ASSERT_EQ(firstFault(bench, model), "");

    // In leaves, at their ends, and until they are gone.
    std::mt19937 random(4);
    for (int i = 0; i < 300; ++i) {
        jet::Transaction step(*bench.pager);
        if (i % 3 == 0) {
            const RowId place{pageNumber(0x4400 + random() % leaves), SlotNo(5 + random() % 250)};
            if (model.emplace(key, place).second) {
                ASSERT_FALSE(bench.tree->insert(key, place));
            }
        } else if (!model.empty()) {
            const auto at = std::next(model.begin(), std::ptrdiff_t(random() % model.size()));
            ASSERT_TRUE(bench.tree->erase(at->first, at->second));
            model.erase(at);
        }
        step.commit();
        ASSERT_EQ(firstFault(bench, model), "");
    }
}

/// Three leaves with the numbers 10 20 30, 110 120 130, 210 220 230 (row pages 1, 2, ... in order), under a node whose
/// first two entries name the numbers given.
class LargerEntryAbove : public testing::Test {
protected:
    void makeTree(std::int32_t first, std::int32_t second)
    {
        jet::Transaction change(*bench_->pager);
        std::vector<PageNo> pages;
        for (int i = 0; i < 3; ++i) {
            pages.push_back(jet::allocatePage(*bench_->pager));
            jet::mapSet(*bench_->pager, {0, mapPage}, pages.back());
        }
        for (std::size_t i = 0; i < 3; ++i) {
            Image leaf{.previous = i == 0 ? PageNo{} : pages[i - 1], .next = i == 2 ? PageNo{} : pages[i + 1]};
            for (const int step : {10, 20, 30}) {
                const auto number = std::int32_t(100 * i) + step;
                leaf.entries.push_back(joined(longKey(number), rowOf(number)));
                model_.emplace(longKey(number), rowOf(number));
            }
            put(*bench_, pages[i], leaf);
        }
        const auto entry = [&](std::int32_t number, PageNo child) {
            return above(joined(longKey(number), rowOf(number)), child);
        };
        put(*bench_, root,
            {.type = jet::PageType::indexNode,
             .tail = pages[2],
             .entries = {entry(first, pages[0]), entry(second, pages[1])}});
        change.commit();
    }
    static RowId rowOf(std::int32_t number) { return {pageNumber(1000 + std::uint32_t(number)), 0}; }
    std::string faults()
    {
        std::vector<std::string> faults, warnings;
        std::vector<PageNo> pages;
        bench_->tree->check(faults, warnings, pages);
        return faults.empty() ? "" : faults.front();
    }

    std::optional<Workbench> bench_{std::in_place};
    Model model_;
};

TEST_F(LargerEntryAbove, isSoundUpToTheFirstEntryOfTheNextPage)
{
    makeTree(109, 200);
    ASSERT_EQ(firstFault(*bench_, model_), "");
}

TEST_F(LargerEntryAbove, isAFaultFromThereOn)
{
    makeTree(110, 200);
    ASSERT_NE(faults(), "");
}

TEST_F(LargerEntryAbove, leadsToEveryEntry)
{
    makeTree(109, 200);
    for (const auto& [key, row] : model_) {
        ASSERT_TRUE(bench_->tree->hasKey(key, RowId{}));
        ASSERT_FALSE(bench_->tree->hasKey(key, row));
    }
    // A search that begins between the last entry below and the one above ends on the next page.
    std::vector<Key> behind;
    bench_->tree->walk(longKey(60), [&](std::span<const std::uint8_t> key, RowId) {
        behind.emplace_back(key.begin(), key.end());
        return true;
    });
    ASSERT_EQ(behind,
              (std::vector<Key>{longKey(110), longKey(120), longKey(130), longKey(210), longKey(220), longKey(230)}));
}

TEST_F(LargerEntryAbove, staysTrueThroughEveryChange)
{
    // Whatever order they come in: numbers below, between and above, and then all of them away.
    std::vector<std::int32_t> numbers(240);
    std::iota(numbers.begin(), numbers.end(), 0);
    for (const unsigned seed : {1U, 2U}) {
        bench_.emplace();
        model_.clear();
        makeTree(109, 200);
        std::ranges::shuffle(numbers, std::mt19937(seed));
        for (const bool putIn : {true, false})
            for (const std::int32_t number : numbers) {
                const std::pair<Key, RowId> entry{longKey(number), rowOf(number)};
                if (model_.contains(entry) == putIn) continue;
                jet::Transaction change(*bench_->pager);
                if (putIn)
                    ASSERT_TRUE(bench_->tree->insert(entry.first, entry.second));
                else
                    ASSERT_TRUE(bench_->tree->erase(entry.first, entry.second));
                change.commit();
                if (putIn)
                    model_.insert(entry);
                else
                    model_.erase(entry);
                ASSERT_EQ(firstFault(*bench_, model_), "") << number;
                ASSERT_EQ(entriesOfLeaves(*bench_), entriesOf(model_)) << number;
            }
    }
}

} // namespace
