#include "store/jet/table/table_state.h"

#include "store/jet/format/guid_layout.h"
#include "store/jet/pages/damage.h"
#include "store/jet/rows/field_codec.h"
#include "store/jet/rows/long_value.h"
#include "store/jet/table/relationships.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <cassert>
#include <limits>
#include <random>

namespace jet {
namespace {

namespace statistics = definition_layout::statistics;
using definition_layout::head::lastAutoNumber;
using definition_layout::head::rowCount;

using Fields = std::vector<std::optional<Bytes>>;

/// A page with less room than this is not worth finding again.
constexpr std::size_t worthListing = pageSize / 8;

/// A value too long for its row, to be stored once all rules have been checked.
struct Outside {
    std::size_t column = 0;
    Bytes encoded; ///< empty where the caller's own bytes are stored as they are
    std::span<const std::uint8_t> data;
};

/// A row on its way to the page.
struct Draft {
    Fields fields;
    std::vector<Outside> outside;
    Bytes bytes;
};

/// One index's entry before and after a change; nothing where the row has none.
struct EntryChange {
    const Index* index = nullptr;
    std::optional<Key> before;
    std::optional<Key> after;
};

[[noreturn]] void throwMissing(const Table::State& table)
{
    throw Error(Fault::noSuchRow, quotedName(table.name) + " tablosunda bu kayıt artık yok.");
}

[[noreturn]] void throwRequired(const Table::State& table, const Column& column)
{
    throw Error(Fault::required,
                quotedName(table.name) + " tablosunun " + quotedName(column.name) + " alanı boş bırakılamaz.");
}

[[noreturn]] void throwAutomatic(const Table::State& table, const Column& column)
{
    throwBadValue(table.name, column, "otomatik verilir ve değiştirilemez");
}

[[noreturn]] void throwEmptyText(const Table::State& table, const Column& column)
{
    throw Error(Fault::emptyText, quotedName(table.name) + " tablosunun " + quotedName(column.name) +
                                      " alanına boş metin yazılamaz; bir değer verin.");
}

bool isEmptyText(const Value& value)
{
    const auto* text = std::get_if<std::u16string>(&value);
    return text != nullptr && text->empty();
}

Guid newGuid()
{
    std::random_device noise;
    Guid guid;
    for (std::uint8_t& byte : guid.bytes) byte = static_cast<std::uint8_t>(noise());
    guid_layout::markRandom(guid.bytes);
    return guid;
}

/// The value in the type of its column, made in `into` where it has another one: what may be long is not copied.
const Value& inTypeOf(const Column& column, const Value& value, std::u16string_view table, Value& into)
{
    const auto* text = std::get_if<std::u16string>(&value);
    const bool isThere = column.type == ColumnType::text   ? text != nullptr && text->size() <= textRoom(column)
                         : column.type == ColumnType::memo ? text != nullptr
                         : column.type == ColumnType::ole  ? std::holds_alternative<Bytes>(value)
                                                           : false;
    if (isThere) return value;
    into = convertValue(value, column, table);
    return into;
}

/// What an index looks at of a value.
Value keyPart(const Value& value)
{
    const auto* text = std::get_if<std::u16string>(&value);
    return text != nullptr && text->size() > limits::text ? Value(text->substr(0, limits::text)) : value;
}

/// Puts a Memo or OLE value into the draft; one that does not fit the row waits outside.
void setLongField(const Table::State& table, Draft& draft, std::size_t position, const Value& value)
{
    const Column& column = table.definition.columns[position];
    Outside outside{position, {}, {}};
    if (const auto* bytes = std::get_if<Bytes>(&value)) {
        outside.data = *bytes;
    } else {
        outside.encoded = encodeValue(value, column, table.name);
        outside.data = outside.encoded;
    }
    if (outside.data.size() <= long_value_layout::longestInRow) {
        draft.fields[position] = longValueInRow(outside.data);
        return;
    }
    if (outside.data.size() > long_value_layout::longest)
        throwBadValue(table.name, column,
                      "en çok " + std::to_string(long_value_layout::longest) + " bayt saklanabilir");
    const LongValueMaps* maps = table.definition.longValuesOf(position);
    if (maps == nullptr || maps->owned.none() || maps->freeSpace.none())
        throwBadValue(table.name, column, "alanın uzun değerler için yeri yok");
    draft.fields[position] = Bytes(long_value_layout::reference);
    draft.outside.push_back(std::move(outside));
}

/// Puts a converted value into the draft. A long one must live as long as the draft.
void setField(const Table::State& table, Draft& draft, std::size_t position, const Value& value)
{
    const Column& column = table.definition.columns[position];
    if (isNull(value) || (column.type == ColumnType::boolean && !std::get<bool>(value)))
        draft.fields[position].reset();
    else if (isLongValue(column.type))
        setLongField(table, draft, position, value);
    else
        draft.fields[position] = encodeValue(value, column, table.name);
}

void encodeDraft(const Table::State& table, Draft& draft)
{
    encodeRow(table.layout, draft.fields, draft.bytes);
    if (draft.bytes.size() <= limits::row) return;
    throw Error(Fault::badValue, quotedName(table.name) +
                                     " tablosuna yazılacak kayıt çok uzun: " + std::to_string(draft.bytes.size()) +
                                     " bayt, en çok " + std::to_string(limits::row) + " bayt olabilir.");
}

/// The key of new values; a value that this index cannot take is refused by name.
std::optional<Key> newKey(const Table::State& table, const Index& index, std::span<const Value> values)
{
    try {
        return indexKey(index, table.definition.columns, values, KeyUse::write, table.known(index));
    } catch (const Error& error) {
        if (error.fault() != Fault::indexNotWritable) throw;
        throw Error(error.fault(), quotedName(table.name) + " tablosunun " + indexTitle(index) +
                                       " dizini bu değerle güncellenemez. " + error.what());
    }
}

/// The rules of one index for a key that is about to be added.
void checkRules(const Table::State& table, const Index& index, std::span<const Value> values,
                const std::optional<Key>& key, RowId except)
{
    if (index.required || index.primaryKey) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (isNull(values[i])) throwRequired(table, table.definition.columns[index.columns[i].column]);
        }
    }
    const bool allNull = std::all_of(values.begin(), values.end(), [](const Value& value) { return isNull(value); });
    // Rows without any value do not stand in each other's way.
    if (!index.unique || allNull || !key || !table.tree(index).hasKey(*key, except)) return;
    throw Error(Fault::duplicate, quotedName(table.name) + " tablosunda aynı değerlerle bir kayıt zaten var (" +
                                      indexTitle(index) + " dizini yinelenen değer kabul etmez).");
}

