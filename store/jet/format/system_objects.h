#pragma once

#include "store/jet/format/header_layout.h"

#include <cstdint>

/// What the catalogue, MSysObjects, holds in every file.
namespace jet {

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
