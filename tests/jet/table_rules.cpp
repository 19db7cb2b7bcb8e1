#include "files/memory_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/format/doors.h"
#include "store/jet/format/limits.h"
#include "store/jet/rules/table_properties.h"
#include "tests/jet/chosen_rows.h"
#include "tests/jet/memory_database.h"
#include "tests/jet/random_rows.h"
#include "tests/support/bytes.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

#include <limits>
#include <optional>
#include <set>

namespace {

using testing::HasSubstr;

using jet::ColumnType;
using jet::Value;

constexpr const char* path = "kurallar.mdb";

/// A database in memory with one table.
struct Fixture : MemoryDatabase {
    Fixture(const std::vector<jet::NewColumn>& columns, const std::vector<jet::NewIndex>& indexes = {})
        : MemoryDatabase(path)
    {
        table = &database->createTable(u"Deneme", columns, indexes, rows::created);
    }
    Value field(jet::RowId id, std::size_t column) const { return table->row(id).value().value(column); }
    jet::Bytes allBytes() const
    {
        jet::Bytes bytes;
        for (jet::PageNo page = 0; database->pager().has(page); ++page) {
            const jet::PageView view = database->pager().read(page);
            bytes.insert(bytes.end(), view.begin(), view.end());
        }
        return bytes;
    }

