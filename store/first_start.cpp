#include "store/first_start.h"

#include "files/error.h"
#include "files/part_file.h"
#include "files/quoted_path.h"
#include "mill/tables.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/database/database.h"
#include "store/restore.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace store {

namespace {

void makeFolders(files::Disk& disk, const std::filesystem::path& folder)
{
    if (disk.exists(folder)) return;
    if (folder.has_parent_path() && folder.parent_path() != folder) makeFolders(disk, folder.parent_path());
    disk.makeFolder(folder);
}

bool isSameName(const std::filesystem::path& one, const std::string& other)
{
    const std::u8string text = one.u8string();
    const auto small = [](unsigned letter) { return letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter; };
    return std::ranges::equal(text, other, {}, small, [&small](char letter) { return small(std::uint8_t(letter)); });
}

/// The file of that name in a folder, in whatever letter case it is written.
std::optional<std::filesystem::path> fileNamed(files::Disk& disk, const std::filesystem::path& folder,
                                               const std::string& name)
{
    for (const std::filesystem::path& each : disk.names(folder))
        if (isSameName(each, name)) return folder / each;
    return {};
}

/// What the old program keeps beside its database: the head of the slips, and the widths of the columns.
void bringTextsAlong(files::Disk& disk, const std::filesystem::path& from, const std::filesystem::path& folder)
{
    constexpr std::uint64_t longest = 1 << 20; // these are a few lines; what is longer only has the name
    for (const char* name : {"Presva.Txt", "Grid0.txt", "Grid1.txt"}) {
        const auto old = fileNamed(disk, from, name);
        if (!old || fileNamed(disk, folder, name)) continue;
        const auto file = disk.open(*old, files::Disk::Access::readOnly);
        if (file->size() > longest) continue;
        std::vector<std::uint8_t> bytes(file->size());
        bytes.resize(file->read(0, bytes));
        files::PartFile made(disk, folder / name);
        made.make([&] {
            const auto copy = disk.open(made.path(), files::Disk::Access::createNew);
            copy->write(0, bytes);
            copy->sync();
        });
        made.publish();
    }
}

/// The database comes last: until it is there, a start asks again.
void carryAlong(files::Disk& disk, const std::filesystem::path& old, const std::filesystem::path& folder,
                const std::filesystem::path& database)
{
    const auto opened = jet::Database::open(disk, old, jet::Pager::Mode::readOnly);
    bringTextsAlong(disk, old.has_parent_path() ? old.parent_path() : ".", folder);
    jet::backup(disk, *opened, database);
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
        carryAlong(disk, *choice.carry, folder, database);
    else
        mill::createDatabase(disk, database, jet::turkish, now);
    return true;
}

} // namespace store
