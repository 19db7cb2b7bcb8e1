#include "store/jet/sql/date_ranges.h"

#include <algorithm>
#include <span>

namespace jet {
namespace {

/// The pages of these rows that belong to the table, ascending. A page of the log may be gone: what added it was taken
/// back.
PageList pagesOf(std::span<const RowId> rows, const std::vector<PageNo>& ofTable)
{
    auto pages = std::make_shared<std::vector<PageNo>>();
    pages->reserve(rows.size());
    for (const RowId& row : rows) pages->push_back(row.page);
    std::ranges::sort(*pages);
    pages->erase(std::unique(pages->begin(), pages->end()), pages->end());
    std::erase_if(*pages, [&](PageNo page) { return !std::ranges::binary_search(ofTable, page); });
    return pages;
}

} // namespace

PageList DateRanges::pages(const Table& table, double low, double high)
{
    const bool maybeTakenBack = table.hasUncommittedChanges();
    std::optional<std::span<const RowId>> touched = seen_ ? table.changes().since(*seen_) : std::nullopt;
    if (!touched) {
        if (maybeTakenBack) return nullptr;
        build(table);
        touched = std::span<const RowId>{};
    }
    auto found = std::make_shared<std::vector<PageNo>>();
    if (!touched->empty()) {
        const auto changed = pagesOf(*touched, *table.dataPages());
        if (maybeTakenBack) {
            *found = *changed; // whatever stands there now, and whatever comes back
        } else {
            put(*changed, table.numberRanges(column_, changed));
            seen_ = table.changes().now();
        }
    }
    const std::size_t unsure = found->size();
    for (std::size_t group = 0; group < groups_.size(); ++group) {
        if (!groups_[group].meets(low, high)) continue;
        const std::size_t end = std::min(ranges_.size(), (group + 1) * groupSize);
        for (std::size_t i = group * groupSize; i < end; ++i)
            if (ranges_[i].meets(low, high)) found->push_back(pages_[i]);
    }
    if (unsure > 0) {
        std::ranges::sort(*found);
        found->erase(std::unique(found->begin(), found->end()), found->end());
    }
    return found;
}

void DateRanges::build(const Table& table)
{
    const auto pages = table.dataPages();
    ranges_ = table.numberRanges(column_, pages);
    pages_ = *pages;
    groups_.resize((pages_.size() + groupSize - 1) / groupSize);
    for (std::size_t group = 0; group < groups_.size(); ++group) sumUp(group);
    seen_ = table.changes().now();
}

void DateRanges::put(const std::vector<PageNo>& pages, const std::vector<NumberRange>& ranges)
{
    std::size_t firstMoved = pages_.size();
    for (std::size_t i = 0; i < pages.size(); ++i) {
        const auto at = static_cast<std::size_t>(std::ranges::lower_bound(pages_, pages[i]) - pages_.begin());
        if (at == pages_.size() || pages_[at] != pages[i]) {
            pages_.insert(pages_.begin() + static_cast<std::ptrdiff_t>(at), pages[i]);
            ranges_.insert(ranges_.begin() + static_cast<std::ptrdiff_t>(at), ranges[i]);
            firstMoved = std::min(firstMoved, at);
        } else {
            ranges_[at] = ranges[i];
            sumUp(at / groupSize);
        }
    }
    // Behind a page that is new all others have moved one place on, some into the next group.
    groups_.resize((pages_.size() + groupSize - 1) / groupSize);
    for (std::size_t group = firstMoved / groupSize; group < groups_.size(); ++group) sumUp(group);
}

void DateRanges::sumUp(std::size_t group)
{
    NumberRange sum;
    const std::size_t end = std::min(ranges_.size(), (group + 1) * groupSize);
    for (std::size_t i = group * groupSize; i < end; ++i) sum.take(ranges_[i]);
    groups_[group] = sum;
}

} // namespace jet
