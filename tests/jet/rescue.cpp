#include "store/jet/care/rescue.h"
#include "files/memory_disk.h"
#include "mill/tables.h"
#include "store/jet/care/check.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/format/doors.h"
#include "store/jet/format/index_layout.h"
#include "store/jet/format/long_value_layout.h"
#include "store/jet/format/usage_map_layout.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/values/names.h"
#include "tests/jet/chosen_rows.h"
#include "tests/jet/mixed_work.h"
#include "tests/jet/property_block.h"
#include "tests/jet/related_tables.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>

using namespace jet;

namespace {

using Image = std::vector<std::uint8_t>;
using Pages = std::set<PageNo>;

const std::filesystem::path file = "Yag.mdb";
const std::filesystem::path saved = "Kurtarilan.mdb";
constexpr int customers = 60;
constexpr int pressings = 1500;

/// The test's own look at a page, so that what must survive is not told by the code that is tested.
const std::uint8_t* slotOf(const Image& image, RowId row)
{
    return &image[positionOf(row.page) + row_page_layout::slotAt(row.slot)];
}
std::size_t startOf(const Image& image, RowId row)
{
    return positionOf(row.page) + (getU16(slotOf(image, row)) & row_page_layout::offsetMask);
}

/// Where a row of the big table stands.
struct Place {
    PageNo head = 0;
    PageNo body = 0; ///< where the row itself is, if it was moved
    Pages note;      ///< pages of its long value outside the row
};

/// A database with a table of every kind of row, and the tables of a mill.
struct World {
    World()
    {
        files::MemoryDisk disk;
        MixedWork::create(disk, file);
        mill::createTables(*Database::open(disk, file), DateTime{45000});
        {
            const auto database = Database::open(disk, file);
            Transaction change(database->pager());
            MixedWork work(11);
            for (int i = 0; i < 500; ++i) work.change(*database, rows);
            for (int i = 0; i < customers; ++i)
                database->table(u"Cari").insert({{0, u"Müşteri " + name(i)}, {1, 12.0}});
            for (int i = 0; i < pressings; ++i)
                database->table(u"Hareket")
                    .insert({{0, DateTime{45000.0 + i}}, {1, 1.0 * i}, {6, u"Müşteri " + name(i)}});
            for (int i = 0; i < 100; ++i) work.change(*database, rows);
            change.commit();
        }
        image = disk.content(file);
        const auto database = Database::open(disk, file, Pager::Mode::readOnly);
        for (const char16_t* each : {MixedWork::table, u"Cari", u"Hareket"})
            definitions.push_back(database->table(each).definitionPage());
        database->table(MixedWork::table).forEachRow([&](RowId id, const RowView& row) {
            Place place{id.page, id.page, {}};
            if ((getU16(slotOf(image, id)) & row_page_layout::pointerFlag) != 0)
                place.body = row_page_layout::pointer.get(&image[startOf(image, id)]).page;
            namespace at = long_value_layout;
            const auto stored = row.stored(5);
            const auto kind = stored.empty() ? at::inRowKind : at::lengthAndKind.get(stored) >> at::kindShift;
            if (kind == at::chainKind || kind == at::onePageKind) {
                for (RowId piece = at::place.get(stored); piece.page != 0;) {
                    place.note.insert(piece.page);
                    piece = kind == at::chainKind ? at::nextPiece.get(&image[startOf(image, piece)]) : RowId{};
                }
            }
            places[static_cast<int>(row.number(0).value())] = place;
            return true;
        });
        for (const Index& index : database->table(MixedWork::table).indexes()) roots.insert(index.root);
    }
    static std::u16string name(int i)
    {
        const std::string digits = std::to_string(i);
        return {digits.begin(), digits.end()};
    }

