#include "store/jet/database/database.h"

#include "files/memory_disk.h"
#include "files/part_file.h"
#include "store/jet/database/database_state.h"
#include "store/jet/database/header.h"
#include "store/jet/database/system_tables.h"
#include "store/jet/pages/damage.h"
#include "store/jet/table/table_state.h"

#include <array>

namespace jet {
namespace {

using Account = std::array<std::uint8_t, 2>;

Value bytesOf(const Account& account) { return Bytes(account.begin(), account.end()); }
Value numberOf(std::uint32_t bits) { return static_cast<std::int32_t>(bits); }

struct SystemObject {
    std::uint32_t id;
    std::uint32_t parent;
    const char16_t* name;
    std::int16_t type;
};

/// In the order that real files have; the positions of rows and the order of entries follow from it.
constexpr SystemObject systemObjectRows[]{
    {tablesContainer, rootContainer, u"Tables", 3},
    {databasesContainer, rootContainer, u"Databases", 3},
    {relationshipsContainer, rootContainer, u"Relationships", 3},
    {msysDb, databasesContainer, u"MSysDb", 2},
    {firstSystemTable.number(), tablesContainer, u"MSysObjects", 1},
    {(firstSystemTable + 1).number(), tablesContainer, u"MSysACEs", 1},
    {(firstSystemTable + 2).number(), tablesContainer, u"MSysQueries", 1},
    {(firstSystemTable + 3).number(), tablesContainer, u"MSysRelationships", 1},
};

struct Right {
    std::uint32_t object;
    Account AccountSet::*account;
    std::uint32_t mask;
    bool inheritable;
};

constexpr Right systemRights[]{
    {2, &AccountSet::admin, 0x00060000, false},
    {3, &AccountSet::admin, 0x00060000, false},
    {4, &AccountSet::admin, 0x00060000, false},
    {5, &AccountSet::admin, 0x000E0000, false},
    {tablesContainer, &AccountSet::creator, 0x000F00FE, true},
    {tablesContainer, &AccountSet::admin, 0x00060001, false},
    {relationshipsContainer, &AccountSet::creator, 0x000F00FE, true},
    {relationshipsContainer, &AccountSet::admin, 0x00060001, false},
    {databasesContainer, &AccountSet::admin, 0x00060000, false},
    {msysDb, &AccountSet::admin, 0x0006000E, false},
    {msysDb, &AccountSet::users, 0x0000000E, false},
    {4, &AccountSet::users, 0x00000014, false},
    {5, &AccountSet::users, 0x00000014, false},
    {2, &AccountSet::users, 0x00000014, false},
    {tablesContainer, &AccountSet::users, 0x000FFEFF, true},
    {relationshipsContainer, &AccountSet::users, 0x000FFFFF, true},
};

} // namespace

void Database::State::addSystemRows(const AccountSet& accounts, DateTime now)
{
    for (const SystemObject& object : systemObjectRows) {
        const Account& owner = object.id == msysDb ? accounts.admin : accounts.engine;
        addRow(*systemObjects, {{u"Id", numberOf(object.id)},
                                {u"ParentId", numberOf(object.parent)},
                                {u"Name", std::u16string(object.name)},
                                {u"Type", object.type},
                                {u"DateCreate", now},
                                {u"DateUpdate", now},
                                {u"Owner", bytesOf(owner)},
                                {u"Flags", numberOf(0x80000000)}});
    }
    catalogueChanged();
    Table& rights = rightsTable();
    for (const Right& right : systemRights) {
        addRow(rights, {{u"ObjectId", numberOf(right.object)},
                        {u"SID", bytesOf(accounts.*right.account)},
                        {u"ACM", numberOf(right.mask)},
                        {u"FInheritable", right.inheritable}});
    }
}

void Database::create(Disk& disk, const std::filesystem::path& path, Collation collation, DateTime now)
{
    if (collation != general && collation != turkish) {
        throw Error(Fault::unsupported, files::quotedPath(path) +
                                            " için istenen sıralama düzeni desteklenmiyor; genel ya da "
                                            "Türkçe düzen kullanılabilir.");
    }
    files::PartFile part(disk, path);

    // The rows of the catalogue are ordinary rows with ordinary indexes: the engine writes them itself, on pages in
    // memory, and the disk gets the finished file.
    files::MemoryDisk memory;
    memory.content(path) = blankDatabase(collation);
    {
        const std::unique_ptr<Database> database = open(memory, path);
        State& state = *database->state_;
        Transaction change(*state.pager);
        state.addSystemRows(accountSet(collation), now);
        change.commit();
    }

    {
        const std::unique_ptr<File> file = disk.open(part.path(), Disk::Access::createNew);
        file->write(0, memory.content(path));
        file->sync();
    }
    part.publish();
}

} // namespace jet
