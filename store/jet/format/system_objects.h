#pragma once

#include "store/jet/format/header_layout.h"

#include <cstdint>

/// What the catalogue, MSysObjects, is called and holds in every file.
namespace jet {

/// The catalogue itself, and the table that says who may do what with an object.
inline constexpr const char16_t* msysObjects = u"MSysObjects";
inline constexpr const char16_t* msysAces = u"MSysACEs";
/// Saved queries, a row for each part of one; and relationships, a row for each pair of columns.
inline constexpr const char16_t* msysQueries = u"MSysQueries";
inline constexpr const char16_t* msysRelationships = u"MSysRelationships";

/// Columns of the catalogue that the engine reads and fills.
namespace object_columns {
inline constexpr const char16_t* id = u"Id";
inline constexpr const char16_t* parent = u"ParentId";
inline constexpr const char16_t* name = u"Name";
inline constexpr const char16_t* type = u"Type";
inline constexpr const char16_t* created = u"DateCreate";
inline constexpr const char16_t* updated = u"DateUpdate";
inline constexpr const char16_t* owner = u"Owner";
inline constexpr const char16_t* flags = u"Flags";
inline constexpr const char16_t* properties = u"LvProp";
inline constexpr const char16_t* file = u"Database"; ///< of a linked table: where its rows are
inline constexpr const char16_t* foreignName = u"ForeignName";
} // namespace object_columns

/// Columns of the table of rights.
namespace right_columns {
inline constexpr const char16_t* object = u"ObjectId";
inline constexpr const char16_t* account = u"SID";
inline constexpr const char16_t* mask = u"ACM";
inline constexpr const char16_t* inheritable = u"FInheritable";
} // namespace right_columns

/// Columns of the table of relationships.
namespace relationship_columns {
inline constexpr const char16_t* name = u"szRelationship";
inline constexpr const char16_t* bits = u"grbit";
inline constexpr const char16_t* count = u"ccolumn";
inline constexpr const char16_t* place = u"icolumn";
inline constexpr const char16_t* child = u"szObject";
inline constexpr const char16_t* childColumn = u"szColumn";
inline constexpr const char16_t* parent = u"szReferencedObject";
inline constexpr const char16_t* parentColumn = u"szReferencedColumn";
} // namespace relationship_columns

/// Bits of a relationship.
inline constexpr std::uint32_t notEnforced = 0x2;
inline constexpr std::uint32_t updatesCascade = 0x100;
inline constexpr std::uint32_t deletesCascade = 0x1000;

/// Columns of the table of queries.
namespace query_columns {
inline constexpr const char16_t* object = u"ObjectId";
inline constexpr const char16_t* attribute = u"Attribute";
inline constexpr const char16_t* order = u"Order";
inline constexpr const char16_t* name1 = u"Name1";
inline constexpr const char16_t* name2 = u"Name2";
inline constexpr const char16_t* expression = u"Expression";
inline constexpr const char16_t* flag = u"Flag";
inline constexpr const char16_t* extra = u"LvExtra";
} // namespace query_columns

/// Kinds of objects.
inline constexpr std::int16_t localTable = 1;
inline constexpr std::int16_t databaseObject = 2;
inline constexpr std::int16_t containerObject = 3;
inline constexpr std::int16_t linkToServer = 4;
inline constexpr std::int16_t queryObject = 5;
inline constexpr std::int16_t linkToFile = 6;

/// Numbers of objects that others refer to.
inline constexpr std::uint32_t rootContainer = 0x0F000000;
inline constexpr std::uint32_t tablesContainer = 0x0F000001;
inline constexpr std::uint32_t databasesContainer = 0x0F000002;
inline constexpr std::uint32_t relationshipsContainer = 0x0F000003;
inline constexpr std::uint32_t msysDb = 0x10000000; ///< the database itself

/// Flags of an object: the engine's own, and either that or one of Access's helpers.
inline constexpr std::uint32_t systemObject = 0x80000000;
inline constexpr std::uint32_t systemMarks = systemObject | 0x00000002;

/// Numbers below are also the pages of the tables' definitions.
inline constexpr PageNo firstSystemTable = header_layout::firstSystemTable;

} // namespace jet
