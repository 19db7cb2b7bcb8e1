#include "tests/jet/committed.h"
#include "tests/jet/index_workbench.h"
#include "tests/support/bytes.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include "store/jet/format/doors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>

using namespace index_bench;
namespace at = jet::index_layout;

namespace {

Key filledKey(std::size_t length, std::uint8_t fill, std::uint32_t number)
{
    Key key(length, fill);
    key.front() = 0x7F;
    for (std::size_t i = 0; i < 4; ++i) key[length - 5 + i] = std::uint8_t(number >> (24 - 8 * i));
    key.back() = 0;
    return key;
}

RowId rowNumber(std::uint32_t number) { return {PageNo(100 + number / 200), SlotNo(number % 200)}; }

using MakeKey = std::function<Key(std::mt19937&, std::uint32_t)>;

/// Inserts and erases at random, comparing after every batch; the tree grows in the first half and shrinks then.
void exercise(const MakeKey& makeKey, int batches, int batchSize, unsigned seed)
{
    Workbench bench;
    Model model;
    std::vector<std::pair<Key, RowId>> known;
    std::mt19937 random(seed);
    std::uint32_t number = 0;
    for (int batch = 0; batch < batches; ++batch) {
        const unsigned growth = batch < batches / 2 ? 8 : 3;
        jet::Transaction change(*bench.pager);
        for (int i = 0; i < batchSize; ++i) {
            if (random() % 10 < growth || known.empty()) {
                const auto entry = std::pair(makeKey(random, number), rowNumber(number));
                ++number;
                const auto above = model.lower_bound({entry.first, RowId{}});
                const bool isNew = above == model.end() || above->first != entry.first;
                ASSERT_EQ(bench.tree->hasKey(entry.first, RowId{}), !isNew);
                ASSERT_EQ(bench.tree->insert(entry.first, entry.second), isNew);
                model.insert(entry);
                known.push_back(entry);
            } else {
                const std::size_t victim = random() % known.size();
                ASSERT_TRUE(bench.tree->erase(known[victim].first, known[victim].second));
                ASSERT_FALSE(bench.tree->erase(known[victim].first, known[victim].second));
                model.erase(known[victim]);
                known[victim] = known.back();
                known.pop_back();
            }
        }
        change.commit();
        ASSERT_EQ(firstFault(bench, model), "");
    }
    jet::Transaction change(*bench.pager);
    for (const auto& [key, row] : known) ASSERT_TRUE(bench.tree->erase(key, row));
    change.commit();
    ASSERT_EQ(firstFault(bench, {}), "");
    ASSERT_EQ(jet::mapPages(*bench.pager, {0, mapPage}), std::vector<PageNo>{root});
}

/// A tree of these keys in this order of insertion, one row each.
Model fill(Workbench& bench, const std::vector<Key>& keys)
{
    Model model;
    jet::Transaction change(*bench.pager);
    for (std::size_t i = 0; i < keys.size(); ++i) {
        bench.tree->insert(keys[i], rowNumber(std::uint32_t(i)));
        model.emplace(keys[i], rowNumber(std::uint32_t(i)));
    }
    change.commit();
    return model;
}

int levels(Workbench& bench) { return jet::IndexPage(*bench.pager, root, table).level() + 1; }

struct EmptyTree : testing::Test {
    Workbench bench;
};

TEST_F(EmptyTree, leafHasTheBytesThatAccessWrites)
{
    jet::Transaction change(*bench.pager);
    for (const std::uint8_t number : {2, 1, 4, 5, 3})
        bench.tree->insert(longKey(number), RowId{75, SlotNo(number - 1U)});
    const auto page = bench.pager->read(root);
    ASSERT_EQ(hexOf(page.first(at::mask.begin)), "0401f30d0200000000000000000000000000000000000000000000");
    ASSERT_EQ(hexOf(page.subspan(at::mask.begin, 7)), "00020408102000");
    ASSERT_EQ(hexOf(at::area.of(page).first<46>()), "7f8000000100004b00"
                                                    "7f8000000200004b01"
                                                    "7f8000000300004b02"
                                                    "7f8000000400004b03"
                                                    "7f8000000500004b04"
                                                    "00");
    bench.tree->insert(longKey(6), RowId{75, 5});
    ASSERT_EQ(at::freeBytes.get(page), 3562);
    ASSERT_EQ(at::mask.of(page)[6], std::uint8_t{64});
    ASSERT_EQ(hexOf(at::area.of(page).subspan<45, 9>()), "7f8000000600004b05");
}

TEST_F(EmptyTree, bulkBuiltTreeHasTheBytesThatAccessWrites)
{
    // A descending Long with duplicates and two Nulls: 510 entries that share three bytes, then two that share nothing.
    std::vector<std::pair<Key, RowId>> entries;
    for (std::uint32_t i = 0; i < 510; ++i) {
        const std::uint32_t bits = ~((19 + (509 - i) / 2) ^ 0x80000000U);
        entries.emplace_back(
            Key{0x80, std::uint8_t(bits >> 24), std::uint8_t(bits >> 16), std::uint8_t(bits >> 8), std::uint8_t(bits)},
            RowId{PageNo(17 + i / 250), SlotNo(i % 250)});
    }
    entries.emplace_back(Key{0xFF}, RowId{20, 0x39});
    entries.emplace_back(Key{0xFF}, RowId{20, 0x3A});
    committed(*bench.pager, [&] { ASSERT_EQ(bench.tree->rebuild(entries), 256u); });

    const jet::IndexPage top(*bench.pager, root, table);
    ASSERT_FALSE(top.isLeaf());
    ASSERT_EQ(top.count(), 1U);
    ASSERT_EQ(hexOf(top.bytes().first(jet::page_layout::head)), "0301130e");
    ASSERT_EQ(top.level(), std::uint8_t{1});
    const jet::IndexPage left(*bench.pager, top.child(0), table), right(*bench.pager, top.tail(), table);
    ASSERT_EQ(at::prefix.get(left.bytes()), 3U);
    ASSERT_EQ(left.count(), 510U);
    ASSERT_EQ(at::freeBytes.get(left.bytes()), 553);
    ASSERT_EQ(left.next(), top.tail());
    ASSERT_EQ(right.previous(), top.child(0));
    ASSERT_EQ(hexOf(at::area.of(right.bytes()).first<10>()), "ff00001439ff0000143a");
}

struct IndexTreeHistoryRow {
    int kind;
    int batches;
    int batchSize;
};

const RowTable<IndexTreeHistoryRow> indexTreeHistory = {
    {"numbers", {0, 10, 1500}},
    {"few distinct numbers", {1, 10, 1000}},
    {"texts", {2, 10, 700}},
    {"longest keys", {3, 12, 150}},
    {"long common prefixes", {4, 10, 500}},
    {"keys that other keys begin with", {6, 10, 1000}},
    {"lengths of all kinds", {5, 12, 300}},
};

TABLE_SUITE(IndexTreeHistory, IndexTreeHistoryRow, indexTreeHistory);

TEST_P(IndexTreeHistory, randomChangesKeepTheTreeTrue)
{
    const auto& [kind, batches, batchSize] = row();
    const std::vector<MakeKey> kinds{
        [](std::mt19937& random, std::uint32_t) { return longKey(std::int32_t(random())); },
        [](std::mt19937& random, std::uint32_t) { return longKey(std::int64_t(random() % 7)); },
        [](std::mt19937& random, std::uint32_t) {
            Key key{0x7F};
            for (std::size_t length = 3 + random() % 40; length > 0; --length)
                key.push_back(std::uint8_t(0x4A + random() % 20));
            key.insert(key.end(), {0x01, 0x00});
            return key;
        },
        [](std::mt19937& random, std::uint32_t) { return filledKey(508, std::uint8_t(random() % 3), random() % 500); },
        [](std::mt19937& random, std::uint32_t) {
            // Now and then a foreign key that shares nothing, or half, of the prefix of its neighbours.
            if (random() % 50 == 0) return filledKey(random() % 2 ? 100 : 60, 0x55, random());
            return filledKey(96, std::uint8_t(0x50 + random() % 10), random());
        },
        [](std::mt19937& random, std::uint32_t) {
            return filledKey(6 + random() % 503, std::uint8_t(random() % 256), random());
        },
        [](std::mt19937& random, std::uint32_t) {
            // As an index on Binary has them: empty, or eight bytes and their count.
            if (random() % 4 == 0) return Key{0x7F};
            Key key(10);
            key[0] = 0x7F;
            key[3] = std::uint8_t(random() % 3);
            key[4] = std::uint8_t(random() % 3);
            key[9] = std::uint8_t(1 + random() % 4);
            return key;
        },
    };
    exercise(kinds.at(std::size_t(kind)), batches, batchSize, 1);
}

const RowTable<std::string> indexTreeOrder = {
    {"ascending", "ascending"},
    {"descending", "descending"},
    {"from both ends", "from both ends"},
    {"shuffled", "shuffled"},
};

TABLE_SUITE(IndexTreeOrder, std::string, indexTreeOrder);

TEST_P(IndexTreeOrder, orderOfInsertionDoesNotMatter)
{
    const std::string& order = row();
    std::vector<std::uint32_t> numbers(1500);
    std::iota(numbers.begin(), numbers.end(), 0);
    if (order == "descending") std::ranges::reverse(numbers);
    if (order == "shuffled") std::ranges::shuffle(numbers, std::mt19937(7));
    if (order == "from both ends") {
        std::vector<std::uint32_t> mixed;
        for (std::size_t i = 0; i < numbers.size() / 2; ++i) {
            mixed.push_back(numbers[i]);
            mixed.push_back(numbers[numbers.size() - 1 - i]);
        }
        numbers = mixed;
    }
    // Keys that share nothing, so that no prefix helps and seven fill a page: four levels.
    std::vector<Key> keys;
    for (const std::uint32_t number : numbers) {
        Key key = filledKey(500, 0x33, number);
        for (std::size_t i = 0; i < 4; ++i) key[1 + i] = key[key.size() - 5 + i];
        key[1] = std::uint8_t(number * 250 / 1500);
        keys.push_back(std::move(key));
    }
    std::ranges::sort(numbers);
    Workbench bench;
    const Model model = fill(bench, keys);
    ASSERT_EQ(firstFault(bench, model), "");
    ASSERT_GE(levels(bench), 3) << levels(bench);
    // And away again, from the left.
    jet::Transaction change(*bench.pager);
    for (const auto& [key, row] : model) ASSERT_TRUE(bench.tree->erase(key, row));
    change.commit();
    ASSERT_EQ(firstFault(bench, {}), "");
}

TEST_F(EmptyTree, ascendingKeysLeaveFullPages)
{
    std::vector<Key> keys;
    for (std::int32_t i = 0; i < 40000; ++i) keys.push_back(longKey(i));
    const Model model = fill(bench, keys);
    ASSERT_EQ(firstFault(bench, model), "");
    // Neighbouring numbers take 6 bytes an entry; half-full leaves would make twice as many pages.
    const auto pages = jet::mapPages(*bench.pager, {0, mapPage}).size();
    ASSERT_LT(pages, 40000 * 6 * 21 / 20 / jet::indexArea) << std::to_string(pages);
    ASSERT_EQ(levels(bench), 2);
}

TEST(IndexTree, foreignKeyMayTakeTheCommonPrefixAway)
{
    for (const std::uint8_t first : {0x10, 0x70}) {
        Workbench bench;
        std::vector<Key> keys;
        for (std::uint32_t i = 0; i < 300; ++i) keys.push_back(filledKey(96, 0x50, i));
        Model model = fill(bench, keys);
        ASSERT_EQ(levels(bench), 1);
        jet::Transaction change(*bench.pager);
        const Key foreign = filledKey(96, first, 1);
        bench.tree->insert(foreign, RowId{9, 9});
        change.commit();
        model.emplace(foreign, RowId{9, 9});
        ASSERT_EQ(firstFault(bench, model), "");
        ASSERT_EQ(levels(bench), 2);
        committed(*bench.pager, [&] { ASSERT_TRUE(bench.tree->erase(foreign, RowId{9, 9})); });
        model.erase({foreign, RowId{9, 9}});
        ASSERT_EQ(firstFault(bench, model), "");
    }
}

TEST_F(EmptyTree, massDeleteGivesPagesBackAndTheyAreUsedAgain)
{
    std::vector<Key> keys;
    for (std::int32_t i = 0; i < 10000; ++i) keys.push_back(longKey(i * 7919 % 10000));
    Model model = fill(bench, keys);
    const PageCount pages = bench.pager->pageCount();
    for (int round = 0; round < 3; ++round) {
        jet::Transaction change(*bench.pager);
        // All but a few in the middle.
        for (auto at = model.begin(); at != model.end();) {
            if (at->first > longKey(4000) && at->first < longKey(4010)) {
                ++at;
                continue;
            }
            ASSERT_TRUE(bench.tree->erase(at->first, at->second));
            at = model.erase(at);
        }
        change.commit();
        ASSERT_EQ(firstFault(bench, model), "");
        ASSERT_LE(jet::mapPages(*bench.pager, {0, mapPage}).size(), 4);
        jet::Transaction again(*bench.pager);
        for (std::size_t i = 0; i < keys.size(); ++i)
            if (model.emplace(keys[i], rowNumber(std::uint32_t(i))).second)
                bench.tree->insert(keys[i], rowNumber(std::uint32_t(i)));
        again.commit();
        ASSERT_EQ(firstFault(bench, model), "");
        ASSERT_LE(bench.pager->pageCount(), pages + pages / 10);
    }
}

TEST_F(EmptyTree, insertWithRoomChangesOnePage)
{
    std::vector<Key> keys;
    for (std::int64_t i = 0; i < 5000; ++i) keys.push_back(longKey(i * 7919 % 5000 * 10));
    fill(bench, keys);
    const PowerCutDisk::Image before = bench.disk.content("a.mdb");
    committed(*bench.pager, [&] { bench.tree->insert(longKey(25005), RowId{9, 9}); });
    const PowerCutDisk::Image& after = bench.disk.content("a.mdb");
    ASSERT_EQ(after.size(), before.size());
    int changed = 0;
    for (std::size_t at = 0; at < after.size(); at += jet::pageSize)
        changed += !std::equal(after.begin() + std::ptrdiff_t(at), after.begin() + std::ptrdiff_t(at + jet::pageSize),
                               before.begin() + std::ptrdiff_t(at));
    ASSERT_EQ(changed, 1);
}

TEST_F(EmptyTree, equalKeysSpanLeaves)
{
    fill(bench, std::vector<Key>(3000, longKey(5)));
    ASSERT_GT(levels(bench), 1);
    ASSERT_TRUE(bench.tree->hasKey(longKey(5), RowId{}));
    ASSERT_FALSE(bench.tree->hasKey(longKey(4), RowId{}));
    ASSERT_FALSE(bench.tree->hasKey(longKey(6), RowId{}));
    jet::Transaction change(*bench.pager);
    ASSERT_FALSE(bench.tree->insert(longKey(5), RowId{1, 1}));
    ASSERT_TRUE(bench.tree->insert(longKey(6), RowId{1, 1}));
    ASSERT_TRUE(bench.tree->insert(longKey(4), RowId{1, 1}));
    ASSERT_TRUE(bench.tree->hasKey(longKey(6), RowId{}));
    // A row does not collide with itself.
    ASSERT_FALSE(bench.tree->hasKey(longKey(6), RowId{1, 1}));
    // Among 3000 others the last one in the last leaf still counts.
    for (std::uint32_t i = 0; i + 1 < 3000; ++i) ASSERT_TRUE(bench.tree->erase(longKey(5), rowNumber(i)));
    ASSERT_TRUE(bench.tree->erase(longKey(5), RowId{1, 1}));
    ASSERT_TRUE(bench.tree->hasKey(longKey(5), RowId{}));
    ASSERT_FALSE(bench.tree->hasKey(longKey(5), rowNumber(2999)));
    change.commit();
}

TEST_F(EmptyTree, walkStartsAtTheFirstEntryNotBelow)
{
    std::vector<Key> keys;
    for (std::int64_t i = 0; i < 4000; ++i) keys.push_back(longKey(i * 2));
    fill(bench, keys);
    for (std::int32_t from = -1; from <= 8000; from += 13) {
        std::vector<Key> seen;
        bench.tree->walk(longKey(from), [&](std::span<const std::uint8_t> key, RowId) {
            seen.emplace_back(key.begin(), key.end());
            return seen.size() < 3;
        });
        const std::int32_t first = from < 0 ? 0 : from + from % 2;
        const auto expected = std::size_t(std::clamp((8000 - first) / 2, 0, 3));
        ASSERT_EQ(seen.size(), expected);
        for (std::size_t i = 0; i < expected; ++i) ASSERT_EQ(seen[i], longKey(first + 2 * std::int32_t(i)));
    }
}

TEST_F(EmptyTree, sameEntryTwiceIsRefused)
{
    jet::Transaction change(*bench.pager);
    bench.tree->insert(longKey(1), RowId{1, 1});
    ASSERT_EQ(faultOf([&] { bench.tree->insert(longKey(1), RowId{1, 1}); }), jet::Fault::damaged);
}

struct IndexTreeRebuildRow {
    int entries;
    int keyLength;
};

RowTable<IndexTreeRebuildRow> indexTreeRebuild()
{
    RowTable<IndexTreeRebuildRow> table;
    for (const int entries : {0, 1, 7, 8, 49, 50, 57, 400, 1000}) {
        table.push_back({std::to_string(entries) + " long keys", {entries, 508}});
        table.push_back({std::to_string(entries * 20) + " short keys", {entries * 20, 6}});
    }
    return table;
}

TABLE_SUITE(IndexTreeRebuild, IndexTreeRebuildRow, indexTreeRebuild());

TEST_P(IndexTreeRebuild, rebuildMakesTheSameTree)
{
    const auto& [entries, keyLength] = row();
    Workbench bench;
    fill(bench, {longKey(1), longKey(2), longKey(3)});
    std::vector<std::pair<Key, RowId>> sorted;
    for (int i = 0; i < entries; ++i) {
        Key key = filledKey(std::size_t(keyLength), 0, std::uint32_t(i / 2));
        // The differing bytes come first: no common prefix to speak of.
        std::swap_ranges(key.begin() + 1, key.begin() + 5, key.end() - 5);
        sorted.emplace_back(std::move(key), rowNumber(std::uint32_t(i)));
    }
    std::ranges::sort(sorted);
    for (int round = 0; round < 2; ++round) {
        committed(*bench.pager, [&] { ASSERT_EQ(bench.tree->rebuild(sorted), std::uint32_t((entries + 1) / 2)); });
        ASSERT_EQ(firstFault(bench, Model(sorted.begin(), sorted.end())), "");
    }
    // It is a tree to go on with.
    Model model(sorted.begin(), sorted.end());
    jet::Transaction change(*bench.pager);
    for (std::size_t i = 0; i < sorted.size(); i += 3) {
        ASSERT_TRUE(bench.tree->erase(sorted[i].first, sorted[i].second));
        model.erase(sorted[i]);
    }
    change.commit();
    ASSERT_EQ(firstFault(bench, model), "");
}

TEST_F(EmptyTree, rebuildWorksOnAWreck)
{
    std::vector<Key> keys;
    for (std::int32_t i = 0; i < 3000; ++i) keys.push_back(longKey(i));
    const Model model = fill(bench, keys);
    jet::Transaction wreck(*bench.pager);
    // The root's first child is the root itself.
    const auto child =
        at::area.of(bench.pager->write(root)).subspan(keys[0].size() + at::rowIdBytes, at::childPageBytes);
    std::ranges::fill(child, std::uint8_t{0});
    child.back() = std::uint8_t(root.number());
    wreck.commit();
    committed(*bench.pager, [&] { bench.tree->rebuild({model.begin(), model.end()}); });
    std::vector<std::string> faults, warnings;
    std::vector<PageNo> pages;
    bench.tree->check(faults, warnings, pages);
    ASSERT_TRUE(faults.empty() && warnings.empty());
    ASSERT_EQ(contentOf(*bench.tree), model);
}

struct IndexTreeFaultRow {
    std::size_t offset;
    bool inRoot;
};

const RowTable<IndexTreeFaultRow> indexTreeFault = {
    {"free field", {at::freeBytes.begin, false}},
    {"owner", {at::owner.begin, false}},
    {"previous page", {at::previous.begin, false}},
    {"next page", {at::next.begin, false}},
    {"tail of a leaf", {at::tail.begin, false}},
    {"level", {at::level.begin, false}},
    {"end mask", {at::mask.begin + 2, false}},
    {"entry", {at::area.begin + 2, false}},
    {"type", {at::type.begin, false}},
    {"second byte", {at::mark.begin, false}},
    {"node's entry", {at::area.begin + 4, true}},
    {"node's child", {at::area.begin + 12, true}},
    {"node's tail", {at::tail.begin, true}},
    {"node's free field", {at::freeBytes.begin, true}},
    {"root's neighbour", {at::next.begin, true}},
};

TABLE_SUITE(IndexTreeFault, IndexTreeFaultRow, indexTreeFault);

TEST_P(IndexTreeFault, checkFindsEveryKindOfFault)
{
    const auto& [offset, inRoot] = row();
    Workbench bench;
    std::vector<Key> keys;
    for (std::int32_t i = 0; i < 3000; ++i) keys.push_back(longKey(i));
    const Model model = fill(bench, keys);
    const PageNo second = jet::IndexPage(*bench.pager, root, table).child(1);
    jet::Transaction change(*bench.pager);
    std::uint8_t& byte = bench.pager->write(inRoot ? root : second)[offset];
    byte = std::uint8_t(byte ^ 5);
    change.commit();
    std::vector<std::string> faults, warnings;
    std::vector<PageNo> pages;
    bench.tree->check(faults, warnings, pages);
    ASSERT_FALSE(faults.empty());
}

TEST_F(EmptyTree, damageIsReportedAndNeverFollowed)
{
    // Long keys make three levels of few pages; every page of the tree gets its share of wrong bytes.
    std::vector<Key> keys;
    for (std::uint32_t i = 0; i < 400; ++i) {
        Key key = filledKey(300, 0x44, i);
        key[1] = std::uint8_t(i);
        keys.push_back(std::move(key));
    }
    const Model model = fill(bench, keys);
    ASSERT_GE(levels(bench), 3);
    const std::vector<PageNo> pages = jet::mapPages(*bench.pager, {0, mapPage});
    std::mt19937 random(11);
    int reported = 0, harmless = 0;
    for (int round = 0; round < 1500; ++round) {
        bench.pager->begin();
        for (int wrong = 1 + int(random() % 3); wrong > 0; --wrong) {
            const std::size_t at = random() % 4 == 0 ? random() % jet::pageSize : random() % 500;
            bench.pager->write(pages[random() % pages.size()])[at] = std::uint8_t(random());
        }
        const auto survive = [&](auto&& action) {
            try {
                action();
                ++harmless;
            } catch (const jet::Error& error) {
                ++reported;
                ASSERT_EQ(error.fault(), jet::Fault::damaged) << error.what();
            }
        };
        const Key& key = keys[random() % keys.size()];
        std::vector<std::string> faults, warnings;
        std::vector<PageNo> found;
        survive([&] { bench.tree->check(faults, warnings, found); });
        survive([&] { bench.tree->hasKey(key, RowId{}); });
        survive([&] { bench.tree->walk({}, [](auto, auto) { return true; }); });
        survive([&] { bench.tree->insert(key, RowId{77, 7}); });
        survive([&] { bench.tree->erase(key, RowId{77, 7}); });
        for (int i = 0; i < 20; ++i)
            survive([&] { bench.tree->erase(keys[random() % keys.size()], rowNumber(random() % 400)); });
        survive([&] { bench.tree->rebuild({model.begin(), model.end()}); });
        bench.pager->rollback();
    }
    ASSERT_GT(reported, 1000);
    ASSERT_GT(harmless, 1000);
    ASSERT_EQ(firstFault(bench, model), "");
}

} // namespace
