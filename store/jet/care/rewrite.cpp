#include "store/jet/care/rewrite.h"

#include "store/jet/database/header.h"
#include "store/jet/database/new_maps.h"
#include "store/jet/database/system_tables.h"
#include "store/jet/format/limits.h"
#include "store/jet/pages/damage.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/rows/long_value.h"
#include "store/jet/table/catalogue.h"
#include "store/jet/table/table_state.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <optional>
#include <unordered_set>
#include <utility>

namespace jet {
namespace {

using RowBytes = std::span<const std::uint8_t>;
using Fields = std::vector<std::optional<Bytes>>;

constexpr std::uint64_t rowsPerStep = 1000;
/// The tables whose definitions stand where every file has them, in the order of their pages.
constexpr std::array<std::u16string_view, header_layout::systemTables> fixedTables{msysObjects, msysAces, msysQueries,
                                                                                   msysRelationships};

[[noreturn]] void refuse(const Pager& pager, const std::string& why)
{
    throw Error(Fault::unsupported,
                files::quotedPath(pager.path()) + " burada sıkıştırılamaz: " + why + ". Access ile sıkıştırın.");
}

// ---- keys ----

enum class Made { key, none, unsure };

/// Makes the keys that rows have in one index.
class KeyMaker {
public:
    KeyMaker(Table::State& table, const Index& index) : table_(table), index_(index) {}

    /// `none`: the row has no entry. `unsure`: not to be made with certainty.
    Made make(RowBytes row, Key& key)
    {
        try {
            table_.keyValues(index_, row, values_, &passing_);
            return indexKey(key, index_, table_.definition.columns, values_) ? Made::key : Made::none;
        } catch (const Error& error) {
            if (error.fault() != Fault::indexNotWritable) throw;
            return Made::unsure;
        }
    }

private:
    Table::State& table_;
    const Index& index_;
    std::vector<Value> values_;
    PassingBuffer passing_;
};

/// By packed row id.
using Keys = std::unordered_map<std::uint32_t, Key>;

/// The keys of those rows as the index has them. Throws damaged unless each has one, in a tree that is true.
Keys keysInTree(Table::State& table, const Index& index, const std::unordered_set<std::uint32_t>& rows)
{
    Keys keys;
    std::vector<std::string> faults;
    std::vector<std::string> warnings;
    std::vector<PageNo> pages;
    std::size_t found = 0;
    table.tree(index).check(faults, warnings, pages, [&](std::span<const std::uint8_t> key, RowId row) {
        if (!rows.contains(row.packed())) return;
        ++found;
        keys[row.packed()].assign(key.begin(), key.end());
    });
    if (faults.empty() && found == rows.size() && keys.size() == rows.size()) return keys;
    throw Error(Fault::damaged,
                quotedName(table.name) + " tablosunun " + indexTitle(index) +
                    " dizini yeni dosyaya geçirilemez: " + (faults.empty() ? "kayıtlarla tutmuyor." : faults.front()));
}

// ---- rows by their places ----

/// Gives the rows of a table by their heads. No page stays in memory for it: the one of the last row is at hand.
class RowsByPlace {
public:
    explicit RowsByPlace(Table::State& table) : table_(table), reader_(table.reader()) {}

