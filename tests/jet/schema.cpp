#include "store/jet/care/check.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/database/database.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/format/doors.h"
#include "store/jet/format/index_layout.h"
#include "store/jet/format/row_page_layout.h"
#include "store/jet/format/usage_map_layout.h"
#include "store/jet/format/value_layout.h"
#include "tests/jet/chosen_rows.h"
#include "tests/jet/memory_database.h"
#include "tests/support/bytes.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

#include <sstream>

namespace {

namespace at = jet::index_layout;

using testing::HasSubstr;

using jet::ColumnType;

constexpr const char* path = "tablolar.mdb";

struct Fixture : MemoryDatabase {
    explicit Fixture(jet::Collation collation = jet::turkish) : MemoryDatabase(path, collation) {}
    std::uint8_t* page(jet::PageNo number) { return disk.content(path).data() + jet::positionOf(number); }
};

jet::NewColumn number(std::u16string name) { return {.name = std::move(name), .type = ColumnType::longInteger}; }

std::u16string numbered(const char16_t* name, int i) { return name + jet::fromUtf8(std::to_string(i)); }

struct SchemaRefusalRow {
    std::u16string name;
    std::vector<jet::NewColumn> columns;
    std::vector<jet::NewIndex> indexes;
};

RowTable<SchemaRefusalRow> schemaRefusal()
{
    RowTable<SchemaRefusalRow> table;
    const auto row = [&table](const char* what, const std::u16string& name, const std::vector<jet::NewColumn>& columns,
                              const std::vector<jet::NewIndex>& indexes = {}) {
        table.push_back({what, {name, columns, indexes}});
    };
    const std::vector<jet::NewColumn> one{number(u"A")};
    row("no name", u"", one);
    row("65 characters", std::u16string(65, u'a'), one);
    row("a leading blank", u" Ad", one);
    row("a dot", u"a.b", one);
    row("a bracket", u"a[b", one);
    row("a control character", u"a\tb", one);
    row("no columns", u"T", {});
    row("a column without a name", u"T", {number(u"")});
    row("two columns of one name", u"T", {number(u"Ad"), number(u"AD")});
    row("two AutoNumbers", u"T",
        {{.name = u"A", .type = ColumnType::longInteger, .autoNumber = true},
         {.name = u"B", .type = ColumnType::longInteger, .autoNumber = true}});
    row("a text as AutoNumber", u"T", {{.name = u"A", .type = ColumnType::text, .size = 5, .autoNumber = true}});
    row("a text of no characters", u"T", {{.name = u"A", .type = ColumnType::text, .size = 0}});
    row("a text of 256 characters", u"T", {{.name = u"A", .type = ColumnType::text, .size = 256}});
    row("bytes longer than 510", u"T", {{.name = u"A", .type = ColumnType::binary, .size = 511}});
    row("29 digits", u"T", {{.name = u"A", .type = ColumnType::numeric, .precision = 29}});
    row("more places than digits", u"T", {{.name = u"A", .type = ColumnType::numeric, .precision = 5, .scale = 6}});
    row("an index on an unknown column", u"T", one, {{.name = u"I", .columns = {{u"B", true}}}});
    row("an index without columns", u"T", one, {{.name = u"I", .columns = {}}});
    row("an index with a column twice", u"T", one, {{.name = u"I", .columns = {{u"A", true}, {u"A", false}}}});
    row("two indexes of one name", u"T", one,
        {{.name = u"I", .columns = {{u"A", true}}}, {.name = u"i", .columns = {{u"A", false}}}});
    row("two primary keys", u"T", one,
        {{.name = u"I", .columns = {{u"A", true}}, .primaryKey = true},
         {.name = u"J", .columns = {{u"A", true}}, .primaryKey = true}});
    row("an index on OLE values", u"T", {{.name = u"A", .type = ColumnType::ole}},
        {{.name = u"I", .columns = {{u"A", true}}}});
    std::vector<jet::NewColumn> many;
    std::vector<jet::NewIndex> indexes;
    for (int i = 0; i < 256; ++i) many.push_back(number(numbered(u"A", i)));
    row("256 columns", u"T", many);
    for (int i = 0; i < 33; ++i) indexes.push_back({.name = numbered(u"I", i), .columns = {{u"A", true}}});
    row("33 indexes", u"T", one, indexes);
    jet::NewIndex wide{.name = u"I", .columns = {}};
    many.resize(11);
    for (const jet::NewColumn& column : many) wide.columns.emplace_back(column.name, true);
    row("eleven columns in an index", u"T", many, {wide});
    std::vector<jet::NewColumn> fat;
    for (int i = 0; i < 255; ++i) fat.push_back({.name = numbered(u"A", i), .type = ColumnType::guid});
    row("columns that do not fit a row", u"T", fat);
    return table;
}

TABLE_SUITE(SchemaRefusal, SchemaRefusalRow, schemaRefusal());

TEST_P(SchemaRefusal, tablesThatCannotBeAreRefused)
{
    const auto& name = row().name;
    const auto& columns = row().columns;
    const auto& indexes = row().indexes;
    Fixture fixture;
    const auto before = fixture.disk.content(path);
    ASSERT_TRUE(faultOf([&] { fixture.database->createTable(name, columns, indexes, rows::created); }) ==
                jet::Fault::unsupported);
    ASSERT_TRUE(fixture.database->tableNames().empty());
    ASSERT_EQ(fixture.disk.content(path), before);
}

struct EmptySchema : testing::Test {
    Fixture fixture;
};

TEST_F(EmptySchema, aTakenNameIsRefusedInAnyCase)
{
    fixture.database->createTable(u"Cari", {number(u"A")}, {}, rows::created);
    for (const char16_t* name : {u"Cari", u"cari", u"CARI", u"CARİ", u"MSysObjects"}) {
        ASSERT_TRUE(faultOf([&] { fixture.database->createTable(name, {number(u"A")}, {}, rows::created); }) ==
                    jet::Fault::exists);
    }
    ASSERT_EQ(fixture.database->tableNames().size(), 1U);
}

TEST_F(EmptySchema, aRefusedTableLeavesNothing)
{
    jet::Transaction change(fixture.database->pager());
    fixture.database->createTable(u"Bir", {number(u"A")}, {}, rows::created);
    ASSERT_TRUE(faultOf([&] { fixture.database->createTable(u"BİR", {number(u"A")}, {}, rows::created); }) ==
                jet::Fault::exists);
    fixture.database->createTable(u"İki", {number(u"A")}, {}, rows::created);
    change.commit();
    fixture.reopen();
    ASSERT_EQ(fixture.database->tableNames(), (std::vector<std::u16string>{u"Bir", u"İki"}));
    ASSERT_EQ(fixture.faults(), "");
}

TEST_F(EmptySchema, theWidestTableWorks)
{
    // 255 columns, 32 indexes and more maps than one page holds: the definition spans several pages.
    std::vector<jet::NewColumn> columns;
    std::vector<jet::NewIndex> indexes;
    for (int i = 0; i < 255; ++i) {
        const ColumnType type = i % 5 == 0   ? ColumnType::memo
                                : i % 5 == 1 ? ColumnType::longInteger
                                             : ColumnType::boolean;
        columns.push_back({.name = numbered(u"Uzunca bir sütun adı ", i), .type = type});
    }
    for (std::size_t i = 0; i < 32; ++i) {
        indexes.push_back({.name = numbered(u"Dizin ", int(i)), .columns = {{columns[5 * i + 1].name, i % 2 == 0}}});
    }
    fixture.database->createTable(u"Geniş", columns, indexes, rows::created);
    fixture.reopen();
    jet::Table& table = fixture.database->table(u"Geniş");
    ASSERT_EQ(table.columns().size(), 255U);
    ASSERT_EQ(table.indexes().size(), 32U);
    for (int i = 0; i < 30; ++i) {
        const jet::RowId id = table.insert({{1, i}, {5, std::u16string(100, u'ş')}, {250, u"son"}, {4, true}});
        ASSERT_EQ(table.row(id)->value(250), jet::Value(std::u16string(u"son")));
        ASSERT_EQ(table.row(id)->value(4), jet::Value(true));
    }
    ASSERT_EQ(fixture.faults(), "");
}

TEST_F(EmptySchema, aTableTakenBackIsGone)
{
    const auto before = fixture.disk.content(path);
    {
        jet::Transaction change(fixture.database->pager());
        jet::Table& table = fixture.database->createTable(u"Cari", {number(u"A")}, {}, rows::created);
        table.insert({{0, 1}});
        ASSERT_TRUE(fixture.database->hasTable(u"Cari"));
    }
    ASSERT_FALSE(fixture.database->hasTable(u"Cari"));
    jet::Table& again = fixture.database->createTable(u"Başka", {number(u"B")}, {}, rows::created);
    ASSERT_EQ(again.columns().front().name, u"B");
    ASSERT_EQ(again.rowCount(), 0u);
    ASSERT_EQ(fixture.faults(), "");
}

TEST_F(EmptySchema, anIndexIsDropped)
{
    jet::Table& table = fixture.database->createTable(u"Deneme", rows::everyType(), rows::someIndexes(), rows::created);
    jet::Transaction fill(fixture.database->pager());
    for (int i = 0; i < 2000; ++i) table.insert({{8, jet::DateTime{i * 1.5}}, {9, numbered(u"Ad ", i)}});
    fill.commit();
    const jet::PageCount pages = fixture.database->pager().pageCount();
    fixture.database->dropIndex(u"Deneme", u"adgeri");
    ASSERT_EQ(table.indexes().size(), 4U);
    for (const jet::Index& index : table.indexes()) {
        ASSERT_NE(index.names.front(), u"AdGeri");
        ASSERT_TRUE(!table.range(index, {}, {}).empty() || index.ignoreNulls);
    }
    table.insert({{9, u"Ad"}});
    ASSERT_EQ(fixture.faults(), "");
    // Its pages serve others.
    fixture.database->createTable(u"Başka", {number(u"A")}, {{.name = u"A", .columns = {{u"A", true}}}}, rows::created);
    ASSERT_EQ(fixture.database->pager().pageCount(), pages);
    fixture.reopen();
    ASSERT_EQ(fixture.database->table(u"Deneme").indexes().size(), 4U);
    ASSERT_EQ(fixture.faults(), "");
}

TEST_F(EmptySchema, anIndexTakenBackIsThereAgain)
{
    jet::Table& table = fixture.database->createTable(u"Deneme", rows::everyType(), rows::someIndexes(), rows::created);
    {
        jet::Transaction change(fixture.database->pager());
        fixture.database->dropIndex(u"Deneme", u"Tarih");
        table.insert({{8, jet::DateTime{1}}});
        ASSERT_EQ(table.indexes().size(), 4U);
    }
    ASSERT_EQ(table.indexes().size(), 5U);
    table.insert({{8, jet::DateTime{2}}});
    ASSERT_EQ(fixture.faults(), "");
}

TEST_F(EmptySchema, droppingUnknownIndexesIsRefused)
{
    fixture.database->createTable(u"Deneme", {number(u"A")}, {}, rows::created);
    ASSERT_EQ(faultOf([&] { fixture.database->dropIndex(u"Deneme", u"Tarih"); }), jet::Fault::noSuchTable);
    ASSERT_EQ(faultOf([&] { fixture.database->dropIndex(u"Yok", u"Tarih"); }), jet::Fault::noSuchTable);
    ASSERT_EQ(faultOf([&] { fixture.database->dropIndex(u"MSysObjects", u"Id"); }), jet::Fault::unsupported);
}

/// A table with an index on its only column and the rows 0 .. 9.
jet::Table& tenNumbers(Fixture& fixture)
{
    jet::Table& table = fixture.database->createTable(u"Deneme", {number(u"A")},
                                                      {{.name = u"A", .columns = {{u"A", true}}}}, rows::created);
    for (int i = 0; i < 10; ++i) table.insert({{0, i}});
    return table;
}

struct SchemaWrongIndexRow {
    std::size_t offset;
    int value;
};

RowTable<SchemaWrongIndexRow> schemaWrongIndex()
{
    constexpr std::size_t entryBytes = 9;
    return {
        {"another key", {at::area.begin + 9 * entryBytes + 4, 99}},
        {"a key out of order", {at::area.begin + 4, 7}},
        {"an entry for a row that is not there", {at::area.begin + 9 * entryBytes + 8, 44}},
        {"an entry too few", {at::mask.begin + 11, 0}},
        {"an index page of another table", {at::owner.begin, 2}},
        {"no index page", {at::type.begin, 1}},
    };
}

TABLE_SUITE(SchemaWrongIndex, SchemaWrongIndexRow, schemaWrongIndex());

TEST_P(SchemaWrongIndex, anIndexThatDisagreesKeepsTheTableFromBeingWritten)
{
    const auto [offset, value] = row();
    Fixture fixture;
    const jet::PageNo root = tenNumbers(fixture).indexes().front().root;
    fixture.database.reset();
    fixture.page(root)[offset] = std::uint8_t(value);
    fixture.reopen();
    jet::Table& table = fixture.database->table(u"Deneme");
    ASSERT_EQ(allRows(table).size(), 10U);
    const auto before = fixture.disk.content(path);
    const auto refusal = refusalOf([&] { table.insert({{0, 5}}); });
    ASSERT_EQ(refusal.fault, jet::Fault::indexNotWritable);
    ASSERT_THAT(refusal.sentence, HasSubstr("presva-mdb drop-index \"tablolar.mdb\" \"Deneme\" \"A\""));
    ASSERT_EQ(refusal.sentence, table.whyReadOnly().value_or(""));
    ASSERT_EQ(fixture.disk.content(path), before);
}

TEST_F(EmptySchema, droppingTheIndexThatDisagreesMakesTheTableWritable)
{
    const jet::PageNo root = tenNumbers(fixture).indexes().front().root;
    fixture.database.reset();
    fixture.page(root)[at::area.begin + 4] = 7;
    fixture.reopen();
    jet::Table& table = fixture.database->table(u"Deneme");
    ASSERT_TRUE(table.whyReadOnly().has_value());
    fixture.database->dropIndex(u"Deneme", u"A");
    ASSERT_FALSE(table.whyReadOnly().has_value());
    table.insert({{0, 5}});
    ASSERT_EQ(fixture.faults(), "");
}

struct SchemaDamageRow {
    bool onDataPage; // else on the page of the maps
    std::size_t offset;
    int value;
    int readable;
};

RowTable<SchemaDamageRow> schemaDamage()
{
    using namespace jet::usage_map_layout;
    constexpr std::size_t firstMap = jet::pageSize - newRow, secondMap = firstMap - newRow, bits = inlineBits;
    return {
        {"a row with more columns than the table", {true, jet::pageSize - 7, 9, 9}},
        {"a slot outside the page", {true, jet::row_page_layout::slotAt(0) + 1, 31, 8}},
        {"a page of another table in the map", {false, firstMap + bits, 4, 10}},
        {"a map of an unknown kind", {false, firstMap, 7, 10}},
        {"room on a page that is not the table's", {false, secondMap + bits, 16, 10}},
    };
}

TABLE_SUITE(SchemaDamage, SchemaDamageRow, schemaDamage());

TEST_P(SchemaDamage, damagedTablesAreReadButNotWritten)
{
    const auto& [onDataPage, offset, value, readable] = row();
    Fixture fixture;
    jet::PageNo definition = 0;
    jet::PageNo data = 0;
    {
        jet::Table& table = fixture.database->createTable(u"Deneme", {number(u"A")}, {}, rows::created);
        for (int i = 0; i < 10; ++i) data = table.insert({{0, i}}).page;
        definition = table.definitionPage();
    }
    fixture.database.reset();
    fixture.page(onDataPage ? data : definition + 1)[offset] |= std::uint8_t(value);
    fixture.reopen();
    jet::Table& table = fixture.database->table(u"Deneme");
    int count = 0;
    int damaged = 0;
    table.scan([&](jet::RowId, const jet::RowView&) { return ++count > 0; },
               [&](jet::RowId, const std::string&) { ++damaged; });
    ASSERT_EQ(count, readable);
    ASSERT_EQ(damaged, 10 - readable);
    if (damaged > 0) {
        ASSERT_TRUE(faultOf([&] { table.forEachRow([](jet::RowId, const jet::RowView&) { return true; }); }) ==
                    jet::Fault::damaged);
    }
    ASSERT_EQ(faultOf([&] { table.insert({{0, 5}}); }), jet::Fault::readOnly);
    ASSERT_EQ(faultOf([&] { table.eraseAll(); }), jet::Fault::readOnly);
}

/// The one logical index of tenNumbers(): behind the head, its statistics, the column with its name of one letter, and
/// the physical index.
std::uint8_t* logicalIndexOf(Fixture& fixture, jet::PageNo definition)
{
    using namespace jet::definition_layout;
    constexpr std::size_t name = nameLengthBytes + jet::text_layout::unitBytes;
    return fixture.page(definition) + statistics::at(1) + column::bytes + name + physicalIndex::bytes;
}

TEST_F(EmptySchema, anIndexWithoutARelationshipIsCompactedWhateverTableItNames)
{
    const jet::PageNo definition = tenNumbers(fixture).definitionPage();
    fixture.database.reset();
    jet::definition_layout::logicalIndex::partnerTable.put(logicalIndexOf(fixture, definition), 1);
    fixture.reopen();
    ASSERT_EQ(fixture.faults(), "");
    fixture.database->table(u"Deneme").insert({{0, 10}});
    const std::filesystem::path copy = "yeni.mdb";
    jet::compact(fixture.disk, *fixture.database, copy);
    const auto compacted = jet::Database::open(fixture.disk, copy);
    ASSERT_EQ(allRows(compacted->table(u"Deneme")).size(), 11U);
    ASSERT_TRUE(checkDatabase(*compacted).ok());
}

TEST_F(EmptySchema, aRelationshipWithoutItsOtherEndKeepsTheTableFromBeingWritten)
{
    const jet::PageNo definition = tenNumbers(fixture).definitionPage();
    fixture.database.reset();
    jet::definition_layout::logicalIndex::kind.put(logicalIndexOf(fixture, definition), 2);
    fixture.reopen();
    jet::Table& table = fixture.database->table(u"Deneme");
    ASSERT_TRUE(table.indexes().front().relationship);
    ASSERT_EQ(faultOf([&] { table.insert({{0, 5}}); }), jet::Fault::readOnly);
    ASSERT_EQ(faultOf([&] { fixture.database->dropIndex(u"Deneme", u"A"); }), jet::Fault::unsupported);
}

TEST_F(EmptySchema, systemTablesAreReadOnly)
{
    jet::Table& objects = fixture.database->table(u"MSysObjects");
    ASSERT_EQ(objects.rowCount(), 8u);
    const jet::RowId first = allRows(objects).front();
    ASSERT_EQ(faultOf([&] { objects.insert({}); }), jet::Fault::readOnly);
    ASSERT_EQ(faultOf([&] { objects.update(first, {}); }), jet::Fault::readOnly);
    ASSERT_EQ(faultOf([&] { objects.erase(first); }), jet::Fault::readOnly);
    ASSERT_EQ(faultOf([&] { objects.eraseAll(); }), jet::Fault::readOnly);
}

TEST_F(EmptySchema, aFileOpenedForReadingIsNotWritten)
{
    tenNumbers(fixture);
    fixture.database.reset();
    fixture.database = jet::Database::open(fixture.disk, path, jet::Pager::Mode::readOnly);
    jet::Table& table = fixture.database->table(u"Deneme");
    ASSERT_EQ(faultOf([&] { table.insert({{0, 5}}); }), jet::Fault::readOnly);
    ASSERT_TRUE(faultOf([&] { fixture.database->createTable(u"B", {number(u"A")}, {}, rows::created); }) ==
                jet::Fault::readOnly);
    ASSERT_EQ(faultOf([&] { fixture.database->dropIndex(u"Deneme", u"A"); }), jet::Fault::readOnly);
}

TEST_F(EmptySchema, newTablesGetTheRightsOfTheFile)
{
    const jet::Table& made = fixture.database->createTable(u"Deneme", {number(u"A")}, {}, rows::created);
    const jet::Table& rights = fixture.database->table(u"MSysACEs");
    std::vector<std::string> found;
    rights.forEachRow([&](jet::RowId, const jet::RowView& row) {
        if (row.number(*rights.columnNamed(u"ObjectId")) != double(made.definitionPage().number())) return true;
        const auto account = std::get<jet::Bytes>(row.value(*rights.columnNamed(u"SID")));
        std::ostringstream shown;
        shown << hexOf(account) << ' ' << std::hex
              << static_cast<std::uint64_t>(*row.number(*rights.columnNamed(u"ACM")));
        found.push_back(shown.str());
        return true;
    });
    ASSERT_EQ(found, (std::vector<std::string>{"f48b f00fe", "f58b ffeff"}));
}

} // namespace
