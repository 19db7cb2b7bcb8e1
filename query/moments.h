#pragma once

#include "store/jet/values/value.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Dates inside SQLite, which has none: texts like 2025-11-20T14:05:00, with milliseconds only where there are some.
/// Their order is that of the moments.
namespace query {

/// The text of a moment; nothing for one outside of the years 100 to 9999.
std::optional<std::string> momentText(jet::DateTime moment);
/// The moment of a text; nothing where it is none of these.
std::optional<jet::DateTime> momentOf(std::string_view text);

/// A calendar day with its time.
struct Calendar {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
};
Calendar calendarOf(jet::DateTime moment);
int weekdayOf(const Calendar& calendar); ///< 1: Sunday
/// Months and days may run over: month 13 is January of the next year, day 0 the last one of the month before.
/// `moreSeconds` are added. Nothing outside of the years 100 to 9999.
std::optional<jet::DateTime> momentOf(const Calendar& calendar, std::int64_t moreSeconds = 0);

/// The text of what stands between two # in a query: month/day/year, or year-month-day, a time behind it or alone. A
/// year of two digits is one of 1930 to 2029, as in Access. Nothing where it is no date.
std::optional<std::string> dateLiteral(std::string_view text);

} // namespace query