    jet::Table* table = nullptr;
};

jet::Numeric numeric(std::uint32_t units, std::uint8_t scale, bool negative = false)
{
    return {.negative = negative, .magnitude = {0, 0, 0, units}, .scale = scale};
}

struct TableRulesValueRow {
    ColumnType type;
    Value given;
    Value kept;
};

const RowTable<TableRulesValueRow> tableRulesValue = {
    {"half to the even neighbour below", {ColumnType::longInteger, 2.5, std::int32_t{2}}},
    {"half to the even neighbour above", {ColumnType::longInteger, 3.5, std::int32_t{4}}},
    {"negative half", {ColumnType::longInteger, -2.5, std::int32_t{-2}}},
    {"money to Long", {ColumnType::longInteger, jet::Currency{25001}, std::int32_t{3}}},
    {"exact decimal to Long", {ColumnType::longInteger, numeric(1250, 3, true), std::int32_t{-1}}},
    {"Long to Double", {ColumnType::doubleFloat, std::int32_t{7}, 7.0}},
    {"Single to Double", {ColumnType::doubleFloat, 0.5f, 0.5}},
    {"Double to Single", {ColumnType::singleFloat, 0.1, 0.1f}},
    {"Double to money", {ColumnType::currency, 1234.56785, jet::Currency{12345678}}},
    {"Long to money", {ColumnType::currency, std::int32_t{-3}, jet::Currency{-30000}}},
    {"exact decimal to money", {ColumnType::currency, numeric(123456789, 5), jet::Currency{12345679}}},
    {"True is -1", {ColumnType::integer, true, std::int16_t{-1}}},
    {"any number is True", {ColumnType::boolean, 0.25, true}},
    {"zero is False", {ColumnType::boolean, std::int32_t{0}, false}},
    {"Null is False", {ColumnType::boolean, Value(), false}},
    {"Null stays Null", {ColumnType::doubleFloat, Value(), Value()}},
    {"a number is a date by its days", {ColumnType::dateTime, 45000.25, jet::DateTime{45000.25}}},
    {"an hour of the calendar's first day",
     {ColumnType::dateTime, jet::limits::firstDay - 0.25, jet::DateTime{jet::limits::firstDay - 0.25}}},
    {"a date is a number by its days", {ColumnType::doubleFloat, jet::DateTime{45000.25}, 45000.25}},
    {"Byte at its end", {ColumnType::byte, 255.4, std::uint8_t{255}}},
    {"Double to exact decimal by its 15 digits", {ColumnType::numeric, 0.1, numeric(100, 3)}},
    {"Double to exact decimal, half to even", {ColumnType::numeric, 1.0005, numeric(1000, 3)}},
    {"negative Double to exact decimal", {ColumnType::numeric, -12.3456, numeric(12346, 3, true)}},
    {"money to exact decimal", {ColumnType::numeric, jet::Currency{-15}, numeric(2, 3, true)}},
    {"exact decimal with more places", {ColumnType::numeric, numeric(7, 0), numeric(7000, 3)}},
};

TABLE_SUITE(TableRulesValue, TableRulesValueRow, tableRulesValue);

TEST_P(TableRulesValue, valuesBecomeTheColumnsType)
{
    const auto& [type, given, kept] = row();
    Fixture fixture({{.name = u"Alan", .type = type, .precision = 18, .scale = 3}});
    const jet::RowId id = fixture.table->insert({{0, given}});
    ASSERT_EQ(fixture.field(id, 0), kept);
    const jet::RowId other = fixture.table->insert({});
    fixture.table->update(other, {{0, given}});
    ASSERT_EQ(fixture.field(other, 0), kept);
}

struct TableRulesRefusalRow {
    ColumnType type;
    Value given;
};

const RowTable<TableRulesRefusalRow> tableRulesRefusal = {
    {"Byte below zero", {ColumnType::byte, -0.6}},
    {"Byte too large", {ColumnType::byte, std::int32_t{256}}},
    {"Integer too large", {ColumnType::integer, 32767.5}},
    {"Long too large", {ColumnType::longInteger, 2147483648.0}},
    {"Long too small", {ColumnType::longInteger, -2147483649.0}},
    {"Single too large", {ColumnType::singleFloat, 1e39}},
    {"money too large", {ColumnType::currency, 1e15}},
    {"not a number", {ColumnType::doubleFloat, std::nan("")}},
    {"infinite", {ColumnType::doubleFloat, std::numeric_limits<double>::infinity()}},
    {"a date before the year 100", {ColumnType::dateTime, jet::limits::firstDay - 1}},
    {"a date after the year 9999", {ColumnType::dateTime, jet::limits::dayAfterLast}},
    {"more digits than the column has", {ColumnType::numeric, 1e6}},
    {"a text for a number", {ColumnType::doubleFloat, std::u16string(u"12")}},
    {"a number for a text", {ColumnType::text, 12.0}},
    {"a text too long", {ColumnType::text, std::u16string(11, u'x')}},
    {"a number for a GUID", {ColumnType::guid, 1.0}},
    {"bytes too long", {ColumnType::binary, jet::Bytes(11)}},
    {"bytes for a text", {ColumnType::text, jet::Bytes(1)}},
};

TABLE_SUITE(TableRulesRefusal, TableRulesRefusalRow, tableRulesRefusal);

TEST_P(TableRulesRefusal, valuesThatDoNotFitAreRefused)
{
    const auto& type = row().type;
    const auto& given = row().given;
    Fixture fixture({{.name = u"Alan", .type = type, .size = 10, .precision = 8, .scale = 2}});
    const jet::RowId id = fixture.table->insert({});
    ASSERT_EQ(faultOf([&] { fixture.table->insert({{0, given}}); }), jet::Fault::badValue);
    ASSERT_EQ(faultOf([&] { fixture.table->update(id, {{0, given}}); }), jet::Fault::badValue);
    ASSERT_EQ(fixture.table->rowCount(), 1U);
}

TEST(TableRules, aRefusedValueIsNamedWithItsColumn)
{
    Fixture fixture({{.name = u"Yağ", .type = ColumnType::byte}});
    const auto refusal = refusalOf([&] { fixture.table->insert({{0, 1000.0}}); });
    ASSERT_THAT(refusal.sentence, HasSubstr("\"Deneme\" tablosunun \"Yağ\" alanına"));
}

TEST(TableRules, unsetColumnsKeepTheirBytes)
{
    Fixture fixture(rows::everyType());
    rows::Maker maker(11);
    const std::vector<jet::Column>& columns = fixture.table->columns();
    for (int round = 0; round < 50; ++round) {
        std::vector<jet::Assignment> values;
        for (std::size_t i = 1; i < columns.size(); ++i) values.push_back({i, maker.value(columns[i])});
        const jet::RowId id = fixture.table->insert(values);
        std::vector<jet::Bytes> before;
        const auto stored = [&](std::size_t column) {
            const auto bytes = fixture.table->row(id).value().stored(column);
            return jet::Bytes(bytes.begin(), bytes.end());
        };
        for (std::size_t i = 0; i < columns.size(); ++i) before.push_back(stored(i));
        const std::size_t changed = 1 + static_cast<std::size_t>(maker.below(int(columns.size()) - 1));
        fixture.table->update(id, {{changed, maker.value(columns[changed])}});
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (i != changed) {
                ASSERT_EQ(stored(i), before[i]);
            }
        }
    }
}

