#pragma once

#include "store/jet/rules/table_properties.h"
#include "store/jet/table/table.h"

#include <string>
#include <vector>

namespace jet {

/// One local table as MSysObjects lists it.
struct CatalogueEntry {
    std::u16string name;
    PageNo definition = 0;
    bool user = false;           ///< neither the engine's own nor one of Access's helpers
    Bytes properties;            ///< LvProp; empty when there are none, or none that can be read
    bool propertiesLost = false; ///< they cannot be read
};

/// What they say of the table's rows.
TableProperties propertiesOf(const CatalogueEntry& entry);

/// All local tables in storage order, each definition once. Throws damaged when MSysObjects itself cannot be read.
std::vector<CatalogueEntry> readCatalogue(const Table& systemObjects);

/// A table whose rows stand in another file, or in another kind of database.
struct LinkedTable {
    std::u16string name;
    std::u16string file;  ///< as the link names it; empty for another kind of database
    std::u16string table; ///< its name there
};
/// All of them, as far as their rows can be read.
std::vector<LinkedTable> readLinks(const Table& systemObjects);

/// The position of a system table's column; these tables are the same in every file. Throws damaged.
std::size_t systemColumn(const Table& table, std::u16string_view name, ColumnType type);

/// A kind of object that is neither a table nor a part of one, by its number in MSysObjects ("sorgu"); null for others.
const char* foreignKind(int type);

/// An object of that Flags value belongs to the user: it is neither the engine's own nor one of Access's helpers.
bool isUserObject(std::uint32_t flags);
/// The same of a table. Those that every file has where it has them are its own, whatever the flags say.
bool isUserTable(std::uint32_t flags, PageNo definition);

} // namespace jet