/// A page for the table's rows. Whoever still holds the place of a row that is gone must find nothing there, never
/// another row: a page that the table had before goes on with the next slot number.
PageNo newDataPage(Table::State& table, std::size_t length)
{
    Pager& pager = table.pager;
    std::vector<PageNo> full; // so many of its slots are used up that the row has no room
    PageNo page = allocatePage(pager);
    const auto slotsUsed = [&] {
        const auto found = table.slotsUsed.find(page);
        return found == table.slotsUsed.end() ? 0U : found->second;
    };
    while (row_page_layout::slotsEnd(slotsUsed() + 1) + length > pageSize) {
        full.push_back(page);
        page = allocatePage(pager);
    }
    for (const PageNo each : full) freePage(pager, each);
    initRowPage(pager.write(page), table.definition.page, slotsUsed());
    mapSet(pager, table.definition.owned, page);
    mapSet(pager, table.definition.freeSpace, page);
    table.dataPageAdded(page);
    return page;
}

PageNo pageWithRoom(Table::State& table, std::size_t length)
{
    Pager& pager = table.pager;
    if (table.lastPage != 0 && table.lastPageAt == pager.changeCount() &&
        roomForRow(pager.read(table.lastPage)) >= length) {
        return table.lastPage;
    }
    const TableDefinition& definition = table.definition;
    const std::vector<PageNo> candidates = mapPages(pager, definition.freeSpace);
    PageNo chosen = 0;
    for (auto page = candidates.rbegin(); page != candidates.rend() && chosen == 0; ++page) {
        const PageView view = pager.read(*page);
        if (isRowPage(view, definition.page) && roomForRow(view) >= length) {
            chosen = *page;
        } else {
            mapClear(pager, definition.freeSpace, *page);
        }
    }
    if (chosen == 0) chosen = newDataPage(table, length);
    table.lastPage = chosen;
    table.lastPageAt = pager.changeCount();
    return chosen;
}

