#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

/// One row of a table of cases: its name, which the report shows, and what is in its columns.
template <class Row> struct NamedRow {
    std::string name;
    Row row;
};
template <class Row> void PrintTo(const NamedRow<Row>& row, std::ostream* out) { *out << row.name; }

/// The table of a test that runs once for each row.
template <class Row> using RowTable = std::vector<NamedRow<Row>>;

/// Base of the tests over such a table.
template <class Row> class TableTest : public testing::TestWithParam<NamedRow<Row>> {
protected:
    static const Row& row() { return TableTest::GetParam().row; }
};

/// Names each test after its row: ASCII letters and digits as they are, an underscore for whatever is between them.
/// Two rows that would have one name end the program before its first test.
struct RowName {
    static std::string plain(const std::string& name);
    template <class Row> std::string operator()(const testing::TestParamInfo<NamedRow<Row>>& info) const
    {
        return plain(info.param.name);
    }
};

/// The same behind the number of the row, for rows named after a text of which only the signs differ.
struct NumberedRowName {
    template <class Row> std::string operator()(const testing::TestParamInfo<NamedRow<Row>>& info) const
    {
        return std::to_string(info.index + 1) + '_' + RowName::plain(info.param.name);
    }
};

/// The suite of the tests over a table:
///     TABLE_SUITE(Sums, SumRow, sums);
///     TEST_P(Sums, leaveNullOut) { const auto& [values, sum] = row(); ... }
// NOLINTBEGIN(bugprone-macro-parentheses): names and types take none
#define TABLE_SUITE(Suite, Row, table)                                                                                 \
    class Suite : public TableTest<Row> {};                                                                            \
    INSTANTIATE_TEST_SUITE_P(, Suite, testing::ValuesIn(table), RowName())
/// The same with all that Base has, for tests that want more than their row.
#define TABLE_SUITE_WITH(Suite, Base, Row, table)                                                                      \
    class Suite : public TableTest<Row>, protected Base {};                                                            \
    INSTANTIATE_TEST_SUITE_P(, Suite, testing::ValuesIn(table), RowName())
// NOLINTEND(bugprone-macro-parentheses)
