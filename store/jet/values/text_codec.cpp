#include "store/jet/values/text_codec.h"

#include "store/jet/format/value_layout.h"

#include <algorithm>

namespace jet {
namespace {

namespace at = text_layout;

constexpr std::size_t shortestCompressed = 3; ///< characters; shorter ones are a tie at best and stay plain

/// Unit `i` of a plain text.
char16_t unitOf(std::span<const std::uint8_t> stored, std::size_t i)
{
    return static_cast<char16_t>(getU16(&stored[at::unitAt(i)]));
}

/// A unit whose low byte is 00 would read as a change of mode.
bool canCompress(std::u16string_view text)
{
    return std::none_of(text.begin(), text.end(),
                        [](char16_t unit) { return static_cast<std::uint8_t>(unit) == at::change; });
}

Bytes compressed(std::u16string_view text)
{
    Bytes out(at::compressedMark.begin(), at::compressedMark.end());
    out.reserve(out.size() + text.size() * at::unitBytes);
    bool pairs = false;
    for (const char16_t unit : text) {
        const bool needsPair = unit > at::lastSingle;
        if (needsPair != pairs) {
            out.push_back(at::change);
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
    if (!at::isCompressed(stored)) {
        into.resize(stored.size() / at::unitBytes);
        for (std::size_t i = 0; i < into.size(); ++i) into[i] = unitOf(stored, i);
        return;
    }
    into.resize(stored.size()); // a character takes one byte at the least
    bool pairs = false;
    std::size_t i = at::compressedMark.size();
    char16_t* end = into.data();
    while (i < stored.size()) {
        if (stored[i] == at::change) {
            pairs = !pairs;
            ++i;
        } else if (!pairs) {
            *end++ = stored[i++];
        } else if (i + 1 < stored.size()) {
            *end++ = unitOf(stored.subspan(i), 0);
            i += at::unitBytes;
        } else {
            break;
        }
    }
    into.resize(static_cast<std::size_t>(end - into.data()));
}

bool storedTextIs(std::span<const std::uint8_t> stored, std::u16string_view text)
{
    if (!at::isCompressed(stored)) {
        if (stored.size() / at::unitBytes != text.size()) return false;
        for (std::size_t i = 0; i < text.size(); ++i)
            if (unitOf(stored, i) != text[i]) return false;
        return true;
    }
    bool pairs = false;
    std::size_t matched = 0, i = at::compressedMark.size();
    while (i < stored.size()) {
        if (stored[i] == at::change) {
            pairs = !pairs;
            ++i;
            continue;
        }
        if (pairs && i + 1 == stored.size()) break;
        const unsigned unit = pairs ? getU16(&stored[i]) : stored[i];
        if (matched == text.size() || unit != text[matched]) return false;
        ++matched;
        i += pairs ? at::unitBytes : 1;
    }
    return matched == text.size();
}

std::optional<Bytes> encodeText(std::u16string_view text, bool compressible)
{
    // Plain text that begins with U+FEFF would read as compressed; only the compressed form tells the two apart.
    const bool mustCompress = !text.empty() && text.front() == at::markAsCharacter;
    const bool mayCompress = canCompress(text);
    if (mustCompress && !mayCompress) return std::nullopt;
    if (mustCompress || (compressible && mayCompress && text.size() >= shortestCompressed)) {
        Bytes small = compressed(text);
        if (mustCompress || small.size() <= text.size() * at::unitBytes) return small;
    }
    Bytes plain;
    appendUtf16(plain, text);
    return plain;
}

void appendUtf16(Bytes& out, std::u16string_view text)
{
    const std::size_t start = out.size();
    out.resize(start + text.size() * at::unitBytes);
    for (std::size_t i = 0; i < text.size(); ++i) putU16(&out[start + at::unitAt(i)], text[i]);
}

std::u16string utf16Text(std::span<const std::uint8_t> bytes)
{
    std::u16string text(bytes.size() / at::unitBytes, u'\0');
    for (std::size_t i = 0; i < text.size(); ++i) text[i] = unitOf(bytes, i);
    return text;
}

} // namespace jet
