#include "store/jet/index/index_page.h"

#include "store/jet/pages/damage.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

namespace jet {
namespace {

namespace at = index_layout;

constexpr std::size_t maskBytes = at::mask.size;

int compareBytes(Entry a, Entry b)
{
    const std::size_t common = std::min(a.size(), b.size());
    const int order = common == 0 ? 0 : std::memcmp(a.data(), b.data(), common);
    if (order != 0) return order;
    return a.size() < b.size() ? -1 : a.size() > b.size();
}

std::size_t commonBytes(Entry a, Entry b)
{
    const std::size_t limit = std::min(a.size(), b.size());
    return static_cast<std::size_t>(
        std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(limit), b.begin()).first - a.begin());
}

/// The ends of the entries behind the first `kept` bytes of the area; what the mask says of those stays.
void writeMask(PageBytes page, std::size_t kept, std::span<const std::uint16_t> ends)
{
    const std::size_t first = at::mask.begin + kept / 8;
    const auto stays = kept == 0 ? std::uint8_t{0} : static_cast<std::uint8_t>((2U << kept % 8) - 1U);
    const auto before = static_cast<std::uint8_t>(page[first] & stays);
    std::memset(&page[first], 0, at::mask.begin + maskBytes - first);
    page[first] = before;
    for (const std::uint16_t end : ends)
        page[at::mask.begin + end / 8] = static_cast<std::uint8_t>(page[at::mask.begin + end / 8] | 1U << end % 8);
}

/// The first of so many places in order that is not below what is sought. Not std::views: not every compiler that
/// reads the sources knows them yet.
template <class IsBelow> std::size_t firstNotBelow(std::size_t count, IsBelow&& isBelow)
{
    std::size_t first = 0;
    while (first < count) {
        const std::size_t middle = (first + count) / 2;
        if (isBelow(middle))
            first = middle + 1;
        else
            count = middle;
    }
    return first;
}

} // namespace

Key entryOf(std::span<const std::uint8_t> key, RowId row)
{
    Key entry;
    entry.reserve(key.size() + rowIdBytes);
    entry.assign(key.begin(), key.end());
    entry.insert(entry.end(),
                 {static_cast<std::uint8_t>(row.page.number() >> 16), static_cast<std::uint8_t>(row.page.number() >> 8),
                  static_cast<std::uint8_t>(row.page.number()), static_cast<std::uint8_t>(row.slot.number())});
    return entry;
}

int compareEntries(Entry a, Entry b)
{
    const int order = compareBytes(a.first(a.size() - rowIdBytes), b.first(b.size() - rowIdBytes));
    return order != 0 ? order
                      : std::memcmp(a.data() + a.size() - rowIdBytes, b.data() + b.size() - rowIdBytes, rowIdBytes);
}

RowId rowOf(Entry entry) { return RowId::unpacked(getU32BigEndian(entry.data() + entry.size() - rowIdBytes)); }

Key nodeEntryOf(Entry last, PageNo child)
{
    Key entry;
    entry.reserve(last.size() + childPageBytes);
    entry.assign(last.begin(), last.end());
    for (unsigned shift = 32; shift != 0;) {
        shift -= 8;
        entry.push_back(static_cast<std::uint8_t>(child.number() >> shift));
    }
    return entry;
}

IndexPage::IndexPage(const Pager& pager, PageNo page, PageNo tableDefinition, PageView bytes) : page_(bytes)
{
    leaf_ = isPageOf(page_, PageType::indexLeaf);
    if (!leaf_ && !isPageOf(page_, PageType::indexNode))
        throwDamaged(pager, page, "burada bir dizin sayfası olmalıydı");
    if (at::owner.get(page_) != tableDefinition) throwDamaged(pager, page, "dizin sayfası başka bir tablonun");
    prefix_ = at::prefix.get(page_);

    const std::size_t child = leaf_ ? 0 : childPageBytes, suffix = rowIdBytes + child;
    // At least one byte of each entry, a node's child page apart, is its own. What is the same for all entries but the
    // first is worked out once: a row that is written makes a dozen of these.
    const std::size_t leastOwn = std::max(child + 1, suffix - std::min(prefix_, suffix));
    std::size_t begin = 0, least = std::max(prefix_ + 1 + child, suffix), whole = suffix + prefix_, count = 0;
    bool reaches = false;
    for (std::size_t base = 0; base < maskBytes; base += 8) {
        std::uint64_t bits = 0;
        if (base + 8 <= maskBytes) {
            bits = getU64(&page_[at::mask.begin + base]);
        } else {
            for (std::size_t i = base; i < maskBytes; ++i)
                bits |= static_cast<std::uint64_t>(page_[at::mask.begin + i]) << (i - base) * 8;
        }
        for (; bits != 0; bits &= bits - 1) {
            const std::size_t end = base * 8 + static_cast<std::size_t>(std::countr_zero(bits));
            if (end < begin + least || end > indexArea)
                throwDamaged(pager, page, "dizin girişlerinin sınırları tutarsız");
            reaches |= end - begin < whole;
            ends_[count++] = static_cast<std::uint16_t>(end);
            begin = end;
            least = leastOwn;
            whole = suffix;
        }
    }
    count_ = count;
    prefixReachesRows_ = reaches;
}

