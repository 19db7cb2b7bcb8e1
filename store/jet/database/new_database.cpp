#include "store/jet/database/database.h"

#include "files/memory_disk.h"
#include "files/part_file.h"
#include "store/jet/database/database_state.h"
#include "store/jet/database/header.h"
#include "store/jet/database/system_tables.h"
#include "store/jet/pages/damage.h"
#include "store/jet/table/table_state.h"

namespace jet {
namespace {

Bytes bytesOf(const Account& account) { return {account.begin(), account.end()}; }

/// A system table in numbers of objects: they are the pages of their definitions.
constexpr std::uint32_t pageOf(PageCount table) { return (firstSystemTable + table).number(); }

/// In the order that real files have; the positions of rows and the order of entries follow from it.
constexpr ObjectRow systemObjectRows[]{
    {tablesContainer, rootContainer, u"Tables", containerObject},
    {databasesContainer, rootContainer, u"Databases", containerObject},
    {relationshipsContainer, rootContainer, u"Relationships", containerObject},
    {msysDb, databasesContainer, u"MSysDb", databaseObject},
    {pageOf(0), tablesContainer, msysObjects, localTable},
    {pageOf(1), tablesContainer, msysAces, localTable},
    {pageOf(2), tablesContainer, msysQueries, localTable},
    {pageOf(3), tablesContainer, msysRelationships, localTable},
};

struct Right {
    std::uint32_t object;
    Account AccountSet::*account;
    std::uint32_t mask;
    bool inheritable;
};

constexpr std::uint32_t administer = rights::seeAndChangeRights;
constexpr std::uint32_t allOfNewTables = rights::ofEveryObject | rights::designAndRows;

constexpr Right systemRights[]{
    {pageOf(0), &AccountSet::admin, administer, false},
    {pageOf(1), &AccountSet::admin, administer, false},
    {pageOf(2), &AccountSet::admin, administer, false},
    {pageOf(3), &AccountSet::admin, administer | rights::changeOwner, false},
    {tablesContainer, &AccountSet::creator, allOfNewTables, true},
    {tablesContainer, &AccountSet::admin, administer | rights::makeObjects, false},
    {relationshipsContainer, &AccountSet::creator, allOfNewTables, true},
    {relationshipsContainer, &AccountSet::admin, administer | rights::makeObjects, false},
    {databasesContainer, &AccountSet::admin, administer, false},
    {msysDb, &AccountSet::admin, administer | rights::openAndAdminister, false},
    {msysDb, &AccountSet::users, rights::openAndAdminister, false},
    {pageOf(2), &AccountSet::users, rights::readDesignAndRows, false},
    {pageOf(3), &AccountSet::users, rights::readDesignAndRows, false},
    {pageOf(0), &AccountSet::users, rights::readDesignAndRows, false},
    {tablesContainer, &AccountSet::users, rights::everything & ~rights::unusedBit, true},
    {relationshipsContainer, &AccountSet::users, rights::everything, true},
};

} // namespace

void Database::State::addSystemRows(const AccountSet& accounts, DateTime now)
{
    for (const ObjectRow& object : systemObjectRows) {
        const Account& owner = object.id == msysDb ? accounts.admin : accounts.engine;
        addObject(object, bytesOf(owner), systemObject, now);
    }
    catalogueChanged();
    for (const Right& right : systemRights)
        addRight(right.object, bytesOf(accounts.*right.account), right.mask, right.inheritable);
}

void Database::create(Disk& disk, const std::filesystem::path& path, Collation collation, DateTime now,
                      const std::function<void(Database&)>& furnish)
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
        if (furnish) furnish(*database);
    }

    part.make([&] {
        {
            const std::unique_ptr<File> file = disk.open(part.path(), Disk::Access::createNew);
            file->write(0, memory.content(path));
            file->sync();
        }
        part.publish();
    });
}

} // namespace jet