void giveBack(Table::State& table, PageNo page)
{
    mapClear(table.pager, table.definition.owned, page);
    mapClear(table.pager, table.definition.freeSpace, page);
    freePage(table.pager, page, PageType::emptiedRow);
    if (table.lastPage == page) table.lastPage = 0;
    table.dataPagesRemoved();
}

/// A page that has lost bytes may take rows again.
void roomGained(Table::State& table, PageNo page)
{
    const PageView view = table.pager.read(page);
    if (roomForRow(view) >= worthListing && !mapHas(table.pager, table.definition.freeSpace, page)) {
        mapSet(table.pager, table.definition.freeSpace, page);
    }
}

/// What is made of a page that has lost rows: an empty one is given back. One with so many slots that few more fit must
/// wait until the file is opened again and nobody holds the place of a row that stood there.
void rowsGone(Table::State& table, PageNo page)
{
    constexpr unsigned mostSlots = limits::slotsOnPage / 2;
    Pager& pager = table.pager;
    const PageView view = pager.read(page);
    const unsigned slots = row_page_layout::slotCount.get(view);
    if (slots > mostSlots || !allSlotsDead(view)) return roomGained(table, page);
    table.slotsUsed[page] = slots;
    giveBack(table, page);
}

void killRow(Table::State& table, RowId place)
{
    killSlot(table.pager.write(place.page), place.slot);
    rowsGone(table, place.page);
}

/// Writes the values that wait outside, and the row with their places.
void storeOutside(Table::State& table, Draft& draft)
{
    if (draft.outside.empty()) return;
    for (const Outside& each : draft.outside) {
        const LongValueMaps* maps = table.definition.longValuesOf(each.column);
        draft.fields[each.column] = writeLongValue(table.pager, maps->owned, maps->freeSpace, each.data);
    }
    encodeRow(table.layout, draft.fields, draft.bytes);
}

void freeLongValue(Table::State& table, std::size_t column, std::span<const std::uint8_t> reference)
{
    const LongValueMaps* maps = table.definition.longValuesOf(column);
    eraseLongValue(table.pager, maps != nullptr ? maps->owned : MapRef{}, maps != nullptr ? maps->freeSpace : MapRef{},
                   reference);
}

void applyEntries(Table::State& table, const std::vector<EntryChange>& changes, RowId row)
{
    for (const EntryChange& change : changes) {
        if (change.before == change.after) continue;
        IndexTree tree = table.tree(*change.index);
        if (change.before && !tree.erase(*change.before, row)) {
            throwDamaged(table.pager, change.index->root, "bir kaydın dizin girişi yok");
        }
        if (change.after && tree.insert(*change.after, row)) {
            const PageBytes page = table.pager.write(table.definition.page);
            const std::size_t index = change.index->number;
            statistics::putDistinctKeys(page, index, statistics::getDistinctKeys(page, index) + 1);
        }
    }
}

/// Adds to the row count, which is put right first where another program left it wrong.
void countRows(Table::State& table, std::int32_t difference)
{
    if (difference == 0 && !table.countIsStale) return;
    Pager& pager = table.pager;
    const PageBytes page = pager.write(table.definition.page);
    if (table.countIsStale && table.countRightAt != pager.changeCount()) {
        // The change itself is in the pages already, so what is counted here includes it.
        const std::uint32_t rows = table.liveRows();
        table.countIsStale = rowCount.get(page) + static_cast<std::uint32_t>(difference) != rows;
        table.countRightAt = pager.changeCount();
        rowCount.put(page, rows);
        return;
    }
    rowCount.put(page, rowCount.get(page) + static_cast<std::uint32_t>(difference));
}

/// Any number that no row has. Only an index can tell which those are; without one Access trusts to luck as well.
std::int32_t randomNumber(Table::State& table, std::size_t column)
{
    const auto isTold = [column](const Index& index) {
        return index.columns.size() == 1 && index.columns.front().column == column;
    };
    const auto index = std::ranges::find_if(table.definition.indexes, isTold);
    std::random_device noise;
    for (;;) {
        const auto number = static_cast<std::int32_t>(noise());
        if (number == 0) continue; // reads as a number that nobody has given
        if (index == table.definition.indexes.end()) return number;
        const Value value = number;
        const std::optional<Key> key = newKey(table, *index, std::span(&value, 1));
        if (!key || !table.tree(*index).hasKey(*key, RowId{})) return number;
    }
}

