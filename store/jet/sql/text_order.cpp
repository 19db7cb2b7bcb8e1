#include "store/jet/sql/text_order.h"

#include "store/jet/values/order_key.h"
#include "store/jet/values/sort_key.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace jet {
namespace {

/// An entry is merged so many times as quickly as it gets its key.
constexpr std::size_t mergedForOneKeyed = 4;

/// Compared as numbers the words say what the bytes would, a missing byte counting as 00.
std::array<std::uint64_t, 2> headOf(std::span<const std::uint8_t> key)
{
    std::array<std::uint64_t, 2> head{};
    for (std::size_t i = 0; i < std::min(key.size(), sizeof head); ++i)
        head[i / 8] |= std::uint64_t{key[i]} << (56 - 8 * (i % 8));
    return head;
}

/// Below, within or above the keys that begin so: negative, 0, positive.
int place(std::span<const std::uint8_t> key, std::span<const std::uint8_t> beginning)
{
    const std::size_t common = std::min(key.size(), beginning.size());
    const int order = common == 0 ? 0 : std::memcmp(key.data(), beginning.data(), common);
    if (order != 0) return order;
    return key.size() < beginning.size() ? -1 : 0;
}

} // namespace

std::vector<RowId> TextOrder::rows(const Table& table)
{
    follow(table);
    return rowsOf(entries_);
}

std::vector<RowId> TextOrder::rows(const Table& table, const LikePattern& pattern)
{
    if (preparing_) return search(table, pattern);
    follow(table);
    const std::vector<std::uint8_t> beginning = orderKeyPrefix(pattern.prefix());
    const auto placeOf = [&](const Entry& entry) {
        return place(std::span(keys_).subspan(entry.keyAt, entry.keyLength), beginning);
    };
    const auto low = std::ranges::partition_point(entries_, [&](const Entry& entry) { return placeOf(entry) < 0; });
    const auto high =
        std::partition_point(low, entries_.end(), [&](const Entry& entry) { return placeOf(entry) == 0; });

    std::vector<RowId> result;
    for (auto at = low; at != high; ++at)
        if (at->textAt != null && pattern.matchesFolded(folded(*at))) result.push_back(at->row);
    return result;
}

void TextOrder::follow(const Table& table)
{
    const auto touched = built_ ? table.changes().since(seen_) : std::nullopt;
    // Each row that comes or goes moves all behind it; past a few hundred, building anew is quicker.
    constexpr std::size_t fewRows = 300;
    if (!touched || touched->size() > fewRows || wasted_ > entries_.size() + 1000) return build(table);
    if (touched->empty()) return;

    std::vector<RowId> ids(touched->begin(), touched->end());
    std::ranges::sort(ids);
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    wasted_ += std::erase_if(entries_, [&](const Entry& entry) { return std::ranges::binary_search(ids, entry.row); });
    for (const RowId id : ids) {
        const std::optional<RowView> view = table.row(id);
        if (!view) continue;
        const Entry added = entry(id, *view);
        entries_.insert(std::ranges::upper_bound(entries_, added, inOrder()), added);
    }
    seen_ = table.changes().now();
}

/// What rows() gives while the order is being prepared: only the texts that match are put in order, and keep the key
/// that they get. They come from memory; from the table itself once that has changed since its texts were learned.
std::vector<RowId> TextOrder::search(const Table& table, const LikePattern& pattern)
{
    const auto changes = table.changes().since(seen_);
    if (!changes || !changes->empty()) return searchTable(table, pattern);
    std::vector<Entry> found;
    for (Entry& each : entries_) {
        if (each.textAt == null || !folded(each).starts_with(pattern.prefix())) continue;
        if (!pattern.matchesFolded(folded(each))) continue;
        giveKey(each);
        found.push_back(each);
    }
    std::ranges::sort(found, inOrder());
    return rowsOf(found);
}

std::vector<RowId> TextOrder::searchTable(const Table& table, const LikePattern& pattern) const
{
    TextOrder found(column_);
    table.passRows(table.dataPages(), [&](RowId id, const RowView& view) {
        if (found.foldedText(view) && pattern.matchesFolded(found.buffer_))
            found.entries_.push_back(found.entryOfText(id));
        return true;
    });
    std::ranges::sort(found.entries_, found.inOrder());
    return rowsOf(found.entries_);
}

std::vector<RowId> TextOrder::rowsOf(const std::vector<Entry>& entries)
{
    std::vector<RowId> result;
    result.reserve(entries.size());
    for (const Entry& each : entries) result.push_back(each.row);
    return result;
}

