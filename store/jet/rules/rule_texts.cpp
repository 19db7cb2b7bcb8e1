#include "store/jet/rules/rule_texts.h"

#include "store/jet/format/doors.h"
#include "store/jet/rules/rule_node.h"
#include "store/jet/values/like_pattern.h"
#include "store/jet/values/word_units.h"

#include <algorithm>

namespace jet {
namespace {

/// Latin letters that are one weight and not two ("ß" is "ss" to some).
constexpr std::u16string_view twofold = u"ÆæßÞþĲĳŉŒœſ×÷";
constexpr char16_t firstForeignLetter = u'À', lastForeignLetter = 0x017F;

/// Azerbaijani has the dotless letters too, and no weights that are known.
constexpr unsigned azerbaijani = 0x2C, languageOfOrder = 0x3FF;
bool mayBeDotless(Collation order) { return (order.lcid & languageOfOrder) == azerbaijani; }

bool isPlain(char16_t unit) { return (unit >= u' ' && unit < 0x7F) || unit == u'\t' || unit == u'\r' || unit == u'\n'; }
bool isDotted(char16_t unit) { return unit == u'I' || unit == u'i'; }

/// One letter of it is one letter to Access, and its two cases are those of foldCase.
bool isSure(char16_t unit, Collation order)
{
    if (isPlain(unit)) return !mayBeDotless(order) || !isDotted(unit);
    return hasWeights(order) && unit >= firstForeignLetter && unit <= lastForeignLetter &&
           twofold.find(unit) == twofold.npos;
}

void requireSure(std::u16string_view text, Collation order)
{
    const auto unsure = std::ranges::find_if_not(text, [order](char16_t unit) { return isSure(unit, order); });
    if (unsure != text.end())
        throwNotUnderstood("“" + toUtf8(std::u16string_view(&*unsure, 1)) +
                           "” harfinin bu dosyanın alfabesindeki yeri bilinmiyor");
}

/// In an order without known weights nothing lies for certain between two letters.
void requireKnownRanges(std::u16string_view pattern, Collation order)
{
    if (hasWeights(order) || pattern.find(u'[') == pattern.npos) return;
    for (std::size_t at = 1; at + 1 < pattern.size(); ++at)
        if (pattern[at] == u'-' && !(isDigit(pattern[at - 1]) && isDigit(pattern[at + 1])))
            throwNotUnderstood("bu dosyanın alfabesinin sırası bilinmiyor");
}

[[noreturn]] void throwUnsureOrder(std::u16string_view a, std::u16string_view b)
{
    throwNotUnderstood("“" + toUtf8(a) + "” ile “" + toUtf8(b) + "” bu dosyanın alfabesinde karşılaştırılamıyor");
}

} // namespace

std::partial_ordering orderOfTexts(std::u16string_view a, std::u16string_view b, Collation order)
{
    if (a == b) return std::partial_ordering::equivalent;
    if (hasWeights(order)) {
        std::vector<std::uint8_t> one, other;
        const bool certain =
            appendTextKey(one, a, order) == Certainty::certain && appendTextKey(other, b, order) == Certainty::certain;
        if (!certain) throwUnsureOrder(a, b);
        if (one != other) {
            if (a.size() > textKeyUnits || b.size() > textKeyUnits) return std::partial_ordering::unordered;
            return one < other ? std::partial_ordering::less : std::partial_ordering::greater;
        }
        // To an index spaces at the end do not count; whether they do to a rule is not known.
        if (foldCase(a, order) != foldCase(b, order)) throwUnsureOrder(a, b);
        return std::partial_ordering::equivalent;
    }
    if (!std::ranges::all_of(a, isPlain) || !std::ranges::all_of(b, isPlain)) throwUnsureOrder(a, b);
    const auto withoutBlanks = [](std::u16string_view text) { return text.substr(0, text.find_last_not_of(u' ') + 1); };
    if (foldCase(a, order) != foldCase(b, order)) {
        if (foldCase(withoutBlanks(a), order) == foldCase(withoutBlanks(b), order)) throwUnsureOrder(a, b);
        return std::partial_ordering::unordered;
    }
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i] && !isSure(a[i], order)) throwUnsureOrder(a, b);
    return std::partial_ordering::equivalent;
}

bool isLike(std::u16string_view text, std::u16string_view pattern, Collation order)
{
    requireSure(text, order);
    requireSure(pattern, order);
    requireKnownRanges(pattern, order);
    try {
        return LikePattern(pattern, order).matches(text);
    } catch (const Error& error) {
        throwNotUnderstood(error.what());
    }
}

std::size_t placeIn(std::u16string_view text, std::u16string_view wanted, Collation order)
{
    requireSure(text, order);
    requireSure(wanted, order);
    return foldCase(text, order).find(foldCase(wanted, order));
}

std::u16string smallLetters(std::u16string_view text, Collation order)
{
    requireSure(text, order);
    return foldCase(text, order);
}

} // namespace jet
