#pragma once

#include "store/jet/format/format.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace jet {

/// Which rows of a table were written lately, in order, so that what was learned about the table by reading it can
/// follow the changes instead of reading all of it again.
///
/// A row stays in here when the transaction that wrote it is taken back. So who follows must take up committed rows
/// only (Table::hasUncommittedChanges): then looking up again every row named here always leads to the present.
class ChangeLog {
public:
    using Position = std::uint64_t;

    /// The row was added, changed or removed, while the pager's change count was `during`.
    void touched(RowId row, std::uint64_t during)
    {
        if (rows_.size() == most) {
            rows_.erase(rows_.begin(), rows_.begin() + most / 2);
            first_ += most / 2;
        }
        rows_.push_back(row);
        lastDuring_ = during;
    }

    /// The same for all rows at once.
    void everything(std::uint64_t during)
    {
        first_ += rows_.size() + 1;
        rows_.clear();
        lastDuring_ = during;
    }

    Position now() const { return first_ + rows_.size(); }

    /// The rows touched since that position; nothing when that is too long ago to know. Valid until the next change.
    std::optional<std::span<const RowId>> since(Position position) const
    {
        if (position < first_) return std::nullopt;
        return std::span(rows_).subspan(static_cast<std::size_t>(position - first_));
    }

    /// The pager's change count at the last write, if there was one.
    std::optional<std::uint64_t> lastDuring() const { return lastDuring_; }

private:
    static constexpr std::ptrdiff_t most = 8192;
    std::vector<RowId> rows_;
    Position first_ = 0; ///< position of rows_[0]
    std::optional<std::uint64_t> lastDuring_;
};

} // namespace jet
