#pragma once

#include "store/jet/table/table.h"

#include <cstdint>

namespace jet::sql {

/// Sum of one field over rows. Null does not count; without any value the sum is Null, never 0. Currency and Numeric
/// are summed exactly and stay what they are; whole numbers are summed exactly into a Double, as are Booleans (-1
/// each); Single and Double into a Double.
class Sum {
public:
    /// Throws badValue for a column that holds no numbers.
    Sum(const Table& table, std::size_t column);

    /// Throws badValue when the exact sum no longer fits.
    void add(const RowView& row);
    Value result() const;

private:
    enum class Kind { whole, currency, floating, numeric };
    void addExact(const RowView& row);
    void addNumeric(const Numeric& value);
    [[noreturn]] void failTooLarge() const;

    const Table* table_;
    std::size_t column_;
    Kind kind_;
    bool any_ = false;
    std::int64_t whole_ = 0; ///< ten-thousandths for Currency
    double floating_ = 0;
    __extension__ __int128 numeric_ = 0;
    std::uint8_t scale_ = 0;
};

} // namespace jet::sql
