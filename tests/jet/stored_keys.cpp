#include "store/jet/index/entry_sum.h"
#include "store/jet/index/index_key.h"
#include "store/jet/rows/field_codec.h"

#include "tests/jet/random_rows.h"

#include <gtest/gtest.h>

using namespace jet;

namespace {

Column columnOf(const NewColumn& wanted)
{
    Column column;
    column.name = wanted.name;
    column.type = wanted.type;
    column.precision = wanted.precision;
    column.scale = wanted.scale;
    column.fixed = exactLength(wanted.type) != 0;
    column.length = static_cast<std::uint16_t>(column.fixed ? exactLength(wanted.type) : 2 * wanted.size);
    column.collation = turkish;
    return column;
}

} // namespace

TEST(StoredKeys, areThoseOfTheValues)
{
    rows::Maker maker(7);
    std::size_t columns = 0;
    for (const NewColumn& wanted : rows::everyType()) {
        const Column column = columnOf(wanted);
        Key none;
        if (!appendStoredKey(none, column, std::nullopt, true)) {
            EXPECT_TRUE(none.empty());
            continue;
        }
        ++columns;
        for (const bool ascending : {true, false}) {
            for (int i = 0; i < 500; ++i) {
                const Value value = maker.value(column);
                Key expected, found;
                appendKey(expected, column, value, ascending, KeyUse::compare);
                if (isNull(value)) {
                    ASSERT_TRUE(appendStoredKey(found, column, std::nullopt, ascending));
                } else {
                    const Bytes stored = encodeValue(value, column, u"Deneme");
                    ASSERT_TRUE(appendStoredKey(found, column, std::span(stored), ascending));
                }
                ASSERT_EQ(found, expected) << toUtf8(column.name);
            }
        }
    }
    EXPECT_EQ(columns, 8U); // bytes, whole and floating numbers, money, dates
}

TEST(EntrySums, areEqualInWhateverOrder)
{
    EntrySum one, other;
    const Key a{1, 2, 3}, b{4, 5, 6, 7, 8, 9, 10, 11, 12, 13};
    one.add(a, {5, 1});
    one.add(b, {6, 2});
    other.add(b, {6, 2});
    other.add(a, {5, 1});
    EXPECT_EQ(one, other);
}

TEST(EntrySums, tellEveryChangedBitAndPlace)
{
    const Key key{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    EntrySum original;
    original.add(key, {5, 1});
    for (std::size_t bit = 0; bit < key.size() * 8; ++bit) {
        Key changed = key;
        changed[bit / 8] = static_cast<std::uint8_t>(changed[bit / 8] ^ 1U << bit % 8);
        EntrySum sum;
        sum.add(changed, {5, 1});
        EXPECT_NE(sum, original) << bit;
    }
    for (const RowId row : {RowId{5, 2}, RowId{6, 1}, RowId{0, 0}}) {
        EntrySum sum;
        sum.add(key, row);
        EXPECT_NE(sum, original);
    }
    Key longer = key;
    longer.push_back(0);
    EntrySum sum;
    sum.add(longer, {5, 1});
    EXPECT_NE(sum, original);
}

TEST(EntrySums, tellRowsThatExchangedTheirKeys)
{
    EntrySum one, other;
    one.add(Key{1}, {5, 1});
    one.add(Key{2}, {5, 2});
    other.add(Key{2}, {5, 1});
    other.add(Key{1}, {5, 2});
    EXPECT_NE(one, other);
}
