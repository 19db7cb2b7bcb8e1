#pragma once

#include "files/disk.h"
#include "tools/command_line.h"

/// The commands of presva-mdb that bring tables out of a database and into it. They return the exit code.
namespace tools {

/// One table to standard output or a file, or all of them into a folder.
int exportTables(files::Disk& disk, Arguments arguments);

/// Adds the rows of a CSV to a table, all or none.
int importTable(files::Disk& disk, Arguments arguments);

/// The tables as SQL text on standard output.
int writeSchema(files::Disk& disk, Arguments arguments);

} // namespace tools
