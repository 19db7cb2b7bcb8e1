#pragma once

#include "store/jet/database/database.h"
#include "store/postgres/connection.h"
#include "store/postgres/server_settings.h"

#include <string>
#include <vector>

namespace postgres {

/// Brings, of these pressings of the file that the register lacks, those that the file has noted as changes, each under
/// the identity that its slip and its note have: a copy of the file that brings the same note later finds it done. One
/// that the server does not take so, or has done before, is left. `there` is what the register has; nobody else may
/// write into it meanwhile. Returns the pressings that it lacks still.
std::vector<std::string> bringWaitingSlips(Connection& connection, const ServerSettings& settings,
                                           jet::Database& database, const std::vector<std::string>& there,
                                           std::vector<std::string> wanted);

} // namespace postgres