std::int32_t nextAutoNumber(Table::State& table, const Column& column)
{
    const auto stored = static_cast<std::int32_t>(lastAutoNumber.get(table.pager.read(table.definition.page)));
    const std::int32_t last = std::max(stored, table.highestAutoNumber);
    if (last == std::numeric_limits<std::int32_t>::max()) throwBadValue(table.name, column, "otomatik sayılar tükendi");
    return last + 1;
}

/// Access leaves counters below the greatest number given; they are put right with the next one.
void raiseAutoNumber(Table::State& table, std::int32_t used)
{
    used = std::max(used, table.highestAutoNumber);
    const PageBytes page = table.pager.write(table.definition.page);
    if (used > static_cast<std::int32_t>(lastAutoNumber.get(page)))
        lastAutoNumber.put(page, static_cast<std::uint32_t>(used));
}

} // namespace

std::string indexTitle(const Index& index)
{
    if (index.names.empty()) return '#' + std::to_string(index.number);
    return quotedName(index.names.front());
}

const std::optional<Refusal>& Table::State::unsoundness()
{
    rereadIfTakenBack();
    if (!verdict && verifiedAhead) verifiedAhead();
    if (!verdict) verdict = verifyForWriting(*this);
    return *verdict;
}

const std::optional<Refusal>& Table::State::refusal()
{
    rereadIfTakenBack();
    if (!unknownDemands) unknownDemands = demandsNobodyKnows(*this);
    return *unknownDemands ? *unknownDemands : unsoundness();
}

/// Pages that other programs, or rows that came and went by the hundred, have left empty: some with each change, so
/// that no change becomes long.
void Table::State::giveBackEmptyPages()
{
    constexpr std::size_t atOnce = 32;
    if (emptyPages.empty() || emptyPagesAt == pager.changeCount()) return;
    emptyPagesAt = pager.changeCount();
    // Those that an earlier change gave back for good are no longer the table's.
    const auto stillEmpty = [this](PageNo page) {
        const PageView view = pager.read(page);
        return mapHas(pager, definition.owned, page) && isRowPage(view, definition.page) && allSlotsDead(view);
    };
    std::erase_if(emptyPages, [&](PageNo page) { return !stillEmpty(page); });
    for (std::size_t i = 0; i < std::min(atOnce, emptyPages.size()); ++i) giveBack(*this, emptyPages[i]);
}

void Table::State::checkWritable()
{
    if (const std::optional<Refusal>& why = refusal()) throw Error(why->fault, why->sentence);
}

void Table::State::checkSound()
{
    if (const std::optional<Refusal>& why = unsoundness()) throw Error(why->fault, why->sentence);
}

RowId Table::State::insert(std::span<const Assignment> values)
{
    checkWritable();
    const std::vector<Column>& columns = definition.columns;
    std::vector<Value> converted(columns.size());
    std::vector<const Value*> row;
    row.reserve(converted.size());
    for (const Value& value : converted) row.push_back(&value); // Null where nothing is assigned
    for (const Assignment& each : values) {
        assert(each.column < columns.size());
        row[each.column] = &inTypeOf(columns[each.column], each.value, name, converted[each.column]);
    }
    if (!rules.empty()) {
        std::vector<bool> given(columns.size());
        for (const Assignment& each : values) given[each.column] = true;
        rules.fillIn(converted, given, columns, name);
    }
    std::optional<std::int32_t> autoNumber;
    Draft draft;
    draft.fields.resize(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].autoNumber) {
            const bool isRandom = columns[i].randomNumber;
            if (isNull(*row[i])) converted[i] = isRandom ? randomNumber(*this, i) : nextAutoNumber(*this, columns[i]);
            if (!isRandom) autoNumber = std::get<std::int32_t>(*row[i]);
        }
        if (columns[i].autoGuid && isNull(*row[i])) converted[i] = newGuid();
        if (columns[i].type == ColumnType::boolean && isNull(*row[i])) converted[i] = false;
        if (columns[i].required && isNull(*row[i])) throwRequired(*this, columns[i]);
        if (!columns[i].emptyTextAllowed && isEmptyText(*row[i])) throwEmptyText(*this, columns[i]);
        setField(*this, draft, i, *row[i]);
    }
    encodeDraft(*this, draft);
    rules.check([&](std::size_t i) -> const Value& { return *row[i]; }, [](std::size_t) { return true; }, columns,
                name);
    requireParents(*this, [&](std::size_t i) -> const Value& { return *row[i]; });

    std::vector<EntryChange> entries;
    std::vector<Value> keyed;
    for (const Index& index : definition.indexes) {
        keyed.clear();
        for (const IndexColumn& each : index.columns) keyed.push_back(keyPart(*row[each.column]));
        std::optional<Key> key = newKey(*this, index, keyed);
        checkRules(*this, index, keyed, key, RowId{});
        entries.push_back({&index, std::nullopt, std::move(key)});
    }

    Transaction change(pager, Pager::LookForOthers::atCommit);
    giveBackEmptyPages();
    storeOutside(*this, draft);
    const PageNo page = pageWithRoom(*this, draft.bytes.size());
    const RowId id{page, appendRow(pager.write(page), draft.bytes, RowKind::ordinary)};
    applyEntries(*this, entries, id);
    countRows(*this, 1);
    if (autoNumber) raiseAutoNumber(*this, *autoNumber);
    changes.touched(id, pager.changeCount());
    change.commit();
    return id;
}