Entry IndexPage::rest(std::size_t i) const
{
    const std::size_t from = begin(i) + (i == 0 ? prefix_ : 0);
    return page_.subspan(at::area.begin + from, ends_[i] - from - (leaf_ ? 0 : childPageBytes));
}

void IndexPage::copyEntry(std::size_t i, Key& into) const
{
    const Entry tailBytes = rest(i);
    const std::uint8_t* shared = &page_[at::area.begin];
    into.resize(prefix_ + tailBytes.size());
    std::memcpy(into.data(), shared, prefix_);
    std::memcpy(into.data() + prefix_, tailBytes.data(), tailBytes.size());
}

bool IndexPage::entryIs(std::size_t i, Entry entry) const
{
    const Entry tailBytes = rest(i);
    return entry.size() == prefix_ + tailBytes.size() &&
           std::memcmp(entry.data(), &page_[at::area.begin], prefix_) == 0 &&
           std::memcmp(entry.data() + prefix_, tailBytes.data(), tailBytes.size()) == 0;
}

bool IndexPage::ascends() const
{
    if (prefixReachesRows_) {
        Key before, entry;
        for (std::size_t i = 0; i < count_; ++i, std::swap(before, entry)) {
            copyEntry(i, entry);
            if (i > 0 && compareEntries(before, entry) >= 0) return false;
        }
        return true;
    }
    // What stands before the rest is common to all.
    for (std::size_t i = 1; i < count_; ++i)
        if (compareEntries(rest(i - 1), rest(i)) >= 0) return false;
    return true;
}

std::size_t IndexPage::lowerBound(Entry entry) const
{
    if (count_ == 0) return 0;
    if (prefixReachesRows_) {
        Key each;
        return firstNotBelow(count_, [&](std::size_t i) {
            copyEntry(i, each);
            return compareEntries(each, entry) < 0;
        });
    }
    const std::size_t keyBytes = entry.size() - rowIdBytes;
    const int order = compareBytes(entry.first(std::min(prefix_, keyBytes)), page_.subspan(at::area.begin, prefix_));
    if (order != 0) return order < 0 ? 0 : count_;
    const Entry wanted = entry.subspan(prefix_);
    return firstNotBelow(count_, [&](std::size_t i) { return compareEntries(rest(i), wanted) < 0; });
}

PageNo IndexPage::child(std::size_t i) const
{
    return i == count_ ? tail() : PageNo(getU32BigEndian(&page_[at::area.begin + ends_[i] - childPageBytes]));
}

bool IndexPage::insertInPlace(PageBytes page, std::size_t i, Entry entry) const
{
    assert(leaf_);
    if (prefixReachesRows_) return false;
    if (prefix_ > 0) {
        const bool alike = i > 0 && entry.size() >= prefix_ + rowIdBytes &&
                           std::memcmp(entry.data(), &page_[at::area.begin], prefix_) == 0;
        if (!alike) return false;
        entry = entry.subspan(prefix_);
    }
    const std::size_t used = usedBytes();
    if (used + entry.size() > indexArea) return false;

    const std::size_t from = begin(i);
    std::uint8_t* area = &page[at::area.begin];
    std::memmove(area + from + entry.size(), area + from, used - from);
    std::memcpy(area + from, entry.data(), entry.size());
    std::array<std::uint16_t, maxIndexEntries> ends;
    ends[0] = static_cast<std::uint16_t>(from + entry.size());
    for (std::size_t k = i; k < count_; ++k) ends[k - i + 1] = static_cast<std::uint16_t>(ends_[k] + entry.size());
    writeMask(page, from, std::span(ends).first(count_ - i + 1));
    at::freeBytes.put(page, static_cast<std::uint32_t>(indexArea - used - entry.size()));
    return true;
}

