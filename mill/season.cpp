#include "mill/season.h"

#include "store/jet/values/calendar.h"

#include <chrono>

namespace mill {
namespace {

constexpr std::chrono::month firstMonth = std::chrono::July;

} // namespace

int seasonOf(double moment)
{
    // By the millisecond, as everywhere: the last bits of two numbers for one moment need not agree.
    const auto day = std::chrono::floor<std::chrono::days>(
        jet::dayZero + std::chrono::milliseconds(jet::milliseconds(jet::DateTime{moment})));
    const std::chrono::year_month_day date(day);
    return static_cast<int>(date.year()) - (date.month() < firstMonth ? 1 : 0);
}

int firstDayOfSeason(int year)
{
    return static_cast<int>((std::chrono::sys_days(std::chrono::year(year) / firstMonth / 1) - jet::dayZero).count());
}

} // namespace mill
