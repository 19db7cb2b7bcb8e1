#pragma once

#include "store/jet/format/format.h"

/// The lock file beside a database that is open ("Yag.ldb" beside "Yag.mdb"), as every program of that format keeps it:
/// a record for each of up to 255 users, the machine and the user by name, each ended by a zero unless it fills its
/// place.
///
///     0     machine
///     32    user
///     64
///
/// Letters are those of the machine's code page. The names alone say nothing, they stay behind after a crash: who is
/// there holds a byte of that file, far behind its end, the one of his record.
namespace jet::session_layout {

inline constexpr Area<0, 32> machine;
inline constexpr Area<32, 32> user;
inline constexpr std::size_t record = 64;
static_assert(fill<0, record>(machine, user));

inline constexpr std::uint64_t mostUsers = 255;
inline constexpr std::uint64_t firstUserByte = 0x10000001;

} // namespace jet::session_layout
