#pragma once

#include "store/postgres/connection.h"

#include <string_view>

namespace postgres {

/// schema.sql, written into the program by the build.
extern const std::string_view schemaText;

/// Makes the tables of the mill on the server, or brings those that are there forward, in one transaction; two programs
/// at once wait for each other. Nothing happens where they are as they should be. Throws ServerError where a newer
/// program has been there, where the roles are missing, and where the user may not act as presva_sahip.
void bringForward(Connection& connection);

/// Throws ServerError unless the tables are as this program knows them.
void requireSchema(Connection& connection);

} // namespace postgres
