#include <cstddef> // moc stumbles over <compare> without it

#include "store/jet/pages/usage_map.h"

#include "store/jet/format/doors.h"
#include "tests/jet/blank_file.h"
#include "tests/jet/power_cut_disk.h"

#include <QtTest>

#include <algorithm>
#include <optional>
#include <random>
#include <set>

using namespace jet;

namespace {

const std::filesystem::path file = "Yag.mdb";

template <class Action> std::optional<Fault> faultOf(Action&& action)
{
    try {
        action();
    } catch (const Error& error) {
        return error.fault();
    }
    return {};
}

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
    const std::size_t end = map.slot == 0 ? pageSize : getU16(&page[12U + 2U * map.slot]) & 0x1FFF;
    return end - (getU16(&page[14U + 2U * map.slot]) & 0x1FFFU);
}

bool isReference(Pager& pager, MapRef map)
{
    const auto page = pager.read(map.page);
    return page[getU16(&page[14U + 2U * map.slot]) & 0x1FFF] == 1;
}

/// Free field = lowest row offset - end of the slot table.
bool freeFieldHolds(Pager& pager, PageNo number)
{
    const auto page = pager.read(number);
    const std::size_t rows = getU16(&page[12]);
    return getU16(&page[2]) == getU16(&page[14 + 2 * (rows - 1)]) - (14 + 2 * rows);
}

} // namespace

class UsageMapTest : public QObject {
    Q_OBJECT
private slots:
    void lowestFreePageIsTakenAndZeroed();
    void freedPageIsTakenAgain();
    void takenPagesComeBackWithARollback();
    void freedPageKeepsItsTombstone();
    void secondFreeIsDamage();
    void freeMapGrowsInStepsOf32Pages_data();
    void freeMapGrowsInStepsOf32Pages();
    void everyPageHasOneUseInAVeryLargeFile();
    void mapFollowsARandomHistory_data();
    void mapFollowsARandomHistory();
    void farPageRebasesAnInlineMap();
    void widerSpreadTurnsAMapIntoAReference();
    void clearingNeverShrinksAMap();
    void bitsPastTheEndAreLeftOut();
    void freeMapOfAnotherProgramMayStartHigher();
    void mapOfAnotherProgramMayStartAnywhere();
    void pagesReservedPastTheEndAreSkipped();
    void damagedMapsAreNamed_data();
    void damagedMapsAreNamed();
    void freeMapThatOffersTheHeaderIsDamage();
    void freeMapFarPastTheEndIsDamage();
};

void UsageMapTest::lowestFreePageIsTakenAndZeroed()
{
    auto content = blankFile(20);
    content[4096 + 0x0FBB + 5 + 1] |= 1; // page 8 is free
    std::fill_n(content.begin() + 8 * 4096, 4096, std::uint8_t{0xEE});
    Opened db(content);
    QCOMPARE(allocatePage(*db.pager), 8U);
    QVERIFY(std::ranges::all_of(db.pager->read(8), [](std::uint8_t byte) { return byte == 0; }));
    QCOMPARE(allocatePage(*db.pager), 20U);
    QCOMPARE(allocatePage(*db.pager), 21U);
    QCOMPARE(db.pager->pageCount(), 22U);
    QCOMPARE(mapPages(*db.pager, freeMap), std::vector<PageNo>());
}

void UsageMapTest::freedPageIsTakenAgain()
{
    Opened db;
    for (PageNo page = 16; page < 40; ++page) QCOMPARE(allocatePage(*db.pager), page);
    freePage(*db.pager, 30);
    freePage(*db.pager, 17);
    QCOMPARE(mapPages(*db.pager, freeMap), (std::vector<PageNo>{17, 30}));
    QCOMPARE(allocatePage(*db.pager), 17U);
    QCOMPARE(allocatePage(*db.pager), 30U);
    QCOMPARE(allocatePage(*db.pager), 40U);
}

void UsageMapTest::takenPagesComeBackWithARollback()
{
    Opened db;
    for (int i = 0; i < 1000; ++i) allocatePage(*db.pager);
    db.pager->rollback();
    QCOMPARE(db.pager->pageCount(), 16U);
    Transaction again(*db.pager);
    QCOMPARE(allocatePage(*db.pager), 16U);
}