TEST(TableRules, autoNumbersRunOnFromTheHighest)
{
    Fixture fixture({{.name = u"No", .type = ColumnType::longInteger, .autoNumber = true},
                     {.name = u"Ad", .type = ColumnType::text, .size = 10}});
    ASSERT_EQ(fixture.field(fixture.table->insert({{1, u"a"}}), 0), Value(1));
    ASSERT_EQ(fixture.field(fixture.table->insert({{0, 10}}), 0), Value(10));
    const jet::RowId last = fixture.table->insert({});
    ASSERT_EQ(fixture.field(last, 0), Value(11));
    fixture.table->erase(last);
    ASSERT_EQ(fixture.field(fixture.table->insert({}), 0), Value(12));
    ASSERT_EQ(fixture.field(fixture.table->insert({{0, 3}}), 0), Value(3));
    ASSERT_EQ(fixture.field(fixture.table->insert({}), 0), Value(13));
    ASSERT_EQ(fixture.field(fixture.table->insert({}), 0), Value(14));
    ASSERT_EQ(fixture.faults(), "");
}

TEST(TableRules, anAutoNumberIsNeverChanged)
{
    Fixture fixture({{.name = u"No", .type = ColumnType::longInteger, .autoNumber = true},
                     {.name = u"Ad", .type = ColumnType::text, .size = 10}});
    const jet::RowId row = fixture.table->insert({});
    const auto refusal = refusalOf([&] { fixture.table->update(row, {{0, 20}, {1, u"a"}}); });
    ASSERT_EQ(refusal.fault, jet::Fault::badValue);
    ASSERT_THAT(refusal.sentence, HasSubstr("\"No\" alanına bu değer yazılamaz: otomatik verilir"));
    ASSERT_EQ(fixture.field(row, 1), Value());
    // Whoever writes back a whole row changes nothing of it.
    fixture.table->update(row, {{0, 1}, {1, u"b"}});
    ASSERT_EQ(fixture.field(row, 1), Value(std::u16string(u"b")));
    ASSERT_EQ(fixture.field(fixture.table->insert({}), 0), Value(2));
}

/// Whoever puts numbers in by hand may leave the counter behind them.
TEST(TableRules, aCounterBelowTheGreatestNumberIsPutRightByTheNextInsert)
{
    for (const Value& given : {Value(), Value(4), Value(60)}) {
        Fixture fixture({{.name = u"No", .type = ColumnType::longInteger, .autoNumber = true}});
        for (const int number : {5, 50, 7}) fixture.table->insert({{0, number}});
        {
            jet::Transaction change(fixture.database->pager());
            jet::definition_layout::head::lastAutoNumber.put(
                fixture.database->pager().write(fixture.table->definitionPage()), 6);
            change.commit();
        }
        fixture.database = jet::Database::open(fixture.disk, path);
        fixture.table = &fixture.database->table(u"Deneme");
        const auto check = [&] { return jet::checkDatabase(*fixture.database); };
        ASSERT_TRUE(check().ok());
        ASSERT_THAT(check().warnings, testing::ElementsAre(HasSubstr("sayaç")));

        const jet::RowId id = fixture.table->insert({{0, given}});
        ASSERT_EQ(fixture.field(id, 0), jet::isNull(given) ? Value(51) : given);
        ASSERT_TRUE(check().ok());
        ASSERT_THAT(check().warnings, testing::IsEmpty());
        ASSERT_EQ(fixture.field(fixture.table->insert({}), 0), Value(given == Value(60)  ? 61
                                                                     : given == Value(4) ? 51
                                                                                         : 52));
    }
}

