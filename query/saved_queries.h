#pragma once

#include "store/jet/database/database.h"

#include <optional>
#include <string>
#include <vector>

/// Queries that were saved in a file: the catalogue lists their names, MSysQueries holds their parts, one row each.
namespace query {

/// Their names, in the order of the catalogue; those that Access keeps for its own forms are left out.
std::vector<std::u16string> savedQueries(jet::Database& database);

/// The text of a saved select or union query, put together from its parts. Nothing when there is no query of that name.
/// Throws files::Error (unsupported) for one that cannot be turned into a text that asks (a crosstab, one that writes,
/// one for another database, one with a part that is not known), with what it is.
std::optional<std::string> savedQueryText(jet::Database& database, const std::u16string& name);

} // namespace query
