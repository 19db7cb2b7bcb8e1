#include "query/rows_by_key.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace {

using query::RowsByKey;

TEST(RowsByKey, givesTheRowsOfEachHashInTheirOrder)
{
    // Few hashes, which begin in the same places and run over the end of the table.
    std::mt19937_64 random(3);
    for (const std::size_t count : {0U, 1U, 2U, 7U, 1000U, 20'000U}) {
        RowsByKey rows;
        std::map<std::uint64_t, std::vector<jet::RowId>> expected;
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint64_t hash = (random() % 300 << 40) | (~std::uint64_t{0} >> 24 & ~(random() % 4));
            const jet::RowId row{jet::PageNo(static_cast<std::uint32_t>(i)), jet::SlotNo(i % 200)};
            rows.add(hash, row);
            expected[hash].push_back(row);
        }
        rows.close();
        for (const auto& [hash, all] : expected) {
            const auto found = rows.rowsOf(hash);
            ASSERT_TRUE(std::vector<jet::RowId>(found.begin(), found.end()) == all);
            ASSERT_TRUE(rows.rowsOf(hash ^ std::uint64_t{1} << 63).empty());
        }
        ASSERT_TRUE(rows.rowsOf(0).empty());
    }
}

TEST(RowsByKey, equalBytesHaveEqualHashes)
{
    ASSERT_EQ(RowsByKey::hashOf("Ali"), RowsByKey::hashOf(std::string("Al") + "i"));
    ASSERT_NE(RowsByKey::hashOf("Ali"), RowsByKey::hashOf("Alı"));
}

} // namespace
