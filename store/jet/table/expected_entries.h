#pragma once

#include "store/jet/index/entry_sum.h"
#include "store/jet/index/index_key.h"
#include "store/jet/table/table_state.h"

#include <cstdint>
#include <span>
#include <vector>

namespace jet {

/// What the rows of a table demand of one of its indexes, as the sum of the entries that it must have: told row by row,
/// then compared with the entries that are there. So an index is judged by one walk over the rows and one over its
/// leaves, whatever their orders.
class ExpectedEntries {
public:
    /// `use`: whether keys of unsure letters count. Both live as long as this.
    ExpectedEntries(Table::State& table, const Index& index, KeyUse use) : table_(table), index_(&index), use_(use) {}

    /// The row whose head stands there. Long values are looked at through `passing`. Throws disk.
    void add(RowId head, std::span<const std::uint8_t> row, PassingBuffer& passing);

    const Index& index() const { return *index_; }
    /// The entries are exactly those that the rows should have. False also where the key of a row could not be made.
    bool are(const EntrySum& found) const { return certain_ && found == sum_; }
    std::uint64_t rowsWithoutEntry() const { return rowsWithoutEntry_; } ///< that an ignore-nulls index leaves out
    bool hasEmptyField() const { return hasEmptyField_; }                ///< one of its fields is Null in a row

private:
    bool makeKey(std::span<const std::uint8_t> row, PassingBuffer& passing);

    Table::State& table_;
    const Index* index_;
    KeyUse use_;
    EntrySum sum_;
    std::uint64_t rowsWithoutEntry_ = 0;
    bool hasEmptyField_ = false;
    bool certain_ = true;
    Key key_;
    std::vector<Value> values_;
};

} // namespace jet