TEST(TableRules, aRowMayBe4060BytesLong)
{
    std::vector<jet::NewColumn> columns;
    for (int i = 0; i < 9; ++i) {
        columns.push_back(
            {.name = u"A" + std::u16string(1, char16_t(u'0' + i)), .type = ColumnType::text, .size = 255});
    }
    Fixture fixture(columns);
    // Wide letters are two bytes each. Around the texts stand the column count, nine places, the end, their count and
    // two bytes of bitmap: 2 + 20 + 2 + 2.
    const auto texts = [](int lettersOfTheLast) {
        std::vector<jet::Assignment> values;
        for (std::size_t i = 0; i < 7; ++i) values.push_back({i, std::u16string(255, u'ş')});
        values.push_back({7, std::u16string(std::size_t(lettersOfTheLast), u'ş')});
        return values;
    };
    const int room = (4060 - 26 - 7 * 510) / 2;
    const jet::RowId id = fixture.table->insert(texts(room));
    ASSERT_EQ(fixture.table->row(id)->bytes().size(), 4060U);
    ASSERT_EQ(faultOf([&] { fixture.table->insert(texts(room + 1)); }), jet::Fault::badValue);
    ASSERT_EQ(faultOf([&] { fixture.table->update(id, {{8, std::u16string(u"ş")}}); }), jet::Fault::badValue);
    ASSERT_EQ(fixture.faults(), "");
}

TEST(TableRules, requiredFieldsAreNotLeftEmpty)
{
    Fixture fixture(
        {{.name = u"Unvan", .type = ColumnType::text, .size = 20}, {.name = u"Kap", .type = ColumnType::byte}},
        {{.name = u"PrimaryKey", .columns = {{u"Unvan", true}}, .primaryKey = true},
         {.name = u"Kap", .columns = {{u"Kap", true}}, .required = true}});
    ASSERT_EQ(faultOf([&] { fixture.table->insert({{1, 5}}); }), jet::Fault::required);
    ASSERT_EQ(faultOf([&] { fixture.table->insert({{0, u"Ali"}}); }), jet::Fault::required);
    const jet::RowId id = fixture.table->insert({{0, u"Ali"}, {1, 5}});
    ASSERT_EQ(faultOf([&] { fixture.table->update(id, {{1, Value()}}); }), jet::Fault::required);
    ASSERT_EQ(fixture.field(id, 1), Value(std::uint8_t{5}));
}

TEST(TableRules, requiredComesFromTheTablesProperties)
{
    const auto joined = [](std::initializer_list<jet::Bytes> parts) {
        jet::Bytes all;
        for (const jet::Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
        return all;
    };
    const auto text = [&](std::u16string_view letters) {
        jet::Bytes bytes{static_cast<std::uint8_t>(2 * letters.size()), 0};
        for (const char16_t letter : letters)
            bytes.insert(bytes.end(), {static_cast<std::uint8_t>(letter), static_cast<std::uint8_t>(letter >> 8)});
        return bytes;
    };
    const auto sized = [&](const jet::Bytes& body, std::size_t headLength, const jet::Bytes& kind) {
        const std::size_t length = body.size() + headLength + kind.size();
        jet::Bytes head(headLength, 0);
        jet::putU16(head.data(), static_cast<std::uint32_t>(length));
        return joined({head, kind, body});
    };
    const auto column = [&](std::u16string_view name, std::uint8_t required) {
        const jet::Bytes record = sized(joined({bytesOf("00010100 0100"), {required}}), 2, {});
        return sized(joined({sized(text(name), 4, {}), record}), 4, bytesOf("0100"));
    };
    const jet::Bytes block = joined({{'M', 'R', '2', 0},
                                     sized(joined({text(u"Description"), text(u"Required")}), 4, bytesOf("8000")),
                                     column(u"Unvan", 0xFF),
                                     column(u"Kap", 0)});
    const auto required = [](std::span<const std::uint8_t> bytes) {
        std::vector<std::u16string> names;
        for (const jet::ColumnProperties& column : jet::tableProperties(bytes).columns)
            if (column.required) names.push_back(column.column);
        return names;
    };
    ASSERT_EQ(required(block), std::vector<std::u16string>{u"Unvan"});
    for (std::size_t length = 0; length < block.size(); ++length)
        ASSERT_LE(required(std::span(block).first(length)).size(), 1U);
    ASSERT_TRUE(required(jet::Bytes{'K', 'K', 'D', 0}).empty());
}

TEST(TableRules, aUniqueIndexRefusesItsKeyTwice)
{
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}, {.name = u"B", .type = ColumnType::longInteger}},
                    {{.name = u"AB", .columns = {{u"A", true}, {u"B", false}}, .unique = true}});
    const jet::RowId first = fixture.table->insert({{0, 1}, {1, 2}});
    const jet::RowId second = fixture.table->insert({{0, 1}, {1, 3}});
    ASSERT_EQ(faultOf([&] { fixture.table->insert({{0, 1}, {1, 3}}); }), jet::Fault::duplicate);
    ASSERT_EQ(faultOf([&] { fixture.table->update(first, {{1, 3}}); }), jet::Fault::duplicate);
    fixture.table->update(second, {{1, 3}}); // its own key is no other row's
    fixture.table->insert({{0, 1}});
    ASSERT_EQ(faultOf([&] { fixture.table->insert({{0, 1}}); }), jet::Fault::duplicate);
    ASSERT_EQ(fixture.table->rowCount(), 3U);
    ASSERT_EQ(fixture.faults(), "");
}