    /// Good until the next call. Throws damaged unless there is such a row.
    RowBytes at(RowId head)
    {
        if (!page_ || at_ != head.page) page_ = table_.pager.look(at_ = head.page, buffer_);
        const std::optional<RowReader::Row> row = reader_.find(head, *page_, &movedRow_);
        const ThrowAtDamage damaged(table_.pager);
        if (!row) damaged.damagedRow(head, RowReader::slotDamage);
        if (row->damage != nullptr) damaged.damagedRow(head, row->damage);
        return row->bytes;
    }

private:
    Table::State& table_;
    RowReader reader_;
    PageNo at_ = 0;
    std::optional<PageView> page_;
    PageBuffer buffer_, movedRow_;
};

// ---- what a table holds ----

class Hasher {
public:
    void add(std::uint64_t word) { sum_ = (std::rotl(sum_, 23) ^ word) * 0x9E3779B97F4A7C15U + (sum_ >> 31); }
    void add(RowBytes bytes)
    {
        add(bytes.size());
        for (const std::uint8_t byte : bytes) add(std::uint64_t{byte});
    }
    std::uint64_t sum() const { return sum_; }

private:
    std::uint64_t sum_ = 0;
};

/// Whatever the order of the rows.
struct Content {
    std::uint64_t rows = 0;
    std::uint64_t sum = 0;
    bool operator==(const Content&) const = default;
};

/// `field` gives the bytes of a column in a row, nothing for Null.
template <class Field> Content contentOf(Table::State& table, Progress& told, Field&& field)
{
    Content content;
    PassingBuffer passing;
    RowWalk rows(table.reader(), table.dataPages(), PageUse::pass);
    while (rows.next(ThrowAtDamage(table.pager))) {
        Hasher hasher;
        for (std::size_t column = 0; column < table.definition.columns.size(); ++column) {
            const std::optional<Bytes> bytes = field(column, rows.bytes());
            hasher.add(std::uint64_t{bytes.has_value()});
            if (bytes && isLongValue(table.layout.fields[column].type))
                hasher.add(readLongValue(table.pager, *bytes, &passing));
            else if (bytes)
                hasher.add(*bytes);
        }
        content.sum += hasher.sum();
        if (++content.rows % rowsPerStep == 0) told.step(rowsPerStep);
    }
    return content;
}

} // namespace

struct Rewrite::Carried {
    Carried(Pager& pager, const std::u16string& name, PageNo page) : old(pager, name, page, {}) {}

    /// A field's bytes for the copy, but for long values.
    std::optional<Bytes> field(const Rewrite& all, std::size_t column, RowBytes row) const
    {
        const auto stored = old.field(column, row);
        if (!stored) return std::nullopt;
        Bytes bytes(stored->begin(), stored->end());
        if (column != tableNumber) return bytes;
        const auto moved = all.newPages_.find(PageNo(getU32(bytes.data())));
        if (moved != all.newPages_.end()) putU32(bytes.data(), moved->second.number());
        return bytes;
    }

    Table::State old;
    TableDefinition fresh;
    std::optional<std::size_t> tableNumber; ///< the column that names tables by the pages of their definitions
    std::vector<Keys> keys;                 ///< of each index: those that are taken over
};

Rewrite::Rewrite(Database& from) : from_(from.pager())
{
    for (const auto& [name, page] : from.allTables()) {
        from.table(name).requireSoundRows();
        auto& table = *tables_.emplace_back(std::make_unique<Carried>(from_, name, page));
        newPages_[page] = 0;
        if (name == msysObjects)
            table.tableNumber = systemColumn(from.table(name), object_columns::id, ColumnType::longInteger);
        else if (name == msysAces)
            table.tableNumber = systemColumn(from.table(name), right_columns::object, ColumnType::longInteger);
    }
    for (std::size_t i = 0; i < fixedTables.size(); ++i) {
        const auto found = std::find_if(tables_.begin() + static_cast<std::ptrdiff_t>(i), tables_.end(),
                                        [&](const auto& each) { return each->old.name == fixedTables[i]; });
        if (found == tables_.end()) refuse(from_, quotedName(fixedTables[i]) + " sistem tablosu listede yok");
        std::rotate(tables_.begin() + static_cast<std::ptrdiff_t>(i), found, found + 1);
    }
    for (const auto& table : tables_) lookAt(*table);
}

Rewrite::~Rewrite() = default;

/// Everything that could end the work is met here, before anything is written.
void Rewrite::lookAt(Carried& table)
{
    const auto refuseOf = [&](const std::string& what) {
        refuse(from_, quotedName(table.old.name) + " tablosunun " + what);
    };
    const TableDefinition& definition = table.old.definition;
    for (const Column& column : definition.columns)
        if (!isKnown(column.type) && column.type != ColumnType::blob)
            refuseOf(quotedName(column.name) + " alanının türü tanınmıyor");
    definitionElsewhere(from_, definition, definition, [&](PageNo partner) {
        if (!newPages_.contains(partner)) refuseOf("ilişkide olduğu tablo dosyada yok");
        return partner;
    });

    std::vector<KeyMaker> makers;
    for (const Index& index : definition.indexes) makers.emplace_back(table.old, index);
    std::vector<std::unordered_set<std::uint32_t>> unsure(makers.size());
    Key key;
    Fields fields(definition.columns.size());
    Bytes row;
    RowWalk rows(table.old.reader(), table.old.dataPages(), PageUse::pass);
    while (rows.next(ThrowAtDamage(from_))) {
        ++rows_;
        for (std::size_t column = 0; column < fields.size(); ++column)
            fields[column] = table.field(*this, column, rows.bytes());
        encodeRow(table.old.layout, fields, row);
        if (row.size() > limits::row) refuseOf("bir satırı yeni sayfaya sığmıyor");
        for (std::size_t i = 0; i < makers.size(); ++i)
            if (makers[i].make(rows.bytes(), key) == Made::unsure) unsure[i].insert(rows.head().packed());
    }
    for (std::size_t i = 0; i < makers.size(); ++i) {
        const Index& index = definition.indexes[i];
        const bool isRenumbered = std::ranges::any_of(
            index.columns, [&](const IndexColumn& each) { return each.column == table.tableNumber; });
        if (isRenumbered && !unsure[i].empty()) refuseOf(indexTitle(index) + " dizininin sıralaması tanınmıyor");
        table.keys.push_back(unsure[i].empty() ? Keys{} : keysInTree(table.old, index, unsure[i]));
    }
}

std::vector<std::uint8_t> Rewrite::emptyFile() { return emptyPages(from_.read(0)); }

PageNo Rewrite::newPage(PageNo old) const { return newPages_.at(old); }

/// The changes of a file that nobody has yet, in pieces: no more than one of them is in memory.
class Rewrite::Pieces {
public:
    explicit Pieces(Pager& to) : to_(to), change_(std::in_place, to), begun_(to.pageCount()) {}

