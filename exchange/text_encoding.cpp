#include "exchange/text_encoding.h"

#include "files/error.h"
#include "files/language.h"
#include "store/jet/values/value.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace exchange {

namespace {

// The upper halves of the code pages as Unicode's mapping tables (CP1254.TXT, CP857.TXT) have them; 0: no letter.
// clang-format off
constexpr std::array<char16_t, 128> of1254 = {
    0x20AC, 0x0000, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x0000, 0x0000, 0x0000,
    0x0000, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x0000, 0x0000, 0x0178,
    0x00A0, 0x00A1, 0x00A2, 0x00A3, 0x00A4, 0x00A5, 0x00A6, 0x00A7, 0x00A8, 0x00A9, 0x00AA, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x00AF,
    0x00B0, 0x00B1, 0x00B2, 0x00B3, 0x00B4, 0x00B5, 0x00B6, 0x00B7, 0x00B8, 0x00B9, 0x00BA, 0x00BB, 0x00BC, 0x00BD, 0x00BE, 0x00BF,
    0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C6, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB, 0x00CC, 0x00CD, 0x00CE, 0x00CF,
    0x011E, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D7, 0x00D8, 0x00D9, 0x00DA, 0x00DB, 0x00DC, 0x0130, 0x015E, 0x00DF,
    0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5, 0x00E6, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB, 0x00EC, 0x00ED, 0x00EE, 0x00EF,
    0x011F, 0x00F1, 0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00F7, 0x00F8, 0x00F9, 0x00FA, 0x00FB, 0x00FC, 0x0131, 0x015F, 0x00FF,
};
constexpr std::array<char16_t, 128> of857 = {
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7, 0x00EA, 0x00EB, 0x00E8, 0x00EF, 0x00EE, 0x0131, 0x00C4, 0x00C5,
    0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9, 0x0130, 0x00D6, 0x00DC, 0x00F8, 0x00A3, 0x00D8, 0x015E, 0x015F,
    0x00E1, 0x00ED, 0x00F3, 0x00FA, 0x00F1, 0x00D1, 0x011E, 0x011F, 0x00BF, 0x00AE, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB,
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x00C1, 0x00C2, 0x00C0, 0x00A9, 0x2563, 0x2551, 0x2557, 0x255D, 0x00A2, 0x00A5, 0x2510,
    0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x00E3, 0x00C3, 0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x00A4,
    0x00BA, 0x00AA, 0x00CA, 0x00CB, 0x00C8, 0x0000, 0x00CD, 0x00CE, 0x00CF, 0x2518, 0x250C, 0x2588, 0x2584, 0x00A6, 0x00CC, 0x2580,
    0x00D3, 0x00DF, 0x00D4, 0x00D2, 0x00F5, 0x00D5, 0x00B5, 0x0000, 0x00D7, 0x00DA, 0x00DB, 0x00D9, 0x00EC, 0x00FF, 0x00AF, 0x00B4,
    0x00AD, 0x00B1, 0x0000, 0x00BE, 0x00B6, 0x00A7, 0x00F7, 0x00B8, 0x00B0, 0x00A8, 0x00B7, 0x00B9, 0x00B3, 0x00B2, 0x25A0, 0x00A0,
};
// clang-format on

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view littleMark = "\xFF\xFE";
constexpr std::string_view bigMark = "\xFE\xFF";

std::uint8_t byteAt(std::string_view bytes, std::size_t at) { return static_cast<std::uint8_t>(bytes[at]); }

/// Bytes of the UTF-8 character that begins there; 0 for bytes that are none.
std::size_t utf8Length(std::string_view bytes, std::size_t at)
{
    const std::uint8_t first = byteAt(bytes, at);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || bytes.size() - at < length) return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byteAt(bytes, at + i) & 0xC0) != 0x80) return 0;
    const std::uint8_t second = byteAt(bytes, at + 1);
    const bool tooLong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool noCharacter = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
    return tooLong || noCharacter ? 0 : length;
}

/// Where the first byte stands that is no UTF-8.
std::size_t brokenUtf8(std::string_view bytes)
{
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t length = utf8Length(bytes, at);
        if (length == 0) return at;
        at += length;
    }
    return std::string_view::npos;
}

bool isTurkishLetter(char16_t unit)
{
    return std::u16string_view(u"çğıöşüÇĞİÖŞÜâîûÂÎÛ").find(unit) != std::u16string_view::npos;
}

/// Letters of Turkish in 857 whose bytes no text in 1254 has: there they stand for nothing, or for letters and marks
/// that people do not type. The others (80 94 96 99 A6 A7) are the euro, a quote, a dash, the trade mark, a broken bar
/// and the section sign of 1254, which stand in texts of any language.
bool isSure857(std::uint8_t byte)
{
    return std::string_view("\x81\x83\x87\x8C\x8D\x98\x9A\x9E\x9F").find(static_cast<char>(byte)) !=
           std::string_view::npos;
}

/// The one code page in which every byte beyond ASCII is a letter of Turkish; nothing where a person must say it.
std::optional<Encoding> turkishPage(std::string_view bytes)
{
    bool all1254 = true;
    bool all857 = true;
    bool sure857 = false;
    for (const char c : bytes) {
        const auto byte = static_cast<std::uint8_t>(c);
        if (byte < 0x80) continue;
        all1254 = all1254 && isTurkishLetter(of1254[byte - 0x80U]);
        all857 = all857 && isTurkishLetter(of857[byte - 0x80U]);
        sure857 = sure857 || isSure857(byte);
    }
    if (all1254 == all857 || (all857 && !sure857)) return std::nullopt;
    return all1254 ? Encoding::windows1254 : Encoding::dos857;
}

