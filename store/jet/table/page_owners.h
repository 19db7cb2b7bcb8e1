#pragma once

#include "store/jet/table/table_state.h"

#include <optional>
#include <vector>

namespace jet {

/// A page of the table that is marked free, that the table lists twice, or that another table lists too; nothing in a
/// sound file. `indexPages` are the pages of the table's index trees. Throws damaged when a map of the table cannot
/// be read; other tables that cannot be read are passed over.
std::optional<PageNo> contestedPage(const Table::State& table, const std::vector<PageNo>& indexPages);

} // namespace jet
