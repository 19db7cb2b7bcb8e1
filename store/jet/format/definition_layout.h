#pragma once

#include "store/jet/format/format.h"

/// A table's definition: a chain of pages that holds one run of bytes.
///
///     0     type 02
///     1     01
///     2     free bytes of the page, less 8
///     4     next page of the chain, 0 in the last one
///     8     ...
///
/// The first page counts whole, of the others only what follows those 8 bytes. Any record may straddle two pages:
///
///     head (63 bytes) | 12 bytes for each physical index | 25 for each column | column names
///     | 52 for each physical index | 28 for each logical index | index names | 10 for each Memo/OLE column | FFFF
///
/// A name is its length in bytes (2 bytes), then UTF-16.
namespace jet::definition_layout {

namespace page {
inline constexpr PageField<4> next;
inline constexpr std::size_t ownBytes = 8;
static_assert(fill<0, ownBytes>(page_layout::type, page_layout::mark, page_layout::freeBytes, next));
/// What is written as free bytes of a page with `left` bytes behind the definition.
constexpr std::uint32_t freeBytesOf(std::size_t left)
{
    return static_cast<std::uint32_t>(left > ownBytes ? left - ownBytes : 0);
}
} // namespace page

/// The head; its first 8 bytes are those of the first page.
///
///     8     length of the definition, FFFF included
///     12    659
///     16    rows
///     20    last AutoNumber given out, 0 without one
///     24    1
///     28    12 bytes that nobody uses
///     40    kind of table
///     41    columns ever defined: the next column id
///     43    variable columns ever defined
///     45    columns
///     47    logical indexes, 4 bytes
///     51    physical indexes, 4 bytes
///     55    map of its data pages
///     59    map of its data pages that may take more rows
///     63
namespace head {
inline constexpr Number<8, 4> length;
inline constexpr Number<12, 4> magic;
inline constexpr Number<16, 4> rowCount;
inline constexpr Number<20, 4> lastAutoNumber;
inline constexpr Number<24, 4> autoNumberStep;
inline constexpr Area<28, 12> unused;
inline constexpr Number<40, 1> kind;
inline constexpr Number<41, 2> columnsEver;
inline constexpr Number<43, 2> variableEver;
inline constexpr Number<45, 2> columns;
inline constexpr Number<47, 4> logicalIndexes;
inline constexpr Number<51, 4> physicalIndexes;
inline constexpr MapPointer<55> owned;
inline constexpr MapPointer<59> freeSpace;
inline constexpr std::size_t bytes = 63;
static_assert(fill<page::ownBytes, bytes>(length, magic, rowCount, lastAutoNumber, autoNumberStep, unused, kind,
                                          columnsEver, variableEver, columns, logicalIndexes, physicalIndexes, owned,
                                          freeSpace));

inline constexpr std::uint32_t autoNumberStepValue = 1;
inline constexpr std::uint8_t userTable = 0x4E, systemTable = 0x53;
} // namespace head

inline constexpr std::uint32_t magicNumber = 0x659;      ///< of the head, of a column and of a logical index
inline constexpr std::uint32_t indexMagicNumber = 0x783; ///< of a physical index

/// What is counted of each physical index:
///
///     0   4 bytes that nobody uses
///     4   distinct keys
///     8   0
///     12
namespace statistics {
inline constexpr Number<0, 4> unused;
inline constexpr Number<4, 4> distinctKeys;
inline constexpr Number<8, 4> zero;
inline constexpr std::size_t bytes = 12;
static_assert(fill<0, bytes>(unused, distinctKeys, zero));

/// Where the statistics of a physical index stand in the definition: always in its first page.
constexpr std::size_t at(std::size_t index) { return head::bytes + bytes * index; }
/// Distinct keys of a physical index, in the definition's first page.
inline std::uint32_t getDistinctKeys(std::span<const std::uint8_t> page, std::size_t index)
{
    return distinctKeys.get(page.subspan(at(index)));
}
inline void putDistinctKeys(std::span<std::uint8_t> page, std::size_t index, std::uint32_t keys)
{
    distinctKeys.put(page.subspan(at(index)), keys);
}
} // namespace statistics

/// A column:
///
///     0    type
///     1    659
///     5    id: its bit in a row's null bitmap
///     7    variable: its place in a row's starts; fixed: number of variable columns of lower ids
///     9    ordinal: display position
///     11   Text, Memo: collation (lcid 2 bytes, 00, version); Numeric: precision, scale
///     15   flags
///     16   more flags
///     17   0, 4 bytes
///     21   fixed: where it stands behind the row's column count
///     23   length in bytes
///     25
namespace column {
inline constexpr Number<0, 1> type;
inline constexpr Number<1, 4> magic;
inline constexpr Number<5, 2> id;
inline constexpr Number<7, 2> variableIndex;
inline constexpr Number<9, 2> ordinal;
inline constexpr Number<11, 2> lcid;
inline constexpr Number<11, 1> precision;
inline constexpr Number<12, 1> scale;
inline constexpr Number<13, 1> gap;
inline constexpr Number<14, 1> collationVersion;
inline constexpr Number<15, 1> flags;
inline constexpr Number<16, 1> moreFlags;
inline constexpr Number<17, 4> zero;
inline constexpr Number<21, 2> fixedOffset;
inline constexpr Number<23, 2> length;
inline constexpr std::size_t bytes = 25;
static_assert(fill<0, bytes>(type, magic, id, variableIndex, ordinal, lcid, gap, collationVersion, flags, moreFlags,
                             zero, fixedOffset, length));
static_assert(fill<lcid.begin, lcid.end>(precision, scale));

inline constexpr unsigned fixedFlag = 0x01;
inline constexpr unsigned alwaysFlag = 0x02;
inline constexpr unsigned autoNumberFlag = 0x04;
inline constexpr unsigned systemFlag = 0x10;
inline constexpr unsigned autoGuidFlag = 0x40;
inline constexpr unsigned accountFlag = 0x20;      ///< the two columns that hold account numbers
inline constexpr unsigned compressibleFlag = 0x01; ///< among moreFlags
} // namespace column

/// A physical index:
///
///     0    783
///     4    ten columns: id 2 bytes (FFFF: none), order 1 byte (1: ascending)
///     34   map of its pages
///     38   root page
///     42   4 bytes that nobody uses
///     46   flags
///     47   0, 5 bytes
///     52
namespace physicalIndex {
inline constexpr Number<0, 4> magic;
inline constexpr Area<4, 30> columns;
inline constexpr MapPointer<34> owned;
inline constexpr PageField<38> root;
inline constexpr Number<42, 4> unused;
inline constexpr Number<46, 1> flags;
inline constexpr Area<47, 5> zero;
inline constexpr std::size_t bytes = 52;
static_assert(fill<0, bytes>(magic, columns, owned, root, unused, flags, zero));

/// One of the ten columns.
inline constexpr Number<0, 2> columnId;
inline constexpr Number<2, 1> columnOrder;
inline constexpr std::size_t columnBytes = 3;
inline constexpr std::size_t mostColumns = columns.size / columnBytes;
static_assert(fill<0, columnBytes>(columnId, columnOrder) && mostColumns * columnBytes == columns.size);
constexpr std::size_t columnAt(std::size_t k) { return columns.begin + columnBytes * k; }
inline constexpr std::uint8_t ascending = 1;

inline constexpr unsigned uniqueFlag = 0x01;
inline constexpr unsigned ignoreNullsFlag = 0x02;
inline constexpr unsigned requiredFlag = 0x08;
inline constexpr unsigned alwaysFlag = 0x80;
} // namespace physicalIndex

/// A name under which a physical index is known:
///
///     0    659
///     4    id, unique in the table
///     8    number of the physical index
///     12   part in a relationship: 0 none
///     13   id of the partner's index, FFFFFFFF none
///     17   definition of the partner, 0 none
///     21   cascading updates; 4: no relationship
///     22   cascading deletes; 4: no relationship
///     23   0 ordinary, 1 primary key, 2 relationship
///     24   0, 4 bytes
///     28
namespace logicalIndex {
inline constexpr Number<0, 4> magic;
inline constexpr Number<4, 4> id;
inline constexpr Number<8, 4> physical;
inline constexpr Number<12, 1> role;
inline constexpr Number<13, 4> partner;
inline constexpr Number<17, 4> partnerTable;
inline constexpr Number<21, 1> cascadeUpdates;
inline constexpr Number<22, 1> cascadeDeletes;
inline constexpr Number<23, 1> kind;
inline constexpr Number<24, 4> zero;
inline constexpr std::size_t bytes = 28;
static_assert(fill<0, bytes>(magic, id, physical, role, partner, partnerTable, cascadeUpdates, cascadeDeletes, kind,
                             zero));

inline constexpr std::uint32_t noPartner = 0xFFFFFFFF;
inline constexpr std::uint8_t noRelationship = 4;
inline constexpr std::uint8_t cascade = 1;
inline constexpr std::uint8_t clear = 2; ///< of deletes: the children's fields become Null
} // namespace logicalIndex

/// The maps of a Memo or OLE column:
///
///     0    column id; FFFF ends the list
///     2    map of its pages
///     6    map of its pages that may take more
///     10
namespace longValueMaps {
inline constexpr Number<0, 2> columnId;
inline constexpr MapPointer<2> owned;
inline constexpr MapPointer<6> freeSpace;
inline constexpr std::size_t bytes = 10;
static_assert(fill<0, bytes>(columnId, owned, freeSpace));
} // namespace longValueMaps

inline constexpr std::uint16_t noColumn = 0xFFFF;

/// In front of a name: its bytes.
inline constexpr Number<0, 2> nameLength;
inline constexpr std::size_t nameLengthBytes = nameLength.size;

} // namespace jet::definition_layout
