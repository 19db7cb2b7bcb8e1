#pragma once

#include "files/disk.h"
#include "tools/command_line.h"

#include <cstdint>
#include <filesystem>
#include <string>

/// The commands of presva-mdb. They return the exit code.
namespace tools {

// ---- exchange_commands.cpp: bring tables out of a database and into it ----

/// One table to standard output or a file, or all of them into a folder.
int exportTables(files::Disk& disk, Arguments arguments);

/// Adds the rows of a CSV to a table, all or none.
int importTable(files::Disk& disk, Arguments arguments);

/// The tables as SQL text on standard output.
int writeSchema(files::Disk& disk, Arguments arguments);

// ---- query_commands.cpp ----

/// Runs a question, or a statement that writes, and says what came of it.
int runSql(files::Disk& disk, Arguments arguments);

extern const char* const sqlHelp;

// ---- repair_commands.cpp: keep a database well, or save it when something went wrong ----

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

// ---- season_command.cpp ----

/// Writes a season as a page or as a workbook. The exit code: 2 when rows could not be read.
int season(files::Disk& disk, Arguments arguments);

// ---- server_commands.cpp: carry the mill's books to a server and back ----

int toServer(files::Disk& disk, Arguments arguments);
int fromServer(files::Disk& disk, Arguments arguments);
int undelete(files::Disk& disk, Arguments arguments);
int leaveRegister(files::Disk& disk, Arguments arguments);

// ---- weight_commands.cpp ----

/// Lists the book of weights of a program's directory, or verifies it beside the journal and the log.
int weights(files::Disk& disk, Arguments arguments);

/// Writes into the book, and into the log, that the file `next` is about to take the place of the database. The number
/// of the line; 0 where there is no book. Throws files::Error: then the copy must not be put back.
std::uint64_t announceRestore(files::Disk& disk, const std::filesystem::path& folder, const std::filesystem::path& next,
                              double moment, const std::string& copy);

} // namespace tools
