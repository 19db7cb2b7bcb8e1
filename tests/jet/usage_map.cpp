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
    bytes[0] = bytes[1] = 1;
    putU16(&bytes[2], static_cast<std::uint32_t>(pageSize - 69 * count - 14 - 2 * count));
    putU16(&bytes[12], static_cast<std::uint32_t>(count));
    for (std::size_t k = 0; k < count; ++k)
        putU16(&bytes[14 + 2 * k], static_cast<std::uint32_t>(pageSize - 69 * (k + 1)));
    return page;
}

std::size_t rowLength(Pager& pager, MapRef map)
{
    const auto page = pager.read(map.page);
    const std::size_t end = map.slot == 0 ? pageSize : getU16(&page[12U + 2U * map.slot.number()]) & 0x1FFF;
    return end - (getU16(&page[14U + 2U * map.slot.number()]) & 0x1FFFU);
}

bool isReference(Pager& pager, MapRef map)
{
    const auto page = pager.read(map.page);
    return page[getU16(&page[14U + 2U * map.slot.number()]) & 0x1FFF] == 1;
}

/// Free field = lowest row offset - end of the slot table.
bool freeFieldHolds(Pager& pager, PageNo number)
{
    const auto page = pager.read(number);
    const std::size_t rows = getU16(&page[12]);
    return getU16(&page[2]) == getU16(&page[14 + 2 * (rows - 1)]) - (14 + 2 * rows);
}

TEST(UsageMap, lowestFreePageIsTakenAndZeroed)
{
    auto content = blankFile(20);
    content[4096 + 0x0FBB + 5 + 1] |= 1; // page 8 is free
    std::fill_n(content.begin() + 8 * 4096, 4096, std::uint8_t{0xEE});
    Opened db(content);
    ASSERT_EQ(allocatePage(*db.pager), PageNo(8));
    ASSERT_TRUE(std::ranges::all_of(db.pager->read(8), [](std::uint8_t byte) { return byte == 0; }));
    ASSERT_EQ(allocatePage(*db.pager), PageNo(20));
    ASSERT_EQ(allocatePage(*db.pager), PageNo(21));
    ASSERT_EQ(db.pager->pageCount(), 22U);
    ASSERT_EQ(mapPages(*db.pager, freeMap), std::vector<PageNo>());
}

TEST(UsageMap, freedPageIsTakenAgain)
{
    Opened db;
    for (PageNo page = 16; page < 40; ++page) ASSERT_EQ(allocatePage(*db.pager), page);
    freePage(*db.pager, 30);
    freePage(*db.pager, 17);
    ASSERT_EQ(mapPages(*db.pager, freeMap), (std::vector<PageNo>{17, 30}));
    ASSERT_EQ(allocatePage(*db.pager), PageNo(17));
    ASSERT_EQ(allocatePage(*db.pager), PageNo(30));
    ASSERT_EQ(allocatePage(*db.pager), PageNo(40));
}

TEST(UsageMap, takenPagesComeBackWithARollback)
{
    Opened db;
    for (int i = 0; i < 1000; ++i) allocatePage(*db.pager);
    db.pager->rollback();
    ASSERT_EQ(db.pager->pageCount(), 16U);
    Transaction again(*db.pager);
    ASSERT_EQ(allocatePage(*db.pager), PageNo(16));
}

