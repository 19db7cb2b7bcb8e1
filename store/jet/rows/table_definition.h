#pragma once

#include "store/jet/format/definition_layout.h"
#include "store/jet/format/doors.h"
#include "store/jet/pages/pager.h"
#include "store/jet/rows/column.h"
#include "store/jet/rows/index.h"
#include "store/jet/rows/row_codec.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// A table's definition (format/definition_layout.h draws it), parsed and built.
namespace jet {

/// What a logical index says of a relationship of its table.
struct RelationshipEnd {
    enum class Role : std::uint8_t { none = 0, parent = 1, child = 2 }; ///< on disk
    Role role = Role::none;
    std::uint32_t partner = 0; ///< id of the logical index at the other end
    PageNo partnerTable = 0;   ///< where the definition of the table there begins
    bool cascadesUpdates = false;
    bool cascadesDeletes = false;
    bool clearsOnDelete = false; ///< the children's fields become Null
};

/// A name under which a physical index is known, and what it is for.
struct LogicalIndex {
    enum class Kind : std::uint8_t { ordinary = 0, primaryKey = 1, relationship = 2 }; ///< on disk
    std::u16string name;
    std::uint32_t id = 0;     ///< unique in the table; partners in other tables refer to it
    std::size_t physical = 0; ///< place of the physical index
    Kind kind = Kind::ordinary;
    RelationshipEnd relationship; ///< of Kind::relationship
};

/// Where the values of a Memo or OLE column stand that do not fit their row.
struct LongValueMaps {
    std::size_t column = 0; ///< position in TableDefinition::columns
    MapRef owned;           ///< none(): the column cannot get values outside its rows
    MapRef freeSpace;
};

/// A parsed definition. Everything in it has been checked against the format and against the file's length, but for
/// what a receiver was told.
struct TableDefinition {
    PageNo page = 0;           ///< the first page
    std::vector<PageNo> chain; ///< all pages, `page` first
    bool system = false;
    std::uint16_t columnsEver = 0;
    std::uint16_t variableEver = 0;
    MapRef owned;                ///< data pages
    MapRef freeSpace;            ///< data pages that may take more rows
    std::vector<Column> columns; ///< in display order
    std::vector<Index> indexes;  ///< in physical order
    std::vector<LogicalIndex> logicalIndexes;
    std::vector<LongValueMaps> longValues;

    RowLayout layout() const;
    const LongValueMaps* longValuesOf(std::size_t column) const; ///< null when the column has no maps
};

/// What of a definition can be damaged while its columns can still be read.
enum class DefinitionPart {
    columns, ///< some of them, each told by its name: left out, or read by what else is known of it
    pages,   ///< the chain ends too early; what follows is read of the bytes that there are
    maps,    ///< the table's own maps are not where the definition says
    indexes, ///< none is read, and no map of long values
};
/// Hears what is damaged, as the Error (damaged or cutShort) that a reader who needs all of it should throw.
using DefinitionReceiver = std::function<void(DefinitionPart, const Error&)>;

/// Reads the definition that begins on that page. Without a receiver the first damage ends the reading: throws damaged,
/// and cutShort when the definition leads past the end of the file. A receiver that returns gets what there is.
/// Throws damaged in any case when there are no columns to be read, or their number and names cannot be.
TableDefinition readTableDefinition(Pager& pager, PageNo page, const DefinitionReceiver& receiver = {});

/// The bytes of a definition that describes a table without rows.
Bytes buildTableDefinition(const TableDefinition& definition, Collation collation);

/// Spreads a definition's bytes over a chain of pages, as many as definitionPages(bytes.size()). In a transaction.
void writeDefinitionBytes(Pager& pager, const std::vector<PageNo>& chain, const Bytes& bytes);
std::size_t definitionPages(std::size_t length);

/// The bytes of the definition `from` for a copy of the table that stands elsewhere: with the places of `to`, which has
/// the same columns and indexes. `partner` tells where the copy of another table of a relationship begins. Columns that
/// were deleted lose their maps.
Bytes definitionElsewhere(Pager& pager, const TableDefinition& from, const TableDefinition& to,
                          const std::function<PageNo(PageNo)>& partner);

/// The bytes of the same definition without one physical index, its statistics and all its names.
Bytes definitionWithoutIndex(Pager& pager, const TableDefinition& definition, std::size_t physical);

} // namespace jet
