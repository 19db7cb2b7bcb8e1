#pragma once

#include "store/jet/sql/condition.h"

#include <functional>
#include <optional>

namespace jet::sql {

/// Visits every row of the table that meets the condition (all rows where there is none), in storage order, by the
/// shortest way there is: rows remembered for a text, a range of an index, the pages of a period, or else the whole
/// table. Rows must not be written while it visits. Throws damaged.
void eachRow(Table& table, const std::optional<Condition>& condition,
             const std::function<void(RowId, const RowView&)>& visit);

} // namespace jet::sql
