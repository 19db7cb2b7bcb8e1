#pragma once

#include "store/jet/values/value.h"

#include <string>
#include <string_view>

/// What Format makes of a value, by the patterns in common use. Month and day names, decimal mark and the mark of
/// thousands are Turkish, or English where `english`.
namespace query {

/// Whether the pattern is one of dates: a number is then one of days, and a date the number of them for any other.
bool isOfMoments(std::string_view pattern);

/// yyyy yy m mm mmm mmmm d dd ddd dddd h hh n nn s ss q AM/PM, where m and mm behind hours are minutes; General, Long,
/// Medium and Short Date, Long, Medium and Short Time. What stands between quotes or behind \ stands for itself, and
/// every sign. Letters that mean something elsewhere in Access are
/// refused: throws files::Error (unsupported).
std::string formatMoment(jet::DateTime moment, std::string_view pattern, bool english);

/// 0 # , . and % as in "#,##0.00" or "0%", up to three of them divided by ";": above zero, below, and zero. Halves are
/// rounded away from zero. General Number, Fixed, Standard, Percent, Yes/No, True/False, On/Off. Throws as above.
std::string formatNumber(double number, std::string_view pattern, bool english);

} // namespace query