bool IndexPage::eraseInPlace(PageBytes page, std::size_t i) const
{
    assert(leaf_);
    if (prefix_ > 0) return false;
    const std::size_t used = usedBytes(), from = begin(i), length = ends_[i] - from;
    std::uint8_t* area = &page[at::area.begin];
    std::memmove(area + from, area + ends_[i], used - ends_[i]);
    std::memset(area + used - length, 0, length);
    std::array<std::uint16_t, maxIndexEntries> ends;
    for (std::size_t k = i + 1; k < count_; ++k) ends[k - i - 1] = static_cast<std::uint16_t>(ends_[k] - length);
    writeMask(page, from, std::span(ends).first(count_ - i - 1));
    at::freeBytes.put(page, static_cast<std::uint32_t>(indexArea - used + length));
    return true;
}

void EntryList::insert(std::size_t i, Entry entry)
{
    const std::size_t from = begin(i);
    bytes_.insert(bytes_.begin() + static_cast<std::ptrdiff_t>(from), entry.begin(), entry.end());
    const auto length = static_cast<std::uint32_t>(entry.size());
    for (std::size_t k = i; k < ends_.size(); ++k) ends_[k] += length;
    ends_.insert(ends_.begin() + static_cast<std::ptrdiff_t>(i), static_cast<std::uint32_t>(from) + length);
}

void EntryList::erase(std::size_t i)
{
    const auto from = static_cast<std::ptrdiff_t>(begin(i)), to = static_cast<std::ptrdiff_t>(ends_[i]);
    bytes_.erase(bytes_.begin() + from, bytes_.begin() + to);
    ends_.erase(ends_.begin() + static_cast<std::ptrdiff_t>(i));
    for (std::size_t k = i; k < ends_.size(); ++k) ends_[k] -= static_cast<std::uint32_t>(to - from);
}

EntryList EntryList::part(std::size_t from, std::size_t to) const
{
    EntryList list;
    for (std::size_t i = from; i < to; ++i) list.append((*this)[i]);
    return list;
}

bool RunFit::add(Entry entry)
{
    const Entry key = entry.first(entry.size() - suffix_);
    // In ascending order what the first and the latest have in common is common to all. A shorter key must not
    // have part of its row id taken into the prefix.
    const std::size_t common = count_ == 0 ? key.size() : std::min({common_, key.size(), commonBytes(first_, key)});
    const std::size_t total = total_ + entry.size();
    if (total > indexArea && total - count_ * common > indexArea) return false;
    if (count_ == 0) first_.assign(key.begin(), key.end());
    ++count_;
    total_ = total;
    common_ = common;
    return true;
}

IndexPageImage IndexPageImage::of(const IndexPage& page)
{
    IndexPageImage image{page.isLeaf(), page.level(), page.previous(),         page.next(),
                         page.tail(),   {},           page.prefixReachesRows()};
    Key entry;
    for (std::size_t i = 0; i < page.count(); ++i) {
        page.copyEntry(i, entry);
        if (page.isLeaf())
            image.entries.append(entry);
        else
            image.insertChild(i, entry, page.child(i));
    }
    return image;
}

PageNo IndexPageImage::child(std::size_t i) const
{
    return i == entries.size() ? tail : PageNo(getU32BigEndian(entries[i].data() + entries[i].size() - childPageBytes));
}

void IndexPageImage::insertChild(std::size_t i, Entry last, PageNo child)
{
    entries.insert(i, nodeEntryOf(last, child));
}

bool IndexPageImage::fits() const
{
    RunFit fit(unsharedBytes());
    for (std::size_t i = 0; i < entries.size(); ++i)
        if (!fit.add(entries[i])) return false;
    return true;
}

void IndexPageImage::writeTo(PageBytes page, PageNo tableDefinition) const
{
    RunFit fit(unsharedBytes());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        [[maybe_unused]] const bool fitted = fit.add(entries[i]);
        assert(fitted);
    }
    std::ranges::fill(page, std::uint8_t{0});
    stampPage(page, leaf ? PageType::indexLeaf : PageType::indexNode);
    at::owner.put(page, tableDefinition);
    at::previous.put(page, previous);
    at::next.put(page, next);
    at::tail.put(page, tail);
    at::prefix.put(page, static_cast<std::uint32_t>(fit.prefix()));
    at::level.put(page, level);
    std::array<std::uint16_t, maxIndexEntries> ends;
    std::size_t end = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Entry stored = entries[i].subspan(i == 0 ? 0 : fit.prefix());
        std::memcpy(&page[at::area.begin + end], stored.data(), stored.size());
        end += stored.size();
        ends[i] = static_cast<std::uint16_t>(end);
    }
    writeMask(page, 0, std::span(ends).first(entries.size()));
    at::freeBytes.put(page, static_cast<std::uint32_t>(indexArea - end));
}

void initIndexLeaf(PageBytes page, PageNo tableDefinition) { IndexPageImage{}.writeTo(page, tableDefinition); }

} // namespace jet