void Table::State::update(RowId id, std::span<const Assignment> values)
{
    UpdateRun run;
    update(id, values, run);
}

void Table::State::update(RowId id, std::span<const Assignment> values, UpdateRun& run)
{
    checkWritable();
    const std::optional<RowReader::Row> found = find(id);
    if (!found) throwMissing(*this);
    const Bytes old(found->bytes.begin(), found->bytes.end());
    const std::vector<Column>& columns = definition.columns;

    Draft draft;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const auto bytes = field(i, old);
        draft.fields.push_back(bytes ? std::optional<Bytes>(Bytes(bytes->begin(), bytes->end())) : std::nullopt);
    }
    std::vector<Value> converted(columns.size());
    std::vector<const Value*> assigned(columns.size());
    for (const Assignment& each : values) {
        assert(each.column < columns.size());
        const Column& column = columns[each.column];
        const Value& value = inTypeOf(column, each.value, name, converted[each.column]);
        if (isNull(value) && (column.required || column.autoNumber || column.autoGuid)) throwRequired(*this, column);
        const bool isAutomatic = column.autoNumber || column.autoGuid;
        if (isAutomatic && value != this->value(each.column, old)) throwAutomatic(*this, column);
        if (!column.emptyTextAllowed && isEmptyText(value)) throwEmptyText(*this, column);
        std::erase_if(draft.outside, [&](const Outside& waiting) { return waiting.column == each.column; });
        setField(*this, draft, each.column, value);
        assigned[each.column] = &value;
    }
    encodeDraft(*this, draft);
    std::map<std::size_t, Value> unchanged;
    const auto afterwards = [&](std::size_t i) -> const Value& {
        if (assigned[i] != nullptr) return *assigned[i];
        const auto [place, isNew] = unchanged.try_emplace(i);
        if (isNew) place->second = value(i, old);
        return place->second;
    };
    rules.check(
        afterwards, [&](std::size_t i) { return assigned[i] != nullptr; }, columns, name);

    std::vector<EntryChange> entries;
    std::vector<Value> before;
    std::vector<Value> after;
    for (const Index& index : definition.indexes) {
        const bool touched = std::any_of(index.columns.begin(), index.columns.end(),
                                         [&](const IndexColumn& each) { return assigned[each.column] != nullptr; });
        if (!touched) continue;
        keyValues(index, old, before);
        after = before;
        for (std::size_t i = 0; i < after.size(); ++i) {
            if (const Value* const value = assigned[index.columns[i].column]) after[i] = keyPart(*value);
        }
        EntryChange change{&index, indexKey(index, columns, before, KeyUse::compare, known(index)),
                           indexKey(index, columns, after, KeyUse::compare, known(index))};
        if (change.before == change.after) continue;
        change.after = newKey(*this, index, after);
        checkRules(*this, index, after, change.after, id);
        entries.push_back(std::move(change));
    }

    const std::vector<ChildRows> children = run.follow(*this, id, old, assigned);

    Transaction change(pager, Pager::LookForOthers::atCommit);
    changes.touched(id, pager.changeCount());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const auto reference = field(i, old);
        if (assigned[i] != nullptr && reference && isLongValue(columns[i].type)) freeLongValue(*this, i, *reference);
    }
    storeOutside(*this, draft);
    const RowId body = found->body;
    if (fitsSlot(pager.read(body.page), body.slot, draft.bytes.size())) {
        replaceRow(pager.write(body.page), body.slot, draft.bytes);
        roomGained(*this, body.page);
    } else {
        if (slotAt(pager.read(id.page), id.slot)->length < row_page_layout::pointer.size) {
            // Only a row of nothing but Booleans is that short, and it never grows.
            throwDamaged(pager, id.page, "bir satır taşınamayacak kadar kısa");
        }
        const PageNo page = pageWithRoom(*this, draft.bytes.size());
        const RowId moved{page, appendRow(pager.write(page), draft.bytes, RowKind::body)};
        pointSlot(pager.write(id.page), id.slot, moved);
        if (body != id) killRow(*this, body);
    }
    applyEntries(*this, entries, id);
    countRows(*this, 0);
    updateChildren(children, run);
    change.commit();
}

