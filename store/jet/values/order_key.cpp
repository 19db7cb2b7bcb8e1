#include "store/jet/values/order_key.h"

#include "store/jet/values/sort_key.h"

#include <algorithm>
#include <array>

namespace jet {

void appendOrderKey(std::vector<std::uint8_t>& key, std::u16string_view text)
{
    // Only that much of a text is in its key.
    std::array<char16_t, textKeyUnits> folded;
    text = text.substr(0, folded.size());
    std::ranges::transform(text, folded.begin(), [](char16_t unit) { return foldTurkish(unit); });
    appendFoldedOrderKey(key, {folded.data(), text.size()});
}

void appendFoldedOrderKey(std::vector<std::uint8_t>& key, std::u16string_view folded)
{
    appendTextKey(key, folded, turkish);
    // The key leaves out the spaces at the end. A name still stands before the same one with spaces behind it.
    const std::size_t spaces = folded.size() - (folded.find_last_not_of(u' ') + 1);
    key.push_back(static_cast<std::uint8_t>(std::min<std::size_t>(spaces, 0xFF)));
}

std::vector<std::uint8_t> orderKeyPrefix(std::u16string_view beginning)
{
    // A key leaves out the spaces at the end of its text, so a longer text need not have weights for ours.
    std::u16string text(beginning.substr(0, textKeyUnits - 1));
    while (!text.empty() && text.back() == u' ') text.pop_back();

    // Weights of characters do not depend on their neighbours, and everything else follows behind the weights: where
    // the key and that of the text with one letter more part, the weights of ours end.
    std::vector<std::uint8_t> key, longer;
    appendOrderKey(key, text);
    text += u'z';
    appendOrderKey(longer, text);
    const auto parted = std::ranges::mismatch(key, longer).in1;
    key.erase(parted, key.end());
    return key;
}

} // namespace jet
