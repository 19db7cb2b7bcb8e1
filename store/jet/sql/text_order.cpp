#include "store/jet/sql/text_order.h"

#include "store/jet/values/order_key.h"
#include "store/jet/values/sort_key.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <system_error>
#include <utility>

namespace jet {
namespace {

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
    if (building_.valid()) return search(table, pattern);
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
        if (at->textAt != null && pattern.matchesFolded(folded(*at, texts_))) result.push_back(at->row);
    return result;
}

void TextOrder::follow(const Table& table)
{
    if (building_.valid()) take(building_.get());
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
        entries_.insert(std::ranges::upper_bound(entries_, added, Before{keys_}), added);
    }
    seen_ = table.changes().now();
}

/// What rows() gives while the order is being built: only the texts that match are put in order. They come from memory;
/// from the table itself once that has changed since its texts were learned.
std::vector<RowId> TextOrder::search(const Table& table, const LikePattern& pattern) const
{
    const auto changes = table.changes().since(seen_);
    if (!changes || !changes->empty()) return searchTable(table, pattern);
    std::vector<Entry> found;
    for (const Entry& each : entries_) {
        if (each.textAt == null) continue;
        const std::u16string_view text = folded(each, texts_);
        if (text.starts_with(pattern.prefix()) && pattern.matchesFolded(text)) found.push_back(each);
    }
    return rowsOf(inOrder(std::move(found), texts_).entries);
}

std::vector<RowId> TextOrder::searchTable(const Table& table, const LikePattern& pattern) const
{
    TextOrder found(column_);
    table.passRows(table.dataPages(), [&](RowId id, const RowView& view) {
        if (found.foldedText(view) && pattern.matchesFolded(found.buffer_)) found.entries_.push_back(found.textOf(id));
        return true;
    });
    return rowsOf(inOrder(std::move(found.entries_), found.texts_).entries);
}

std::vector<RowId> TextOrder::rowsOf(const std::vector<Entry>& entries)
{
    std::vector<RowId> result;
    result.reserve(entries.size());
    for (const Entry& each : entries) result.push_back(each.row);
    return result;
}

bool TextOrder::prepare(const Table& table)
{
    if (built_) return true;
    if (table.hasUncommittedChanges()) return false;
    if (!building_.valid()) {
        learnTexts(table);
        const auto build = [this] { return inOrder(entries_, texts_); };
        try {
            building_ = std::async(std::launch::async, build);
        } catch (const std::system_error&) { // the machine has no thread to spare
            building_ = std::async(std::launch::deferred, build);
        }
        return false;
    }
    if (building_.wait_for(std::chrono::seconds(0)) == std::future_status::timeout) return false;
    take(building_.get());
    return true;
}

/// Every row becomes an entry that has no key yet.
void TextOrder::learnTexts(const Table& table)
{
    built_ = false; // stays so when a damaged row stops the reading
    building_ = {};
    entries_.clear();
    keys_.clear();
    texts_.clear();
    seen_ = table.changes().now(); // what is written from now on is followed when all is in order
    table.passRows(table.dataPages(), [this](RowId id, const RowView& view) {
        entries_.push_back(foldedText(view) ? textOf(id) : Entry{.row = id});
        return true;
    });
}

void TextOrder::take(Keyed order)
{
    entries_ = std::move(order.entries);
    keys_ = std::move(order.keys);
    wasted_ = 0;
    built_ = true;
}

void TextOrder::build(const Table& table)
{
    learnTexts(table);
    take(inOrder(std::exchange(entries_, {}), texts_));
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
    if (!foldedText(view)) return {.row = row};
    Entry result = textOf(row);
    giveKey(result, keys_, texts_);
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

void TextOrder::giveKey(Entry& entry, std::vector<std::uint8_t>& keys, std::u16string_view texts)
{
    entry.keyAt = static_cast<std::uint32_t>(keys.size());
    if (entry.textAt == null) return;
    appendFoldedOrderKey(keys, folded(entry, texts));
    entry.keyLength = static_cast<std::uint32_t>(keys.size()) - entry.keyAt;
    entry.head = headOf(std::span(keys).subspan(entry.keyAt));
}

TextOrder::Keyed TextOrder::inOrder(std::vector<Entry> entries, std::u16string_view texts)
{
    Keyed order{std::move(entries), {}};
    for (Entry& each : order.entries) giveKey(each, order.keys, texts);
    std::ranges::sort(order.entries, Before{order.keys});
    return order;
}

bool TextOrder::Before::operator()(const Entry& left, const Entry& right) const
{
    if (left.head != right.head) return left.head < right.head;
    const std::size_t common = std::min(left.keyLength, right.keyLength);
    const int order = common == 0 ? 0 : std::memcmp(keys.data() + left.keyAt, keys.data() + right.keyAt, common);
    if (order != 0) return order < 0;
    if (left.keyLength != right.keyLength) return left.keyLength < right.keyLength;
    return left.row < right.row;
}

} // namespace jet
