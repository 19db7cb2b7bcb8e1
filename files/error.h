#pragma once

#include <stdexcept>
#include <string>

namespace files {

/// Why a file, or what is in it, cannot be used: one list for the disk and for the engine that stands on it, because
/// who hears of a failure asks what is wrong and not on which floor it was met. Callers branch on this; people read
/// Error::what().
enum class Fault {
    notFound,         ///< no file at that path
    isFolder,         ///< the path names a folder
    notADatabase,     ///< no Jet signature
    oldFormat,        ///< Access 97 or older (Jet 3)
    newFormat,        ///< Access 2007 or newer (.accdb)
    encoded,          ///< its pages are covered, and what was asked takes plain ones
    cutShort,         ///< the file ends in the middle of a page, or before pages that every database has
    inUse,            ///< another program has it open
    changedElsewhere, ///< another program has changed it since it was read; nothing was written
    noPermission,     ///< the system refuses access
    readOnly,         ///< a write to a file, table or index that may only be read
    damaged,          ///< bytes on a page contradict the format
    disk,             ///< the system reported a read, write or sync error; a full disk too
    noSuchTable,      ///< table, column or index of that name does not exist
    noSuchRow,        ///< the row to be changed is not (or no longer) there
    exists,           ///< a file or object of that name is already there
    badValue,         ///< a value does not fit its column
    required,         ///< a required column would be left empty
    emptyText,        ///< a text without letters in a column that takes none
    ruleBroken,       ///< a row that a rule of its table forbids
    noParent,         ///< a row whose relationship leads to no row of the other table
    hasChildren,      ///< a row that rows of another table need
    duplicate,        ///< a unique index already has that key
    indexNotWritable, ///< an index of the table cannot be kept true, so the table is not written
    syntax,           ///< an SQL text that cannot be understood
    unsupported,      ///< understood, but not something this engine does
    server,           ///< a database server is out of reach, or refuses
};

/// The one exception of disk and engine: a fault and one UTF-8 sentence in Turkish that says what, where and what to
/// do.
class Error : public std::runtime_error {
public:
    Error(Fault fault, const std::string& sentence) : std::runtime_error(sentence), fault_(fault) {}
    Fault fault() const noexcept { return fault_; }

private:
    Fault fault_;
};

} // namespace files
