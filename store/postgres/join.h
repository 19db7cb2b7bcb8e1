#pragma once

#include "files/disk.h"
#include "store/postgres/carry.h"
#include "store/postgres/server_settings.h"

#include <filesystem>
#include <string>

namespace postgres {

/// What becomes of rows of the file that the register had and has no more.
enum class Deleted {
    ask,  ///< nothing: where there are any, nothing is done at all
    drop, ///< they go from the file, too
    keep  ///< they come back, to all counters
};

struct Join {
    std::string user;      ///< empty: as Sunucu.ini says
    bool merge = false;    ///< both have rows that the other has not: each gets them
    bool create = false;   ///< the register is made, although the server has others
    bool dropCopy = false; ///< a copy of this counter's books that stands on the server, too, is taken away; where the
                           ///< file is in the register already, that alone is done
    Deleted deleted = Deleted::ask;
};

/// The file and the register that Sunucu.ini names become one: what only one of the two has, the other gets, and the
/// file knows from then on where it stands in the register's history. The tables are made first where there are none,
/// and so is the register. Where both know a customer, the server's terms hold. Nothing is taken away from the server.
/// Nobody else may have the file open. A file that is in a register of another name is refused. One that stands at the
/// end of this register's history already is compared with it: where they differ, `merge` joins them anew.
///
/// A slip that waited in the file as a change is brought as that change, so that no copy of the file brings it once
/// more; what else waited is there as rows, and goes with them. Throws ServerError (no line; what must be asked for and
/// was not, see Join; a file that stands in this register's history already), badValue (a field that would not come
/// back as it is; columns that could not take what other counters enter: then the server has the rows of the file, and
/// from-server writes one that can) and what opening and writing files throws.
Carried joinRegister(files::Disk& disk, const ServerSettings& settings, const std::filesystem::path& file,
                     const Join& options, jet::DateTime now, const CarryProgress& progress);

} // namespace postgres
