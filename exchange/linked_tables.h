#pragma once

#include "store/jet/database/database.h"

#include <string>
#include <string_view>

namespace exchange {

/// Where the rows of a linked table are, as a part of a sentence.
std::string placeOf(const jet::LinkedTable& table);
/// Throws files::Error (unsupported), which says so, when the name is that of a linked table, in any letter case.
void refuseLinkedTable(const jet::Database& database, std::string_view name);

} // namespace exchange
