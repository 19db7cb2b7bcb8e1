#include "store/jet/table/relationships.h"

#include "store/jet/rows/field_codec.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <utility>

namespace jet {
namespace {

using Role = RelationshipEnd::Role;

const LogicalIndex* partnerIn(const TableDefinition& other, PageNo from, const LogicalIndex& end)
{
    const Role wanted = end.relationship.role == Role::parent ? Role::child : Role::parent;
    const auto found = std::ranges::find_if(other.logicalIndexes, [&](const LogicalIndex& each) {
        return each.id == end.relationship.partner && each.relationship.role == wanted &&
               each.relationship.partnerTable == from;
    });
    return found == other.logicalIndexes.end() ? nullptr : &*found;
}

KeyValues valuesOf(Table::State& table, const Index& index, std::span<const std::uint8_t> row)
{
    KeyValues values;
    table.keyValues(index, row, values);
    return values;
}

/// The key under which such values stand in an index of that table.
std::optional<Key> keyOf(const Table::State& table, const Index& index, const KeyValues& values)
{
    KeyValues converted;
    for (std::size_t i = 0; i < values.size(); ++i)
        converted.push_back(convertValue(values[i], table.definition.columns[index.columns[i].column], table.name));
    return indexKey(index, table.definition.columns, converted, KeyUse::compare, table.known(index));
}

std::string fieldNames(const Table::State& table, const Index& index)
{
    std::string names;
    for (const IndexColumn& each : index.columns)
        names += (names.empty() ? "" : ", ") + quotedName(table.definition.columns[each.column].name);
    return names;
}

} // namespace

std::vector<Relation> relationsOf(Table::State& table)
{
    std::vector<Relation> relations;
    for (const LogicalIndex& end : table.definition.logicalIndexes) {
        if (end.kind != LogicalIndex::Kind::relationship) continue;
        Table::State* const other = table.tableAt ? table.tableAt(end.relationship.partnerTable) : nullptr;
        if (other != nullptr) other->rereadIfTakenBack();
        const LogicalIndex* const partner = other == nullptr || end.relationship.role == Role::none
                                                ? nullptr
                                                : partnerIn(other->definition, table.definition.page, end);
        const Index& own = table.definition.indexes[end.physical];
        if (partner == nullptr || other->definition.indexes[partner->physical].columns.size() != own.columns.size())
            throw Error(Fault::unsupported, quotedName(end.name) + " ilişkisinin öteki ucu bulunamadı");
        const bool isParent = end.relationship.role == Role::parent;
        const RelationshipEnd& says = isParent ? end.relationship : partner->relationship;
        relations.push_back({end.relationship.role, &own, other, &other->definition.indexes[partner->physical],
                             says.cascadesUpdates, says.cascadesDeletes, says.clearsOnDelete,
                             // The parent's name for it is a private one.
                             isParent ? partner->name : end.name});
    }
    return relations;
}

bool isAllNull(const KeyValues& values)
{
    return std::ranges::all_of(values, [](const Value& value) { return isNull(value); });
}

std::vector<RowId> relatives(const Relation& relation, const KeyValues& values)
{
    // What an index that was never verified says is nothing to rely on.
    relation.other->checkSound();
    std::vector<RowId> rows;
    const std::optional<Key> wanted = keyOf(*relation.other, *relation.others, values);
    if (!wanted) return rows;
    relation.other->tree(*relation.others).walk(*wanted, [&](std::span<const std::uint8_t> key, RowId row) {
        if (!std::ranges::equal(key, *wanted)) return false;
        rows.push_back(row);
        return true;
    });
    return rows;
}

void throwNoParent(const Table::State& table, const Relation& relation)
{
    throw Error(Fault::noParent, quotedName(table.name) + " tablosuna yazılamaz: " + fieldNames(table, *relation.own) +
                                     " alanındaki değerin " + quotedName(relation.other->name) +
                                     " tablosunda karşılığı yok (" + quotedName(relation.name) +
                                     " ilişkisi); önce oraya ekleyin.");
}

void throwHasChildren(const Table::State& table, const Relation& relation, const char* done)
{
    throw Error(Fault::hasChildren, quotedName(table.name) + " tablosundaki kayıt " + done + ": " +
                                        quotedName(relation.other->name) + " tablosunda ona bağlı kayıtlar var (" +
                                        quotedName(relation.name) + " ilişkisi).");
}

void requireParents(Table::State& table, const std::function<const Value&(std::size_t)>& row)
{
    const auto valuesIn = [&](const Index& index) {
        KeyValues values;
        for (const IndexColumn& each : index.columns) values.push_back(row(each.column));
        return values;
    };
    for (const Relation& relation : relationsOf(table)) {
        if (relation.isParent()) continue;
        const KeyValues key = valuesIn(*relation.own);
        if (isAllNull(key)) continue;
        // A row may be its own parent.
        if (relation.other == &table &&
            keyOf(table, *relation.others, valuesIn(*relation.others)) == keyOf(table, *relation.others, key))
            continue;
        if (relatives(relation, key).empty()) throwNoParent(table, relation);
    }
}

// ---- UpdateRun ----

std::vector<ChildRows> UpdateRun::follow(Table::State& table, RowId id, std::span<const std::uint8_t> old,
                                         const std::vector<const Value*>& assigned)
{
    std::vector<ChildRows> children;
    std::vector<Orphan> mayBeOrphans;
    const auto isAssigned = [&](const IndexColumn& each) { return assigned[each.column] != nullptr; };
    const auto afterwards = [&](const Index& index) {
        KeyValues values = valuesOf(table, index, old);
        for (std::size_t i = 0; i < values.size(); ++i)
            if (const Value* const value = assigned[index.columns[i].column]) values[i] = *value;
        return values;
    };
    for (const Relation& relation : relationsOf(table)) {
        if (std::ranges::none_of(relation.own->columns, isAssigned)) continue;
        const KeyValues before = valuesOf(table, *relation.own, old);
        KeyValues after = afterwards(*relation.own);
        if (before == after) continue;
        if (!relation.isParent()) {
            const bool isTheWay = from != nullptr && from->others == relation.own && from->own == relation.others;
            if (!isTheWay && !isAllNull(after)) mayBeOrphans.push_back({&table, relation, std::move(after)});
            continue;
        }
        if (isAllNull(before)) continue;
        std::vector<RowId> rows = relatives(relation, before);
        // The row's own fields get what the caller gives them.
        if (relation.other == &table && std::ranges::any_of(relation.others->columns, isAssigned)) std::erase(rows, id);
        if (rows.empty()) continue;
        if (relation.cascadesUpdates) {
            relation.other->checkWritable();
            children.push_back({relation, std::move(rows), std::move(after)});
        } else if (keyOf(table, *relation.own, before) != keyOf(table, *relation.own, after)) {
            throwHasChildren(table, relation, "değiştirilemez");
        }
    }
    for (Orphan& each : mayBeOrphans) {
        // Parents among the rows that change with this one are not there yet.
        const bool certain = from == nullptr && children.empty();
        const bool isItself =
            each.relation.other == &table && keyOf(table, *each.relation.others, afterwards(*each.relation.others)) ==
                                                 keyOf(table, *each.relation.others, each.key);
        if (!certain)
            toRequire_.push_back(std::move(each));
        else if (!isItself && relatives(each.relation, each.key).empty())
            throwNoParent(table, each.relation);
    }
    return children;
}

void UpdateRun::requireParents() const
{
    for (const Orphan& each : toRequire_)
        if (relatives(each.relation, each.key).empty()) throwNoParent(*each.table, each.relation);
}

// ---- ErasePlan ----

ErasePlan::ErasePlan(Table::State& table, std::span<const RowId> rows)
{
    struct Kept {
        Table::State* parent;
        Relation relation;
        RowId child;
    };
    std::vector<Kept> kept;
    std::map<Table::State*, std::vector<Relation>> relations;
    std::vector<std::pair<Table::State*, RowId>> toLookAt;
    const auto doom = [&](Table::State* of, RowId row) {
        if (doomed_[of].insert(row).second) toLookAt.emplace_back(of, row);
    };
    for (const RowId row : rows) doom(&table, row);
    while (!toLookAt.empty()) {
        const auto [of, row] = toLookAt.back();
        toLookAt.pop_back();
        const auto found = relations.find(of);
        const std::vector<Relation>& itsRelations =
            found != relations.end() ? found->second : relations.emplace(of, relationsOf(*of)).first->second;
        for (const Relation& relation : itsRelations) {
            if (!relation.isParent()) continue;
            const auto bytes = of->find(row);
            if (!bytes) continue; // who erases it says so
            const KeyValues key = valuesOf(*of, *relation.own, bytes->bytes);
            if (isAllNull(key)) continue;
            const std::vector<RowId> children = relatives(relation, key);
            if (!children.empty() && (relation.cascadesDeletes || relation.clearsOnDelete))
                relation.other->checkWritable();
            for (const RowId child : children) {
                if (relation.cascadesDeletes)
                    doom(relation.other, child);
                else if (relation.clearsOnDelete)
                    cleared_.insert({relation.other, child, relation.others});
                else
                    kept.push_back({of, relation, child});
            }
        }
    }
    for (const Kept& each : kept)
        if (!isDoomed(each.relation.other, each.child)) throwHasChildren(*each.parent, each.relation, "silinemez");
    std::erase_if(cleared_, [this](const Cleared& each) { return isDoomed(each.table, each.row); });
}

bool ErasePlan::isDoomed(Table::State* table, RowId row) const
{
    const auto found = doomed_.find(table);
    return found != doomed_.end() && found->second.contains(row);
}

} // namespace jet
