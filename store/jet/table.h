#pragma once

#include "store/jet/format.h"
#include "store/jet/sort_key.h"
#include "store/jet/usage_map.h"
#include "store/jet/value.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace jet {

class Database;

struct Column {
    std::u16string name;
    ColumnType type{};
    std::uint16_t id = 0;             ///< bit in a row's null bitmap
    std::uint16_t variableIndex = 0;  ///< place in a row's offset table, for variable columns
    std::uint16_t fixedOffset = 0;    ///< bytes after the row's column count, for fixed columns
    std::uint16_t length = 0;         ///< bytes; Text: twice the number of characters
    std::uint16_t ordinal = 0;        ///< display position
    std::uint8_t precision = 0;       ///< Numeric only
    std::uint8_t scale = 0;           ///< Numeric only
    bool fixed = false;               ///< storage class: decided by the column's flag, never by its type
    bool autoNumber = false;
    bool compressible = false;        ///< text may be stored compressed
    bool required = false;            ///< by the table's properties
    Collation collation{};            ///< Text and Memo only
};

struct IndexColumn {
    std::size_t column = 0; ///< position in Table::columns()
    bool ascending = true;
};

/// One physical index with the names of the logical indexes that share it.
struct Index {
    std::vector<std::u16string> names;
    std::vector<IndexColumn> columns;
    bool unique = false;
    bool ignoreNulls = false;
    bool required = false;
    bool primaryKey = false;
    bool relationship = false; ///< backs a relationship that this engine does not enforce
    PageNo root = 0;
    MapRef ownedPages;
    std::size_t number = 0; ///< physical number: place in the table definition
};

/// A value for the column at a position of Table::columns().
struct Assignment {
    std::size_t column = 0;
    Value value;
};

/// A row as it lies in the page: decodes single columns on demand, copies nothing. Valid until the table is changed.
class RowView {
public:
    RowView(const class Table& table, std::span<const std::uint8_t> bytes) : table_(&table), bytes_(bytes) {}

    bool isNull(std::size_t column) const;
    Value value(std::size_t column) const;
    /// The field as a number, whatever its numeric, date or Boolean type; nothing for Null and for texts.
    std::optional<double> number(std::size_t column) const;
    /// Text decoded into `into` (replaced); false for Null. For Text and Memo columns.
    bool text(std::size_t column, std::u16string& into) const;
    /// The field's bytes as stored; empty for Null. For quick comparisons of texts in a scan.
    std::span<const std::uint8_t> stored(std::size_t column) const;
    std::span<const std::uint8_t> bytes() const { return bytes_; }

private:
    const Table* table_;
    std::span<const std::uint8_t> bytes_;
};

/// One table. Columns are in display order (ordinal), which is the order of the table's positions.
/// Every change keeps every index of the table exactly valid or throws and changes nothing.
class Table {
public:
    ~Table();
    const std::u16string& name() const;
    const std::vector<Column>& columns() const;
    std::optional<std::size_t> columnNamed(std::u16string_view name) const; ///< exact, else ignoring case
    const std::vector<Index>& indexes() const;
    std::uint32_t rowCount() const; ///< the table definition's count, put right by the first write
    PageNo definitionPage() const;

    /// Calls `visit` for every live row in storage order until it returns false. Damaged rows are passed to
    /// `damaged` where given, otherwise they throw.
    void scan(const std::function<bool(RowId, const RowView&)>& visit,
              const std::function<void(RowId, const std::string&)>& damaged = {}) const;
    /// The row at that place; nothing when it is not (or no longer) there.
    std::optional<RowView> row(RowId id) const;

    /// Row ids of the entries of an index whose key lies between the two (either may be missing: open end), in index
    /// order. Bounds are values for the leading index column; both ends are included.
    std::vector<RowId> range(const Index& index, const std::optional<Value>& low, const std::optional<Value>& high) const;

    /// Each of the three is a transaction of its own unless one is open already.
    /// Columns without an assignment: Null on insert (AutoNumber: the next), unchanged byte for byte on update.
    /// Throws badValue, required, duplicate, readOnly, indexNotWritable, disk.
    RowId insert(std::span<const Assignment> values);
    void update(RowId id, std::span<const Assignment> values);
    void erase(RowId id);
    /// Empties the table quickly; every row goes.
    void eraseAll();

    /// Why the table may not be written, or nothing. Recomputes every index entry on the first call after opening.
    std::optional<std::string> whyReadOnly() const;

    struct State;

private:
    friend class Database;
    friend class RowView;
    explicit Table(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

} // namespace jet
