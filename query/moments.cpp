#include "query/moments.h"

#include "exchange/ascii.h"
#include "store/jet/format/limits.h"
#include "store/jet/values/calendar.h"

#include <chrono>
#include <cstdint>
#include <cstdio>

namespace query {

namespace {

constexpr std::int64_t msPerDay = 86'400'000;

std::int64_t dayOf(std::int64_t ms) { return ms >= 0 ? ms / msPerDay : -((-ms + msPerDay - 1) / msPerDay); }

using exchange::isDigit, exchange::takeNumber, exchange::withoutBlanks;

bool take(std::string_view& text, char mark)
{
    if (!text.starts_with(mark)) return false;
    text.remove_prefix(1);
    return true;
}

/// "14:05", "14:05:00", "2:05 PM"
bool takeTime(std::string_view text, Calendar& into)
{
    const auto hour = takeNumber(text, 2);
    if (!hour || !take(text, ':')) return false;
    const auto minute = takeNumber(text, 2);
    if (!minute) return false;
    into.hour = *hour;
    into.minute = *minute;
    if (take(text, ':')) {
        const auto second = takeNumber(text, 2);
        if (!second) return false;
        into.second = *second;
    }
    text = withoutBlanks(text);
    if (!text.empty()) {
        const bool morning = text == "AM" || text == "am";
        if ((!morning && text != "PM" && text != "pm") || into.hour < 1 || into.hour > 12) return false;
        into.hour = into.hour % 12 + (morning ? 0 : 12);
    }
    return into.hour < 24 && into.minute < 60 && into.second < 60;
}

} // namespace

std::optional<std::string> momentText(jet::DateTime moment)
{
    if (!jet::limits::isMoment(moment.days)) return std::nullopt;
    const std::int64_t ms = jet::milliseconds(moment);
    const std::int64_t rest = ms - dayOf(ms) * msPerDay;
    const Calendar c = calendarOf(moment);
    char text[40];
    int length = std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", c.year, c.month, c.day, c.hour,
                               c.minute, c.second);
    if (rest % 1000 != 0)
        length += std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length), ".%03d",
                                static_cast<int>(rest % 1000));
    return std::string(text, static_cast<std::size_t>(length));
}

std::optional<jet::DateTime> momentOf(std::string_view text)
{
    constexpr std::string_view shape = "0000-00-00T00:00:00";
    if (text.size() != shape.size() && text.size() != shape.size() + 4) return std::nullopt;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char wanted = i < shape.size() ? shape[i] : i == shape.size() ? '.' : '0';
        if (wanted == '0' ? !isDigit(text[i]) : text[i] != wanted) return std::nullopt;
    }
    const auto number = [&](std::size_t at, std::size_t digits) {
        int value = 0;
        for (const char c : text.substr(at, digits)) value = value * 10 + (c - '0');
        return value;
    };
    const auto moment =
        jet::dateTime(number(0, 4), number(5, 2), number(8, 2), number(11, 2), number(14, 2), number(17, 2));
    if (!moment || text.size() == shape.size()) return moment;
    const double part = number(shape.size() + 1, 3) / static_cast<double>(msPerDay);
    return jet::DateTime{moment->days < 0 ? moment->days - part : moment->days + part};
}

Calendar calendarOf(jet::DateTime moment)
{
    namespace chrono = std::chrono;
    const std::int64_t ms = jet::milliseconds(moment);
    const std::int64_t day = dayOf(ms);
    const chrono::year_month_day date{jet::dayZero + chrono::days{day}};
    const auto time = static_cast<int>((ms - day * msPerDay) / 1000);
    return {.year = static_cast<int>(date.year()),
            .month = static_cast<int>(static_cast<unsigned>(date.month())),
            .day = static_cast<int>(static_cast<unsigned>(date.day())),
            .hour = time / 3600,
            .minute = time / 60 % 60,
            .second = time % 60};
}

int weekdayOf(const Calendar& calendar)
{
    namespace chrono = std::chrono;
    const chrono::year_month_day day{chrono::year{calendar.year}, chrono::month{static_cast<unsigned>(calendar.month)},
                                     chrono::day{static_cast<unsigned>(calendar.day)}};
    return static_cast<int>(chrono::weekday{chrono::sys_days{day}}.c_encoding()) + 1;
}

std::optional<jet::DateTime> momentOf(const Calendar& calendar, std::int64_t moreSeconds)
{
    namespace chrono = std::chrono;
    const std::int64_t months = std::int64_t{calendar.year} * 12 + calendar.month - 1;
    const std::int64_t year = months >= 0 ? months / 12 : -1;
    if (year < 99 || year > 10'000) return std::nullopt;
    const chrono::sys_days first{chrono::year{static_cast<int>(year)} / static_cast<int>(months % 12 + 1) / 1};
    const std::int64_t days = (first - jet::dayZero).count() + calendar.day - 1;
    const std::int64_t seconds =
        std::int64_t{calendar.hour} * 3600 + std::int64_t{calendar.minute} * 60 + calendar.second;
    // Hours, minutes and seconds run over into the days.
    const std::int64_t total = days * 86'400 + seconds + moreSeconds;
    const std::int64_t day = total >= 0 ? total / 86'400 : -((-total + 86'399) / 86'400);
    if (day < static_cast<std::int64_t>(jet::limits::firstDay) ||
        day >= static_cast<std::int64_t>(jet::limits::dayAfterLast))
        return std::nullopt;
    const auto time = static_cast<int>(total - day * 86'400);
    const chrono::year_month_day date{jet::dayZero + chrono::days{day}};
    return jet::dateTime(static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
                         static_cast<int>(static_cast<unsigned>(date.day())), time / 3600, time / 60 % 60, time % 60);
}

std::optional<std::string> dateLiteral(std::string_view text)
{
    text = withoutBlanks(text);
    Calendar calendar{.year = 1899, .month = 12, .day = 30};
    std::string_view rest = text;
    const auto first = takeNumber(rest, 4);
    if (!first) return std::nullopt;
    if (rest.starts_with(':')) {
        rest = text; // a time alone
    } else {
        const char mark = rest.empty() ? '\0' : rest.front();
        if (mark != '/' && mark != '-') return std::nullopt;
        rest.remove_prefix(1);
        const auto second = takeNumber(rest, 2);
        if (!second || !take(rest, mark)) return std::nullopt;
        const auto third = takeNumber(rest, 4);
        if (!third) return std::nullopt;
        if (*first > 99) {
            calendar = {.year = *first, .month = *second, .day = *third};
        } else {
            constexpr int firstOfLastCentury = 30;
            const int century = *third > 99 ? 0 : *third < firstOfLastCentury ? 2000 : 1900;
            calendar = {.year = *third + century, .month = *first, .day = *second};
        }
        if (rest.starts_with('T') || rest.starts_with(' ')) rest.remove_prefix(1);
        if (rest.empty()) rest = "0:00";
    }
    if (!takeTime(withoutBlanks(rest), calendar)) return std::nullopt;
    const auto moment =
        jet::dateTime(calendar.year, calendar.month, calendar.day, calendar.hour, calendar.minute, calendar.second);
    return moment ? momentText(*moment) : std::nullopt;
}

} // namespace query
