#pragma once

#include "files/disk.h"
#include "tools/command_line.h"

/// The commands of presva-mdb that keep a database well, or save it when something went wrong. They return the exit
/// code.
namespace tools {

/// Lists the copies of a program's directory, or puts one back.
int restore(files::Disk& disk, Arguments arguments);

/// Looks at every page, row and index entry; of a damaged file it also says what can be saved.
int check(files::Disk& disk, Arguments arguments);

/// Rewrites a file without the room of deleted rows; of a damaged one it saves what can be read.
int compactFile(files::Disk& disk, Arguments arguments);

/// Saves every readable row of a damaged file in a new one and lists what could not be read.
int rescueFile(files::Disk& disk, Arguments arguments);

/// Exit code of a rescue that could not save everything.
inline constexpr int savedInPart = 2;

} // namespace tools