TEST(TableRules, lettersThatDifferInCaseAreOneKey)
{
    Fixture fixture({{.name = u"Ad", .type = ColumnType::text, .size = 20}},
                    {{.name = u"Ad", .columns = {{u"Ad", true}}, .unique = true}});
    fixture.table->insert({{0, u"sınır"}});
    ASSERT_EQ(faultOf([&] { fixture.table->insert({{0, u"SINIR"}}); }), jet::Fault::duplicate);
    fixture.table->insert({{0, u"SİNİR"}});
    ASSERT_EQ(fixture.table->rowCount(), 2U);
}

TEST(TableRules, rowsWithoutAnyKeyFieldDoNotCollide)
{
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}, {.name = u"B", .type = ColumnType::longInteger}},
                    {{.name = u"AB", .columns = {{u"A", true}, {u"B", true}}, .unique = true}});
    fixture.table->insert({});
    fixture.table->insert({});
    ASSERT_EQ(fixture.table->rowCount(), 2U);
    ASSERT_EQ(fixture.faults(), "");
}

TEST(TableRules, anIgnoreNullsIndexLeavesEmptyRowsOut)
{
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}},
                    {{.name = u"A", .columns = {{u"A", true}}, .ignoreNulls = true}});
    const jet::Index& index = fixture.table->indexes().front();
    const jet::RowId empty = fixture.table->insert({});
    fixture.table->insert({{0, 5}});
    ASSERT_EQ(fixture.table->range(index, {}, {}).size(), 1U);
    fixture.table->update(empty, {{0, 1}});
    ASSERT_EQ(fixture.table->range(index, {}, {}).size(), 2U);
    fixture.table->update(empty, {{0, Value()}});
    fixture.table->erase(empty);
    ASSERT_EQ(fixture.table->range(index, {}, {}).size(), 1U);
    ASSERT_EQ(fixture.faults(), "");
}

TEST(TableRules, aRefusedChangeLeavesEveryByte)
{
    Fixture fixture(rows::everyType(), rows::someIndexes());
    const jet::RowId id = fixture.table->insert({{0, 1}, {10, std::u16string(1000, u'x')}});
    const jet::Bytes before = fixture.allBytes();
    ASSERT_EQ(faultOf([&] {
                  fixture.table->insert({{0, 1}, {10, std::u16string(500, u'y')}});
              }),
              jet::Fault::duplicate);
    ASSERT_EQ(faultOf([&] { fixture.table->update(id, {{10, Value()}, {0, Value()}}); }), jet::Fault::required);
    ASSERT_EQ(faultOf([&] { fixture.table->update(id, {{10, Value()}, {2, 300}}); }), jet::Fault::badValue);
    ASSERT_EQ(faultOf([&] { fixture.table->update({id.page, 77}, {{2, 3}}); }), jet::Fault::noSuchRow);
    ASSERT_EQ(faultOf([&] { fixture.table->erase({id.page + 1, 0}); }), jet::Fault::noSuchRow);
    ASSERT_EQ(fixture.allBytes(), before);
}

