#pragma once

#include "store/jet/table/table_state.h"

#include <optional>
#include <string>
#include <vector>

namespace jet {

/// Why pages of the table, or those that a growing file would add, are not its owner's alone, as a Turkish clause;
/// nothing in a sound file: a page is marked free, the table lists one twice, another table lists it too, or a map of
/// any table has a bit for a page behind the end. `indexPages` are the pages of the table's index trees. Throws damaged
/// when a map of the table cannot be read; other tables that cannot be read are passed over.
std::optional<std::string> contestedPage(const Table::State& table, const std::vector<PageNo>& indexPages);

} // namespace jet
