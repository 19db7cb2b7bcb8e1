#pragma once

#include "files/disk.h"
#include "store/jet/database/database.h"

#include <cstddef>
#include <filesystem>
#include <string>

namespace postgres {

struct Left {
    std::string name;        ///< of the register
    std::size_t dropped = 0; ///< changes that it will not hear of
};

/// The file leaves its register and is a counter's own again; its rows stay, and no server is asked. Slips that wait
/// stay noted: where the file joins again, they are the same ones. Nobody else may have the file open. Throws badValue
/// where the file is in no register, and, unless `dropWaiting` is given, where changes wait that the server has not
/// confirmed: it would never hear of them. Throws what opening and writing files throws.
Left leaveRegister(files::Disk& disk, const std::filesystem::path& file, bool dropWaiting);

/// What was saved of a damaged file no longer knows its register's history up to its place: it leaves the register, and
/// joins it again by its rows. False for a file that was never in one.
bool forgetRegister(files::Disk& disk, const std::filesystem::path& file);

/// Throws badValue where the file is in a register of another name: whoever is to join that one leaves the other first.
/// An empty name means none.
void requireNoOtherRegister(files::Disk& disk, const std::filesystem::path& file, const std::string& name);

/// Throws badValue where the file is in a register: neither the server nor the other counters hear of what somebody
/// writes into it who notes nothing down.
void requireNoRegister(jet::Database& database);

} // namespace postgres
