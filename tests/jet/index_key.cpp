#include "store/jet/index/index_key.h"
#include "store/jet/format/doors.h"
#include "store/jet/format/key_layout.h"
#include "tests/support/bytes.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

#include <limits>

using jet::Column;
using jet::ColumnType;
using jet::Key;
using jet::Value;

namespace {

using testing::HasSubstr;

Column column(ColumnType type)
{
    Column column;
    column.name = u"Alan";
    column.type = type;
    column.collation = jet::general;
    column.scale = 2;
    return column;
}

Key keyOf(ColumnType type, const Value& value, bool ascending)
{
    Key key;
    jet::appendKey(key, column(type), value, ascending);
    return key;
}

jet::Bytes bytes(std::size_t count)
{
    jet::Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = std::uint8_t(i + 1);
    return bytes;
}

constexpr jet::Guid guid{
    {0x33, 0x22, 0x11, 0x00, 0x55, 0x44, 0x77, 0x66, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};

struct IndexKeyBytesRow {
    ColumnType type;
    Value value;
    bool ascending;
    std::string key;
};

RowTable<IndexKeyBytesRow> indexKeyBytes()
{
    RowTable<IndexKeyBytesRow> table;
    const auto row = [&table](const char* name, ColumnType type, Value value, bool ascending, const char* text) {
        table.push_back({name, {type, value, ascending, plainHex(text)}});
    };
    using enum ColumnType;
    const bool up = true, down = false;
    row("Null", longInteger, jet::Null{}, up, "00");
    row("Null, descending", longInteger, jet::Null{}, down, "FF");
    row("Boolean true", boolean, true, up, "7F 00");
    row("Boolean false", boolean, false, up, "7F FF");
    row("Boolean true, descending", boolean, true, down, "80 FF");
    row("Boolean Null is false", boolean, jet::Null{}, up, "7F FF");
    row("Byte", byte, std::uint8_t{0x85}, up, "7F 85");
    row("Byte, descending", byte, std::uint8_t{0x85}, down, "80 7A");
    row("Integer", integer, std::int16_t{-2}, up, "7F 7FFE");
    row("Integer, descending", integer, std::int16_t{5}, down, "80 7FFA");
    row("Long", longInteger, std::int32_t{1}, up, "7F 80000001");
    row("Long, descending", longInteger, std::int32_t{1}, down, "80 7FFFFFFE");
    row("Long, negative", longInteger, std::int32_t{-45}, up, "7F 7FFFFFD3");
    row("Currency", currency, jet::Currency{700000}, up, "7F 80000000000AAE60");
    row("Currency, negative and descending", currency, jet::Currency{-1}, down, "80 8000000000000000");
    row("Single", singleFloat, 1.0F, up, "7F BF800000");
    row("Single, negative", singleFloat, -1.0F, up, "7F 407FFFFF");
    row("Double", doubleFloat, 0.5, up, "7F BFE0000000000000");
    row("Double, descending", doubleFloat, 0.5, down, "80 401FFFFFFFFFFFFF");
    row("Double, negative and descending", doubleFloat, -2.0, down, "80 C000000000000000");
    row("Date", dateTime, jet::DateTime{45000.5}, up, "7F C0E5F91000000000");
    row("Date before 1899-12-30", dateTime, jet::DateTime{-728.0}, up, "7F 3F793FFFFFFFFFFF");
    row("text", text, std::u16string(u"AA3AA"), up, "7F 4A4A3C4A4A 01 00");
    row("text, empty", text, std::u16string(), up, "7F 01 00");
    row("text, descending", text, std::u16string(u"AAËAA"), down, "80 B5B5AEB5B5 FE FDFDEC FF 00");
    row("memo", memo, std::u16string(u"some"), down, "80 949B9FAE FE FF 00");
    row("Binary, empty", binary, jet::Bytes{}, up, "7F");
    row("Binary, one byte", binary, bytes(1), up, "7F 0100000000000000 01");
    row("Binary, one group", binary, bytes(8), up, "7F 0102030405060708 08");
    row("Binary, two groups", binary, bytes(9), up, "7F 0102030405060708 09 0900000000000000 01");
    row("Binary, one byte descending", binary, bytes(1), down, "80 FEFFFFFFFFFFFFFF FE");
    row("Binary, two groups descending", binary, bytes(9), down, "80 FEFDFCFBFAF9F8F7 09 F6FFFFFFFFFFFFFF FE");
    row("GUID", jet::ColumnType::guid, ::guid, up, "7F 0011223344556677 09 8899AABBCCDDEEFF 08");
    const jet::Numeric number{false, {0, 0, 0x01020304, 0x05060708}, 2};
    const jet::Numeric negative{true, {0, 0, 0x01020304, 0x05060708}, 2};
    row("Numeric", numeric, number, up, "7F FF 0000000000000000 0102030405060708");
    row("Numeric, negative", numeric, negative, up, "7F 00 FFFFFFFFFFFFFFFF FEFDFCFBFAF9F8F7");
    row("Numeric, descending", numeric, number, down, "80 FF FFFFFFFFFFFFFFFF FEFDFCFBFAF9F8F7");
    row("Numeric, negative and descending", numeric, negative, down, "80 00 0000000000000000 0102030405060708");
    return table;
}

TABLE_SUITE(IndexKeyBytes, IndexKeyBytesRow, indexKeyBytes());

TEST_P(IndexKeyBytes, everyTypeHasItsBytes)
{
    const auto& [type, value, ascending, key] = row();
    ASSERT_EQ(hexOf(keyOf(type, value, ascending)), key);
}

struct IndexKeyOrderRow {
    ColumnType type;
    std::vector<Value> values;
};

RowTable<IndexKeyOrderRow> indexKeyOrder()
{
    RowTable<IndexKeyOrderRow> table;
    using enum ColumnType;
    const auto row = [&table](const char* name, ColumnType type, std::vector<Value> values) {
        table.push_back({name, {type, values}});
    };
    constexpr double infinity = std::numeric_limits<double>::infinity();
    row("Byte", byte, {jet::Null{}, std::uint8_t{0}, std::uint8_t{127}, std::uint8_t{128}, std::uint8_t{255}});
    row("Integer", integer, {jet::Null{}, std::int16_t{-32768}, std::int16_t{-1}, std::int16_t{0}, std::int16_t{300}});
    row("Long", longInteger, {jet::Null{}, INT32_MIN, -70000, -1, 0, 1, 255, 256, INT32_MAX});
    row("Currency", currency,
        {jet::Null{}, jet::Currency{INT64_MIN}, jet::Currency{-10000}, jet::Currency{0}, jet::Currency{INT64_MAX}});
    row("Single", singleFloat, {jet::Null{}, -1e30F, -1.5F, -0.0F, 0.0F, 1e-30F, 2.0F});
    row("Double", doubleFloat, {jet::Null{}, -infinity, -1e300, -0.5, 0.0, 1e-300, 3.0, infinity});
    row("Date", dateTime, {jet::Null{}, jet::DateTime{-657434}, jet::DateTime{0}, jet::DateTime{45000.25}});
    row("text", text,
        {jet::Null{}, std::u16string(), std::u16string(u"a"), std::u16string(u"a b"), std::u16string(u"aa"),
         std::u16string(u"ab"), std::u16string(u"b")});
    row("Binary", binary, {jet::Null{}, jet::Bytes{}, bytes(1), bytes(2), bytes(8), bytes(9), bytes(17)});
    const auto scaled = [](bool negative, std::uint32_t high, std::uint32_t low) {
        return Value(jet::Numeric{negative, {0, 0, high, low}, 2});
    };
    row("Numeric", numeric,
        {jet::Null{}, scaled(true, 1, 0), scaled(true, 0, 7), scaled(false, 0, 0), scaled(false, 0, 9),
         scaled(false, 2, 1)});
    return table;
}

TABLE_SUITE(IndexKeyOrder, IndexKeyOrderRow, indexKeyOrder());

TEST_P(IndexKeyOrder, orderOfKeysIsOrderOfValues)
{
    const auto& [type, values] = row();
    for (std::size_t i = 0; i + 1 < values.size(); ++i) {
        ASSERT_LT(keyOf(type, values[i], true), keyOf(type, values[i + 1], true)) << "value " << i;
        // In a descending index Numerics of both signs are in the wrong order, and so is an empty Binary: the format
        // has it so. Everything else is right.
        const auto* number = std::get_if<jet::Numeric>(&values[i]);
        if (number != nullptr && number->negative != std::get<jet::Numeric>(values[i + 1]).negative) continue;
        const auto* binary = std::get_if<jet::Bytes>(&values[i]);
        if (binary != nullptr && binary->empty()) continue;
        ASSERT_LT(keyOf(type, values[i + 1], false), keyOf(type, values[i], false)) << "value " << i;
    }
}

TEST(IndexKey, keysOfSeveralColumnsStandOneAfterAnother)
{
    const std::vector<Column> columns{column(ColumnType::longInteger), column(ColumnType::text)};
    jet::Index index;
    index.columns = {{1, false}, {0, true}};
    const std::vector<Value> values{std::u16string(u"some"), std::int32_t{0}};
    ASSERT_EQ(hexOf(*jet::indexKey(index, columns, values)), "80949b9faefeff007f80000000");
    const std::vector<Value> partlyNull{jet::Null{}, std::int32_t{49}};
    index.columns = {{1, true}, {0, true}};
    ASSERT_EQ(hexOf(*jet::indexKey(index, columns, partlyNull)), "007f80000031");
}

TEST(IndexKey, rowOfNullsHasNoEntryWhereNullsAreIgnored)
{
    const std::vector<Column> columns{column(ColumnType::longInteger), column(ColumnType::text)};
    jet::Index index;
    index.columns = {{0, true}, {1, true}};
    const std::vector<Value> nulls(2), partly{jet::Null{}, std::u16string(u"a")};
    ASSERT_EQ(hexOf(*jet::indexKey(index, columns, nulls)), "0000");
    index.ignoreNulls = true;
    ASSERT_FALSE(jet::indexKey(index, columns, nulls));
    ASSERT_TRUE(jet::indexKey(index, columns, partly).has_value());
}

TEST(IndexKey, unsureCharactersAreRefusedForWritingOnly)
{
    Column name = column(ColumnType::text);
    name.collation = jet::turkish;
    Key key;
    const auto append = [&](jet::KeyUse use) { jet::appendKey(key, name, std::u16string(u"Łódź"), true, use); };
    const auto refusal = refusalOf([&] { append(jet::KeyUse::write); });
    ASSERT_EQ(refusal.fault, jet::Fault::indexNotWritable);
    ASSERT_THAT(refusal.sentence, HasSubstr("U+0141"));
    ASSERT_THAT(refusal.sentence, HasSubstr("Alan"));
    key.clear();
    append(jet::KeyUse::compare);
    ASSERT_EQ(key.front(), std::uint8_t{0x7F});
}

TEST(IndexKey, overlongKeysAreRefusedForWritingOnly)
{
    const std::vector<Column> columns{column(ColumnType::text)};
    jet::Index index;
    index.columns = {{0, true}};
    // 253 letters of two bytes: flag, 506 bytes, 01, 00 make 509.
    const std::vector<Value> tooLong{std::u16string(253, u'_')}, longest{std::u16string(252, u'_') + u"a"};
    ASSERT_EQ(faultOf([&] { jet::indexKey(index, columns, tooLong); }), jet::Fault::indexNotWritable);
    ASSERT_EQ(jet::indexKey(index, columns, tooLong, jet::KeyUse::compare)->size(), 509U);
    ASSERT_EQ(jet::indexKey(index, columns, longest)->size(), jet::key_layout::longest);
}

TEST(IndexKey, columnsWithoutOrderAreRefused)
{
    Key key;
    for (const ColumnType type : {ColumnType::ole, ColumnType::blob})
        ASSERT_TRUE(faultOf([&] { jet::appendKey(key, column(type), jet::Bytes{1}, true); }) ==
                    jet::Fault::indexNotWritable);
    Column german = column(ColumnType::text);
    german.collation = {0x0407, 0};
    ASSERT_TRUE(faultOf([&] { jet::appendKey(key, german, std::u16string(u"a"), true, jet::KeyUse::compare); }) ==
                jet::Fault::indexNotWritable);
}

TEST(IndexKey, valuesOfAnotherTypeAreRefused)
{
    ASSERT_EQ(faultOf([] { keyOf(ColumnType::longInteger, std::u16string(u"1"), true); }), jet::Fault::badValue);
    ASSERT_EQ(faultOf([] { keyOf(ColumnType::text, 1.0, true); }), jet::Fault::badValue);
    ASSERT_EQ(faultOf([] { keyOf(ColumnType::numeric, jet::Numeric{false, {}, 4}, true); }), jet::Fault::badValue);
}

} // namespace
