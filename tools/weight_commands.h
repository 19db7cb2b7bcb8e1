#pragma once

#include "files/disk.h"
#include "tools/command_line.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace tools {

/// Lists the book of weights of a program's directory, or verifies it beside the journal and the log. The exit code.
int weights(files::Disk& disk, Arguments arguments);

/// Writes into the book, and into the log, that the file `next` is about to take the place of the database. The number
/// of the line; 0 where there is no book. Throws files::Error: then the copy must not be put back.
std::uint64_t announceRestore(files::Disk& disk, const std::filesystem::path& folder, const std::filesystem::path& next,
                              double moment, const std::string& copy);

} // namespace tools
