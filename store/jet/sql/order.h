#pragma once

#include "store/jet/sql/sql_parser.h"
#include "store/jet/table/table.h"

#include <cstdint>
#include <vector>

namespace jet::sql {

/// Puts rows in the order of an Order By: Null first (last where descending), texts by order_key.h, dates by the
/// moment, numbers by size, False after True (-1). Rows with equal keys keep storage order, descending or not.
class Order {
public:
    /// Throws noSuchTable for a field that is not there, badValue for one that has no order.
    Order(const Table& table, const std::vector<OrderItem>& items);

    /// So many rows may come, to make room for them at once.
    void expect(std::size_t rows);
    void add(RowId id, const RowView& row);
    std::vector<RowId> take(); ///< the rows in order; nothing is left behind

private:
    struct Item {
        std::size_t column = 0;
        ColumnType type{};
        bool descending = false;
    };
    struct Long {
        std::size_t keyAt = 0;
        std::size_t keyLength = 0;
        RowId row;
    };

    static std::uint64_t shortKey(const Item& item, const RowView& row);
    void appendKey(const Item& item, const RowView& row);
    void sortByNumbers();
    void sortByKeys();

    std::vector<Item> items_;
    bool oneNumber_ = false; ///< the key of a row is one number: rows_ and numbers_, otherwise long_
    std::vector<RowId> rows_;
    std::vector<std::uint64_t> numbers_; ///< keys of rows_
    bool inOrder_ = true;                ///< rows_ came in order: a journal mostly lies in the order of its dates
    std::vector<Long> long_;
    std::vector<std::uint8_t> keys_; ///< bytes of the keys of long_
    std::u16string buffer_;
};

} // namespace jet::sql
