#include "weights/book_history.h"

#include "store/jet/values/calendar.h"

#include <algorithm>
#include <string_view>

namespace weights {

JournalKey keyOf(double moment, std::string customer)
{
    return {jet::milliseconds(jet::DateTime{moment}), std::move(customer)};
}

std::uint64_t olderThanTheBook(const std::vector<PlacedLine>& lines, const std::vector<JournalKey>& rows)
{
    const BookHistory history(lines);
    std::optional<std::int64_t> first;
    std::multiset<JournalKey> ofLines;
    for (const auto& entry : history.entries())
        if (const Pressing* pressing = pressingOf(entry)) {
            JournalKey key = keyOf(pressing->moment, pressing->customer);
            if (!first) first = key.milliseconds;
            ofLines.insert(std::move(key));
        }
    if (!first) return rows.size();
    std::uint64_t count = 0;
    for (const JournalKey& row : rows) {
        if (row.milliseconds >= *first) continue;
        if (const auto line = ofLines.find(row); line != ofLines.end())
            ofLines.erase(line);
        else
            ++count;
    }
    return count;
}

const Pressing* pressingOf(const BookHistory::Entry& entry) { return std::get_if<Pressing>(&entry.line->fact); }

bool concerns(const Deletion& deletion, const std::string& customer)
{
    return !deletion.customer || *deletion.customer == customer;
}

BookHistory::BookHistory(const std::vector<PlacedLine>& lines, bool everyStep) : everyStep_(everyStep)
{
    std::set<std::string_view> texts;
    for (const PlacedLine& each : lines) {
        if (!each.line || !texts.insert(each.text).second) continue;
        entries_.push_back({&*each.line, {}});
        everyStep_ = everyStep_ || std::holds_alternative<Restore>(each.line->fact);
    }
    Taken taken;
    for (std::size_t at = 0; at < entries_.size(); ++at) {
        const Fact& fact = entries_[at].line->fact;
        if (const auto* pressing = std::get_if<Pressing>(&fact))
            before_ = pressing->before.value_or(before_);
        else if (const auto* deletion = std::get_if<Deletion>(&fact))
            take(at, *deletion, taken);
        else
            take(at, std::get<Restore>(fact), taken);
        taken.resize(at + 1);
        if (everyStep_ && !pressingOf(entries_[at])) after_[at] = taken;
    }
    for (std::size_t i = 0; i < taken.size(); ++i)
        if (taken[i] > 0) entries_[i].takenBy = taken[i] - 1;
}

std::uint64_t BookHistory::lineOf(const std::vector<JournalKey>& rows) const
{
    std::multiset<JournalKey> left(rows.begin(), rows.end());
    std::vector<bool> isThere(entries_.size());
    std::int64_t differing = 0; // entries with a row too many or too few, behind the line that is looked at
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const Pressing* pressing = pressingOf(entries_[i]);
        const auto row = pressing ? left.find(keyOf(pressing->moment, pressing->customer)) : left.end();
        if (row == left.end()) continue;
        left.erase(row);
        isThere[i] = true;
        ++differing;
    }
    std::int64_t fewest = differing;
    std::uint64_t best = 0;
    for (std::size_t at = 0; at < entries_.size(); ++at) {
        if (pressingOf(entries_[at])) {
            differing += isThere[at] ? -1 : 1;
        } else {
            const Taken& taken = after_.at(at);
            differing = 0;
            for (std::size_t i = 0; i < entries_.size(); ++i) {
                const bool wanted = i < at && pressingOf(entries_[i]) && taken[i] == 0;
                if (wanted != isThere[i]) ++differing;
            }
        }
        if (differing > fewest) continue;
        fewest = differing;
        best = entries_[at].line->number;
    }
    return best;
}

void BookHistory::take(std::size_t at, const Deletion& deletion, Taken& taken)
{
    std::uint64_t here = 0;
    for (std::size_t i = 0; i < at; ++i) {
        const Pressing* pressing = pressingOf(entries_[i]);
        if (!pressing || taken[i] > 0 || !concerns(deletion, pressing->customer)) continue;
        taken[i] = static_cast<std::uint32_t>(at + 1);
        ++here;
    }
    // What it took away is more than the lines where it took older ones as well; less where some were gone by then.
    const std::uint64_t older = before_ - std::min(before_, deletion.before);
    if (here + older > deletion.pressings) lostBefore_[at] = here + older - deletion.pressings;
    before_ = deletion.before;
}

void BookHistory::take(std::size_t at, const Restore& restore, Taken& taken)
{
    // As it was behind the line that the copy goes up to, and nothing since.
    std::size_t kept = 0;
    while (kept < at && entries_[kept].line->number <= restore.upTo) ++kept;
    const auto next = after_.lower_bound(kept);
    Taken then = next == after_.begin() ? Taken() : std::prev(next)->second;
    then.resize(kept);
    then.resize(at, static_cast<std::uint32_t>(at + 1));
    taken = std::move(then);
    before_ = restore.before;
}

} // namespace weights
