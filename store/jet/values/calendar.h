#pragma once

#include "store/jet/values/value.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace jet {

/// The day from which the format counts.
inline constexpr std::chrono::sys_days dayZero = std::chrono::year{1899} / 12 / 30;

/// The moment of a calendar day of the years 100 to 9999; nothing when there is no such day or time of day.
/// Always the same double for the same second: day number + seconds / 86400.0.
std::optional<DateTime> dateTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);

/// Milliseconds since 1899-12-30 00:00. Moments are compared by this: other programs work their fractions out
/// differently, and the last bits of two doubles for the same second need not agree.
std::int64_t milliseconds(DateTime moment);

} // namespace jet
