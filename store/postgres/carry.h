#pragma once

#include "files/disk.h"
#include "store/jet/values/value.h"
#include "store/postgres/server_settings.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

/// The mill's books carried from Yag.mdb to a server and back. Both ways end only when every row was compared, and both
/// go on where they were broken off: what is there already is looked at and not carried again.
namespace postgres {

struct Carried {
    std::uint64_t customers = 0; ///< rows that are the same in both places now
    std::uint64_t pressings = 0;
    std::uint64_t written = 0; ///< of them, rows that were added or changed
    std::uint64_t removed = 0; ///< rows that were taken away
    bool compared = true;      ///< false: something was taken away, and nothing else was looked at
};

using CarryProgress = std::function<void(int percent)>;

struct ToServer {
    std::string user;        ///< empty: as Sunucu.ini says
    bool removeGone = false; ///< rows that the file has no more are taken away from the server, too
};

/// Makes this counter's books on the server those of the mill's file, as they stand at one moment: the program may be
/// running. The tables are made first where there are none. The sums of a report stay behind; the books of other
/// counters are not looked at. A file that is in a shared register is refused, and so is one with pressings that a
/// shared register of this server has: they would stand there twice. Throws ServerError (no line, rows that the file
/// has no more), badValue (a field that would not come back as it is; no row was written then) and what opening files
/// throws.
Carried toServer(files::Disk& disk, const ServerSettings& settings, const std::filesystem::path& file,
                 const ToServer& options, const CarryProgress& progress);

/// Writes this counter's books, or the register that it shares, as the server has them at one moment, as a new
/// database. It bears the name `file` only when it is whole and was compared. Throws exists, ServerError and what
/// writing files throws.
Carried fromServer(files::Disk& disk, const ServerSettings& settings, const std::filesystem::path& file,
                   const std::string& user, jet::DateTime now, const CarryProgress& progress);

} // namespace postgres