/// Gives the children of a row its new key.
void Table::State::updateChildren(const std::vector<ChildRows>& all, UpdateRun& run)
{
    const Relation* const from = run.from;
    if (++run.depth > UpdateRun::deepest)
        throw Error(Fault::unsupported,
                    quotedName(name) + " tablosundaki değişiklik ilişkiler boyunca çok uzağa gidiyor.");
    for (const ChildRows& each : all) {
        run.from = &each.relation;
        std::vector<Assignment> key;
        for (std::size_t i = 0; i < each.key.size(); ++i)
            key.push_back({each.relation.others->columns[i].column, each.key[i]});
        for (const RowId row : each.rows) each.relation.other->update(row, key, run);
    }
    run.from = from;
    if (--run.depth == 0) run.requireParents();
}

void Table::State::erase(std::span<const RowId> rows)
{
    checkWritable();
    for (const RowId row : rows)
        if (!find(row)) throwMissing(*this);
    const ErasePlan plan(*this, rows);
    Transaction change(pager, Pager::LookForOthers::atCommit);
    giveBackEmptyPages();
    for (const ErasePlan::Cleared& each : plan.cleared()) {
        std::vector<Assignment> nulls;
        for (const IndexColumn& field : each.fields->columns) nulls.push_back({field.column, Null()});
        each.table->update(each.row, nulls);
    }
    for (const auto& [table, doomed] : plan.rows())
        for (const RowId row : doomed) table->eraseRow(row);
    change.commit();
}

void Table::State::eraseRow(RowId id)
{
    const std::optional<RowReader::Row> found = find(id);
    if (!found) throwMissing(*this);
    const Bytes old(found->bytes.begin(), found->bytes.end());

    std::vector<EntryChange> entries;
    std::vector<Value> keyed;
    for (const Index& index : definition.indexes) {
        keyValues(index, old, keyed);
        entries.push_back(
            {&index, indexKey(index, definition.columns, keyed, KeyUse::compare, known(index)), std::nullopt});
    }

    changes.touched(id, pager.changeCount());
    applyEntries(*this, entries, id);
    for (std::size_t i = 0; i < definition.columns.size(); ++i) {
        const auto reference = field(i, old);
        if (reference && isLongValue(definition.columns[i].type)) freeLongValue(*this, i, *reference);
    }
    if (found->body != id) killRow(*this, found->body);
    killRow(*this, id);
    countRows(*this, -1);
}

void Table::State::eraseAll()
{
    checkWritable();
    const std::vector<Relation> relations = relationsOf(*this);
    if (std::ranges::any_of(relations,
                            [this](const Relation& each) { return each.isParent() && each.other != this; })) {
        std::vector<RowId> rows;
        for (RowWalk each = walk(); each.next(ThrowAtDamage(pager));) rows.push_back(each.head());
        return erase(rows);
    }
    Transaction change(pager, Pager::LookForOthers::atCommit);
    changes.everything(pager.changeCount());
    const auto all = dataPages();
    for (const PageNo page : *all) {
        if (!isRowPage(pager.read(page), definition.page)) continue;
        killAllSlots(pager.write(page));
        rowsGone(*this, page);
    }
    for (const LongValueMaps& maps : definition.longValues) {
        eraseAllLongValues(pager, maps.owned, maps.freeSpace);
    }
    for (const Index& index : definition.indexes) tree(index).rebuild({});
    definition_layout::head::rowCount.put(pager.write(definition.page), 0);
    change.commit();
}

} // namespace jet