void UsageMapTest::freedPageKeepsItsTombstone()
{
    Opened db;
    const PageNo blank = allocatePage(*db.pager);
    const PageNo table = allocatePage(*db.pager);
    for (const PageNo page : {blank, table}) {
        std::ranges::fill(db.pager->write(page), std::uint8_t{2});
        freePage(*db.pager, page, page == table ? PageType::droppedTable : PageType::blank);
    }
    const auto head = [&](PageNo page) { return getU32(db.pager->read(page).data()); };
    QCOMPARE(head(blank), 0U);
    QCOMPARE(head(table), 0x02020208U);
}

void UsageMapTest::secondFreeIsDamage()
{
    Opened db;
    const PageNo page = allocatePage(*db.pager);
    freePage(*db.pager, page);
    QCOMPARE(faultOf([&] { freePage(*db.pager, page); }), Fault::damaged);
    QCOMPARE(faultOf([&] { freePage(*db.pager, 0); }), Fault::damaged);
    QCOMPARE(faultOf([&] { freePage(*db.pager, 1); }), Fault::damaged);
}

void UsageMapTest::freeMapGrowsInStepsOf32Pages_data()
{
    // Sizes of files that the platform itself made.
    QTest::addColumn<PageNo>("pages");
    QTest::addColumn<std::size_t>("length");
    QTest::newRow("new") << PageNo{512} << std::size_t{69};
    QTest::newRow("743 pages") << PageNo{743} << std::size_t{101};
    QTest::newRow("772 pages") << PageNo{772} << std::size_t{105};
    QTest::newRow("1006 pages") << PageNo{1006} << std::size_t{133};
    QTest::newRow("longest inline") << PageNo{32032} << std::size_t{4009};
}

void UsageMapTest::freeMapGrowsInStepsOf32Pages()
{
    QFETCH(PageNo, pages);
    QFETCH(std::size_t, length);
    Opened db;
    for (PageNo page = 16; page < pages; ++page) QCOMPARE(allocatePage(*db.pager), page);
    QCOMPARE(rowLength(*db.pager, freeMap), length);
    QVERIFY(!isReference(*db.pager, freeMap));
    QVERIFY(freeFieldHolds(*db.pager, 1));
    const MapRef second{1, 1};
    QCOMPARE(rowLength(*db.pager, second), std::size_t{69});
    QCOMPARE(mapPages(*db.pager, second), std::vector<PageNo>());
}

void UsageMapTest::everyPageHasOneUseInAVeryLargeFile()
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
    QVERIFY(isReference(pager, freeMap));
    QVERIFY(isReference(pager, owned));
    QVERIFY(pager.pageCount() > 70000);

    std::vector<int> uses(pager.pageCount());
    for (PageNo page = 0; page < 16; ++page) ++uses[page];
    ++uses[owned.page];
    for (const auto& map : {freeMap, owned, room})
        for (const PageNo page : mapBitmapPages(pager, map)) ++uses[page];
    const auto pages = mapPages(pager, owned);
    QCOMPARE(pages.size(), std::size_t{70000});
    QVERIFY(std::ranges::is_sorted(pages));
    for (const PageNo page : pages) {
        ++uses[page];
        QCOMPARE(pager.read(page)[0], 1);
    }
    for (const PageNo page : mapPages(pager, freeMap)) ++uses[page];
    QVERIFY(std::ranges::all_of(uses, [](int n) { return n == 1; }));
    const auto withRoom = mapPages(pager, room);
    QVERIFY(std::ranges::includes(pages, withRoom));
    QCOMPARE(withRoom.size(), std::size_t{23334});

    // It all can be given back and taken again, in order.
    for (std::size_t i = 0; i < pages.size(); i += 2) {
        mapClear(pager, owned, pages[i]);
        freePage(pager, pages[i]);
    }
    QCOMPARE(mapPages(pager, owned).size(), std::size_t{35000});
    for (std::size_t i = 0; i < pages.size(); i += 2) QCOMPARE(allocatePage(pager), pages[i]);
}

void UsageMapTest::mapFollowsARandomHistory_data()
{
    QTest::addColumn<PageNo>("from");
    QTest::addColumn<PageNo>("to");
    QTest::newRow("low pages") << PageNo{20} << PageNo{400};
    QTest::newRow("narrow and high") << PageNo{33000} << PageNo{33500};
    QTest::newRow("just too wide") << PageNo{1000} << PageNo{1521};
    QTest::newRow("over two bitmaps") << PageNo{32000} << PageNo{34000};
    QTest::newRow("whole file") << PageNo{2} << PageNo{39000};
}

