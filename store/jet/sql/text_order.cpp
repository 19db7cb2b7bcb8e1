#include "store/jet/sql/text_order.h"

#include "store/jet/values/order_key.h"
#include "store/jet/values/sort_key.h"

#include <algorithm>
#include <cstring>

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
    std::vector<RowId> result;
    result.reserve(entries_.size());
    for (const Entry& entry : entries_) result.push_back(entry.row);
    return result;
}

std::vector<RowId> TextOrder::rows(const Table& table, const LikePattern& pattern)
{
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
    ids.erase(std::ranges::unique(ids).begin(), ids.end());
    wasted_ += std::erase_if(entries_, [&](const Entry& entry) { return std::ranges::binary_search(ids, entry.row); });
    for (const RowId id : ids) {
        const std::optional<RowView> view = table.row(id);
        if (!view) continue;
        const Entry added = entry(id, *view);
        const auto less = [this](const Entry& left, const Entry& right) { return before(left, right); };
        entries_.insert(std::ranges::upper_bound(entries_, added, less), added);
    }
    seen_ = table.changes().now();
}

void TextOrder::build(const Table& table)
{
    built_ = false; // stays so when a damaged row stops the reading
    entries_.clear();
    keys_.clear();
    texts_.clear();
    wasted_ = 0;
    table.passRows(table.dataPages(), [this](RowId id, const RowView& view) {
        entries_.push_back(entry(id, view));
        return true;
    });
    std::ranges::sort(entries_, [this](const Entry& left, const Entry& right) { return before(left, right); });
    seen_ = table.changes().now();
    built_ = true;
}

TextOrder::Entry TextOrder::entry(RowId row, const RowView& view)
{
    Entry result;
    result.row = row;
    result.keyAt = static_cast<std::uint32_t>(keys_.size());
    if (!view.text(column_, buffer_)) return result;

    for (char16_t& unit : buffer_) unit = foldTurkish(unit);
    appendFoldedOrderKey(keys_, buffer_);
    result.keyLength = static_cast<std::uint32_t>(keys_.size()) - result.keyAt;
    result.head = headOf(std::span(keys_).subspan(result.keyAt));
    result.textAt = static_cast<std::uint32_t>(texts_.size());
    result.textLength = static_cast<std::uint32_t>(buffer_.size());
    texts_ += buffer_;
    return result;
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
