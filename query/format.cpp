#include "query/format.h"

#include "exchange/ascii.h"
#include "query/moments.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace query {

namespace {

using Names = std::array<std::string_view, 12>;
constexpr Names turkishMonths = {"Ocak",   "Şubat",   "Mart",  "Nisan", "Mayıs", "Haziran",
                                 "Temmuz", "Ağustos", "Eylül", "Ekim",  "Kasım", "Aralık"};
constexpr Names englishMonths = {"January", "February", "March",     "April",   "May",      "June",
                                 "July",    "August",   "September", "October", "November", "December"};
constexpr Names turkishShortMonths = {"Oca", "Şub", "Mar", "Nis", "May", "Haz",
                                      "Tem", "Ağu", "Eyl", "Eki", "Kas", "Ara"};
constexpr std::array<std::string_view, 7> turkishDays = {"Pazar",    "Pazartesi", "Salı",     "Çarşamba",
                                                         "Perşembe", "Cuma",      "Cumartesi"};
constexpr std::array<std::string_view, 7> turkishShortDays = {"Paz", "Pzt", "Sal", "Çar", "Per", "Cum", "Cmt"};
constexpr std::array<std::string_view, 7> englishDays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                         "Thursday", "Friday", "Saturday"};

std::string twoDigits(int number)
{
    char text[16];
    std::snprintf(text, sizeof text, "%02d", number);
    return text;
}

std::size_t weekdayOf(const Calendar& c)
{
    const std::chrono::year_month_day day{std::chrono::year{c.year}, std::chrono::month{static_cast<unsigned>(c.month)},
                                          std::chrono::day{static_cast<unsigned>(c.day)}};
    return std::chrono::weekday{std::chrono::sys_days{day}}.c_encoding();
}

/// What so many of a letter in a row stand for; nothing for a letter that stands for itself.
std::string partOf(const Calendar& c, char letter, std::size_t count, bool english)
{
    const auto number = [&](int value) { return count == 1 ? std::to_string(value) : twoDigits(value); };
    switch (letter) {
    case 'y':
        if (count > 2) {
            char text[16];
            std::snprintf(text, sizeof text, "%04d", c.year);
            return text;
        }
        return twoDigits(c.year % 100);
    case 'm': {
        if (count <= 2) return number(c.month);
        const auto month = static_cast<std::size_t>(c.month - 1);
        if (count > 3) return std::string(english ? englishMonths[month] : turkishMonths[month]);
        return std::string(english ? englishMonths[month].substr(0, 3) : turkishShortMonths[month]);
    }
    case 'd': {
        if (count <= 2) return number(c.day);
        const std::size_t day = weekdayOf(c);
        if (count > 3) return std::string(english ? englishDays[day] : turkishDays[day]);
        return std::string(english ? englishDays[day].substr(0, 3) : turkishShortDays[day]);
    }
    case 'h':
        return number(c.hour);
    case 'n':
        return number(c.minute);
    case 's':
        return number(c.second);
    case 'q':
        return std::to_string((c.month - 1) / 3 + 1);
    default:
        return {};
    }
}

using exchange::lower;

/// The number with so many decimals at least and at most, so many digits before them, and marks for thousands.
std::string written(double number, int fewest, int most, int digits, bool grouped, bool english)
{
    char text[400];
    std::snprintf(text, sizeof text, "%.*f", most, std::abs(number));
    std::string whole = text;
    std::string decimals;
    if (const std::size_t point = whole.find('.'); point != std::string::npos) {
        decimals = whole.substr(point + 1);
        whole.resize(point);
    }
    while (static_cast<int>(decimals.size()) > fewest && decimals.ends_with('0')) decimals.pop_back();
    if (digits == 0 && whole == "0") whole.clear();
    while (static_cast<int>(whole.size()) < digits) whole.insert(0, "0");
    for (std::size_t at = whole.size(); grouped && at > 3;) whole.insert(at -= 3, english ? "," : ".");
    const bool zero =
        whole.find_first_not_of("0.,") == std::string::npos && decimals.find_first_not_of('0') == std::string::npos;
    return (number < 0 && !zero ? "-" : "") + whole + (decimals.empty() ? "" : (english ? "." : ",") + decimals);
}

} // namespace

std::string formatMoment(jet::DateTime moment, std::string_view pattern, bool english)
{
    const Calendar c = calendarOf(moment);
    std::string text;
    for (std::size_t at = 0; at < pattern.size();) {
        const char letter = lower(pattern[at]);
        if (letter == '"') {
            const std::size_t close = std::min(pattern.find('"', at + 1), pattern.size());
            text += pattern.substr(at + 1, close - at - 1);
            at = close + 1;
            continue;
        }
        if (letter == '\\' && at + 1 < pattern.size()) {
            text += pattern[at + 1];
            at += 2;
            continue;
        }
        std::size_t count = 1;
        while (at + count < pattern.size() && lower(pattern[at + count]) == letter) ++count;
        const std::string part = partOf(c, letter, count, english);
        text += part.empty() ? std::string(pattern.substr(at, count)) : part;
        at += count;
    }
    return text;
}

std::string formatNumber(double number, std::string_view pattern, bool english)
{
    std::string name(pattern);
    std::ranges::transform(name, name.begin(), lower);
    if (name == "fixed") pattern = "0.00";
    if (name == "standard") pattern = "#,##0.00";
    if (name == "percent") pattern = "0.00%";
    const std::size_t first = pattern.find_first_of("0#.");
    if (first == std::string_view::npos) return std::string(pattern);
    std::size_t last = first;
    while (last < pattern.size() && std::string_view("0#.,").find(pattern[last]) != std::string_view::npos) ++last;
    const std::string_view shape = pattern.substr(first, last - first);
    const std::size_t point = std::min(shape.find('.'), shape.size());
    const std::string_view whole = shape.substr(0, point);
    const std::string_view decimals = point < shape.size() ? shape.substr(point + 1) : std::string_view();
    const auto zeros = [](std::string_view part) { return static_cast<int>(std::ranges::count(part, '0')); };
    if (pattern.find('%') != std::string_view::npos) number *= 100;
    const std::string text =
        written(number, zeros(decimals), static_cast<int>(std::min<std::size_t>(decimals.size(), 15)), zeros(whole),
                whole.find(',') != std::string_view::npos, english);
    return std::string(pattern.substr(0, first)) + text + std::string(pattern.substr(last));
}

} // namespace query
