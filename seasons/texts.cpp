#include "seasons/texts.h"

#include "store/jet/values/calendar.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace seasons {
namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD"; // U+FFFD

struct Character {
    char32_t code = 0;
    std::size_t bytes = 1; ///< 0: none begins there
};

/// The one that the UTF-8 text begins with; not overlong, and no half of a pair.
Character firstOf(std::string_view text)
{
    const auto byte = [text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return {lead, 1};
    const std::size_t length = lead < 0xC2 || lead > 0xF4 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 0 || length > text.size()) return {0, 0};
    char32_t code = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {0, 0};
        code = code << 6 | (byte(i) & 0x3FU);
    }
    constexpr std::array<char32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
    const bool isHalf = code >= 0xD800 && code <= 0xDFFF;
    if (code < least.at(length) || code > 0x10FFFF || isHalf) return {0, 0};
    return {code, length};
}

bool isShowable(char32_t code)
{
    const bool isControl = code < 0x20 || code == 0x7F;
    const bool isKept = (code >= 0xFDD0 && code <= 0xFDEF) || (code & 0xFFFE) == 0xFFFE;
    return !isControl && !isKept;
}

} // namespace

std::string showable(std::string_view text)
{
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        const auto [code, bytes] = firstOf(text);
        shown += bytes > 0 && isShowable(code) ? text.substr(0, bytes) : replacement;
        text.remove_prefix(std::max<std::size_t>(bytes, 1));
    }
    return shown;
}

std::string numberText(double number, int decimals)
{
    std::array<char, 400> digits{}; // the largest number has 309 before its comma
    if (!std::isfinite(number)) return "—";
    const auto [end, fault] = std::to_chars(digits.data(), digits.data() + digits.size(), std::abs(number),
                                            std::chars_format::fixed, decimals);
    if (fault != std::errc()) return "—";
    const std::string_view plain(digits.data(), static_cast<std::size_t>(end - digits.data()));
    const std::size_t whole = std::min(plain.find('.'), plain.size());

    // What rounds to nothing has no sign.
    std::string text = number < 0 && plain.find_first_of("123456789") != std::string_view::npos ? "-" : "";
    for (std::size_t i = 0; i < whole; ++i) {
        if (i > 0 && (whole - i) % 3 == 0) text += '.';
        text += plain[i];
    }
    if (whole < plain.size()) {
        text += ',';
        text += plain.substr(whole + 1);
    }
    return text;
}

std::string dayText(int day)
{
    const std::chrono::year_month_day date(jet::dayZero + std::chrono::days(day));
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%02u.%02u.%04d", static_cast<unsigned>(date.day()),
                  static_cast<unsigned>(date.month()), static_cast<int>(date.year()));
    return text.data();
}

std::string momentText(double moment)
{
    constexpr std::int64_t perMinute = 60'000;
    constexpr std::int64_t minutesPerDay = 1440;
    const std::int64_t all = jet::milliseconds(jet::DateTime{moment}) / perMinute;
    const std::int64_t minutes = (all % minutesPerDay + minutesPerDay) % minutesPerDay;
    std::array<char, 16> time{};
    std::snprintf(time.data(), time.size(), " %02d:%02d", static_cast<int>(minutes / 60),
                  static_cast<int>(minutes % 60));
    return dayText(static_cast<int>((all - minutes) / minutesPerDay)) + time.data();
}

std::string seasonText(int year) { return std::to_string(year) + "–" + std::to_string(year + 1); }

std::string escaped(std::string_view utf8)
{
    std::string text;
    text.reserve(utf8.size() + utf8.size() / 8);
    for (const char c : utf8) {
        switch (c) {
        case '&':
            text += "&amp;";
            break;
        case '<':
            text += "&lt;";
            break;
        case '>':
            text += "&gt;";
            break;
        case '"':
            text += "&quot;";
            break;
        case '\'':
            text += "&#39;";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
                text += replacement;
            else
                text += c;
        }
    }
    return text;
}

} // namespace seasons
