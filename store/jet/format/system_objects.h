#pragma once

#include "store/jet/format/header_layout.h"

#include <cstdint>

/// What the catalogue, MSysObjects, is called and holds in every file.
namespace jet {

/// The catalogue itself, and the table that says who may do what with an object.
inline constexpr const char16_t* msysObjects = u"MSysObjects";
inline constexpr const char16_t* msysAces = u"MSysACEs";

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
} // namespace object_columns

/// Columns of the table of rights.
namespace right_columns {
inline constexpr const char16_t* object = u"ObjectId";
inline constexpr const char16_t* account = u"SID";
inline constexpr const char16_t* mask = u"ACM";
inline constexpr const char16_t* inheritable = u"FInheritable";
} // namespace right_columns

/// Kinds of objects.
inline constexpr std::int16_t localTable = 1;
inline constexpr std::int16_t databaseObject = 2;
inline constexpr std::int16_t containerObject = 3;

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
