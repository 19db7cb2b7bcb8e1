#pragma once

#include "store/jet/sql/condition.h"
#include "store/jet/values/value.h"

#include <optional>

namespace jet::sql {

/// Values of a column, of its own type, between which every number of a span lies; an end that is missing is open.
struct NumberBounds {
    std::optional<Value> low, high;
};

/// A little more than the span at both ends: conditions compare numbers as doubles, which may have rounded them.
/// Nothing for types whose numbers have no sure order in an index.
std::optional<NumberBounds> numberBounds(ColumnType type, Condition::Span span);

} // namespace jet::sql
