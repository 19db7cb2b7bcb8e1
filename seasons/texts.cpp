#include "seasons/texts.h"

#include "store/jet/values/calendar.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace seasons {
namespace {

std::chrono::year_month_day dateOf(int day)
{
    constexpr std::chrono::sys_days dayZero = std::chrono::year(1899) / 12 / 30;
    return {dayZero + std::chrono::days(day)};
}

} // namespace

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
    const std::chrono::year_month_day date = dateOf(day);
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
                text += "\xEF\xBF\xBD"; // U+FFFD
            else
                text += c;
        }
    }
    return text;
}

} // namespace seasons
