#pragma once

#include "store/jet/format/format.h"

#include <array>

/// The engine's own file beside a database: old contents of the pages that a commit is about to overwrite.
///
///     0     "PrsvJrn1"
///     8     salt, 8 bytes
///     16    pages of the database before
///     20    records
///     24    digest of the pages that are not in the journal, 8 bytes
///     32    checksum of the bytes before it, 8 bytes
///     40    0
///     512   records
///
/// A record:
///
///     0     page number
///     4     0, 4 bytes
///     8     checksum, 8 bytes
///     16    the 4096 bytes of the page
///     4112
namespace jet::journal_layout {

inline constexpr Area<0, 8> magic;
inline constexpr Number<8, 8> salt;
inline constexpr Number<16, 4> pagesBefore;
inline constexpr Number<20, 4> records;
inline constexpr Number<24, 8> othersDigest;
inline constexpr Number<32, 8> checksum;
inline constexpr Area<40, 472> unused;
inline constexpr std::size_t head = 512;
static_assert(fill<0, head>(magic, salt, pagesBefore, records, othersDigest, checksum, unused));

inline constexpr std::array<std::uint8_t, magic.size> magicText{'P', 'r', 's', 'v', 'J', 'r', 'n', '1'};

namespace record {
inline constexpr PageField<0> page;
inline constexpr Number<4, 4> zero;
inline constexpr Number<8, 8> checksum;
inline constexpr Area<16, pageSize> image;
inline constexpr std::size_t bytes = 4112;
static_assert(fill<0, bytes>(page, zero, checksum, image));
} // namespace record

constexpr std::uint64_t recordAt(std::uint64_t number) { return head + number * record::bytes; }

} // namespace jet::journal_layout