bool TextOrder::prepare(const Table& table, std::size_t rows)
{
    if (built_) return true;
    if (table.hasUncommittedChanges()) return false;
    if (!preparing_) {
        learnTexts(table);
        preparing_ = true;
        return false;
    }
    if (keyed_ < entries_.size())
        sortRun(rows);
    else
        mergeRuns(rows * mergedForOneKeyed);
    return built_;
}

/// Every row becomes an entry that has no key yet.
void TextOrder::learnTexts(const Table& table)
{
    clear();
    seen_ = table.changes().now(); // what is written from now on is followed when all is in order
    table.passRows(table.dataPages(), [this](RowId id, const RowView& view) {
        entries_.push_back(foldedText(view) ? textOf(id) : Entry{.row = id});
        return true;
    });
}

/// Gives the next entries their keys, and puts them in order among themselves.
void TextOrder::sortRun(std::size_t rows)
{
    const Run run{keyed_, std::min(keyed_ + rows, entries_.size())};
    for (; keyed_ < run.end; ++keyed_) giveKey(entries_[keyed_]);
    std::sort(placed(run.next), placed(run.end), inOrder());
    runs_.push_back(run);
}

/// Takes the next entries in order from the runs; a heap of them has the run of the next entry in front. The entries
/// themselves stay until the last one is taken: searches go on among them.
void TextOrder::mergeRuns(std::size_t rows)
{
    const auto later = [this](const Run& left, const Run& right) {
        return before(entries_[right.next], entries_[left.next]);
    };
    if (merged_.empty()) {
        merged_.reserve(entries_.size());
        std::ranges::make_heap(runs_, later);
    }
    for (const std::size_t end = std::min(merged_.size() + rows, entries_.size()); merged_.size() < end;) {
        std::ranges::pop_heap(runs_, later);
        Run& run = runs_.back();
        merged_.push_back(entries_[run.next]);
        if (++run.next < run.end)
            std::ranges::push_heap(runs_, later);
        else
            runs_.pop_back();
    }
    if (merged_.size() < entries_.size()) return;
    entries_ = std::exchange(merged_, {});
    runs_ = {};
    preparing_ = false;
    built_ = true;
}

void TextOrder::clear()
{
    entries_.clear();
    keys_.clear();
    texts_.clear();
    wasted_ = 0;
    keyed_ = 0;
    runs_.clear();
    merged_.clear();
}

void TextOrder::build(const Table& table)
{
    built_ = false; // stays so when a damaged row stops the reading
    preparing_ = false;
    learnTexts(table);
    for (Entry& each : entries_) giveKey(each);
    std::ranges::sort(entries_, inOrder());
    built_ = true;
}

/// Puts the text of a row into buffer_, folded; false for Null.
bool TextOrder::foldedText(const RowView& view)
{
    if (!view.text(column_, buffer_)) return false;
    for (char16_t& unit : buffer_) unit = foldTurkish(unit);
    return true;
}

TextOrder::Entry TextOrder::entry(RowId row, const RowView& view)
{
    if (foldedText(view)) return entryOfText(row);
    return {.row = row};
}

/// Of the text in buffer_.
TextOrder::Entry TextOrder::entryOfText(RowId row)
{
    Entry result = textOf(row);
    giveKey(result);
    return result;
}

/// Of the text in buffer_, without a key.
TextOrder::Entry TextOrder::textOf(RowId row)
{
    Entry result{.row = row};
    result.textAt = static_cast<std::uint32_t>(texts_.size());
    result.textLength = static_cast<std::uint32_t>(buffer_.size());
    texts_ += buffer_;
    return result;
}

void TextOrder::giveKey(Entry& entry)
{
    if (entry.keyLength > 0) return; // a search has asked for it before
    entry.keyAt = static_cast<std::uint32_t>(keys_.size());
    if (entry.textAt == null) return;
    appendFoldedOrderKey(keys_, folded(entry));
    entry.keyLength = static_cast<std::uint32_t>(keys_.size()) - entry.keyAt;
    entry.head = headOf(std::span(keys_).subspan(entry.keyAt));
}

bool TextOrder::before(const Entry& left, const Entry& right) const
{
    if (left.head != right.head) return left.head < right.head;
    const std::size_t common = std::min(left.keyLength, right.keyLength);
    const int order = common == 0 ? 0 : std::memcmp(keys_.data() + left.keyAt, keys_.data() + right.keyAt, common);
    if (order != 0) return order < 0;
    if (left.keyLength != right.keyLength) return left.keyLength < right.keyLength;
    return left.row < right.row;
}

std::u16string_view TextOrder::folded(const Entry& entry) const
{
    return std::u16string_view(texts_).substr(entry.textAt, entry.textLength);
}

} // namespace jet