TEST(UsageMap, freedPageKeepsItsTombstone)
{
    Opened db;
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

TEST(UsageMap, secondFreeIsDamage)
{
    Opened db;
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
class UsageMapGrowth : public TableTest<UsageMapGrowthRow> {};

RowTable<UsageMapGrowthRow> usageMapGrowth()
{
    return {
        // Sizes of files that the platform itself made.
        {"new", {PageNo{512}, 69}},
        {"743 pages", {PageNo{743}, 101}},
        {"772 pages", {PageNo{772}, 105}},
        {"1006 pages", {PageNo{1006}, 133}},
        {"longest inline", {PageNo{32032}, 4009}},
    };
}

INSTANTIATE_TEST_SUITE_P(, UsageMapGrowth, testing::ValuesIn(usageMapGrowth()), RowName());

TEST_P(UsageMapGrowth, freeMapGrowsInStepsOf32Pages)
{
    const auto& [pages, length] = row();
    Opened db;
    for (PageNo page = 16; page < pages; ++page) ASSERT_EQ(allocatePage(*db.pager), page);
    ASSERT_EQ(rowLength(*db.pager, freeMap), length);
    ASSERT_FALSE(isReference(*db.pager, freeMap));
    ASSERT_TRUE(freeFieldHolds(*db.pager, 1));
    const MapRef second{1, 1};
    ASSERT_EQ(rowLength(*db.pager, second), 69U);
    ASSERT_EQ(mapPages(*db.pager, second), std::vector<PageNo>());
}

TEST(UsageMap, everyPageHasOneUseInAVeryLargeFile)
{
    Opened db;
    Pager& pager = *db.pager;
    const MapRef owned{0, mapPage(pager, 2)};
    const MapRef room{1, owned.page};
    for (int i = 0; i < 70000; ++i) {
        const PageNo page = allocatePage(pager);
        pager.write(page)[0] = 1;
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
        ASSERT_EQ(pager.read(page)[0], 1);
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
class UsageMapHistory : public TableTest<UsageMapHistoryRow> {};

RowTable<UsageMapHistoryRow> usageMapHistory()
{
    return {
        {"low pages", {PageNo{20}, PageNo{400}}},        {"narrow and high", {PageNo{33000}, PageNo{33500}}},
        {"just too wide", {PageNo{1000}, PageNo{1521}}}, {"over two bitmaps", {PageNo{32000}, PageNo{34000}}},
        {"whole file", {PageNo{2}, PageNo{39000}}},
    };
}

INSTANTIATE_TEST_SUITE_P(, UsageMapHistory, testing::ValuesIn(usageMapHistory()), RowName());

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

TEST(UsageMap, farPageRebasesAnInlineMap)
{
    Opened db;
    while (db.pager->pageCount() < 1000) allocatePage(*db.pager);
    const MapRef map{0, mapPage(*db.pager, 1)};
    mapSet(*db.pager, map, 921);
    ASSERT_FALSE(isReference(*db.pager, map));
    const auto page = db.pager->read(map.page);
    ASSERT_EQ(getU32(&page[4096 - 69 + 1]), 920U);
    mapSet(*db.pager, map, 916);
    ASSERT_EQ(getU32(&page[4096 - 69 + 1]), 912U);
    ASSERT_EQ(mapPages(*db.pager, map), (std::vector<PageNo>{916, 921}));
}

TEST(UsageMap, widerSpreadTurnsAMapIntoAReference)
{
    Opened db;
    while (db.pager->pageCount() < 1000) allocatePage(*db.pager);
    const MapRef map{0, mapPage(*db.pager, 1)};
    mapSet(*db.pager, map, 100);
    ASSERT_TRUE(mapBitmapPages(*db.pager, map).empty());
    mapSet(*db.pager, map, 900);
    ASSERT_TRUE(isReference(*db.pager, map));
    ASSERT_EQ(rowLength(*db.pager, map), 69U);
    ASSERT_EQ(mapPages(*db.pager, map), (std::vector<PageNo>{100, 900}));
    const auto bitmaps = mapBitmapPages(*db.pager, map);
    ASSERT_EQ(bitmaps.size(), 1U);
    ASSERT_EQ(getU32(db.pager->read(bitmaps[0]).data()), 0x00000105U);
    ASSERT_FALSE(mapHas(*db.pager, freeMap, bitmaps[0]));
}

TEST(UsageMap, clearingNeverShrinksAMap)
{
    Opened db;
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

TEST(UsageMap, bitsPastTheEndAreLeftOut)
{
    Opened db;
    ASSERT_EQ(mapPages(*db.pager, freeMap), std::vector<PageNo>());
    ASSERT_TRUE(mapHas(*db.pager, freeMap, 16));
    ASSERT_TRUE(mapHas(*db.pager, freeMap, 511));
    ASSERT_FALSE(mapHas(*db.pager, freeMap, 512));
}

TEST(UsageMap, freeMapOfAnotherProgramMayStartHigher)
{
    auto content = blankFile(100);
    std::uint8_t* const row = &content[4096 + 0x0FBB];
    putU32(row + 1, 64);
    std::fill_n(row + 5, 64, std::uint8_t{0xFF});
    for (PageNo page = 64; page < 100; ++page)
        if (page != 90)
            row[5 + (page - PageNo(64)) / 8] =
                static_cast<std::uint8_t>(row[5 + (page - PageNo(64)) / 8] & ~(1U << page.number() % 8));
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

TEST(UsageMap, mapOfAnotherProgramMayStartAnywhere)
{
    Opened db;
    const MapRef map{0, mapPage(*db.pager, 1)};
    while (db.pager->pageCount() < 1000) allocatePage(*db.pager);
    putU32(&db.pager->write(map.page)[4096 - 69 + 1], 27);
    db.pager->write(map.page)[4096 - 69 + 5] = 0b101;
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
        auto& byte = content[4096 + 0x0FBB + 5 + page.number() / 8];
        byte = static_cast<std::uint8_t>(byte & ~(1U << page.number() % 8));
    }
    Opened db(content);
    ASSERT_EQ(allocatePage(*db.pager), PageNo(32));
    ASSERT_EQ(db.pager->pageCount(), 33U);
}

struct UsageMapDamageRow {
    std::ptrdiff_t offset;
    std::vector<std::uint8_t> bytes;
};
class UsageMapDamage : public TableTest<UsageMapDamageRow> {};

RowTable<UsageMapDamageRow> usageMapDamage()
{
    return {
        // The map is slot 1 of page 16: its row is at 0xF76, its slot at 16.
        {"no row page", {0, {4}}},
        {"fewer slots", {12, {1, 0}}},
        {"slots past the page", {12, {0xFF, 0xFF}}},
        {"dead slot", {16, {0x76, 0xCF}}},
        {"row in the slot table", {16, {0x05, 0x00}}},
        {"row after its predecessor", {16, {0xC0, 0x0F}}},
        {"predecessor past the page", {14, {0xFF, 0x1F}}},
        {"empty row", {16, {0xBB, 0x0F}}},
        {"row of four bytes", {16, {0xB7, 0x0F}}},
        {"unknown type", {0xF76, {2}}},
        {"start far outside", {0xF77, {0xF8, 0xFF, 0xFF, 0xFF}}},
        {"bitmap that does not exist", {0xF76, {1, 0, 0, 1, 0}}},
        {"bitmap of another type", {0xF76, {1, 1, 0, 0, 0}}},
        {"one bitmap twice", {0xF76, {1, 17, 0, 0, 0, 17, 0, 0, 0}}},
    };
}

INSTANTIATE_TEST_SUITE_P(, UsageMapDamage, testing::ValuesIn(usageMapDamage()), RowName());

TEST_P(UsageMapDamage, damagedMapsAreNamed)
{
    const auto& [offset, bytes] = row();
    Opened db;
    Pager& pager = *db.pager;
    const MapRef map{1, mapPage(pager, 3)};
    ASSERT_EQ(map.page, PageNo(16));
    const PageNo bitmap = allocatePage(pager);
    pager.write(bitmap)[0] = 5;
    std::copy(bytes.begin(), bytes.end(), pager.write(map.page).begin() + offset);
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
    content[4096 + 0x0FBB + 5] = 1;
    Opened db(content);
    ASSERT_EQ(faultOf([&] { allocatePage(*db.pager); }), Fault::damaged);
}

TEST(UsageMap, freeMapFarPastTheEndIsDamage)
{
    auto content = blankFile();
    putU32(&content[4096 + 0x0FBB + 1], 400000);
    Opened db(content);
    ASSERT_EQ(faultOf([&] { allocatePage(*db.pager); }), Fault::damaged);
    ASSERT_EQ(db.pager->pageCount(), 16U);
}

} // namespace
