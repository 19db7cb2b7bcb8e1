#pragma once

#include <filesystem>

namespace files {

/// The journal of a database's change, beside the database.
inline std::filesystem::path journalOf(std::filesystem::path database) { return database += "-journal"; }

} // namespace files
