#pragma once

#include "store/jet/format/format.h"
#include "store/jet/rows/column.h"
#include "store/jet/rows/index.h"
#include "store/jet/rows/row_walk.h"
#include "store/jet/table/number_range.h"
#include "store/jet/values/value.h"

#include <functional>
#include <initializer_list>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace jet {

class ChangeLog;
class Database;

/// A value for the column at a position of Table::columns().
struct Assignment {
    std::size_t column = 0;
    Value value;
};

class Table;

/// A row as it lies in its page: decodes single fields on demand, copies nothing.
/// Its bytes were checked when it was found. Valid until the table is changed or its change is taken back.
class RowView {
public:
    bool isNull(std::size_t column) const;
    /// Memo and OLE values are read from wherever they stand. Throws damaged when one cannot be read.
    Value value(std::size_t column) const;
    /// The field as a number, whatever its numeric, date or Boolean type (True is -1); nothing for Null and for texts.
    std::optional<double> number(std::size_t column) const;
    /// Text decoded into `into` (replaced); false for Null. For Text and Memo columns: throws damaged for another one,
    /// and as value().
    bool text(std::size_t column, std::u16string& into) const;
    /// The field is exactly that text, code unit for code unit; false for Null. Throws as text().
    bool textIs(std::size_t column, std::u16string_view text) const;
    /// The field's bytes as stored; empty for Null and Boolean. For quick comparisons of texts in a scan: the same
    /// text may be stored compressed or plain, so unequal bytes say nothing.
    std::span<const std::uint8_t> stored(std::size_t column) const;
    std::span<const std::uint8_t> bytes() const { return bytes_; }

private:
    friend class RowCursor;
    friend class Table;
    RowView(const Table& table, std::span<const std::uint8_t> bytes) : table_(&table), bytes_(bytes) {}

    const Table* table_;
    std::span<const std::uint8_t> bytes_;
    PassingBuffer* longValues_ = nullptr; ///< where the table is read in passing
};

/// Pages of a table, ascending.
using PageList = std::shared_ptr<const std::vector<PageNo>>;

/// Walks the live rows of a table in storage order, page by page, without allocating. The table must not be changed
/// meanwhile; collect row ids first, then change.
class RowCursor {
public:
    explicit RowCursor(const Table& table);
    /// The rows whose heads stand on these data pages of the table.
    RowCursor(const Table& table, PageList pages, PageUse use = PageUse::keep);
    /// Steps to the next row; false behind the last one. Throws damaged for a row whose bytes contradict the format:
    /// id() then names it, and the next call goes on behind it.
    bool next();
    RowId id() const { return walk_.head(); }
    const RowView& row() const { return row_; }
    /// Behind the last row: throws damaged when a page of the table's map was not the table's, so that its rows were
    /// passed over.
    void requireEveryPage() const;
    /// The same, and when the definition says that there are more rows.
    void requireEveryRow() const;

private:
    struct Receiver;

    RowWalk walk_;
    PageNo foreignPage_ = 0; ///< the first one; page 0 is no table's
    std::uint64_t rows_ = 0;
    PassingBuffer longValues_;
    RowView row_;
    PageUse use_ = PageUse::keep;
};

/// What somebody keeps beside a table to be asked less of it; it ends with the table.
class TableCompanion {
public:
    virtual ~TableCompanion() = default;
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
    /// How many rows there are. Once the table was verified the definition's count tells; before, and where that is
    /// wrong, they are counted on their pages. Throws damaged.
    std::uint32_t liveRows() const;
    PageNo definitionPage() const;

