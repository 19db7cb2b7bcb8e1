#pragma once

#include "files/disk.h"
#include "tools/command_line.h"

namespace tools {

/// Runs a question, or a statement that writes, and says what came of it. Returns the exit code.
int runSql(files::Disk& disk, Arguments arguments);

extern const char* const sqlHelp;

} // namespace tools
