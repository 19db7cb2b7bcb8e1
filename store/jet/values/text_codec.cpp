#include "store/jet/values/text_codec.h"

#include "store/jet/format/format.h"

#include <algorithm>

namespace jet {
namespace {

constexpr std::size_t shortestCompressed = 3; ///< characters; shorter ones are a tie at best and stay plain

bool isCompressed(std::span<const std::uint8_t> stored)
{
    return stored.size() >= 2 && stored[0] == 0xFF && stored[1] == 0xFE;
}

/// A unit whose low byte is 00 would read as a change of mode.
bool canCompress(std::u16string_view text)
{
    return std::none_of(text.begin(), text.end(), [](char16_t unit) { return (unit & 0xFF) == 0; });
}

Bytes compressed(std::u16string_view text)
{
    Bytes out{0xFF, 0xFE};
    out.reserve(2 + text.size() * 2);
    bool pairs = false;
    for (const char16_t unit : text) {
        const bool needsPair = unit >= 0x100;
        if (needsPair != pairs) {
            out.push_back(0);
            pairs = needsPair;
        }
        out.push_back(static_cast<std::uint8_t>(unit));
        if (pairs) out.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return out;
}

} // namespace

void decodeText(std::span<const std::uint8_t> stored, std::u16string& into)
{
    into.clear();
    if (!isCompressed(stored)) {
        into.resize(stored.size() / 2);
        for (std::size_t i = 0; i < into.size(); ++i) into[i] = static_cast<char16_t>(getU16(stored.data() + 2 * i));
        return;
    }
    into.reserve(stored.size());
    bool pairs = false;
    std::size_t i = 2;
    while (i < stored.size()) {
        if (stored[i] == 0) {
            pairs = !pairs;
            ++i;
        } else if (!pairs) {
            into.push_back(stored[i++]);
        } else if (i + 1 < stored.size()) {
            into.push_back(static_cast<char16_t>(getU16(stored.data() + i)));
            i += 2;
        } else {
            break;
        }
    }
}

bool storedTextIs(std::span<const std::uint8_t> stored, std::u16string_view text)
{
    if (!isCompressed(stored)) {
        if (stored.size() / 2 != text.size()) return false;
        for (std::size_t i = 0; i < text.size(); ++i)
            if (getU16(stored.data() + 2 * i) != text[i]) return false;
        return true;
    }
    bool pairs = false;
    std::size_t at = 0, i = 2;
    while (i < stored.size()) {
        if (stored[i] == 0) {
            pairs = !pairs;
            ++i;
            continue;
        }
        if (pairs && i + 1 == stored.size()) break;
        const unsigned unit = pairs ? getU16(stored.data() + i) : stored[i];
        if (at == text.size() || unit != text[at]) return false;
        ++at;
        i += pairs ? 2 : 1;
    }
    return at == text.size();
}

std::optional<Bytes> encodeText(std::u16string_view text, bool compressible)
{
    // Plain text that begins with U+FEFF would read as compressed; only the compressed form tells the two apart.
    const bool mustCompress = !text.empty() && text.front() == 0xFEFF;
    const bool mayCompress = canCompress(text);
    if (mustCompress && !mayCompress) return std::nullopt;
    if (mustCompress || (compressible && mayCompress && text.size() >= shortestCompressed)) {
        Bytes small = compressed(text);
        if (mustCompress || small.size() <= text.size() * 2) return small;
    }
    Bytes plain;
    appendUtf16(plain, text);
    return plain;
}

void appendUtf16(Bytes& out, std::u16string_view text)
{
    const std::size_t start = out.size();
    out.resize(start + text.size() * 2);
    for (std::size_t i = 0; i < text.size(); ++i) putU16(out.data() + start + 2 * i, text[i]);
}

std::u16string utf16Text(std::span<const std::uint8_t> bytes)
{
    std::u16string text(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char16_t>(getU16(bytes.data() + 2 * i));
    return text;
}

} // namespace jet
