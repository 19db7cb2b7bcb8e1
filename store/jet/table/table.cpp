#include "store/jet/table/table.h"

#include "store/jet/pages/damage.h"
#include "store/jet/rows/field_codec.h"
#include "store/jet/rows/long_value.h"
#include "store/jet/table/table_state.h"
#include "store/jet/values/names.h"
#include "store/jet/values/text_codec.h"

#include <algorithm>
#include <bit>

namespace jet {
namespace {

/// For a table whose owned map cannot be read: every page that says it belongs to the table and is not free.
std::vector<PageNo> pagesByOwner(Pager& pager, PageNo definition)
{
    std::vector<bool> isFree(pager.pageCount());
    for (const PageNo page : mapPages(pager, freeMap)) isFree[page.number()] = true;
    std::vector<PageNo> pages;
    for (PageNo page = 1; pager.has(page); ++page) {
        if (!isFree[page.number()] && isRowPage(pager.read(page), definition)) pages.push_back(page);
    }
    return pages;
}

} // namespace

Table::State::State(Pager& filePages, std::u16string tableName, PageNo page, TableProperties tableProperties)
    : pager(filePages), name(std::move(tableName)), properties(std::move(tableProperties))
{
    definition.page = page;
    readDefinition();
}

Table::State::~State() = default;

void Table::State::definitionChanged()
{
    readDefinition();
    definitionChangedAt = pager.changeCount();
}

void Table::State::readDefinition()
{
    definition = readTableDefinition(pager, definition.page);
    rules = TableRules(properties, definition.columns, name);
    layout = definition.layout();
    definitionChangedAt.reset();
    verdict.reset();
    unknownDemands.reset();
    knownTexts.clear();
    pages.reset();
    foreignChanges = pager.foreignChanges();
}

/// Another program has changed the file.
void Table::State::forgetAll()
{
    highestAutoNumber = 0;
    countIsStale = false;
    countRightAt.reset();
    pagesChangedAt.reset();
    emptyPages.clear();
    emptyPagesAt.reset();
    lastPage = 0;
    // Whoever learned something about the rows did so before: no transaction that is open now has written them.
    changes.everything(pager.changeCount() - 1);
    if (readProperties) properties = readProperties();
    readDefinition();
}

std::shared_ptr<const std::vector<PageNo>> Table::State::dataPages()
{
    forgetPagesOfEndedTransaction();
    if (!pages) {
        std::vector<PageNo> owned;
        try {
            owned = mapPages(pager, definition.owned);
        } catch (const Error& error) {
            if (error.fault() != Fault::damaged) throw;
            owned = pagesByOwner(pager, definition.page);
        }
        pages = std::make_shared<std::vector<PageNo>>(std::move(owned));
    }
    return pages;
}

void Table::State::dataPageAdded(PageNo page)
{
    forgetPagesOfEndedTransaction();
    pagesChangedAt = pager.changeCount();
    if (!pages) return;
    // A cursor that is under way keeps the list that it began with.
    if (pages.use_count() > 1) pages = std::make_shared<std::vector<PageNo>>(*pages);
    pages->insert(std::upper_bound(pages->begin(), pages->end(), page), page);
}

void Table::State::dataPagesRemoved()
{
    pagesChangedAt = pager.changeCount();
    pages.reset();
}

/// A rollback takes pages away again, and brings others back.
void Table::State::forgetPagesOfEndedTransaction()
{
    if (!pagesChangedAt || *pagesChangedAt == pager.changeCount()) return;
    pages.reset();
    pagesChangedAt.reset();
}

std::optional<RowReader::Row> Table::State::find(RowId head)
{
    const std::optional<RowReader::Row> row = reader().find(head);
    if (row && row->damage != nullptr) ThrowAtDamage(pager).damagedRow(head, row->damage);
    return row;
}

void Table::State::keyValues(const Index& index, std::span<const std::uint8_t> row, std::vector<Value>& into,
                             PassingBuffer* passing)
{
    into.clear();
    for (const IndexColumn& each : index.columns) into.push_back(value(each.column, row, passing));
}

std::uint32_t Table::State::liveRows()
{
    std::uint32_t count = 0;
    for (RowWalk rows(reader(), dataPages(), PageUse::pass); rows.next(ThrowAtDamage(pager));) ++count;
    return count;
}

// ---- RowView ----

namespace {

/// Files of other programs may have another type where a text is expected.
void requireText(const Table::State& table, std::size_t column)
{
    if (table.layout.fields[column].type == ColumnType::text) return;
    throwDamaged(table.pager, table.definition.page,
                 quotedName(table.name) + " tablosunun " + quotedName(table.definition.columns[column].name) +
                     " alanı metin değil");
}

} // namespace

bool RowView::isNull(std::size_t column) const
{
    const Table::State& table = *table_->state_;
    if (table.layout.fields[column].type == ColumnType::boolean) return false;
    return !table.field(column, bytes_);
}

Value RowView::value(std::size_t column) const { return table_->state_->value(column, bytes_, longValues_); }

std::optional<double> RowView::number(std::size_t column) const
{
    const RowLayout& layout = table_->state_->layout;
    const FieldPlace& place = layout.fields[column];
    const auto bytes = fieldBytes(place, layout.variableEver > 0, bytes_);
    if (!bytes) {
        if (place.type == ColumnType::boolean) return 0.0;
        return std::nullopt;
    }
    // What sums and dates are made of, without a further call.
    if (place.type == ColumnType::doubleFloat || place.type == ColumnType::dateTime) {
        return std::bit_cast<double>(getU64(bytes->data()));
    }
    return decodeNumber(place, *bytes);
}

bool RowView::text(std::size_t column, std::u16string& into) const
{
    Table::State& table = *table_->state_;
    const auto bytes = table.field(column, bytes_);
    if (!bytes) return false;
    if (table.layout.fields[column].type == ColumnType::memo) {
        decodeText(readLongValue(table.pager, *bytes, longValues_), into);
    } else {
        requireText(table, column);
        decodeText(*bytes, into);
    }
    return true;
}

bool RowView::textIs(std::size_t column, std::u16string_view text) const
{
    Table::State& table = *table_->state_;
    const auto bytes = table.field(column, bytes_);
    if (!bytes) return false;
    if (table.layout.fields[column].type == ColumnType::memo)
        return storedTextIs(readLongValue(table.pager, *bytes, longValues_), text);
    requireText(table, column);
    return storedTextIs(*bytes, text);
}

std::span<const std::uint8_t> RowView::stored(std::size_t column) const
{
    return table_->state_->field(column, bytes_).value_or(std::span<const std::uint8_t>{});
}

// ---- RowCursor ----

RowCursor::RowCursor(const Table& table)
    : walk_((table.state_->rereadIfTakenBack(), table.state_->walk())), row_(table, {})
{
}

RowCursor::RowCursor(const Table& table, PageList pages, PageUse use)
    : walk_((table.state_->rereadIfTakenBack(), table.state_->reader()), std::move(pages), use), row_(table, {}),
      use_(use)
{
}

struct RowCursor::Receiver : ThrowAtDamage {
    explicit Receiver(RowCursor& ofCursor) : ThrowAtDamage(ofCursor.walk_.reader().pager()), cursor(ofCursor) {}
    void foreignPage(PageNo page) const
    {
        if (cursor.foreignPage_ == 0) cursor.foreignPage_ = page;
    }
    RowCursor& cursor;
};

// Called for every row of every question: with all that it calls inside it takes 4 in 100 instructions fewer.
[[gnu::flatten]] bool RowCursor::next()
{
    if (!walk_.next(Receiver(*this))) return false;
    ++rows_;
    row_.bytes_ = walk_.bytes();
    if (use_ == PageUse::pass) row_.longValues_ = &longValues_;
    return true;
}

void RowCursor::requireEveryPage() const
{
    if (foreignPage_ == 0) return;
    throwDamaged(walk_.reader().pager(), foreignPage_, foreignPageClause);
}

void RowCursor::requireEveryRow() const
{
    requireEveryPage();
    const Table& table = *row_.table_;
    if (rows_ >= table.rowCount()) return;
    throwDamaged(walk_.reader().pager(), table.definitionPage(),
                 quotedName(table.name()) + " tablosunun tanımında " + std::to_string(table.rowCount()) +
                     " satır yazılı, okunabilen " + std::to_string(rows_) + " satır var");
}

// ---- Table ----

Table::Table(std::unique_ptr<State> state) : state_(std::move(state)) {}
Table::~Table() = default;

const std::u16string& Table::name() const { return state_->name; }
const std::vector<Column>& Table::columns() const
{
    state_->rereadIfTakenBack();
    return state_->definition.columns;
}
const std::vector<Index>& Table::indexes() const
{
    state_->rereadIfTakenBack();
    return state_->definition.indexes;
}
PageNo Table::definitionPage() const { return state_->definition.page; }

std::optional<std::size_t> Table::columnNamed(std::u16string_view name) const
{
    return findNamed(columns(), name, [](const Column& column) -> const std::u16string& { return column.name; });
}

const ChangeLog& Table::changes() const
{
    state_->rereadIfTakenBack();
    return state_->changes;
}

bool Table::hasUncommittedChanges() const
{
    return state_->pager.inTransaction() && state_->changes.lastDuring() == state_->pager.changeCount();
}

std::unique_ptr<TableCompanion>& Table::companion() const { return state_->companion; }

std::uint32_t Table::rowCount() const
{
    return definition_layout::head::rowCount.get(state_->pager.read(state_->definition.page));
}

std::uint32_t Table::liveRows() const
{
    state_->rereadIfTakenBack();
    const bool isSound = state_->verdict && !*state_->verdict;
    return isSound && !state_->countIsStale ? rowCount() : state_->liveRows();
}

void Table::scan(const std::function<bool(RowId, const RowView&)>& visit,
                 const std::function<void(RowId, const std::string&)>& damaged) const
{
    RowCursor cursor(*this);
    const auto step = [&] {
        for (;;) {
            try {
                return cursor.next();
            } catch (const Error& error) {
                if (!damaged || error.fault() != Fault::damaged) throw;
                damaged(cursor.id(), error.what());
            }
        }
    };
    while (step()) {
        if (!visit(cursor.id(), cursor.row())) return;
    }
}

PageList Table::dataPages() const
{
    state_->rereadIfTakenBack();
    return state_->dataPages();
}

std::vector<NumberRange> Table::numberRanges(std::size_t column, const PageList& pages) const
{
    state_->rereadIfTakenBack();
    std::vector<NumberRange> ranges(pages->size());
    std::size_t at = 0;
    for (RowWalk rows(state_->reader(), pages, PageUse::pass); rows.next(ThrowAtDamage(state_->pager));) {
        while ((*pages)[at] != rows.head().page) ++at;
        if (const std::optional<double> number = RowView(*this, rows.bytes()).number(column)) ranges[at].take(*number);
    }
    return ranges;
}

std::optional<RowView> Table::row(RowId id) const
{
    state_->rereadIfTakenBack();
    const auto found = state_->find(id);
    if (!found) return std::nullopt;
    return RowView(*this, found->bytes);
}

std::vector<RowId> Table::range(const Index& index, const std::optional<Value>& low, const std::optional<Value>& high,
                                std::size_t most) const
{
    state_->rereadIfTakenBack();
    const IndexColumn& leading = index.columns.front();
    const auto bound = [&](const std::optional<Value>& value) {
        Key key;
        if (value) appendKey(key, columns()[leading.column], *value, leading.ascending, KeyUse::compare);
        return key;
    };
    const Key from = bound(leading.ascending ? low : high);
    const Key to = bound(leading.ascending ? high : low);
    std::vector<RowId> rows;
    state_->tree(index).walk(from, [&](std::span<const std::uint8_t> key, RowId row) {
        // Keys of further columns follow the bound's bytes: the bound is compared with as much of the entry.
        const std::span<const std::uint8_t> head = key.first(std::min(key.size(), to.size()));
        if (std::lexicographical_compare(to.begin(), to.end(), head.begin(), head.end())) return false;
        rows.push_back(row);
        return rows.size() < most;
    });
    return rows;
}

std::optional<std::string> Table::whyReadOnly() const
{
    const std::optional<Refusal>& refusal = state_->refusal();
    if (!refusal) return std::nullopt;
    return refusal->sentence;
}

// ---- changes: the engine itself writes the tables of the system, nobody else does ----

namespace {

/// What an action on one row goes by.
class SameRow {
public:
    SameRow(Table::State& table, RowId id) : table_(table), id_(id) {}

