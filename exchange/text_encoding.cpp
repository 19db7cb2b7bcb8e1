#include "exchange/text_encoding.h"

#include "files/error.h"
#include "files/language.h"
#include "store/jet/values/value.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
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

/// Eight bytes at once, for texts that are ASCII for the greatest part.
std::uint64_t eightAt(std::string_view bytes, std::size_t at)
{
    std::uint64_t eight = 0;
    std::memcpy(&eight, bytes.data() + at, sizeof eight);
    return eight;
}
constexpr std::uint64_t highBits = 0x8080808080808080U, lowBits = 0x0101010101010101U;
bool areAscii(std::uint64_t eight) { return (eight & highBits) == 0; }
/// Of ASCII bytes.
bool hasZero(std::uint64_t eight) { return ((eight - lowBits) & highBits) != 0; }

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

/// How many bytes from the beginning are whole UTF-8 characters.
std::size_t wholeUtf8(std::string_view bytes)
{
    std::size_t at = 0;
    while (at < bytes.size()) {
        if (at + 8 <= bytes.size() && areAscii(eightAt(bytes, at))) {
            at += 8;
            continue;
        }
        const std::uint8_t first = byteAt(bytes, at);
        const bool ascii = first < 0x80;
        // Of two bytes: the letters of Turkish.
        const bool pair =
            first >= 0xC2 && first < 0xE0 && at + 1 < bytes.size() && (byteAt(bytes, at + 1) & 0xC0) == 0x80;
        const std::size_t length = ascii ? 1 : pair ? 2 : utf8Length(bytes, at);
        if (length == 0) break;
        at += length;
    }
    return at;
}

