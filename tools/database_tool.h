#pragma once

#include "files/disk.h"

#include <span>
#include <string>

namespace tools {

/// presva-mdb: looks after database files from the command line. `arguments` are those behind the program's name.
/// Results go to standard output, progress and the one line of a failure to standard error.
/// Returns the exit code: 0 when everything asked for was done, and for `check` only when the file is sound; else 1.
int runDatabaseTool(files::Disk& disk, std::span<const std::string> arguments);

} // namespace tools
