#pragma once

#include "store/jet/sql/date_ranges.h"
#include "store/jet/sql/equal_rows.h"
#include "store/jet/sql/text_order.h"
#include "store/jet/sql/text_rows.h"

#include <cstddef>
#include <map>
#include <memory>

namespace jet {

/// What queries have learned about the rows of one table, column by column. Nothing in it is needed for an answer to
/// be right, only for it to be quick.
class TableMemory : public TableCompanion {
public:
    /// The one of that table, made when first asked for.
    static TableMemory& of(const Table& table)
    {
        auto& companion = table.companion();
        if (!companion) companion = std::make_unique<TableMemory>();
        return static_cast<TableMemory&>(*companion); // nobody else makes one
    }
    TextOrder& order(std::size_t column) { return orders_.try_emplace(column, column).first->second; }
    DateRanges& dates(std::size_t column) { return dates_.try_emplace(column, column).first->second; }
    EqualRows& equal(std::size_t column) { return equals_.try_emplace(column, column).first->second; }
    TextRows& texts(std::size_t column) { return texts_.try_emplace(column, column).first->second; }

private:
    std::map<std::size_t, TextOrder> orders_;
    std::map<std::size_t, DateRanges> dates_;
    std::map<std::size_t, EqualRows> equals_;
    std::map<std::size_t, TextRows> texts_;
};

} // namespace jet