/// The bytes may go on to one UTF-8 character; they are less than one.
bool mayBecomeUtf8(std::string_view bytes)
{
    constexpr std::size_t longest = 4;
    if (bytes.empty() || bytes.size() >= longest) return bytes.empty();
    for (const char second : {'\x80', '\x90', '\xA0'}) {
        std::string whole(bytes);
        if (whole.size() == 1) whole += second;
        while (whole.size() < longest) whole += '\x80';
        const std::size_t length = utf8Length(whole, 0);
        if (length > bytes.size()) return true;
    }
    return false;
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

[[noreturn]] void noText(std::size_t line, const char* what)
{
    throw files::Error(files::Fault::syntax,
                       files::said("Dosyanın ", "Line ") + std::to_string(line) +
                           files::said(". satırında ", " has bytes that are no ") + what +
                           files::said(" olmayan baytlar var; dosyanın kodlamasını --encoding ile söyleyin. "
                                       "Hiçbir satır yüklenmedi.",
                                       "; say the encoding of the file with --encoding. No row was loaded."));
}

std::size_t linesIn(std::string_view text) { return static_cast<std::size_t>(std::ranges::count(text, '\n')); }

bool isHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool isLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

const char* nameOf(Encoding encoding)
{
    switch (encoding) {
    case Encoding::utf8:
        return "UTF-8";
    case Encoding::utf16Little:
    case Encoding::utf16Big:
        return "UTF-16";
    case Encoding::windows1254:
        return "Windows-1254";
    case Encoding::dos857:
        break;
    }
    return "DOS 857";
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

void EncodingFinder::see(std::string_view piece)
{
    begin_ += piece.substr(0, utf8Mark.size() - std::min(utf8Mark.size(), begin_.size()));
    for (std::size_t at = 0; at < piece.size(); ++at) {
        if (at + 8 <= piece.size()) {
            const std::uint64_t eight = eightAt(piece, at);
            if (areAscii(eight) && !hasZero(eight)) {
                count_ += 8;
                at += 7;
                continue;
            }
        }
        const std::uint8_t byte = byteAt(piece, at);
        if (byte == 0) ++zeros_[count_ % 2];
        ++count_;
        if (byte < 0x80) continue;
        all1254_ = all1254_ && isTurkishLetter(of1254[byte - 0x80U]);
        all857_ = all857_ && isTurkishLetter(of857[byte - 0x80U]);
        sure857_ = sure857_ || isSure857(byte);
    }
    if (!utf8_) return;
    // The character that the last piece broke off in goes on here.
    std::string joined;
    if (!rest_.empty()) piece = joined = rest_ + std::string(piece);
    const std::string_view behind = piece.substr(wholeUtf8(piece));
    utf8_ = mayBecomeUtf8(behind);
    rest_ = utf8_ ? std::string(behind) : std::string();
}

/// UTF-16 without a mark: letters of the first page have a zero beside them, always on the same side.
std::optional<Encoding> EncodingFinder::utf16WithoutMark() const
{
    if (count_ < 2 || count_ % 2 != 0) return std::nullopt;
    const std::uint64_t half = count_ / 4;
    if (zeros_[0] == 0 && zeros_[1] > half) return Encoding::utf16Little;
    if (zeros_[1] == 0 && zeros_[0] > half) return Encoding::utf16Big;
    return std::nullopt;
}

/// The one code page in which every byte beyond ASCII is a letter of Turkish; nothing where a person must say it.
std::optional<Encoding> EncodingFinder::turkishPage() const
{
    if (all1254_ == all857_ || (all857_ && !sure857_)) return std::nullopt;
    return all1254_ ? Encoding::windows1254 : Encoding::dos857;
}

Encoding EncodingFinder::found() const
{
    if (begin_ == utf8Mark) return Encoding::utf8;
    if (begin_.starts_with(littleMark)) return Encoding::utf16Little;
    if (begin_.starts_with(bigMark)) return Encoding::utf16Big;
    if (const auto found = utf16WithoutMark()) return *found;
    if (utf8_ && rest_.empty()) return Encoding::utf8;
    if (const auto found = turkishPage()) return *found;
    throw files::Error(
        files::Fault::badValue,
        files::said("Dosyanın kodlaması anlaşılamadı; --encoding 1254 (Windows), --encoding 857 (DOS), "
                    "--encoding utf-8, --encoding utf-16le ya da --encoding utf-16be ile söyleyin. "
                    "Hiçbir satır yüklenmedi.",
                    "The encoding of the file cannot be told; say it with --encoding 1254 (Windows), "
                    "--encoding 857 (DOS), --encoding utf-8, --encoding utf-16le or --encoding utf-16be. "
                    "No row was loaded."));
}

void Decoder::add(std::string_view piece, std::string& into)
{
    std::string joined;
    if (!waiting_.empty()) piece = joined = std::exchange(waiting_, {}) + std::string(piece);
    if (!std::exchange(begun_, true))
        for (const std::string_view mark : {encoding_ == Encoding::utf8          ? utf8Mark
                                            : encoding_ == Encoding::utf16Little ? littleMark
                                            : encoding_ == Encoding::utf16Big    ? bigMark
                                                                                 : std::string_view()})
            if (piece.starts_with(mark)) piece.remove_prefix(mark.size());
    const std::size_t before = into.size();
    switch (encoding_) {
    case Encoding::utf8:
        addUtf8(piece, into);
        break;
    case Encoding::utf16Little:
    case Encoding::utf16Big:
        addUtf16(piece, into);
        break;
    case Encoding::windows1254:
    case Encoding::dos857:
        addPage(piece, into);
        break;
    }
    line_ += linesIn(std::string_view(into).substr(before));
}

void Decoder::end() const
{
    if (!waiting_.empty()) noText(line_, nameOf(encoding_));
}

void Decoder::addUtf8(std::string_view bytes, std::string& into)
{
    const std::size_t whole = wholeUtf8(bytes);
    const std::string_view behind = bytes.substr(whole);
    if (!mayBecomeUtf8(behind)) noText(line_ + linesIn(bytes.substr(0, whole)), nameOf(encoding_));
    waiting_ = behind;
    into += bytes.substr(0, whole);
}

void Decoder::addUtf16(std::string_view bytes, std::string& into)
{
    const bool big = encoding_ == Encoding::utf16Big;
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const std::uint8_t high = byteAt(bytes, big ? i : i + 1);
        const std::uint8_t low = byteAt(bytes, big ? i + 1 : i);
        units += static_cast<char16_t>(high << 8 | low);
    }
    // Half a unit waits for the next piece, and so does half a pair.
    std::size_t used = units.size() * 2;
    if (!units.empty() && isHighSurrogate(units.back())) {
        units.pop_back();
        used -= 2;
    }
    for (std::size_t i = 0; i < units.size(); ++i) {
        const bool pair = isHighSurrogate(units[i]) && i + 1 < units.size() && isLowSurrogate(units[i + 1]);
        if (pair)
            ++i;
        else if (isHighSurrogate(units[i]) || isLowSurrogate(units[i]))
            noText(line_ + linesIn(jet::toUtf8(std::u16string_view(units).substr(0, i))), nameOf(encoding_));
    }
    waiting_ = bytes.substr(used);
    into += jet::toUtf8(units);
}

void Decoder::addPage(std::string_view bytes, std::string& into) const
{
    const auto& page = encoding_ == Encoding::windows1254 ? of1254 : of857;
    std::u16string units;
    units.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::uint8_t byte = byteAt(bytes, i);
        const char16_t unit = byte < 0x80 ? char16_t{byte} : page[byte - 0x80U];
        if (unit == 0 && byte != 0) noText(line_ + linesIn(bytes.substr(0, i)), nameOf(encoding_));
        units += unit;
    }
    into += jet::toUtf8(units);
}

} // namespace exchange