    /// Where a piece may end.
    void step()
    {
        constexpr PageCount pages = 4096; // 16 MiB
        if (to_.pageCount() < begun_ + pages) return;
        end();
        change_.emplace(to_);
        begun_ = to_.pageCount();
    }
    void end()
    {
        change_->commit();
        to_.forgetPages();
    }

private:
    Pager& to_;
    std::optional<Transaction> change_;
    PageCount begun_;
};

void Rewrite::into(Pager& to, Progress& told)
{
    Pieces change(to);
    makeTables(to);
    for (const auto& table : tables_) copyRows(to, *table, change, told);
    change.end();
}

void Rewrite::makeTables(Pager& to)
{
    for (const auto& table : tables_) {
        table->fresh = table->old.definition;
        table->fresh.page = newPages_[table->old.definition.page] = allocatePage(to);
    }
    assert(tables_.front()->fresh.page == firstSystemTable);
    NewMaps ofSystem(to); // few of them ever grow
    for (const auto& table : tables_) {
        if (table->fresh.system)
            ofSystem.give(table->fresh);
        else
            NewMaps(to).give(table->fresh);
        const Bytes bytes = definitionElsewhere(from_, table->old.definition, table->fresh,
                                                [this](PageNo partner) { return newPage(partner); });
        table->fresh.chain = {table->fresh.page};
        while (table->fresh.chain.size() < definitionPages(bytes.size()))
            table->fresh.chain.push_back(allocatePage(to));
        writeDefinitionBytes(to, table->fresh.chain, bytes);
    }
}

namespace {

/// A value outside its row gets a place outside the new one.
void copyLongValue(Pager& from, Pager& to, const LongValueMaps& maps, Bytes& field, PassingBuffer& passing)
{
    if (longValuePlaces(from, field, &passing).empty()) return;
    const Bytes data = readLongValue(from, field, &passing);
    field = data.empty() ? longValueInRow(data) : writeLongValue(to, maps.owned, maps.freeSpace, data);
}

/// Puts rows on pages of the new table, one page after the other.
class RowWriter {
public:
    RowWriter(Pager& to, const TableDefinition& table) : to_(to), table_(table) {}