/// UTF-16 without a mark: letters of the first page have a zero beside them, always on the same side.
std::optional<Encoding> utf16WithoutMark(std::string_view bytes)
{
    if (bytes.size() < 2 || bytes.size() % 2 != 0) return std::nullopt;
    std::size_t zeros[2] = {0, 0};
    for (std::size_t i = 0; i < bytes.size(); ++i) zeros[i % 2] += bytes[i] == '\0' ? 1U : 0U;
    const std::size_t half = bytes.size() / 4;
    if (zeros[0] == 0 && zeros[1] > half) return Encoding::utf16Little;
    if (zeros[1] == 0 && zeros[0] > half) return Encoding::utf16Big;
    return std::nullopt;
}

[[noreturn]] void noText(std::string_view before, const char* what)
{
    const std::string line = std::to_string(1 + std::ranges::count(before, '\n'));
    throw files::Error(files::Fault::syntax,
                       files::said("Dosyanın ", "Line ") + line +
                           files::said(". satırında ", " has bytes that are no ") + what +
                           files::said(" olmayan baytlar var; dosyanın kodlamasını --encoding ile söyleyin. "
                                       "Hiçbir satır yüklenmedi.",
                                       "; say the encoding of the file with --encoding. No row was loaded."));
}

std::string decodedUtf16(std::string_view bytes, bool big)
{
    if (bytes.starts_with(big ? bigMark : littleMark)) bytes.remove_prefix(2);
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const std::uint8_t high = byteAt(bytes, big ? i : i + 1);
        const std::uint8_t low = byteAt(bytes, big ? i + 1 : i);
        units += static_cast<char16_t>(high << 8 | low);
    }
    const auto isHigh = [&](std::size_t i) { return i < units.size() && (units[i] & 0xFC00) == 0xD800; };
    const auto isLow = [&](std::size_t i) { return i < units.size() && (units[i] & 0xFC00) == 0xDC00; };
    std::size_t bad = 0;
    while (bad < units.size() && (!isHigh(bad) || isLow(bad + 1)) && (!isLow(bad) || (bad > 0 && isHigh(bad - 1))))
        ++bad;
    if (bad < units.size() || bytes.size() % 2 != 0)
        noText(jet::toUtf8(std::u16string_view(units).substr(0, bad)), "UTF-16");
    return jet::toUtf8(units);
}

std::string decodedPage(std::string_view bytes, const std::array<char16_t, 128>& page, const char* what)
{
    std::u16string units;
    units.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::uint8_t byte = byteAt(bytes, i);
        const char16_t unit = byte < 0x80 ? char16_t{byte} : page[byte - 0x80U];
        if (unit == 0) noText(bytes.substr(0, i), what);
        units += unit;
    }
    return jet::toUtf8(units);
}

} // namespace

std::optional<Encoding> encodingNamed(std::string_view name)
{
    static constexpr std::pair<std::string_view, Encoding> names[] = {{"utf-8", Encoding::utf8},
                                                                      {"utf-16le", Encoding::utf16Little},
                                                                      {"utf-16be", Encoding::utf16Big},
                                                                      {"1254", Encoding::windows1254},
                                                                      {"857", Encoding::dos857}};
    for (const auto& [each, encoding] : names)
        if (each == name) return encoding;
    return std::nullopt;
}

Encoding foundEncoding(std::string_view bytes)
{
    if (bytes.starts_with(utf8Mark)) return Encoding::utf8;
    if (bytes.starts_with(littleMark)) return Encoding::utf16Little;
    if (bytes.starts_with(bigMark)) return Encoding::utf16Big;
    if (const auto found = utf16WithoutMark(bytes)) return *found;
    if (brokenUtf8(bytes) == std::string_view::npos) return Encoding::utf8;
    if (const auto found = turkishPage(bytes)) return *found;
    throw files::Error(
        files::Fault::badValue,
        files::said("Dosyanın kodlaması anlaşılamadı; --encoding 1254 (Windows), --encoding 857 (DOS), "
                    "--encoding utf-8, --encoding utf-16le ya da --encoding utf-16be ile söyleyin. "
                    "Hiçbir satır yüklenmedi.",
                    "The encoding of the file cannot be told; say it with --encoding 1254 (Windows), "
                    "--encoding 857 (DOS), --encoding utf-8, --encoding utf-16le or --encoding utf-16be. "
                    "No row was loaded."));
}

std::string decoded(std::string_view bytes, Encoding encoding)
{
    switch (encoding) {
    case Encoding::utf8: {
        if (bytes.starts_with(utf8Mark)) bytes.remove_prefix(utf8Mark.size());
        if (const std::size_t bad = brokenUtf8(bytes); bad != std::string_view::npos)
            noText(bytes.substr(0, bad), "UTF-8");
        return std::string(bytes);
    }
    case Encoding::utf16Little:
        return decodedUtf16(bytes, false);
    case Encoding::utf16Big:
        return decodedUtf16(bytes, true);
    case Encoding::windows1254:
        return decodedPage(bytes, of1254, "Windows-1254");
    case Encoding::dos857:
        break;
    }
    return decodedPage(bytes, of857, "DOS 857");
}

} // namespace exchange