void UsageMapTest::mapFollowsARandomHistory()
{
    QFETCH(PageNo, from);
    QFETCH(PageNo, to);
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
            QVERIFY(mapHas(pager, map, page) == model.contains(page));
        }
        QCOMPARE(mapPages(pager, map), std::vector<PageNo>(model.begin(), model.end()));
        for (const std::uint8_t other : {2, 4}) QCOMPARE(mapPages(pager, {other, map.page}), std::vector<PageNo>());
        QVERIFY(freeFieldHolds(pager, map.page));
    }
}

void UsageMapTest::farPageRebasesAnInlineMap()
{
    Opened db;
    while (db.pager->pageCount() < 1000) allocatePage(*db.pager);
    const MapRef map{0, mapPage(*db.pager, 1)};
    mapSet(*db.pager, map, 921);
    QVERIFY(!isReference(*db.pager, map));
    const auto page = db.pager->read(map.page);
    QCOMPARE(getU32(&page[4096 - 69 + 1]), 920U);
    mapSet(*db.pager, map, 916);
    QCOMPARE(getU32(&page[4096 - 69 + 1]), 912U);
    QCOMPARE(mapPages(*db.pager, map), (std::vector<PageNo>{916, 921}));
}

void UsageMapTest::widerSpreadTurnsAMapIntoAReference()
{
    Opened db;
    while (db.pager->pageCount() < 1000) allocatePage(*db.pager);
    const MapRef map{0, mapPage(*db.pager, 1)};
    mapSet(*db.pager, map, 100);
    QVERIFY(mapBitmapPages(*db.pager, map).empty());
    mapSet(*db.pager, map, 900);
    QVERIFY(isReference(*db.pager, map));
    QCOMPARE(rowLength(*db.pager, map), std::size_t{69});
    QCOMPARE(mapPages(*db.pager, map), (std::vector<PageNo>{100, 900}));
    const auto bitmaps = mapBitmapPages(*db.pager, map);
    QCOMPARE(bitmaps.size(), std::size_t{1});
    QCOMPARE(getU32(db.pager->read(bitmaps[0]).data()), 0x00000105U);
    QVERIFY(!mapHas(*db.pager, freeMap, bitmaps[0]));
}

void UsageMapTest::clearingNeverShrinksAMap()
{
    Opened db;
    while (db.pager->pageCount() < 1000) allocatePage(*db.pager);
    const MapRef map{0, mapPage(*db.pager, 1)};
    mapSet(*db.pager, map, 100);
    mapSet(*db.pager, map, 900);
    mapClear(*db.pager, map, 100);
    mapClear(*db.pager, map, 900);
    mapClear(*db.pager, map, 35000); // lies in no bitmap
    QVERIFY(isReference(*db.pager, map));
    QCOMPARE(mapPages(*db.pager, map), std::vector<PageNo>());
}

void UsageMapTest::bitsPastTheEndAreLeftOut()
{
    Opened db;
    QCOMPARE(mapPages(*db.pager, freeMap), std::vector<PageNo>());
    QVERIFY(mapHas(*db.pager, freeMap, 16));
    QVERIFY(mapHas(*db.pager, freeMap, 511));
    QVERIFY(!mapHas(*db.pager, freeMap, 512));
}

void UsageMapTest::freeMapOfAnotherProgramMayStartHigher()
{
    auto content = blankFile(100);
    std::uint8_t* const row = &content[4096 + 0x0FBB];
    putU32(row + 1, 64);
    std::fill_n(row + 5, 64, std::uint8_t{0xFF});
    for (PageNo page = 64; page < 100; ++page)
        if (page != 90)
            row[5 + (page - 64) / 8] = static_cast<std::uint8_t>(row[5 + (page - 64) / 8] & ~(1U << page % 8));
    Opened db(content);
    QCOMPARE(allocatePage(*db.pager), 90U);
    QCOMPARE(allocatePage(*db.pager), 100U);
    // A page below the start was in use; giving it back needs a map that reaches so low.
    freePage(*db.pager, 20);
    QVERIFY(mapHas(*db.pager, freeMap, 20));
    freePage(*db.pager, 90);
    QCOMPARE(mapPages(*db.pager, freeMap), (std::vector<PageNo>{20, 90}));
    QCOMPARE(allocatePage(*db.pager), 20U);
    QCOMPARE(allocatePage(*db.pager), 90U);
    const PageNo next = allocatePage(*db.pager);
    QCOMPARE(next, db.pager->pageCount() - 1);
    for (const PageNo bitmap : mapBitmapPages(*db.pager, freeMap)) QVERIFY(bitmap != next && bitmap > 100);
}