    RowId add(RowBytes row)
    {
        if (page_ == 0 || roomForRow(to_.read(page_)) < row.size()) {
            if (page_ != 0) mapClear(to_, table_.freeSpace, page_);
            page_ = allocatePage(to_);
            initRowPage(to_.write(page_), table_.page);
            mapSet(to_, table_.owned, page_);
            mapSet(to_, table_.freeSpace, page_);
        }
        return {page_, appendRow(to_.write(page_), row, RowKind::ordinary)};
    }

private:
    Pager& to_;
    const TableDefinition& table_;
    PageNo page_ = 0;
};

struct MovedRow {
    RowId from;
    RowId to;
};

using Entries = std::vector<std::pair<Key, RowId>>;

/// The entries of an index, sorted. `find` gives the bytes of a row by its new place; keys of old places that cannot
/// be made stand in `kept`.
Entries entriesOf(Table::State& table, const Index& index, const std::vector<MovedRow>& rows, const Keys& kept)
{
    Entries entries;
    KeyMaker maker(table, index);
    RowsByPlace places(table);
    Key key;
    for (const MovedRow& row : rows) {
        const Made made = maker.make(places.at(row.to), key);
        if (made == Made::none) continue;
        entries.emplace_back(made == Made::unsure ? kept.at(row.from.packed()) : key, row.to);
    }
    std::ranges::sort(entries);
    return entries;
}

/// A table of people is put in the order of its primary key, a table of the system stays in its order.
std::vector<RowId> rowsInOrder(Table::State& table, const std::vector<Keys>& keys)
{
    std::vector<MovedRow> all;
    std::vector<RowId> order;
    for (RowWalk rows(table.reader(), table.dataPages(), PageUse::pass); rows.next(ThrowAtDamage(table.pager));)
        all.push_back({rows.head(), rows.head()});
    const auto& indexes = table.definition.indexes;
    const auto primary = std::ranges::find_if(indexes, [](const Index& index) { return index.primaryKey; });
    if (table.definition.system || primary == indexes.end()) {
        for (const MovedRow& row : all) order.push_back(row.from);
        return order;
    }
    for (const auto& [key, row] : entriesOf(table, *primary, all, keys[primary->number])) order.push_back(row);
    return order;
}

} // namespace

void Rewrite::copyRows(Pager& to, Carried& table, Pieces& change, Progress& told)
{
    const TableDefinition& fresh = table.fresh;
    RowWriter writer(to, fresh);
    std::vector<MovedRow> moved;
    Fields fields(fresh.columns.size());
    Bytes bytes;
    PassingBuffer passing;
    RowsByPlace places(table.old);
    for (const RowId id : rowsInOrder(table.old, table.keys)) {
        const RowBytes row = places.at(id);
        for (std::size_t column = 0; column < fields.size(); ++column) fields[column] = table.field(*this, column, row);
        for (const LongValueMaps& maps : fresh.longValues)
            if (fields[maps.column]) copyLongValue(from_, to, maps, *fields[maps.column], passing);
        encodeRow(table.old.layout, fields, bytes);
        moved.push_back({id, writer.add(bytes)});
        change.step();
        if (moved.size() % rowsPerStep == 0) told.step(rowsPerStep);
    }

    Table::State copy(to, table.old.name, fresh.page, {});
    for (const Index& index : copy.definition.indexes) {
        const Entries entries = entriesOf(copy, index, moved, table.keys[index.number]);
        const std::uint32_t distinct = copy.tree(index).rebuild(entries);
        definition_layout::statistics::putDistinctKeys(to.write(fresh.page), index.number, distinct);
        change.step();
    }
    definition_layout::head::rowCount.put(to.write(fresh.page), static_cast<std::uint32_t>(moved.size()));
    change.step();
}

void Rewrite::compare(Pager& to, Progress& told)
{
    for (const auto& table : tables_) {
        Table::State copy(to, table->old.name, table->fresh.page, {});
        const Content before = contentOf(
            table->old, told, [&](std::size_t column, RowBytes row) { return table->field(*this, column, row); });
        const Content after = contentOf(copy, told, [&](std::size_t column, RowBytes row) -> std::optional<Bytes> {
            const auto stored = copy.field(column, row);
            if (!stored) return std::nullopt;
            return Bytes(stored->begin(), stored->end());
        });
        if (before != after)
            throw Error(Fault::damaged, quotedName(table->old.name) +
                                            " tablosunun satırları yeni dosyaya eksiksiz geçmedi. Dosyayı denetleyin.");
    }
}

} // namespace jet