TEST(TableRules, aRefusedChangeLeavesTheOpenTransactionAsItWas)
{
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}},
                    {{.name = u"A", .columns = {{u"A", true}}, .unique = true}});
    jet::Transaction change(fixture.database->pager());
    fixture.table->insert({{0, 1}});
    ASSERT_EQ(faultOf([&] { fixture.table->insert({{0, 1}}); }), jet::Fault::duplicate);
    fixture.table->insert({{0, 2}});
    change.commit();
    ASSERT_EQ(fixture.table->rowCount(), 2U);
}

TEST(TableRules, movedRowsKeepTheirPlace)
{
    Fixture fixture(
        {{.name = u"No", .type = ColumnType::longInteger}, {.name = u"Ad", .type = ColumnType::text, .size = 255}},
        {{.name = u"No", .columns = {{u"No", true}}}});
    std::vector<jet::RowId> ids;
    for (int i = 0; i < 100; ++i) ids.push_back(fixture.table->insert({{0, i}, {1, u"kısa"}}));
    const auto check = [&](const std::u16string& expected) {
        int at = 0;
        fixture.table->forEachRow([&](jet::RowId id, const jet::RowView& row) {
            const bool same = id == ids[std::size_t(at)] && row.value(1) == Value(expected);
            at += same ? 1 : 1000;
            return true;
        });
        ASSERT_EQ(at, 100);
        ASSERT_EQ(fixture.faults(), "");
    };
    for (const std::size_t length : {250, 255, 10, 200, 0}) {
        const std::u16string text(length, u'ş');
        for (const jet::RowId id : ids) fixture.table->update(id, {{1, text}});
        check(text);
    }
    for (const jet::RowId id : ids) fixture.table->erase(id);
    ASSERT_EQ(fixture.table->rowCount(), 0U);
    ASSERT_EQ(fixture.faults(), "");
}

TEST(TableRules, longTextsLeaveTheRowAndComeBack)
{
    Fixture fixture({{.name = u"Not", .type = ColumnType::memo}});
    for (const std::size_t length : {0, 1, 30, 62, 63, 64, 65, 1000, 2037}) {
        const std::u16string text(length, u'ğ');
        const jet::RowId id = fixture.table->insert({{0, text}});
        ASSERT_EQ(fixture.field(id, 0), Value(text));
        std::u16string read;
        ASSERT_TRUE(fixture.table->row(id)->text(0, read));
        ASSERT_EQ(read, text);
    }
    ASSERT_EQ(fixture.faults(), "");
}

TEST(TableRules, deletingGivesLongTextsPagesBack)
{
    Fixture fixture({{.name = u"Not", .type = ColumnType::memo}});
    const auto fill = [&] {
        std::vector<jet::RowId> ids;
        for (int i = 0; i < 20; ++i) ids.push_back(fixture.table->insert({{0, std::u16string(1500, u'ğ')}}));
        return ids;
    };
    for (const jet::RowId id : fill()) fixture.table->erase(id);
    const jet::PageCount pages = fixture.database->pager().pageCount();
    const std::vector<jet::RowId> ids = fill();
    for (const jet::RowId id : ids) fixture.table->update(id, {{0, u"kısa"}});
    fill();
    fixture.table->eraseAll();
    fill();
    ASSERT_EQ(fixture.database->pager().pageCount(), pages);
    ASSERT_EQ(fixture.faults(), "");
}

TEST(TableRules, deletedRowsAreGone)
{
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}});
    const jet::RowId id = fixture.table->insert({{0, 1}});
    fixture.table->erase(id);
    ASSERT_FALSE(fixture.table->row(id).has_value());
    ASSERT_EQ(faultOf([&] { fixture.table->erase(id); }), jet::Fault::noSuchRow);
    ASSERT_EQ(faultOf([&] { fixture.table->update(id, {{0, 2}}); }), jet::Fault::noSuchRow);
    ASSERT_FALSE(fixture.table->row({0, 0}).has_value());
    ASSERT_FALSE(fixture.table->row({1, 0}).has_value());
    ASSERT_FALSE(fixture.table->row({99999, 0}).has_value());
}

TEST(TableRules, aNewRowNeverTakesADeletedRowsPlace)
{
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}});
    std::set<jet::RowId> seen;
    for (int i = 0; i < 600; ++i) {
        const jet::RowId id = fixture.table->insert({{0, i}});
        ASSERT_TRUE(seen.insert(id).second);
        if (i % 100 == 99) {
            fixture.table->eraseAll();
        } else {
            fixture.table->erase(id);
        }
    }
    ASSERT_EQ(fixture.faults(), "");
}

