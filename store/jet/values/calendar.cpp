#include "store/jet/values/calendar.h"

#include <cmath>
#include <limits>

namespace jet {

std::optional<DateTime> dateTime(int year, int month, int day, int hour, int minute, int second)
{
    namespace chrono = std::chrono;
    const chrono::year_month_day date{chrono::year{year}, chrono::month{static_cast<unsigned>(month)},
                                      chrono::day{static_cast<unsigned>(day)}};
    if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1 || !date.ok()) return std::nullopt;
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59) return std::nullopt;

    const auto days = static_cast<double>((chrono::sys_days{date} - dayZero).count());
    const double fraction = (hour * 3600 + minute * 60 + second) / 86400.0;
    // Before day zero the fraction still counts forward from midnight, away from zero on the number line.
    return DateTime{days < 0 ? days - fraction : days + fraction};
}

std::int64_t milliseconds(DateTime moment)
{
    constexpr double farthest = 1e7; // past every date of the format
    if (!(moment.days < farthest)) return std::numeric_limits<std::int64_t>::max();
    if (moment.days < -farthest) return std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t perDay = 86'400'000;
    // Truncated and rounded (halves up) by conversions: calls of the library for every date of a journal would show.
    const auto whole = static_cast<std::int64_t>(moment.days);
    const double fraction = std::abs(moment.days - static_cast<double>(whole)) * static_cast<double>(perDay);
    const auto down = static_cast<std::int64_t>(fraction);
    return whole * perDay + down + (fraction - static_cast<double>(down) >= 0.5 ? 1 : 0);
}

} // namespace jet