    /// Calls `visit` for every live row in storage order until it returns false. Damaged rows are passed to
    /// `damaged` where given, otherwise they throw.
    void scan(const std::function<bool(RowId, const RowView&)>& visit,
              const std::function<void(RowId, const std::string&)>& damaged = {}) const;
    /// The same for loops where every nanosecond counts: `visit(RowId, const RowView&)` returns false to stop.
    template <class Visit> void forEachRow(Visit&& visit) const { visitRows(RowCursor(*this), visit); }
    /// The same on some of the data pages.
    template <class Visit> void forEachRow(const PageList& pages, Visit&& visit) const
    {
        visitRows(RowCursor(*this, pages), visit);
    }
    /// The same for those who read much to learn a little: the pages do not stay in memory, and a row is good until
    /// `visit` returns.
    template <class Visit> void passRows(const PageList& pages, Visit&& visit) const
    {
        visitRows(RowCursor(*this, pages, PageUse::pass), visit);
    }
    /// Throws damaged where a row is not sound, or where a damaged map leaves in doubt whether a walk finds them all.
    void requireSoundRows() const;
    /// The pages that hold rows, ascending. Rows that are added later may stand on others.
    PageList dataPages() const;
    /// For each of these data pages, ascending, the numbers of a column in the rows whose heads stand there. Reads the
    /// pages in passing. Throws damaged.
    std::vector<NumberRange> numberRanges(std::size_t column, const PageList& pages) const;
    /// The row at that place; nothing when it is not (or no longer) there. Throws damaged.
    std::optional<RowView> row(RowId id) const;

    /// Row ids of the entries of an index whose key lies between the two (either may be missing: open end), in index
    /// order. Bounds are values for the leading index column; both ends are included. Null sorts before all values
    /// (behind them in a descending index), so an open low end brings the rows without a value too.
    /// A text key does not tell letter case or trailing blanks apart: look at the rows where that matters.
    /// A bound is a value of the column's own type. Ends behind `most` rows. Throws badValue, damaged, and
    /// indexNotWritable when the column's collating order is unknown.
    std::vector<RowId> range(const Index& index, const std::optional<Value>& low, const std::optional<Value>& high,
                             std::size_t most = std::numeric_limits<std::size_t>::max()) const;

    /// The rows written lately, for everything that is kept beside the table.
    const ChangeLog& changes() const;
    /// The open transaction has written rows of this table.
    bool hasUncommittedChanges() const;
    /// What queries keep beside the table, theirs to make; null until one has.
    std::unique_ptr<TableCompanion>& companion() const;

    /// Each of the four is a transaction of its own unless one is open already. Values are converted to the type of
    /// their column where numbers, dates and Booleans meet (halves to the even neighbour); a text is not a number.
    /// Columns without an assignment: Null on insert (AutoNumber: the next), unchanged byte for byte on update.
    /// All rules of the file are held, those of relationships too: rows of other tables change or go with this one
    /// where a relationship cascades. What the row itself meets is checked first: badValue, required, emptyText,
    /// ruleBroken, duplicate, noParent and hasChildren leave everything as it was, inside an open transaction too; what
    /// rows meet that a cascade reaches takes an open transaction with it. A transaction of its own is made on what the
    /// file holds now, whatever other programs have written to it; where one writes at the same moment it is made once
    /// more (onWhatIsThere). Throws also noSuchRow, readOnly, indexNotWritable, damaged, disk, changedElsewhere.
    RowId insert(std::span<const Assignment> values);
    RowId insert(std::initializer_list<Assignment> values) { return insert(std::span(values.begin(), values.size())); }
    void update(RowId id, std::span<const Assignment> values);
    void update(RowId id, std::initializer_list<Assignment> values)
    {
        update(id, std::span(values.begin(), values.size()));
    }
    void erase(RowId id);
    /// All of them, or none: rows that only each other's going allows go together.
    void erase(std::span<const RowId> rows);
    /// Empties the table quickly; every row goes.
    void eraseAll();

    /// Why the table may not be written, or nothing. The first call after opening reads the whole table, recomputes
    /// every entry of every index and compares, so that what this engine does not know for certain is never written
    /// over: relationships whose other end is not found, indexes that do not agree with their rows, pages that belong
    /// to two owners. The answer holds until an index is dropped.
    std::optional<std::string> whyReadOnly() const;

    struct State; ///< for the engine's own files

private:
    friend class Database; // opens tables
    friend class RowCursor;
    friend class RowView;
    explicit Table(std::unique_ptr<State> state);
    template <class Visit> static void visitRows(RowCursor cursor, Visit& visit)
    {
        while (cursor.next()) {
            if (!visit(cursor.id(), cursor.row())) return;
        }
    }
    /// The change of rows, on what is there, unless the table is one of the system's.
    template <class Change> auto changed(Change&& change);
    std::unique_ptr<State> state_;
};

} // namespace jet
