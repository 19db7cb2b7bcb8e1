#pragma once

#include "store/jet/format/format.h"
#include "store/jet/table/change_log.h"
#include "store/jet/table/table.h"

#include <optional>
#include <vector>

namespace jet {

/// The least and the greatest date that one column has on each data page of a table, kept in memory: a month of a
/// journal is found without reading the pages of the other seasons. The first question reads the table, later ones
/// follow its change log and read the pages with changed rows again.
///
/// About 24 bytes for each page. Dates are the stored numbers, in days; Null and empty pages have no range.
class DateRanges {
public:
    explicit DateRanges(std::size_t column) : column_(column) {}

    /// The data pages on which a row with a date between the two, both included, can stand, ascending; no page is
    /// missing, one too many does no harm. Nothing where only reading the whole table can tell: before the first
    /// question while rows are written that may be taken back. Throws damaged for a row that cannot be read.
    PageList pages(const Table& table, double low, double high);

private:
    /// Pages whose ranges are summed up, so that a long journal is passed over in big steps.
    static constexpr std::size_t groupSize = 256;

    void build(const Table& table);
    void put(const std::vector<PageNo>& pages, const std::vector<NumberRange>& ranges);
    void sumUp(std::size_t group);

    std::size_t column_;
    std::optional<ChangeLog::Position> seen_; ///< nothing before the table was read
    std::vector<PageNo> pages_;               ///< ascending
    std::vector<NumberRange> ranges_;         ///< of pages_
    std::vector<NumberRange> groups_;         ///< of each groupSize pages together
};

} // namespace jet
