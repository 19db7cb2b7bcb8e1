#include "store/jet/rows/row_walk.h"
#include "files/error.h"
#include "files/memory_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/care/rescue.h"
#include "store/jet/database/database.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/format/long_value_layout.h"
#include "store/jet/format/row_page_layout.h"
#include "store/jet/format/usage_map_layout.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

/// Everybody who reads rows must come to one verdict about a damaged file. What the check calls sound, a cursor shows,
/// and a rescue saves it; what is damaged nobody shows, and everybody names; nothing sound is called lost. Verifying
/// before the first write and compacting refuse every file in which anything is damaged.
namespace {

using namespace jet;

using Image = std::vector<std::uint8_t>;
using Numbers = std::set<int>;
namespace head = definition_layout::head;

const std::filesystem::path file = "Yag.mdb";
const std::filesystem::path saved = "Kurtarilan.mdb";
const std::filesystem::path compacted = "Sikisik.mdb";
constexpr const char16_t* table = u"Kayıt";
constexpr const char16_t* other = u"Öteki";
constexpr int rowsOnAPage = 20;
constexpr int longRows = 14; ///< too many for one page: the last ones move to another

std::u16string letters(std::size_t count) { return std::u16string(count, u'ş'); }

/// A row's place, and the file's bytes as the test itself reads and writes them: no verdict here comes from the code
/// that is tested.
using Place = RowId;

class Bytes {
public:
    explicit Bytes(Image& image) : image_(image) {}

    std::uint8_t& byte(PageNo page, std::size_t at) { return image_[positionOf(page) + at]; }
    template <class Field> auto get(PageNo page, Field) { return Field::get(&byte(page, page_layout::type.begin)); }
    template <class Field, class Value> void put(PageNo page, Field, Value value)
    {
        Field::put(&byte(page, page_layout::type.begin), value);
    }

    unsigned slot(Place place) { return getU16(&byte(place.page, row_page_layout::slotAt(place.slot))); }
    void setSlot(Place place, std::size_t value)
    {
        putU16(&byte(place.page, row_page_layout::slotAt(place.slot)), static_cast<std::uint32_t>(value));
    }
    std::size_t start(Place place) { return slot(place) & row_page_layout::offsetMask; }
    std::uint8_t* row(Place place) { return &byte(place.page, start(place)); }
    Place target(Place head) { return row_page_layout::pointer.get(row(head)); }
    /// Makes the slot a pointer.
    void point(Place head, Place to)
    {
        setSlot(head, start(head) | row_page_layout::pointerFlag);
        row_page_layout::pointer.put(row(head), to);
    }
    /// Where the table's own map stands: the row and its first byte.
    Place ownedMap(PageNo definition)
    {
        const MapRef map = get(definition, head::owned);
        return {map.page, map.slot};
    }

private:
    Image& image_;
};

/// Two tables with short rows, rows that fill their page, and rows that had to move to another.
struct World {
    World()
    {
        files::MemoryDisk disk;
        Database::create(disk, file, turkish, DateTime{45000});
        {
            const auto database = Database::open(disk, file);
            for (const char16_t* name : {table, other}) {
                Table& made = database->createTable(
                    name, {{u"No", ColumnType::longInteger}, {u"Ad", ColumnType::text, 255}}, {}, DateTime{45000});
                std::vector<RowId> places;
                for (int n = 0; n < rowsOnAPage; ++n) places.push_back(made.insert({{0, n}, {1, letters(5)}}));
                for (int n = 0; n < longRows; ++n)
                    made.update(places[static_cast<std::size_t>(n)], {{1, letters(250)}});
                definitions.push_back(made.definitionPage());
                heads.push_back(std::move(places));
            }
        }
        image = disk.content(file);
        Bytes bytes(image);
        for (const Place head : heads[0]) {
            const bool moved = (bytes.slot(head) & row_page_layout::pointerFlag) != 0;
            bodies.push_back(moved ? bytes.target(head) : head);
        }
        systemRows = checkDatabase(*Database::open(disk, file)).rows - std::uint64_t{2} * rowsOnAPage;
    }

    Place head(int number) const { return heads[0][static_cast<std::size_t>(number)]; }
    Place body(int number) const { return bodies[static_cast<std::size_t>(number)]; }
    Place otherBody() const
    {
        Image copy = image;
        return Bytes(copy).target(heads[1][longRows - 1]);
    }

