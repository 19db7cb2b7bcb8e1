#pragma once

#include <cstddef> // before <compare>: moc of Qt 6.4 stumbles otherwise

#include <compare>
#include <cstdint>
#include <span>

/// Numbers of the file format, named once. All are on disk: never renumber. docs/mdb-format.md draws the pages.
namespace jet {

inline constexpr std::size_t pageSize = 4096;
/// 2 GiB: the largest file that the format's tools accept.
inline constexpr std::uint32_t maxPages = 524288;

using PageNo = std::uint32_t; ///< 24 bits in rows and index entries
using PageView = std::span<const std::uint8_t, pageSize>;
using PageBytes = std::span<std::uint8_t, pageSize>;

enum class PageType : std::uint8_t {
    blank = 0,
    row = 1,
    tableDefinition = 2,
    indexNode = 3,
    indexLeaf = 4,
    usageBitmap = 5,
    droppedTable = 8,
    emptiedRow = 9,
};

/// A row's place for ever: page and slot of its head. Index entries contain it.
struct RowId {
    PageNo page = 0;
    std::uint8_t slot = 0;
    auto operator<=>(const RowId&) const = default;
};

inline std::uint16_t getU16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }
inline std::uint32_t getU24(const std::uint8_t* p)
{
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16;
}
inline std::uint32_t getU32(const std::uint8_t* p) { return getU24(p) | static_cast<std::uint32_t>(p[3]) << 24; }
inline std::uint64_t getU64(const std::uint8_t* p)
{
    return getU32(p) | static_cast<std::uint64_t>(getU32(p + 4)) << 32;
}
inline void putU16(std::uint8_t* p, std::uint32_t v)
{
    p[0] = static_cast<std::uint8_t>(v);
    p[1] = static_cast<std::uint8_t>(v >> 8);
}
inline void putU24(std::uint8_t* p, std::uint32_t v)
{
    putU16(p, v);
    p[2] = static_cast<std::uint8_t>(v >> 16);
}
inline void putU32(std::uint8_t* p, std::uint32_t v)
{
    putU24(p, v);
    p[3] = static_cast<std::uint8_t>(v >> 24);
}
inline void putU64(std::uint8_t* p, std::uint64_t v)
{
    putU32(p, static_cast<std::uint32_t>(v));
    putU32(p + 4, static_cast<std::uint32_t>(v >> 32));
}

} // namespace jet