    /// The page on which most rows of the big table have their bodies.
    PageNo fullestPage() const
    {
        std::map<PageNo, int> count;
        for (const auto& [number, place] : places) ++count[place.body];
        return std::ranges::max_element(count, {}, [](const auto& each) { return each.second; })->first;
    }
    PageNo notePage() const
    {
        for (const auto& [number, place] : places)
            if (!place.note.empty()) return *place.note.begin();
        return 0;
    }
    RowId ownedMap() const
    {
        const MapRef map = definition_layout::head::owned.get(&image[positionOf(definitions[0])]);
        return {map.page, map.slot};
    }
    PageNo mapPage() const { return ownedMap().page; }
    /// The page with the rows of the catalogue, which belong to the definition on page 2.
    Pages cataloguePages() const { return rowPagesOf(2); }
    Pages rowPagesOf(PageNo definition) const
    {
        Pages pages;
        for (PageNo page = 3; page < PageNo(image.size() / pageSize); ++page)
            if (isRowPage(PageView(&image[positionOf(page)], pageSize), definition)) pages.insert(page);
        return pages;
    }
    /// A page of an index of theirs.
    PageNo leafOfPressings() const
    {
        for (PageNo page = 3;; ++page) {
            const PageView view(&image.at(positionOf(page)), pageSize);
            if (isPageOf(view, PageType::indexLeaf) && index_layout::owner.get(view) == definitions[2]) return page;
        }
    }
    /// The first rows of the pressings stand there, each page as full as it can be.
    PageNo pageOfPressings(int which) const { return *std::next(rowPagesOf(definitions[2]).begin(), which); }