    Image image;
    std::vector<PageNo> definitions;       ///< of both tables
    std::vector<std::vector<Place>> heads; ///< of both tables, by number
    std::vector<Place> bodies;             ///< of the first table, by number
    std::uint64_t systemRows = 0;
};

const World& world()
{
    static const World world;
    return world;
}

// Rows of the first table: the last of the long ones were moved, those behind are short and at home.
constexpr int moved = longRows - 1;
constexpr int alsoMoved = longRows - 2;
constexpr int atHome = longRows;
constexpr int alsoAtHome = longRows + 1;

enum class File { sound, damaged };

/// What everybody must say about a file.
struct Verdict {
    File file = File::damaged; ///< to the check, the verification and compacting
    Numbers damaged{};         ///< rows, by their heads: never shown, named by everybody
    Numbers gone{};            ///< heads that are none any more: never shown, and nobody can name them
    Numbers rescuedMore{};     ///< what a rescue finds beyond the sound rows
    Numbers shownAsTheirOwn{}; ///< bodies that now stand for themselves: shown where they stand
    bool homePage = false;     ///< the page of all heads is damaged: a cursor names it as such
    bool twoHeads = false;     ///< looking up the second one alone cannot tell that there is another
};

struct Damage {
    void (*inflict)(Bytes&, const World&);
    Verdict verdict;
};

Numbers everybody()
{
    Numbers all;
    for (int n = 0; n < rowsOnAPage; ++n) all.insert(n);
    return all;
}

Numbers movedRows()
{
    Numbers numbers;
    for (int n = 0; n < rowsOnAPage; ++n)
        if (world().body(n) != world().head(n)) numbers.insert(n);
    return numbers;
}

// clang-format off
const RowTable<Damage> damages = {
    {"none", {[](Bytes&, const World&) {}, {.file = File::sound}}},

    // Where a moved row leads
    {"second head of a body", {[](Bytes& b, const World& w) { b.point(w.head(atHome), w.body(moved)); },
     {.damaged = {atHome}, .twoHeads = true}}},
    {"head led away to the body of another", {[](Bytes& b, const World& w) { b.point(w.head(moved), w.body(alsoMoved)); },
     {.damaged = {moved}, .rescuedMore = {moved}, .twoHeads = true}}},
    {"pointer to the pointer of a later row", {[](Bytes& b, const World& w) { b.point(w.head(alsoMoved), w.head(moved)); },
     {.damaged = {alsoMoved}, .rescuedMore = {alsoMoved}}}},
    {"pointer to the pointer of an earlier row", {[](Bytes& b, const World& w) { b.point(w.head(atHome), w.head(moved)); },
     {.damaged = {atHome}}}},
    {"pointer to itself", {[](Bytes& b, const World& w) { b.point(w.head(atHome), w.head(atHome)); },
     {.damaged = {atHome}}}},
    {"ring of two pointers", {[](Bytes& b, const World& w) {
         b.point(w.head(atHome), w.head(alsoAtHome));
         b.point(w.head(alsoAtHome), w.head(atHome));
     }, {.damaged = {atHome, alsoAtHome}}}},
    {"pointer to an ordinary row", {[](Bytes& b, const World& w) { b.point(w.head(moved), w.head(atHome)); },
     {.damaged = {moved}, .rescuedMore = {moved}}}},
    {"pointer to a dead slot", {[](Bytes& b, const World& w) { b.setSlot(w.body(moved), b.slot(w.body(moved)) | row_page_layout::deadFlags); },
     {.damaged = {moved}}}},
    {"pointer behind the last slot", {[](Bytes& b, const World& w) { b.point(w.head(atHome), {w.body(moved).page, 200}); },
     {.damaged = {atHome}}}},
    {"pointer past the end of the file", {[](Bytes& b, const World& w) { b.point(w.head(atHome), {farthestPage, 0}); },
     {.damaged = {atHome}}}},
    {"pointer to the header", {[](Bytes& b, const World& w) { b.point(w.head(atHome), {0, 0}); },
     {.damaged = {atHome}}}},
    {"pointer into another table", {[](Bytes& b, const World& w) { b.point(w.head(atHome), w.otherBody()); },
     {.damaged = {atHome}}}},
    {"pointer to the definition", {[](Bytes& b, const World& w) { b.point(w.head(atHome), {w.definitions[0], 0}); },
     {.damaged = {atHome}}}},
    {"body that is marked as a row", {[](Bytes& b, const World& w) { b.setSlot(w.body(moved), b.slot(w.body(moved)) & row_page_layout::offsetMask); },
     {.damaged = {moved}, .shownAsTheirOwn = {moved}}}},
    {"body that nobody leads to", {[](Bytes& b, const World& w) { b.setSlot(w.head(moved), b.slot(w.head(moved)) | row_page_layout::deadFlags); },
     {.file = File::sound, .gone = {moved}, .rescuedMore = {moved}}}},

    // Pages
    {"page of bodies outside the map", {[](Bytes& b, const World& w) {
         // An inline map: bytes of bits behind its type and first page.
         const Place map = b.ownedMap(w.definitions[0]);
         const PageNo first = usage_map_layout::firstPage.get(b.row(map));
         const unsigned bit = w.body(moved).page - first;
         b.row(map)[usage_map_layout::inlineBits + bit / 8] &= static_cast<std::uint8_t>(~(1U << bit % 8));
     }, {}}},
    {"map of pages unreadable", {[](Bytes& b, const World& w) {
         const Place map = b.ownedMap(w.definitions[0]);
         *b.row(map) = 9;
     }, {}}},
    {"page of another type", {[](Bytes& b, const World& w) { b.put(w.head(0).page, page_layout::type, 0x5A); },
     {.gone = everybody(), .rescuedMore = everybody()}}},
    {"page of an unknown owner", {[](Bytes& b, const World& w) { b.byte(w.head(0).page, row_page_layout::owner.begin) ^= 64; },
     {.gone = everybody(), .rescuedMore = everybody()}}},
    {"count of slots too large", {[](Bytes& b, const World& w) { b.put(w.head(0).page, row_page_layout::slotCount, 0xFFFF); },
     {.gone = everybody(), .rescuedMore = movedRows(), .homePage = true}}},

    // Slots and rows
    {"slot beyond the page", {[](Bytes& b, const World& w) { b.setSlot(w.head(rowsOnAPage - 1), row_page_layout::offsetMask); },
     {.damaged = {rowsOnAPage - 1}}}},
    {"slot inside the table of slots", {[](Bytes& b, const World& w) { b.setSlot(w.head(rowsOnAPage - 1), 16); },
     {.damaged = {rowsOnAPage - 1}}}},
    {"row with too many columns", {[](Bytes& b, const World& w) { *b.row(w.head(atHome)) = 77; },
     {.damaged = {atHome}}}},
    {"body with too many columns", {[](Bytes& b, const World& w) { *b.row(w.body(moved)) = 77; },
     {.damaged = {moved}}}},
    {"pointer without room for one", {[](Bytes& b, const World& w) {
         const Place last = w.head(rowsOnAPage - 1);
         b.setSlot(last, (b.start(w.head(rowsOnAPage - 2)) - 2) | row_page_layout::pointerFlag);
     }, {.damaged = {rowsOnAPage - 1}}}},
};
// clang-format on

std::multiset<int> numbersIn(const Database& database)
{
    std::multiset<int> numbers;
    const_cast<Database&>(database).table(table).forEachRow([&](RowId, const RowView& row) {
        numbers.insert(static_cast<int>(row.number(0).value()));
        return true;
    });
    return numbers;
}

std::string joined(const std::vector<std::string>& sentences)
{
    std::string all;
    for (const std::string& each : sentences) all += each + '\n';
    return all;
}

class RowsOfADamagedFile : public TableTest<Damage> {
protected:
    void SetUp() override
    {
        disk.content(file) = world().image;
        Bytes bytes(disk.content(file));
        row().inflict(bytes, world());
        database = Database::open(disk, file);
        database->table(table).scan(
            [&](RowId id, const RowView& row) {
                shown.insert(id);
                numbers.insert(static_cast<int>(row.number(0).value()));
                return true;
            },
            [&](RowId id, const std::string&) { reported.insert(id); });
    }
    /// Heads of the rows that must be shown.
    std::set<Place> soundHeads() const
    {
        std::set<Place> heads;
        for (int n = 0; n < rowsOnAPage; ++n)
            if (!verdict.damaged.contains(n) && !verdict.gone.contains(n)) heads.insert(world().head(n));
        for (const int n : verdict.shownAsTheirOwn) heads.insert(world().body(n));
        return heads;
    }
    std::set<Place> damagedHeads() const
    {
        std::set<Place> heads;
        for (const int n : verdict.damaged) heads.insert(world().head(n));
        return heads;
    }
    static bool names(const std::string& sentences, Place row, const char* between)
    {
        return sentences.find(std::to_string(row.page.number()) + ". sayfa" + between +
                              std::to_string(row.slot.number()) + ". satır") != std::string::npos;
    }