void UsageMapTest::mapOfAnotherProgramMayStartAnywhere()
{
    Opened db;
    const MapRef map{0, mapPage(*db.pager, 1)};
    while (db.pager->pageCount() < 1000) allocatePage(*db.pager);
    putU32(&db.pager->write(map.page)[4096 - 69 + 1], 27);
    db.pager->write(map.page)[4096 - 69 + 5] = 0b101;
    QCOMPARE(mapPages(*db.pager, map), (std::vector<PageNo>{27, 29}));
    mapSet(*db.pager, map, 538);
    QCOMPARE(mapPages(*db.pager, map), (std::vector<PageNo>{27, 29, 538}));
    mapClear(*db.pager, map, 29);
    mapSet(*db.pager, map, 539);
    QCOMPARE(mapPages(*db.pager, map), (std::vector<PageNo>{27, 538, 539}));
}

void UsageMapTest::pagesReservedPastTheEndAreSkipped()
{
    auto content = blankFile(20);
    for (PageNo page = 20; page < 32; ++page) {
        auto& byte = content[4096 + 0x0FBB + 5 + page / 8];
        byte = static_cast<std::uint8_t>(byte & ~(1U << page % 8));
    }
    Opened db(content);
    QCOMPARE(allocatePage(*db.pager), 32U);
    QCOMPARE(db.pager->pageCount(), 33U);
}

void UsageMapTest::damagedMapsAreNamed_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<QByteArray>("bytes");
    const auto bytes = [](std::initializer_list<int> list) {
        QByteArray array;
        for (const int byte : list) array.append(static_cast<char>(byte));
        return array;
    };
    // The map is slot 1 of page 16: its row is at 0xF76, its slot at 16.
    QTest::newRow("no row page") << 0 << bytes({4});
    QTest::newRow("fewer slots") << 12 << bytes({1, 0});
    QTest::newRow("slots past the page") << 12 << bytes({0xFF, 0xFF});
    QTest::newRow("dead slot") << 16 << bytes({0x76, 0xCF});
    QTest::newRow("row in the slot table") << 16 << bytes({0x05, 0x00});
    QTest::newRow("row after its predecessor") << 16 << bytes({0xC0, 0x0F});
    QTest::newRow("predecessor past the page") << 14 << bytes({0xFF, 0x1F});
    QTest::newRow("empty row") << 16 << bytes({0xBB, 0x0F});
    QTest::newRow("row of four bytes") << 16 << bytes({0xB7, 0x0F});
    QTest::newRow("unknown type") << 0xF76 << bytes({2});
    QTest::newRow("start far outside") << 0xF77 << bytes({0xF8, 0xFF, 0xFF, 0xFF});
    QTest::newRow("bitmap that does not exist") << 0xF76 << bytes({1, 0, 0, 1, 0});
    QTest::newRow("bitmap of another type") << 0xF76 << bytes({1, 1, 0, 0, 0});
    QTest::newRow("one bitmap twice") << 0xF76 << bytes({1, 17, 0, 0, 0, 17, 0, 0, 0});
}

void UsageMapTest::damagedMapsAreNamed()
{
    QFETCH(int, offset);
    QFETCH(QByteArray, bytes);
    Opened db;
    Pager& pager = *db.pager;
    const MapRef map{1, mapPage(pager, 3)};
    QCOMPARE(map.page, 16U);
    const PageNo bitmap = allocatePage(pager);
    pager.write(bitmap)[0] = 5;
    std::copy(bytes.begin(), bytes.end(), pager.write(map.page).begin() + offset);
    QCOMPARE(faultOf([&] { mapPages(pager, map); }), Fault::damaged);
    QCOMPARE(faultOf([&] {
                 mapBitmapPages(pager, map);
                 mapHas(pager, map, 40000);
             }),
             Fault::damaged);
}

void UsageMapTest::freeMapThatOffersTheHeaderIsDamage()
{
    auto content = blankFile();
    content[4096 + 0x0FBB + 5] = 1;
    Opened db(content);
    QCOMPARE(faultOf([&] { allocatePage(*db.pager); }), Fault::damaged);
}

void UsageMapTest::freeMapFarPastTheEndIsDamage()
{
    auto content = blankFile();
    putU32(&content[4096 + 0x0FBB + 1], 400000);
    Opened db(content);
    QCOMPARE(faultOf([&] { allocatePage(*db.pager); }), Fault::damaged);
    QCOMPARE(db.pager->pageCount(), 16U);
}

QTEST_APPLESS_MAIN(UsageMapTest)
#include "usage_map.moc"
