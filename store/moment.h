#pragma once

#include "store/field_value.h"

namespace store {

/// Days since 1899-12-30 of a moment, to whole seconds.
inline double daysOf(const QDateTime& moment) { return std::get<DateDays>(FieldValue::date(moment).raw()).days; }

} // namespace store