    const Verdict& verdict = row().verdict;
    files::MemoryDisk disk;
    std::unique_ptr<Database> database;
    std::set<Place> shown;
    std::set<Place> reported;
    std::multiset<int> numbers; ///< of the rows that were shown
};

TEST_P(RowsOfADamagedFile, areShownByACursorWhereTheyAreSound)
{
    EXPECT_EQ(shown, soundHeads());
    EXPECT_EQ(reported, verdict.homePage ? std::set{Place{world().head(0).page}} : damagedHeads());
}

TEST_P(RowsOfADamagedFile, areFoundByTheirPlacesWhereTheyAreSound)
{
    const Table& rows = database->table(table);
    for (const Place head : shown) EXPECT_TRUE(rows.row(head)) << head.slot.number();
    if (verdict.twoHeads) return;
    for (const int n : verdict.damaged) {
        const RowId head = world().head(n);
        EXPECT_THROW(rows.row(head), Error) << n;
    }
}

TEST_P(RowsOfADamagedFile, areSoundToTheCheckWhereACursorShowsThem)
{
    const CheckResult result = checkDatabase(*database);
    const std::string faults = joined(result.faults);
    EXPECT_EQ(result.ok(), verdict.file == File::sound) << faults;
    EXPECT_EQ(result.rows - world().systemRows - rowsOnAPage, shown.size()) << faults;
    for (const Place head : damagedHeads())
        EXPECT_TRUE(names(faults, head, ": ")) << head.slot.number() << '\n' << faults;
    for (const Place head : shown) EXPECT_FALSE(names(faults, head, ": ")) << head.slot.number() << '\n' << faults;
}

TEST_P(RowsOfADamagedFile, areNotWrittenBesideDamage)
{
    const auto why = database->table(table).whyReadOnly();
    EXPECT_EQ(why.has_value(), verdict.file == File::damaged);
}

TEST_P(RowsOfADamagedFile, areNotCompactedBesideDamage)
{
    if (verdict.file == File::sound) {
        compact(disk, *database, compacted);
        EXPECT_EQ(numbersIn(*Database::open(disk, compacted)), numbers);
        return;
    }
    EXPECT_EQ(faultOf([&] { compact(disk, *database, compacted); }), Fault::damaged);
}

TEST_P(RowsOfADamagedFile, areSavedByARescueAndNeverCalledLostWhereTheyAreSound)
{
    database.reset();
    const RescueResult result = rescue(disk, file, saved, DateTime{45000});
    const std::string losses = joined(result.losses);
    std::multiset<int> expected = numbers;
    expected.insert(verdict.rescuedMore.begin(), verdict.rescuedMore.end());
    EXPECT_EQ(numbersIn(*Database::open(disk, saved)), expected) << losses;
    for (const Place head : damagedHeads())
        EXPECT_TRUE(names(losses, head, ", ")) << head.slot.number() << '\n' << losses;
    for (const Place head : shown) EXPECT_FALSE(names(losses, head, ", ")) << head.slot.number() << '\n' << losses;
    EXPECT_TRUE(result.whole() || verdict.file == File::damaged) << losses;
}

INSTANTIATE_TEST_SUITE_P(, RowsOfADamagedFile, testing::ValuesIn(damages), RowName());

// ---- table definitions ----

struct DefinitionDamage {
    void (*inflict)(Bytes&, PageNo definition);
    bool columnsCanBeRead = true;
    Fault fault = Fault::damaged;
};

unsigned lengthOf(Bytes& b, PageNo definition) { return b.get(definition, head::length); }

// clang-format off
const RowTable<DefinitionDamage> definitionDamages = {
    {"page of another type", {[](Bytes& b, PageNo d) { b.put(d, page_layout::type, 1); }, false}},
    {"no columns", {[](Bytes& b, PageNo d) { b.put(d, head::columns, 0); }, false}},
    {"column names cut off", {[](Bytes& b, PageNo d) { b.put(d, head::length, lengthOf(b, d) - 6); }, false}},
    {"more columns than a table can ever have", {[](Bytes& b, PageNo d) { b.put(d, head::columnsEver, 300); }}},
    {"length that the type of a column has not", {[](Bytes& b, PageNo d) { definition_layout::column::length.put(&b.byte(d, definition_layout::statistics::at(0)), 5); }}},
    {"end cut off", {[](Bytes& b, PageNo d) { b.put(d, head::length, lengthOf(b, d) - 2); }}},
    {"longer than its pages", {[](Bytes& b, PageNo d) { b.put(d, head::length, 9000); }}},
    {"remains at the end", {[](Bytes& b, PageNo d) { b.put(d, head::length, lengthOf(b, d) + 1); }}},
    {"pages in a ring", {[](Bytes& b, PageNo d) { b.put(d, definition_layout::page::next, d); }}},
    {"next page of another type", {[](Bytes& b, PageNo d) { b.put(d, definition_layout::page::next, PageNo(1)); }}},
    {"next page past the end of the file", {[](Bytes& b, PageNo d) { b.put(d, definition_layout::page::next, PageNo(5000)); }, true, Fault::cutShort}},
    {"map in a slot that is none", {[](Bytes& b, PageNo d) { b.put(d, head::owned.slot, SlotNo(250U)); }}},
    {"map on a page that is none", {[](Bytes& b, PageNo d) { b.put(d, head::owned.page, PageNo(5000)); }, true, Fault::cutShort}},
};
// clang-format on

TABLE_SUITE(DamagedDefinition, DefinitionDamage, definitionDamages);

TEST_P(DamagedDefinition, keepsReadersAwayAndLosesNoRowToARescueThatCanReadItsColumns)
{
    files::MemoryDisk disk;
    disk.content(file) = world().image;
    Bytes bytes(disk.content(file));
    row().inflict(bytes, world().definitions[0]);
    try {
        const auto database = Database::open(disk, file);
        const CheckResult result = checkDatabase(*database);
        EXPECT_FALSE(result.ok());
        EXPECT_NE(joined(result.faults).find("tablo"), std::string::npos);
        database->table(table);
        ADD_FAILURE() << "read";
    } catch (const Error& error) {
        EXPECT_EQ(error.fault(), row().fault) << error.what();
    }
    const RescueResult result = rescue(disk, file, saved, DateTime{45000});
    EXPECT_FALSE(result.whole());
    const auto database = Database::open(disk, saved);
    EXPECT_EQ(database->hasTable(table), row().columnsCanBeRead) << joined(result.losses);
    if (!row().columnsCanBeRead) return;
    EXPECT_EQ(numbersIn(*database).size(), std::size_t{rowsOnAPage});
}

// ---- values outside their rows ----

TEST(LongValueWhoseChainTurnsBack, isReadByNobody)
{
    files::MemoryDisk disk;
    Database::create(disk, file, turkish, DateTime{45000});
    std::vector<std::uint8_t> reference;
    {
        const auto database = Database::open(disk, file);
        Table& made = database->createTable(table, {{u"No", ColumnType::longInteger}, {u"Not", ColumnType::memo}}, {},
                                            DateTime{45000});
        const RowId id = made.insert({{0, 1}, {1, letters(300)}});
        const auto stored = made.row(id)->stored(1);
        reference.assign(stored.begin(), stored.end());
    }
    Image& image = disk.content(file);
    Bytes bytes(image);
    // A chain of one piece that names itself as the next, and has fewer bytes than are promised.
    namespace value = long_value_layout;
    const Place piece = value::place.get(reference);
    value::nextPiece.put(bytes.row(piece), piece);
    const auto at = std::search(image.begin(), image.end(), reference.begin(), reference.end());
    ASSERT_NE(at, image.end());
    value::lengthAndKind.put(&*at, 1000 | value::chainKind << value::kindShift);

    {
        const auto database = Database::open(disk, file);
        EXPECT_NE(joined(checkDatabase(*database).faults).find("kendine dönüyor"), std::string::npos);
        database->table(table).forEachRow([](RowId, const RowView& row) {
            EXPECT_THROW(row.value(1), Error);
            return true;
        });
    }
    const RescueResult result = rescue(disk, file, saved, DateTime{45000});
    EXPECT_NE(joined(result.losses).find("kendine dönüyor"), std::string::npos);
    Database::open(disk, saved)->table(table).forEachRow([](RowId, const RowView& row) {
        EXPECT_EQ(row.number(0), 1.0);
        EXPECT_TRUE(row.isNull(1));
        return true;
    });
}

TEST(FileToBeDamaged, hasRowsOfEveryKind)
{
    const World& w = world();
    for (const int n : {moved, alsoMoved}) EXPECT_NE(w.body(n), w.head(n));
    for (const int n : {0, atHome, alsoAtHome}) EXPECT_EQ(w.body(n), w.head(n));
    for (int n = 0; n < rowsOnAPage; ++n) {
        EXPECT_EQ(w.head(n).page, w.head(0).page);
        EXPECT_TRUE(w.body(n) == w.head(n) || w.body(n).page == w.body(moved).page);
    }
    EXPECT_NE(w.otherBody().page, w.heads[1][0].page);
}

} // namespace