TEST(TableRules, emptyingTheTableLeavesNothing)
{
    Fixture fixture(rows::everyType(), rows::someIndexes());
    rows::Maker maker(12);
    for (int i = 0; i < 300; ++i) {
        std::vector<jet::Assignment> values;
        for (std::size_t k = 1; k < fixture.table->columns().size(); ++k) {
            values.push_back({k, maker.value(fixture.table->columns()[k])});
        }
        fixture.table->insert(values);
    }
    fixture.table->eraseAll();
    ASSERT_EQ(fixture.table->rowCount(), 0U);
    ASSERT_TRUE(allRows(*fixture.table).empty()) << "a row is left";
    for (const jet::Index& index : fixture.table->indexes()) {
        ASSERT_TRUE(fixture.table->range(index, {}, {}).empty());
    }
    ASSERT_EQ(fixture.field(fixture.table->insert({}), 0), Value(301));
    ASSERT_EQ(fixture.faults(), "");
}

struct TableRulesRangeRow {
    bool ascending;
    std::optional<int> low;
    std::optional<int> high;
    std::vector<int> found; // 0 stands for Null
};

const RowTable<TableRulesRangeRow> tableRulesRange = {
    {"both ends", {true, 2, 3, {2, 2, 3}}},
    {"open above", {true, 3, std::nullopt, {3, 5}}},
    {"open below", {true, std::nullopt, 2, {0, 1, 2, 2}}},
    {"everything", {true, std::nullopt, std::nullopt, {0, 1, 2, 2, 3, 5}}},
    {"nothing there", {true, 4, 4, {}}},
    {"descending, both ends", {false, 2, 3, {3, 2, 2}}},
    {"descending, open above", {false, 3, std::nullopt, {5, 3}}},
    {"descending, open below", {false, std::nullopt, 2, {2, 2, 1, 0}}},
};

TABLE_SUITE(TableRulesRange, TableRulesRangeRow, tableRulesRange);

TEST_P(TableRulesRange, rangesFollowTheIndex)
{
    const auto& [ascending, low, high, found] = row();
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}, {.name = u"B", .type = ColumnType::longInteger}},
                    {{.name = u"AB", .columns = {{u"A", ascending}, {u"B", true}}}});
    for (const int a : {5, 2, 0, 3, 2, 1}) fixture.table->insert({{0, a == 0 ? Value() : Value(a)}, {1, 100 - a}});
    const auto bound = [](std::optional<int> value) { return value ? std::optional<Value>(*value) : std::nullopt; };
    std::vector<int> values;
    for (const jet::RowId id : fixture.table->range(fixture.table->indexes().front(), bound(low), bound(high))) {
        values.push_back(int(fixture.table->row(id)->number(0).value_or(0)));
    }
    ASSERT_EQ(values, found);
}

TEST(TableRules, aStaleRowCountIsPutRightByTheFirstWrite)
{
    files::MemoryDisk disk;
    jet::PageNo definition = 0;
    {
        jet::Database::create(disk, path, jet::turkish, rows::created);
        const auto database = jet::Database::open(disk, path);
        jet::Table& table =
            database->createTable(u"Deneme", {{.name = u"A", .type = ColumnType::longInteger}}, {}, rows::created);
        for (int i = 0; i < 5; ++i) table.insert({{0, i}});
        definition = table.definitionPage();
    }
    jet::definition_layout::head::rowCount.put(&disk.content(path)[jet::positionOf(definition)], 77);
    const auto database = jet::Database::open(disk, path);
    jet::Table& table = database->table(u"Deneme");
    ASSERT_EQ(table.rowCount(), 77U);
    {
        jet::Transaction takenBack(database->pager());
        table.insert({{0, 5}});
        ASSERT_EQ(table.rowCount(), 6U);
    }
    ASSERT_EQ(table.rowCount(), 77U);
    table.insert({{0, 5}});
    ASSERT_EQ(table.rowCount(), 6U);
    table.insert({{0, 6}});
    ASSERT_EQ(table.rowCount(), 7U);
}

} // namespace
