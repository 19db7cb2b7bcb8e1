#pragma once

#include "store/jet/equal_rows.h"
#include "store/jet/text_order.h"

#include <cstddef>
#include <map>

namespace jet {

/// What queries have learned about the rows of one table, column by column. Nothing in it is needed for an answer to
/// be right, only for it to be quick.
class TableMemory {
public:
    TextOrder& order(std::size_t column) { return orders_.try_emplace(column, column).first->second; }
    EqualRows& equal(std::size_t column) { return equals_.try_emplace(column, column).first->second; }

private:
    std::map<std::size_t, TextOrder> orders_;
    std::map<std::size_t, EqualRows> equals_;
};

} // namespace jet
