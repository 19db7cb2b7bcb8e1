#pragma once

#include "store/jet/format/format.h"

#include <algorithm>
#include <array>
#include <string_view>

/// Page 0: what the file says about itself.
///
///     00  00 01 00 00                   type, a 1, nothing
///     04  "Standard Jet DB" 00          signature
///     14  version, 4 bytes              1: Access 2000 to 2003
///     18  pointer to the free map       from here to 98 obscured with a fixed key stream
///     1C  pointer to a second map       empty in every file; what it is for is not known
///     20  page of MSysObjects           and three more: MSysACEs, MSysQueries, MSysRelationships
///     30  12 bytes of nothing
///     3C  code page, 2 bytes
///     3E  key of encoded pages, 4 bytes 0: they are not encoded
///     42  password, 40 bytes            obscured a second time with the mask below
///     6A  build of the engine that made the file, 4 bytes
///     6E  collation: lcid 2 bytes, 00, version
///     72  creation time, 8 bytes        a Date/Time; its whole days are the mask of the password
///     7A  30 bytes of nothing
///     98  654, 4 bytes
///     9C  "4.0" 00
///     A0  nothing
///     E00 256 counters of 2 bytes       one for each connection, the first for exclusive ones
///
namespace jet::header_layout {

inline constexpr Area<0x00, 4> typeAndMark;
inline constexpr Area<0x04, 16> signature;
inline constexpr Number<0x14, 4> version;
inline constexpr MapPointer<0x18> freeMap;
inline constexpr MapPointer<0x1C> otherMap;
inline constexpr PageField<0x20> catalogue;
inline constexpr Area<0x24, 12> otherSystemTables;
inline constexpr Area<0x30, 12> unused1;
inline constexpr Number<0x3C, 2> codePage;
inline constexpr Number<0x3E, 4> encodingKey;
inline constexpr Area<0x42, 40> password;
inline constexpr Number<0x6A, 4> build;
inline constexpr Number<0x6E, 2> collation;
inline constexpr Number<0x70, 1> collationGap;
inline constexpr Number<0x71, 1> collationVersion;
inline constexpr Area<0x72, 8> creationTime;
inline constexpr Number<0x72, 8> creationTimeBits;
inline constexpr Area<0x7A, 30> unused2;
inline constexpr Number<0x98, 4> magic;
inline constexpr Area<0x9C, 4> formatName;
inline constexpr Area<0xA0, 0xE00 - 0xA0> unused3;
inline constexpr Area<0xE00, 512> connections;
static_assert(fill<0, pageSize>(typeAndMark, signature, version, freeMap, otherMap, catalogue, otherSystemTables,
                                unused1, codePage, encodingKey, password, build, collation, collationGap,
                                collationVersion, creationTime, unused2, magic, formatName, unused3, connections));
static_assert(creationTimeBits.begin == creationTime.begin && creationTimeBits.end == creationTime.end);

/// What the key stream lies over.
inline constexpr Area<freeMap.begin, magic.begin - freeMap.begin> obscured;
static_assert(obscured.size == 128);
inline constexpr std::array<std::uint8_t, 4> obscuringKey{0xC7, 0xDA, 0x39, 0x6B}; ///< of RC4

inline constexpr std::string_view jetSignature{"Standard Jet DB\0", signature.size};
inline constexpr std::string_view aceSignature{"Standard ACE DB\0", signature.size}; ///< Access 2007 and newer
inline constexpr std::uint32_t jet4 = 1;                                             ///< version
inline constexpr std::uint32_t magicNumber = 0x654;
inline constexpr std::string_view formatNameText{"4.0\0", formatName.size};
inline constexpr std::uint16_t westernCodePage = 1252, turkishCodePage = 1254;

/// The counters of a file that nobody has opened yet.
inline constexpr unsigned counters = 256;
inline constexpr std::uint16_t counterOfExclusive = 0x0101, counterOfOthers = 0x0100;
static_assert(counters * sizeof counterOfOthers == connections.size);
inline void putCounter(PageBytes page, unsigned connection, std::uint16_t value)
{
    putU16(&page[connections.begin + sizeof value * connection], value);
}

/// Pages that stand in the same place in every file.
inline constexpr PageNo globalMapsPage = 1;
inline constexpr PageNo firstSystemTable = 2; ///< MSysObjects, MSysACEs, MSysQueries, MSysRelationships
inline constexpr unsigned systemTables = 4;
static_assert(catalogue.size + otherSystemTables.size == systemTables * catalogue.size);
/// Names a system table's page in the header, by its number from 0.
inline void putSystemTable(PageBytes page, unsigned table)
{
    putU32(&page[catalogue.begin + catalogue.size * table], (firstSystemTable + table).number());
}

/// The bytes are exactly that text.
inline bool isText(std::span<const std::uint8_t> bytes, std::string_view text)
{
    return std::equal(bytes.begin(), bytes.end(), text.begin(), text.end(),
                      [](std::uint8_t byte, char letter) { return byte == static_cast<std::uint8_t>(letter); });
}

} // namespace jet::header_layout
