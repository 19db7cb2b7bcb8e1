#include "store/jet/index/known_texts.h"

#include "store/jet/index/index_key.h"
#include "store/jet/values/sort_key.h"

#include <algorithm>

namespace jet {
namespace {

bool isBasic(char16_t unit)
{
    return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

/// What of a text its key can depend on.
std::u16string_view indexedPart(std::u16string_view text) { return text.substr(0, textKeyUnits); }

} // namespace

KnownTexts::KnownTexts(const Column& column, bool ascending) : generalColumn_(column), ascending_(ascending)
{
    generalColumn_.collation = general;
}

bool KnownTexts::learn(std::u16string_view text, std::span<const std::uint8_t> key)
{
    const auto [known, isNew] = keys_.try_emplace(std::u16string(indexedPart(text)), key.begin(), key.end());
    if (!isNew) return std::ranges::equal(known->second, key);
    if (text.empty() || !std::ranges::all_of(known->first, isBasic)) return true;
    if (!std::ranges::equal(generalKey(text), key)) return true;
    for (std::size_t i = 0; i < known->first.size(); ++i) {
        units_.set(known->first[i]);
        if (i > 0) pairs_.set(known->first[i - 1] * basicUnits + known->first[i]);
    }
    return true;
}

bool KnownTexts::append(Key& key, std::u16string_view text) const
{
    const std::u16string indexed(indexedPart(text));
    if (const auto known = keys_.find(indexed); known != keys_.end()) {
        key.insert(key.end(), known->second.begin(), known->second.end());
        return true;
    }
    if (indexed.empty() || !std::ranges::all_of(indexed, isBasic)) return false;
    for (std::size_t i = 0; i < indexed.size(); ++i) {
        if (!units_.test(indexed[i])) return false;
        if (i > 0 && !pairs_.test(indexed[i - 1] * basicUnits + indexed[i])) return false;
    }
    const Key made = generalKey(indexed);
    key.insert(key.end(), made.begin(), made.end());
    return true;
}

Key KnownTexts::generalKey(std::u16string_view text) const
{
    Key key;
    appendKey(key, generalColumn_, std::u16string(text), ascending_);
    return key;
}

} // namespace jet
