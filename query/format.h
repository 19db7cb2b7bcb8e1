#pragma once

#include "store/jet/values/value.h"

#include <string>
#include <string_view>

/// What Format makes of a value, by the patterns in common use. Month and day names, decimal mark and the mark of
/// thousands are Turkish, or English where `english`.
namespace query {

/// yyyy yy m mm mmm mmmm d dd ddd dddd h hh n nn s ss q; what stands between quotes or behind \ and every other letter
/// stands for itself.
std::string formatMoment(jet::DateTime moment, std::string_view pattern, bool english);

/// 0 # , . and % as in "#,##0.00" or "0%", and Fixed, Standard, Percent; every other letter stands for itself.
std::string formatNumber(double number, std::string_view pattern, bool english);

} // namespace query
