#include "store/jet/pages/usage_map.h"

#include "store/jet/format/doors.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/jet/blank_file.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <set>

using namespace jet;

namespace {

namespace at = usage_map_layout;

const std::filesystem::path file = "Yag.mdb";

/// A database open for changes, as long as the object lives.
struct Opened {
    explicit Opened(const std::vector<std::uint8_t>& content = blankFile())
    {
        disk.put(file, content);
        pager.emplace(disk, file, Pager::Mode::readWrite);
        pager->begin();
    }
    PowerCutDisk disk;
    std::optional<Pager> pager;
};

/// A page with `count` empty inline maps of the usual 69 bytes.
PageNo mapPage(Pager& pager, std::size_t count)
{
    const PageNo page = allocatePage(pager);
    const auto bytes = pager.write(page);
    initRowPage(bytes, row_page_layout::mapOwner);
    for (std::size_t k = 0; k < count; ++k) appendRow(bytes, std::array<std::uint8_t, at::newRow>{}, RowKind::ordinary);
    return page;
}

std::span<const std::uint8_t> mapRow(Pager& pager, MapRef map)
{
    const auto page = pager.read(map.page);
    return slotBytes(page, slotAt(page, map.slot).value());
}

bool isReference(Pager& pager, MapRef map) { return at::kind.get(mapRow(pager, map)) == at::referenceKind; }

/// Free field = lowest row offset - end of the slot table.
bool freeFieldHolds(Pager& pager, PageNo number)
{
    const auto page = pager.read(number);
    return page_layout::freeBytes.get(page) == freeBytes(page);
}

TEST(UsageMap, lowestFreePageIsTakenAndZeroed)
{
    auto content = blankFile(20);
    content[freeMapAt + at::inlineBits + 1] |= 1; // page 8 is free
    std::ranges::fill(std::span(content).subspan(positionOf(8), pageSize), std::uint8_t{0xEE});
    Opened db(content);
    ASSERT_EQ(allocatePage(*db.pager), PageNo(8));
    ASSERT_TRUE(std::ranges::all_of(db.pager->read(8), [](std::uint8_t byte) { return byte == 0; }));
    ASSERT_EQ(allocatePage(*db.pager), PageNo(20));
    ASSERT_EQ(allocatePage(*db.pager), PageNo(21));
    ASSERT_EQ(db.pager->pageCount(), 22U);
    ASSERT_EQ(mapPages(*db.pager, freeMap), std::vector<PageNo>());
}

struct OpenUsageMap : testing::Test {
    Opened db;
};

TEST_F(OpenUsageMap, freedPageIsTakenAgain)
{
    for (PageNo page = 16; page < 40; ++page) ASSERT_EQ(allocatePage(*db.pager), page);
    freePage(*db.pager, 30);
    freePage(*db.pager, 17);
    ASSERT_EQ(mapPages(*db.pager, freeMap), (std::vector<PageNo>{17, 30}));
    ASSERT_EQ(allocatePage(*db.pager), PageNo(17));
    ASSERT_EQ(allocatePage(*db.pager), PageNo(30));
    ASSERT_EQ(allocatePage(*db.pager), PageNo(40));
}

TEST_F(OpenUsageMap, takenPagesComeBackWithARollback)
{
    for (int i = 0; i < 1000; ++i) allocatePage(*db.pager);
    db.pager->rollback();
    ASSERT_EQ(db.pager->pageCount(), 16U);
    Transaction again(*db.pager);
    ASSERT_EQ(allocatePage(*db.pager), PageNo(16));
}

TEST_F(OpenUsageMap, freedPageKeepsItsTombstone)
{
    const PageNo blank = allocatePage(*db.pager);
    const PageNo table = allocatePage(*db.pager);
    for (const PageNo page : {blank, table}) {
        std::ranges::fill(db.pager->write(page), std::uint8_t{2});
        freePage(*db.pager, page, page == table ? PageType::droppedTable : PageType::blank);
    }
    const auto head = [&](PageNo page) { return getU32(db.pager->read(page).data()); };
    ASSERT_EQ(head(blank), 0U);
    ASSERT_EQ(head(table), 0x02020208U);
}

TEST_F(OpenUsageMap, secondFreeIsDamage)
{
    const PageNo page = allocatePage(*db.pager);
    freePage(*db.pager, page);
    ASSERT_EQ(faultOf([&] { freePage(*db.pager, page); }), Fault::damaged);
    ASSERT_EQ(faultOf([&] { freePage(*db.pager, 0); }), Fault::damaged);
    ASSERT_EQ(faultOf([&] { freePage(*db.pager, 1); }), Fault::damaged);
}

struct UsageMapGrowthRow {
    PageNo pages;
    std::size_t length;
};

const RowTable<UsageMapGrowthRow> usageMapGrowth = {
    // Sizes of files that the platform itself made.
    {"new", {PageNo{512}, 69}},          {"743 pages", {PageNo{743}, 101}},         {"772 pages", {PageNo{772}, 105}},
    {"1006 pages", {PageNo{1006}, 133}}, {"longest inline", {PageNo{32032}, 4009}},
};

TABLE_SUITE(UsageMapGrowth, UsageMapGrowthRow, usageMapGrowth);

TEST_P(UsageMapGrowth, freeMapGrowsInStepsOf32Pages)
{
    const auto& [pages, length] = row();
    Opened db;
    for (PageNo page = 16; page < pages; ++page) ASSERT_EQ(allocatePage(*db.pager), page);
    ASSERT_EQ(mapRow(*db.pager, freeMap).size(), length);
    ASSERT_FALSE(isReference(*db.pager, freeMap));
    ASSERT_TRUE(freeFieldHolds(*db.pager, 1));
    const MapRef second{1, 1};
    ASSERT_EQ(mapRow(*db.pager, second).size(), 69U);
    ASSERT_EQ(mapPages(*db.pager, second), std::vector<PageNo>());
}

TEST_F(OpenUsageMap, everyPageHasOneUseInAVeryLargeFile)
{
    Pager& pager = *db.pager;
    const MapRef owned{0, mapPage(pager, 2)};
    const MapRef room{1, owned.page};
    for (int i = 0; i < 70000; ++i) {
        const PageNo page = allocatePage(pager);
        page_layout::type.put(pager.write(page), 1);
        mapSet(pager, owned, page);
        if (i % 3 == 0) mapSet(pager, room, page);
    }
    ASSERT_TRUE(isReference(pager, freeMap));
    ASSERT_TRUE(isReference(pager, owned));
    ASSERT_GT(pager.pageCount(), 70000);

    std::vector<int> uses(pager.pageCount());
    for (PageNo page = 0; page < 16; ++page) ++uses[page.number()];
    ++uses[owned.page.number()];
    for (const auto& map : {freeMap, owned, room})
        for (const PageNo page : mapBitmapPages(pager, map)) ++uses[page.number()];
    const auto pages = mapPages(pager, owned);
    ASSERT_EQ(pages.size(), 70000U);
    ASSERT_TRUE(std::ranges::is_sorted(pages));
    for (const PageNo page : pages) {
        ++uses[page.number()];
        ASSERT_EQ(page_layout::type.get(pager.read(page)), 1);
    }
    for (const PageNo page : mapPages(pager, freeMap)) ++uses[page.number()];
    ASSERT_TRUE(std::ranges::all_of(uses, [](int n) { return n == 1; }));
    const auto withRoom = mapPages(pager, room);
    ASSERT_TRUE(std::ranges::includes(pages, withRoom));
    ASSERT_EQ(withRoom.size(), 23334U);

    // It all can be given back and taken again, in order.
    for (std::size_t i = 0; i < pages.size(); i += 2) {
        mapClear(pager, owned, pages[i]);
        freePage(pager, pages[i]);
    }
    ASSERT_EQ(mapPages(pager, owned).size(), 35000U);
    for (std::size_t i = 0; i < pages.size(); i += 2) ASSERT_EQ(allocatePage(pager), pages[i]);
}

struct UsageMapHistoryRow {
    PageNo from;
    PageNo to;
};

const RowTable<UsageMapHistoryRow> usageMapHistory = {
    {"low pages", {PageNo{20}, PageNo{400}}},        {"narrow and high", {PageNo{33000}, PageNo{33500}}},
    {"just too wide", {PageNo{1000}, PageNo{1521}}}, {"over two bitmaps", {PageNo{32000}, PageNo{34000}}},
    {"whole file", {PageNo{2}, PageNo{39000}}},
};

TABLE_SUITE(UsageMapHistory, UsageMapHistoryRow, usageMapHistory);

TEST_P(UsageMapHistory, mapFollowsARandomHistory)
{
    const auto& [from, to] = row();
    for (unsigned seed = 1; seed <= 2; ++seed) {
        Opened db;
        Pager& pager = *db.pager;
        const MapRef map{3, mapPage(pager, 6)};
        while (pager.pageCount() < 40000) allocatePage(pager);
        std::mt19937 random(seed);
        std::set<PageNo> model;
        for (int i = 0; i < 700; ++i) {
            const PageNo page = from + random() % (to - from);
            if (random() % 3 != 0) {
                mapSet(pager, map, page);
                model.insert(page);
            } else {
                mapClear(pager, map, page);
                model.erase(page);
            }
            ASSERT_EQ(mapHas(pager, map, page), model.contains(page));
        }
        ASSERT_EQ(mapPages(pager, map), std::vector<PageNo>(model.begin(), model.end()));
        for (const SlotNo other : std::initializer_list<SlotNo>{2, 4})
            ASSERT_EQ(mapPages(pager, {other, map.page}), std::vector<PageNo>());
        ASSERT_TRUE(freeFieldHolds(pager, map.page));
    }
}

TEST_F(OpenUsageMap, farPageRebasesAnInlineMap)
{
    while (db.pager->pageCount() < 1000) allocatePage(*db.pager);
    const MapRef map{0, mapPage(*db.pager, 1)};
    mapSet(*db.pager, map, 921);
    ASSERT_FALSE(isReference(*db.pager, map));
    ASSERT_EQ(at::firstPage.get(mapRow(*db.pager, map)), PageNo(920));
    mapSet(*db.pager, map, 916);
    ASSERT_EQ(at::firstPage.get(mapRow(*db.pager, map)), PageNo(912));
    ASSERT_EQ(mapPages(*db.pager, map), (std::vector<PageNo>{916, 921}));
}

TEST_F(OpenUsageMap, widerSpreadTurnsAMapIntoAReference)
{
    while (db.pager->pageCount() < 1000) allocatePage(*db.pager);
    const MapRef map{0, mapPage(*db.pager, 1)};
    mapSet(*db.pager, map, 100);
    ASSERT_TRUE(mapBitmapPages(*db.pager, map).empty());
    mapSet(*db.pager, map, 900);
    ASSERT_TRUE(isReference(*db.pager, map));
    ASSERT_EQ(mapRow(*db.pager, map).size(), 69U);
    ASSERT_EQ(mapPages(*db.pager, map), (std::vector<PageNo>{100, 900}));
    const auto bitmaps = mapBitmapPages(*db.pager, map);
    ASSERT_EQ(bitmaps.size(), 1U);
    ASSERT_EQ(getU32(db.pager->read(bitmaps[0]).data()), 0x00000105U);
    ASSERT_FALSE(mapHas(*db.pager, freeMap, bitmaps[0]));
}

TEST_F(OpenUsageMap, bitsLeftOverBehindTheEntriesOfAReferenceMapAreNoEntries)
{
    // A map that was inline and lengthened before it became a reference may keep bits where no file has pages.
    const PageNo page = allocatePage(*db.pager);
    initRowPage(db.pager->write(page), row_page_layout::mapOwner);
    std::vector<std::uint8_t> row(at::entryAt(25), 0);
    at::kind.put(row, at::referenceKind);
    putU32(&row[at::entryAt(at::mostEntries)], maxPages);
    putU32(&row[at::entryAt(24)], maxPages);
    appendRow(db.pager->write(page), row, RowKind::ordinary);
    const MapRef map{0, page};
    ASSERT_EQ(mapPages(*db.pager, map), std::vector<PageNo>());
    ASSERT_FALSE(mapLeadsPastTheEnd(*db.pager, map));
    mapSet(*db.pager, map, page);
    ASSERT_EQ(mapPages(*db.pager, map), std::vector<PageNo>{page});
}

TEST_F(OpenUsageMap, clearingNeverShrinksAMap)
{
    while (db.pager->pageCount() < 1000) allocatePage(*db.pager);
    const MapRef map{0, mapPage(*db.pager, 1)};
    mapSet(*db.pager, map, 100);
    mapSet(*db.pager, map, 900);
    mapClear(*db.pager, map, 100);
    mapClear(*db.pager, map, 900);
    mapClear(*db.pager, map, 35000); // lies in no bitmap
    ASSERT_TRUE(isReference(*db.pager, map));
    ASSERT_EQ(mapPages(*db.pager, map), std::vector<PageNo>());
}

TEST_F(OpenUsageMap, bitsPastTheEndAreLeftOut)
{
    ASSERT_EQ(mapPages(*db.pager, freeMap), std::vector<PageNo>());
    ASSERT_TRUE(mapHas(*db.pager, freeMap, 16));
    ASSERT_TRUE(mapHas(*db.pager, freeMap, 511));
    ASSERT_FALSE(mapHas(*db.pager, freeMap, 512));
}

TEST(UsageMap, freeMapOfAnotherProgramMayStartHigher)
{
    auto content = blankFile(100);
    std::uint8_t* const row = &content[freeMapAt];
    at::firstPage.put(row, 64);
    std::uint8_t* const bits = row + at::inlineBits;
    std::fill_n(bits, 64, std::uint8_t{0xFF});
    for (PageNo page = 64; page < 100; ++page)
        if (page != 90)
            bits[(page - 64) / 8] = static_cast<std::uint8_t>(bits[(page - 64) / 8] & ~(1U << page.number() % 8));
    Opened db(content);
    ASSERT_EQ(allocatePage(*db.pager), PageNo(90));
    ASSERT_EQ(allocatePage(*db.pager), PageNo(100));
    // A page below the start was in use; giving it back needs a map that reaches so low.
    freePage(*db.pager, 20);
    ASSERT_TRUE(mapHas(*db.pager, freeMap, 20));
    freePage(*db.pager, 90);
    ASSERT_EQ(mapPages(*db.pager, freeMap), (std::vector<PageNo>{20, 90}));
    ASSERT_EQ(allocatePage(*db.pager), PageNo(20));
    ASSERT_EQ(allocatePage(*db.pager), PageNo(90));
    const PageNo next = allocatePage(*db.pager);
    ASSERT_EQ(next, PageNo(db.pager->pageCount() - 1));
    for (const PageNo bitmap : mapBitmapPages(*db.pager, freeMap)) ASSERT_TRUE(bitmap != next && bitmap > 100);
}

TEST_F(OpenUsageMap, mapOfAnotherProgramMayStartAnywhere)
{
    const MapRef map{0, mapPage(*db.pager, 1)};
    while (db.pager->pageCount() < 1000) allocatePage(*db.pager);
    std::uint8_t* const row = &db.pager->write(map.page)[pageSize - at::newRow];
    at::firstPage.put(row, 27);
    row[at::inlineBits] = 0b101;
    ASSERT_EQ(mapPages(*db.pager, map), (std::vector<PageNo>{27, 29}));
    mapSet(*db.pager, map, 538);
    ASSERT_EQ(mapPages(*db.pager, map), (std::vector<PageNo>{27, 29, 538}));
    mapClear(*db.pager, map, 29);
    mapSet(*db.pager, map, 539);
    ASSERT_EQ(mapPages(*db.pager, map), (std::vector<PageNo>{27, 538, 539}));
}

TEST(UsageMap, pagesReservedPastTheEndAreSkipped)
{
    auto content = blankFile(20);
    for (PageNo page = 20; page < 32; ++page) {
        auto& byte = content[freeMapAt + at::inlineBits + page.number() / 8];
        byte = static_cast<std::uint8_t>(byte & ~(1U << page.number() % 8));
    }
    Opened db(content);
    ASSERT_EQ(allocatePage(*db.pager), PageNo(32));
    ASSERT_EQ(db.pager->pageCount(), 33U);
}

struct UsageMapDamageRow {
    std::size_t offset;
    std::vector<std::uint8_t> bytes;
};

RowTable<UsageMapDamageRow> usageMapDamage()
{
    // The map is slot 1 of page 16.
    constexpr std::size_t slotCount = row_page_layout::slotCount.begin, slotBefore = row_page_layout::slotAt(0),
                          slot = row_page_layout::slotAt(1), row = pageSize - 2 * at::newRow;
    return {
        {"no row page", {page_layout::type.begin, {4}}},
        {"fewer slots", {slotCount, {1, 0}}},
        {"slots past the page", {slotCount, {255, 255}}},
        {"dead slot", {slot, {118, 207}}},
        {"row in the slot table", {slot, {5, 0}}},
        {"row after its predecessor", {slot, {192, 15}}},
        {"predecessor past the page", {slotBefore, {255, 31}}},
        {"empty row", {slot, {187, 15}}},
        {"row of four bytes", {slot, {183, 15}}},
        {"unknown type", {row, {2}}},
        {"start far outside", {row + at::firstPage.begin, {248, 255, 255, 255}}},
        {"bitmap that does not exist", {row, {1, 0, 0, 1, 0}}},
        {"bitmap of another type", {row, {1, 1, 0, 0, 0}}},
        {"one bitmap twice", {row, {1, 17, 0, 0, 0, 17, 0, 0, 0}}},
    };
}

TABLE_SUITE(UsageMapDamage, UsageMapDamageRow, usageMapDamage());

TEST_P(UsageMapDamage, damagedMapsAreNamed)
{
    const auto& [offset, bytes] = row();
    Opened db;
    Pager& pager = *db.pager;
    const MapRef map{1, mapPage(pager, 3)};
    ASSERT_EQ(map.page, PageNo(16));
    const PageNo bitmap = allocatePage(pager);
    page_layout::type.put(pager.write(bitmap), 5);
    std::copy(bytes.begin(), bytes.end(), &pager.write(map.page)[offset]);
    ASSERT_EQ(faultOf([&] { mapPages(pager, map); }), Fault::damaged);
    ASSERT_EQ(faultOf([&] {
                  mapBitmapPages(pager, map);
                  mapHas(pager, map, 40000);
              }),
              Fault::damaged);
}

TEST(UsageMap, freeMapThatOffersTheHeaderIsDamage)
{
    auto content = blankFile();
    content[freeMapAt + at::inlineBits] = 1;
    Opened db(content);
    ASSERT_EQ(faultOf([&] { allocatePage(*db.pager); }), Fault::damaged);
}

TEST(UsageMap, freeMapFarPastTheEndIsDamage)
{
    auto content = blankFile();
    at::firstPage.put(&content[freeMapAt], PageNo(400000));
    Opened db(content);
    ASSERT_EQ(faultOf([&] { allocatePage(*db.pager); }), Fault::damaged);
    ASSERT_EQ(db.pager->pageCount(), 16U);
}

} // namespace