    Image image;
    MixedWork::Rows rows;
    std::map<int, Place> places;
    std::vector<PageNo> definitions; ///< of the big table, Cari, Hareket
    Pages roots;
};

const World& world()
{
    static const World world;
    return world;
}

/// One kind of damage, and what is gone with it.
struct Damage {
    std::function<void(Image&)> inflict;
    Pages gone;
    bool tableIsGone = false; ///< the big one
    bool namesAreGone = false;
    bool rowsOfMillMayBeGone = false;
};

void fill(Image& image, PageNo page, std::uint8_t byte)
{
    std::fill_n(image.begin() + static_cast<std::ptrdiff_t>(positionOf(page)), pageSize, byte);
}

Damage blank(const Pages& pages, std::uint8_t byte = 0)
{
    return {[pages, byte](Image& image) {
                for (const PageNo page : pages) fill(image, page, byte);
            },
            pages};
}

RescueResult run(files::MemoryDisk& disk) { return rescue(disk, file, saved, DateTime{45000}, mill::tableNamed); }

TEST(Rescue, theWorldHasMovedRowsAndLongValues)
{
    ASSERT_EQ(world().places.size(), world().rows.size());
    ASSERT_TRUE(
        std::ranges::any_of(world().places, [](const auto& each) { return each.second.head != each.second.body; }));
    ASSERT_NE(world().notePage(), PageNo(0));
}

/// The sound file, to be damaged.
struct RescueOfTheWorld : testing::Test {
    RescueOfTheWorld() { disk.content(file) = world().image; }
    files::MemoryDisk disk;
};

TEST_F(RescueOfTheWorld, aSoundFileComesOutWhole)
{
    const RescueResult result = run(disk);
    ASSERT_TRUE(result.whole()) << testing::PrintToString(result.losses);
    ASSERT_EQ(disk.content(file), world().image);
    const auto database = Database::open(disk, saved);
    ASSERT_EQ(MixedWork::read(*database), world().rows);
    ASSERT_EQ(database->table(MixedWork::table).indexes().size(), 4U);
    ASSERT_TRUE(database->table(MixedWork::table).indexes()[0].primaryKey);
    ASSERT_FALSE(database->table(MixedWork::table).whyReadOnly());
}

/// The damage as a function, so that the world is made only where one of them is tried.
using DamageOf = Damage (*)(const World&);

Damage cutAfter(const World& w, PageNo cut)
{
    Damage end;
    end.inflict = [cut](Image& image) { image.resize(positionOf(cut) + 11); };
    for (PageNo page = cut; page < PageNo(w.image.size() / pageSize); ++page) end.gone.insert(page);
    end.rowsOfMillMayBeGone = true;
    return end;
}

const RowTable<DamageOf> rescueDamage = {
    {"a page of rows zeroed", [](const World& w) { return blank({w.fullestPage()}); }},
    {"a page of rows full of junk", [](const World& w) { return blank({w.fullestPage()}, 0xEE); }},
    {"a page of long values zeroed", [](const World& w) { return blank({w.notePage()}); }},
    {"index pages zeroed", [](const World& w) { return blank(w.roots); }},
    {"index pages full of junk", [](const World& w) { return blank(w.roots, 0xEE); }},
    {"the page of the usage maps zeroed", [](const World& w) { return blank({w.mapPage()}); }},
    {"the page of the usage maps full of junk", [](const World& w) { return blank({w.mapPage()}, 0xEE); }},
    {"the map of free pages zeroed", [](const World&) { return blank({1}); }},
    {"the header zeroed", [](const World&) { return blank({0}); }},
    {"the header full of junk", [](const World&) { return blank({0}, 0xEE); }},
    {"the catalogue's definition zeroed", [](const World&) { return blank({2}); }},
    {"the catalogue's rows zeroed",
     [](const World& w) {
         Damage rowsOfCatalogue = blank(w.cataloguePages());
         rowsOfCatalogue.namesAreGone = true;
         return rowsOfCatalogue;
     }},
    {"header, free map and catalogue gone",
     [](const World& w) {
         Damage wholeCatalogue = blank(w.cataloguePages());
         wholeCatalogue.inflict = [inflict = wholeCatalogue.inflict](Image& image) {
             inflict(image);
             for (const PageNo page : std::initializer_list<PageNo>{0, 1, 2}) fill(image, page, 0);
         };
         wholeCatalogue.namesAreGone = true;
         return wholeCatalogue;
     }},
    {"the table's definition zeroed",
     [](const World& w) {
         Damage definition = blank({w.definitions[0]});
         definition.tableIsGone = true;
         return definition;
     }},
    {"a page of rows says another owner",
     [](const World& w) {
         Damage owner = blank({});
         owner.inflict = [page = w.fullestPage()](Image& image) {
             image[positionOf(page) + row_page_layout::owner.begin] ^= 64;
         };
         return owner;
     }},
    {"a page of rows says another type",
     [](const World& w) {
         Damage type = blank({});
         type.inflict = [page = w.fullestPage()](Image& image) {
             page_layout::type.put(&image[positionOf(page)], 0x5A);
         };
         return type;
     }},
    {"the table's map cleared",
     [](const World& w) {
         Damage map = blank({});
         map.inflict = [&w](Image& image) {
             // The row of the table's own map: its bits go, one page after the other.
             std::fill_n(&image[startOf(image, w.ownedMap()) + usage_map_layout::inlineBits], 16, std::uint8_t{0});
         };
         return map;
     }},
    {"cut after three quarters",
     [](const World& w) { return cutAfter(w, static_cast<PageNo>(w.image.size() / pageSize * 3 / 4)); }},
    {"cut in the middle",
     [](const World& w) { return cutAfter(w, static_cast<PageNo>(w.image.size() / pageSize / 2)); }},
};

TABLE_SUITE(RescueDamage, DamageOf, rescueDamage);

TEST_P(RescueDamage, everyRowOutsideTheDamageSurvives)
{
    const World& w = world();
    const Damage damage = row()(w);
    files::MemoryDisk disk;
    disk.content(file) = w.image;
    damage.inflict(disk.content(file));
    const Image damaged = disk.content(file);
    const RescueResult result = run(disk);
    ASSERT_EQ(disk.content(file), damaged);

    const auto database = Database::open(disk, saved);
    ASSERT_TRUE(checkDatabase(*database).ok());
    const auto rowsOf = [&](const char16_t* table) { return int(allRows(database->table(table)).size()); };
    if (!damage.rowsOfMillMayBeGone) {
        ASSERT_EQ(rowsOf(u"Cari"), customers);
        ASSERT_EQ(rowsOf(u"Hareket"), pressings);
    }
    if (damage.tableIsGone) {
        ASSERT_FALSE(database->hasTable(MixedWork::table));
        ASSERT_FALSE(result.whole());
        return;
    }

    MixedWork::Rows expected;
    bool anythingLost = false;
    for (const auto& [number, row] : w.rows) {
        const Place& place = w.places.at(number);
        if (damage.gone.contains(place.body)) {
            anythingLost = true;
            continue;
        }
        expected[number] = row;
        if (std::ranges::any_of(place.note, [&](PageNo page) { return damage.gone.contains(page); })) {
            expected[number].note.clear();
            anythingLost = true;
        }
    }
    ASSERT_TRUE(!anythingLost || !result.whole());
    const auto found = std::ranges::find_if(result.tables, [&](const RescueResult::Table& table) {
        return table.nameInvented == damage.namesAreGone && table.name != u"Cari" && table.name != u"Hareket";
    });
    ASSERT_NE(found, result.tables.end());
    ASSERT_EQ(found->rows, std::uint64_t{expected.size()});
    if (damage.namesAreGone) return;
    const MixedWork::Rows read = MixedWork::read(*database);
    ASSERT_EQ(read.size(), expected.size());
    ASSERT_EQ(read, expected);
}

TEST(Rescue, aPageThatStandsTwiceGivesItsRowsTwice)
{
    const World& w = world();
    const PageNo target = w.fullestPage();
    PageNo source = 0;
    for (const auto& [number, place] : w.places)
        if (place.body != target && place.head == place.body && place.note.empty()) source = place.body;
    files::MemoryDisk disk;
    disk.content(file) = w.image;
    Image& image = disk.content(file);
    std::copy_n(image.begin() + static_cast<std::ptrdiff_t>(positionOf(source)), pageSize,
                image.begin() + static_cast<std::ptrdiff_t>(positionOf(target)));
    const RescueResult result = run(disk);
    ASSERT_FALSE(result.whole());
    // Two rows with one number: the rule of the primary key is lost, no row is.
    const auto database = Database::open(disk, saved);
    ASSERT_FALSE(database->table(MixedWork::table).indexes()[0].unique);
    const MixedWork::Rows read = MixedWork::read(*database);
    for (const auto& [number, row] : w.rows) {
        const Place& place = w.places.at(number);
        if (place.body != target && place.head != target) {
            ASSERT_TRUE(read.contains(number) && read.at(number) == row);
        }
    }
}

/// What can be read, and may not be what the table held.
struct Doubt {
    std::function<void(Image&)> inflict;
    std::vector<std::string> told; ///< parts of the losses, one each; empty: the rescue is whole
    int more = 0;                  ///< rows of Hareket than the sound file has
};
using DoubtOf = Doubt (*)(const World&);

void copyPage(Image& image, PageNo from, PageNo to)
{
    std::copy_n(image.begin() + static_cast<std::ptrdiff_t>(positionOf(from)), pageSize,
                image.begin() + static_cast<std::ptrdiff_t>(positionOf(to)));
}

int rowsOn(const Image& image, PageNo page)
{
    return static_cast<int>(slotCount(PageView(&image[positionOf(page)], pageSize)).value());
}

/// Changes the olives of the first row of a page, or its date, by one bit.
void changeField(Image& image, PageNo page, const char16_t* column)
{
    files::MemoryDisk disk;
    disk.content(file) = world().image;
    const auto database = Database::open(disk, file, Pager::Mode::readOnly);
    const Table& table = database->table(u"Hareket");
    const Column& changed = table.columns()[table.columnNamed(column).value()];
    constexpr std::size_t behindCount = 2, lowDigits = 4;
    image[startOf(image, {page, 0}) + behindCount + changed.fixedOffset + lowDigits] ^= 16;
}

const RowTable<DoubtOf> rescueDoubts = {
    {"a copy of a page outside of the map",
     [](const World& w) {
         return Doubt{[&w](Image& image) { copyPage(image, w.pageOfPressings(3), w.leafOfPressings()); },
                      {"tablonun haritasında yok, " + std::to_string(w.pageOfPressings(3).number()) +
                       ". sayfanın kopyası; satırları ikinci kez yazılmadı"}};
     }},
    {"other rows outside of the map",
     [](const World& w) {
         const int rows = rowsOn(w.image, w.pageOfPressings(3));
         return Doubt{[&w](Image& image) {
                          copyPage(image, w.pageOfPressings(3), w.leafOfPressings());
                          changeField(image, w.leafOfPressings(), u"Zeytin");
                      },
                      {std::to_string(rows) + " satırı tablonun haritasında olmayan 1 sayfada bulundu",
                       "1500 satırı olmalıydı, " + std::to_string(pressings + rows) + " satır okundu"},
                      rows};
     }},
    {"a page over another one of as many rows",
     [](const World& w) {
         const int rows = rowsOn(w.image, w.pageOfPressings(3));
         return Doubt{[&w](Image& image) { copyPage(image, w.pageOfPressings(3), w.pageOfPressings(4)); },
                      {std::to_string(rows) + " satırın değeri dizindekinden başka",
                       std::to_string(w.pageOfPressings(3).number()) + ". sayfanın aynısı"}};
     }},
    {"a date that is another",
     [](const World& w) {
         return Doubt{[&w](Image& image) { changeField(image, w.pageOfPressings(3), u"Tarih"); },
                      {"1 satırın değeri dizindekinden başka (biri: " + std::to_string(w.pageOfPressings(3).number()) +
                       ". sayfa, 0. satır)"}};
     }},
    {"a count that the index contradicts",
     [](const World& w) {
         return Doubt{[&w](Image& image) {
                          definition_layout::head::rowCount.put(&image[positionOf(w.definitions[2])], pressings - 5);
                      },
                      {}};
     }},
};

TABLE_SUITE(RescueDoubts, DoubtOf, rescueDoubts);

TEST_P(RescueDoubts, areWrittenAndTold)
{
    const Doubt doubt = row()(world());
    files::MemoryDisk disk;
    disk.content(file) = world().image;
    doubt.inflict(disk.content(file));
    const RescueResult result = run(disk);
    ASSERT_EQ(result.losses.size(), doubt.told.size()) << testing::PrintToString(result.losses);
    for (std::size_t i = 0; i < doubt.told.size(); ++i)
        ASSERT_NE(result.losses[i].find(doubt.told[i]), std::string::npos) << result.losses[i];
    ASSERT_EQ(int(allRows(Database::open(disk, saved)->table(u"Hareket")).size()), pressings + doubt.more);
    ASSERT_EQ(survey(disk, file, mill::tableNamed).losses, result.losses);
}

TEST_F(RescueOfTheWorld, leavesOutTheColumnsThatClashAndKeepsTheRest)
{
    const PageNo definition = world().definitions[2];
    {
        const auto database = Database::open(disk, file, Pager::Mode::readOnly);
        const std::vector<Column>& columns = database->table(u"Hareket").columns();
        ASSERT_TRUE(columns[1].fixed && columns[2].fixed);
        namespace at = definition_layout;
        Image& image = disk.content(file);
        const std::size_t indexes = at::head::physicalIndexes.get(&image[positionOf(definition)]);
        std::uint8_t* const record =
            &image[positionOf(definition) + at::statistics::at(indexes) + at::column::bytes * columns[2].ordinal];
        ASSERT_EQ(at::column::fixedOffset.get(record), columns[2].fixedOffset);
        constexpr unsigned inTheMiddle = 3;
        at::column::fixedOffset.put(record, columns[1].fixedOffset + inTheMiddle);
    }
    ASSERT_EQ(faultOf([&] { Database::open(disk, file)->table(u"Hareket"); }), Fault::damaged);
    const RescueResult result = run(disk);
    ASSERT_EQ(result.losses.size(), 2U) << testing::PrintToString(result.losses);
    const auto sound = [&] {
        files::MemoryDisk other;
        other.content(file) = world().image;
        return Database::open(other, file, Pager::Mode::readOnly)->table(u"Hareket").columns();
    }();
    for (const std::size_t lost : {std::size_t{1}, std::size_t{2}})
        ASSERT_NE(result.losses[lost - 1].find(quotedName(sound[lost].name) + " alanı okunamadı"), std::string::npos)
            << result.losses[lost - 1];
    const auto database = Database::open(disk, saved);
    const Table& hareket = database->table(u"Hareket");
    ASSERT_EQ(hareket.columns().size(), sound.size() - 2);
    ASSERT_FALSE(hareket.columnNamed(sound[1].name) || hareket.columnNamed(sound[2].name));
    ASSERT_FALSE(hareket.indexes().empty());
    const auto rows = allRows(database->table(u"Hareket"));
    ASSERT_EQ(int(rows.size()), pressings);
    for (int i = 0; i < pressings; ++i)
        ASSERT_EQ(std::get<DateTime>(hareket.row(rows[static_cast<std::size_t>(i)])->value(0)).days, 45000.0 + i);
}

TEST(Rescue, rowsThatAreAllAlikeAreNoCopies)
{
    files::MemoryDisk disk;
    Database::create(disk, file, turkish, DateTime{45000});
    constexpr int rows = 2000;
    {
        const auto database = Database::open(disk, file);
        Table& table =
            database->createTable(u"Sayım", {{.name = u"Adet", .type = ColumnType::longInteger}}, {}, DateTime{45000});
        Transaction change(database->pager());
        for (int i = 0; i < rows; ++i) table.insert({{0, std::int32_t{1}}});
        change.commit();
    }
    const RescueResult result = run(disk);
    ASSERT_TRUE(result.whole()) << testing::PrintToString(result.losses);
    ASSERT_EQ(result.tables.at(0).rows, std::uint64_t{rows});
}

TEST_F(RescueOfTheWorld, aRunningProgramsLastCommitIsSaved)
{
    const auto database = Database::open(disk, file);
    Image before = disk.content(file);
    ASSERT_EQ(before, world().image);
    database->table(u"Cari").insert({{0, std::u16string(u"Yeni")}});
    const Image after = disk.content(file);
    ASSERT_NE(after, before);
    const RescueResult result = run(disk);
    ASSERT_TRUE(result.whole());
    ASSERT_EQ(int(allRows(Database::open(disk, saved)->table(u"Cari")).size()), customers + 1);
}

RowTable<Image> rescueOtherFiles()
{
    Image text;
    for (int i = 0; i < 20000; ++i)
        for (const char letter : std::string_view("Merhaba ")) text.push_back(static_cast<std::uint8_t>(letter));
    return {
        {"text", text},
        {"empty", {}},
        {"zeros", Image(200000, 0)},
    };
}

TABLE_SUITE(RescueOtherFiles, Image, rescueOtherFiles());

TEST_P(RescueOtherFiles, otherFilesAreRefused)
{
    files::MemoryDisk disk;
    disk.content(file) = row();
    ASSERT_EQ(faultOf([&] { run(disk); }), Fault::notADatabase);
    ASSERT_TRUE(!disk.exists(saved) && !disk.exists("Kurtarilan.mdb.part"));
}

TEST_F(RescueOfTheWorld, anExistingFileIsNotReplaced)
{
    disk.content(saved) = {1, 2, 3};
    ASSERT_EQ(faultOf([&] { run(disk); }), Fault::exists);
    ASSERT_EQ(disk.content(saved), (Image{1, 2, 3}));
}

TEST(Rescue, rulesAndRelationshipsThatGoAreNamedTableByTable)
{
    files::MemoryDisk disk;
    related::createTables(disk, file, {u"Baba", u"Oğul", u"Yalnız", u"Okunmaz"});
    {
        const auto database = Database::open(disk, file);
        properties::put(*database, u"Oğul",
                        {{{u"Ad", {{u"ValidationRule", u"Like \"A*\""}, {u"Required", true}}},
                          {u"Üst2", {{u"DefaultValue", u"5"}}}}});
        properties::put(*database, u"Okunmaz", Bytes{'M', 'R', '2', 0, 1});
        related::relate(*database, {u"Bağ", u"Baba", u"PrimaryKey", u"Oğul", u"Üst"});
    }
    {
        const auto database = Database::open(disk, file);
        database->table(u"Baba").insert({{related::text, u"b"}});
        database->table(u"Oğul").insert({{related::parent, std::int32_t{1}}, {related::text, u"a"}});
    }
    const std::vector<std::string> told = {
        "\"Baba\" tablosunun ilişkileri aktarılmadı.",
        "\"Oğul\" tablosunun zorunlu alanları, varsayılan değerleri, geçerlilik kuralları ve ilişkileri aktarılmadı.",
        "\"Okunmaz\" tablosunun okunamayan özellikleri aktarılmadı."};
    ASSERT_EQ(survey(disk, file).losses, told);
    const RescueResult result = rescue(disk, file, saved, DateTime{45000});
    ASSERT_EQ(result.losses, told);
    const auto fresh = Database::open(disk, saved);
    fresh->table(u"Oğul").insert({{related::text, u"z"}});
    ASSERT_EQ(fresh->table(u"Oğul").rowCount(), 2U);
}

TEST_F(RescueOfTheWorld, aSurveyCountsWhatARescueSaves)
{
    fill(disk.content(file), world().fullestPage(), 0);
    const RescueResult counted = survey(disk, file, mill::tableNamed);
    ASSERT_FALSE(disk.exists(saved));
    const RescueResult done = run(disk);
    ASSERT_EQ(counted.tables.size(), done.tables.size());
    for (std::size_t i = 0; i < done.tables.size(); ++i) ASSERT_EQ(counted.tables[i].rows, done.tables[i].rows);
    ASSERT_EQ(counted.losses, done.losses);
}

} // namespace
