#include "store/jet/values/value.h"

namespace jet {
namespace {

constexpr char32_t replacement = 0xFFFD;

void appendUtf8(std::string& out, char32_t c)
{
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | c >> 6);
        put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        put(0xE0 | c >> 12);
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | c >> 18);
        put(0x80 | (c >> 12 & 0x3F));
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    }
}

void appendUtf16(std::u16string& out, char32_t c)
{
    if (c >= 0x10000) {
        out.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
        out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
    } else {
        out.push_back(static_cast<char16_t>(c));
    }
}

/// Bytes that follow a lead byte, or -1 when it is none.
int continuationBytes(unsigned char lead)
{
    if (lead < 0x80) return 0;
    if (lead >= 0xC2 && lead <= 0xDF) return 1;
    if (lead >= 0xE0 && lead <= 0xEF) return 2;
    if (lead >= 0xF0 && lead <= 0xF4) return 3;
    return -1;
}

} // namespace

bool isKnown(ColumnType type)
{
    return (type >= ColumnType::boolean && type <= ColumnType::memo) || type == ColumnType::guid ||
           type == ColumnType::numeric;
}

std::string toUtf8(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size() + text.size() / 4);
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (c >= 0xD800 && c <= 0xDFFF) {
            const bool paired = c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
            if (paired) {
                c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(text[i + 1]) - 0xDC00);
                ++i;
            } else {
                c = replacement;
            }
        }
        appendUtf8(out, c);
    }
    return out;
}

std::u16string fromUtf8(std::string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const int more = continuationBytes(lead);
        if (more <= 0) {
            out.push_back(more == 0 ? static_cast<char16_t>(lead) : static_cast<char16_t>(replacement));
            ++i;
            continue;
        }
        char32_t c = lead & (0x3Fu >> more);
        std::size_t used = 1;
        while (used <= static_cast<std::size_t>(more) && i + used < text.size()) {
            const auto byte = static_cast<unsigned char>(text[i + used]);
            if ((byte & 0xC0) != 0x80) break;
            c = c << 6 | (byte & 0x3Fu);
            ++used;
        }
        const bool whole = used == static_cast<std::size_t>(more) + 1;
        const bool shortest = (more == 1) || (more == 2 && c >= 0x800) || (more == 3 && c >= 0x10000 && c <= 0x10FFFF);
        const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
        appendUtf16(out, whole && shortest && !surrogate ? c : replacement);
        i += used;
    }
    return out;
}

} // namespace jet
