#pragma once

#include "store/jet/format.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace jet {

/// Which rows of a table were written lately, in order, so that what was learned about the table by reading it can
/// follow the changes instead of reading all of it again.
///
/// A row stands here from the moment it is touched, whether or not the transaction around it is committed later: who
/// follows looks the row up again, and does so outside of transactions only.
class ChangeLog {
public:
    using Position = std::uint64_t;

    /// The row was added, changed or removed.
    void touched(RowId row)
    {
        if (rows_.size() == most) {
            rows_.erase(rows_.begin(), rows_.begin() + most / 2);
            first_ += most / 2;
        }
        rows_.push_back(row);
    }

    /// The table was emptied: all rows are gone, and their places may be taken by new ones.
    void emptied()
    {
        first_ += rows_.size() + 1;
        rows_.clear();
        ++timesEmptied_;
    }
    std::uint64_t timesEmptied() const { return timesEmptied_; }

    Position now() const { return first_ + rows_.size(); }

    /// The rows touched since that position; nothing when that is too long ago to know. Valid until the next change.
    std::optional<std::span<const RowId>> since(Position position) const
    {
        if (position < first_) return std::nullopt;
        return std::span(rows_).subspan(static_cast<std::size_t>(position - first_));
    }

private:
    static constexpr std::ptrdiff_t most = 8192;
    std::vector<RowId> rows_;
    Position first_ = 0; ///< position of rows_[0]
    std::uint64_t timesEmptied_ = 0;
};

} // namespace jet
