#pragma once

#include "files/disk.h"
#include "tools/command_line.h"

namespace tools {

/// Lists the book of weights of a program's directory, or verifies it beside the journal and the log. The exit code.
int weights(files::Disk& disk, Arguments arguments);

} // namespace tools
