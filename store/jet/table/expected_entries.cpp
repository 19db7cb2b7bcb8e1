#include "store/jet/table/expected_entries.h"

#include "store/jet/format/doors.h"

#include <algorithm>

namespace jet {

void ExpectedEntries::add(RowId head, std::span<const std::uint8_t> row, PassingBuffer& passing)
{
    const std::vector<Column>& columns = table_.definition.columns;
    const auto empty = std::ranges::count_if(index_->columns, [&](const IndexColumn& each) {
        return columns[each.column].type != ColumnType::boolean && !table_.field(each.column, row);
    });
    if (empty > 0) hasEmptyField_ = true;
    if (index_->ignoreNulls && static_cast<std::size_t>(empty) == index_->columns.size()) {
        ++rowsWithoutEntry_;
        return;
    }
    if (certain_ && makeKey(row, passing))
        sum_.add(key_, head);
    else
        certain_ = false;
}

/// The row's key into key_; false where there is none. What is wrong then is found out entry by entry.
bool ExpectedEntries::makeKey(std::span<const std::uint8_t> row, PassingBuffer& passing)
{
    const std::vector<Column>& columns = table_.definition.columns;
    key_.clear();
    const bool isPlain = std::ranges::all_of(index_->columns, [&](const IndexColumn& each) {
        return appendStoredKey(key_, columns[each.column], table_.field(each.column, row), each.ascending);
    });
    if (isPlain) return true;
    try {
        table_.keyValues(*index_, row, values_, &passing);
        return indexKey(key_, *index_, columns, values_, use_);
    } catch (const Error& error) {
        if (error.fault() != Fault::damaged && error.fault() != Fault::indexNotWritable) throw;
        return false;
    }
}

} // namespace jet
