#include "store/first_start.h"

#include "files/error.h"
#include "files/quoted_path.h"
#include "mill/tables.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/database/database.h"
#include "store/restore.h"

namespace store {

namespace {

void makeFolders(files::Disk& disk, const std::filesystem::path& folder)
{
    if (disk.exists(folder)) return;
    if (folder.has_parent_path() && folder.parent_path() != folder) makeFolders(disk, folder.parent_path());
    disk.makeFolder(folder);
}

} // namespace

bool ensureDatabase(files::Disk& disk, const std::filesystem::path& folder,
                    const std::optional<std::filesystem::path>& copyFrom, const std::function<FirstChoice()>& ask,
                    jet::DateTime now)
{
    const std::filesystem::path database = databaseIn(disk, folder);
    const bool isThere = disk.exists(database);
    if (isThere && copyFrom)
        throw files::Error(files::Fault::exists, files::inQuotes(database) +
                                                     " zaten var ve değiştirilmez; önce adını "
                                                     "değiştirin ya da --dir ile başka klasör verin.");
    if (isThere) return true;
    const FirstChoice choice = copyFrom ? FirstChoice{.leave = false, .carry = copyFrom} : ask();
    if (choice.leave) return false;
    makeFolders(disk, folder);
    if (choice.carry)
        jet::backup(disk, *jet::Database::open(disk, *choice.carry, jet::Pager::Mode::readOnly), database);
    else
        mill::createDatabase(disk, database, jet::turkish, now);
    return true;
}

} // namespace store