    /// Throws changedElsewhere when the row is another than at the first call.
    void require()
    {
        Bytes now;
        if (const auto row = table_.find(id_)) now.assign(row->bytes.begin(), row->bytes.end());
        if (seen_ && *seen_ != now)
            throw Error(Fault::changedElsewhere, quotedName(table_.name) +
                                                     " tablosundaki kayıt bu sırada başka bir program tarafından "
                                                     "değiştirildi; kayda yeniden bakıp işlemi yineleyin.");
        seen_ = std::move(now);
    }

private:
    Table::State& table_;
    RowId id_;
    std::optional<Bytes> seen_;
};

} // namespace

template <class Change> auto Table::changed(Change&& change)
{
    return onWhatIsThere(state_->pager, [&] {
        state_->rereadIfTakenBack();
        if (state_->definition.system)
            throw Error(Fault::readOnly, quotedName(name()) + " bir sistem tablosu; kayıtları değiştirilemez.");
        return change();
    });
}

RowId Table::insert(std::span<const Assignment> values)
{
    return changed([&] { return state_->insert(values); });
}

void Table::update(RowId id, std::span<const Assignment> values)
{
    SameRow row(*state_, id);
    changed([&] {
        row.require();
        state_->update(id, values);
    });
}

void Table::erase(RowId id)
{
    SameRow row(*state_, id);
    changed([&] {
        row.require();
        state_->erase(id);
    });
}

void Table::erase(std::span<const RowId> rows)
{
    changed([&] { state_->erase(rows); });
}

void Table::eraseAll()
{
    changed([&] { state_->eraseAll(); });
}

} // namespace jet
