#pragma once

#include "store/jet/disk.h"
#include "tools/command_line.h"

/// The commands of presva-mdb for the day when something went wrong. They return the exit code.
namespace tools {

/// Lists the copies of a program's directory, or puts one back.
int restore(jet::Disk& disk, Arguments arguments);

} // namespace tools
