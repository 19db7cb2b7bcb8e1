#pragma once

#include "files/disk.h"
#include "tools/command_line.h"

namespace tools {

/// Writes a season as a page or as a workbook. The exit code: 2 when rows could not be read.
int season(files::Disk& disk, Arguments arguments);

} // namespace tools
