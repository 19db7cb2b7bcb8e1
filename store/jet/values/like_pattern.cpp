#include "store/jet/values/like_pattern.h"

#include "store/jet/format/doors.h"
#include "store/jet/values/value.h"

#include <algorithm>

namespace jet {
namespace {

[[noreturn]] void failPattern(std::u16string_view pattern, const std::string& what)
{
    throw Error(Fault::syntax, "“" + toUtf8(pattern) + "” arama kalıbı anlaşılamadı: " + what + " Arama yapılmadı.");
}

std::vector<std::uint8_t> keyOf(char16_t unit, Collation order)
{
    std::vector<std::uint8_t> key;
    appendTextKey(key, {&unit, 1}, hasWeights(order) ? order : general);
    return key;
}

} // namespace

LikePattern::LikePattern(std::u16string_view pattern, Collation order) : order_(order)
{
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        switch (pattern[at]) {
        case u'*':
            // Two stars in a row say no more than one, and would only cost time.
            if (elements_.empty() || elements_.back().kind != Kind::run) elements_.push_back({Kind::run});
            break;
        case u'?':
            elements_.push_back({Kind::any});
            break;
        case u'#':
            elements_.push_back({Kind::digit});
            break;
        case u'[':
            at = readSet(pattern, at);
            break;
        default:
            elements_.push_back({Kind::unit, foldCase(pattern[at], order_)});
        }
    }

    std::size_t fixed = 0;
    while (fixed < elements_.size() && elements_[fixed].kind == Kind::unit) prefix_ += elements_[fixed++].unit;
}

/// Reads the set whose "[" stands at `open`; returns the place of its "]".
std::size_t LikePattern::readSet(std::u16string_view pattern, std::size_t open)
{
    const std::size_t close = pattern.find(u']', open);
    if (close == pattern.npos) failPattern(pattern, "“[” ile açılan küme “]” ile kapatılmamış.");
    std::u16string_view list = pattern.substr(open + 1, close - open - 1);
    if (list.empty()) return close;

    Set set;
    if (list.size() > 1 && list.front() == u'!') {
        set.negated = true;
        list.remove_prefix(1);
    }
    for (std::size_t at = 0; at < list.size(); ++at) {
        if (at + 2 < list.size() && list[at + 1] == u'-') {
            const auto end = [&](std::size_t place) { return keyOf(foldCase(list[place], order_), order_); };
            Range range{end(at), end(at + 2)};
            if (range.high < range.low) failPattern(pattern, "küme içindeki aralık tersten yazılmış.");
            set.ranges.push_back(std::move(range));
            at += 2;
        } else {
            set.units += foldCase(list[at], order_);
        }
    }
    elements_.push_back({Kind::set, 0, sets_.size()});
    sets_.push_back(std::move(set));
    return close;
}

bool LikePattern::Set::holds(char16_t folded, Collation order) const
{
    if (units.find(folded) != units.npos) return true;
    if (ranges.empty()) return false;
    const std::vector<std::uint8_t> key = keyOf(folded, order);
    return std::ranges::any_of(ranges, [&](const Range& range) { return range.low <= key && key <= range.high; });
}

bool LikePattern::elementMatches(const Element& element, char16_t folded) const
{
    switch (element.kind) {
    case Kind::unit:
        return element.unit == folded;
    case Kind::any:
        return true;
    case Kind::digit:
        return folded >= u'0' && folded <= u'9';
    case Kind::set:
        return sets_[element.set].holds(folded, order_) != sets_[element.set].negated;
    case Kind::run:
        break;
    }
    return false;
}

/// Walks text and pattern side by side. After a mismatch only the last star needs to take one character more: what an
/// earlier star could give up, the last one can take as well.
template <class UnitAt> bool LikePattern::run(std::size_t length, UnitAt unitAt) const
{
    std::size_t at = 0, element = 0;
    std::size_t starElement = elements_.size(), starAt = 0;
    while (at < length) {
        if (element < elements_.size() && elements_[element].kind == Kind::run) {
            starElement = element++;
            starAt = at;
            if (element == elements_.size()) return true;
        } else if (element < elements_.size() && elementMatches(elements_[element], unitAt(at))) {
            ++at;
            ++element;
        } else if (starElement < elements_.size()) {
            ++starAt;
            const Element& next = elements_[starElement + 1];
            if (next.kind == Kind::unit)
                while (starAt < length && unitAt(starAt) != next.unit) ++starAt;
            at = starAt;
            element = starElement + 1;
        } else {
            return false;
        }
    }
    while (element < elements_.size() && elements_[element].kind == Kind::run) ++element;
    return element == elements_.size();
}

bool LikePattern::matches(std::u16string_view text) const
{
    // Asked for every row of a table: which letters these are is found out before.
    if (order_ == turkish) return run(text.size(), [text](std::size_t at) { return foldTurkish(text[at]); });
    return run(text.size(), [text, this](std::size_t at) { return foldCase(text[at], order_); });
}

bool LikePattern::matchesFolded(std::u16string_view folded) const
{
    return run(folded.size(), [folded](std::size_t at) { return folded[at]; });
}

} // namespace jet
