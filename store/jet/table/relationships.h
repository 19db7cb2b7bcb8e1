#pragma once

#include "store/jet/table/table_state.h"

#include <functional>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

/// What the relationships of a table demand of its rows. Private to Table.
namespace jet {

/// A relationship as the table at one of its ends sees it.
struct Relation {
    RelationshipEnd::Role role = RelationshipEnd::Role::none; ///< the table's own
    const Index* own = nullptr;                               ///< the fields that are compared, here
    Table::State* other = nullptr;                            ///< the table at the other end
    const Index* others = nullptr;                            ///< the fields there, in the same order
    bool cascadesUpdates = false;
    bool cascadesDeletes = false;
    bool clearsOnDelete = false; ///< the children's fields become Null
    std::u16string name;

    bool isParent() const { return role == RelationshipEnd::Role::parent; }
};

/// All that the file enforces. Throws unsupported with a clause that names the one whose other end is not found.
std::vector<Relation> relationsOf(Table::State& table);

/// A value for each field of an index, in its order.
using KeyValues = std::vector<Value>;
/// Rows without any value have no relatives.
bool isAllNull(const KeyValues& values);
/// The rows at the other end. Throws as Table::State::checkSound for the other table, badValue, indexNotWritable.
std::vector<RowId> relatives(const Relation& relation, const KeyValues& values);

[[noreturn]] void throwNoParent(const Table::State& table, const Relation& relation);
/// `done` is what cannot be done to the parent, as a Turkish passive: "silinemez".
[[noreturn]] void throwHasChildren(const Table::State& table, const Relation& relation, const char* done);

/// Holds a new row to the relationships in which its table is the child. Throws noParent.
void requireParents(Table::State& table, const std::function<const Value&(std::size_t)>& row);

/// The children of one row whose key changes.
struct ChildRows {
    Relation relation;
    std::vector<RowId> rows;
    KeyValues key; ///< the new one
};

/// A change of keys that runs on from parents to children, and what must be true when all of it is done.
class UpdateRun {
public:
    /// Deeper than any file's relationships lead.
    static constexpr int deepest = 100;
    int depth = 0;
    const Relation* from = nullptr; ///< the parent's relation through which the row is reached; null for the first

    /// What follows of new values for that row: the children that change with it. Throws noParent and hasChildren
    /// where that is certain before anything is written; the rest is required at the end.
    std::vector<ChildRows> follow(Table::State& table, RowId id, std::span<const std::uint8_t> old,
                                  const std::vector<const Value*>& assigned);
    /// Throws noParent where a child that was written has none now.
    void requireParents() const;

private:
    struct Orphan {
        Table::State* table;
        Relation relation;
        KeyValues key;
    };
    std::vector<Orphan> toRequire_;
};

/// Rows that go together: those that are wanted gone, and the children that cascade with them.
class ErasePlan {
public:
    /// Throws hasChildren. Nothing is written.
    ErasePlan(Table::State& table, std::span<const RowId> rows);

    /// A child that stays, and the index of its fields that become Null.
    struct Cleared {
        Table::State* table;
        RowId row;
        const Index* fields;
        auto operator<=>(const Cleared&) const = default; // NOLINT(modernize-use-nullptr) nothing is compared with null
    };
    const std::map<Table::State*, std::set<RowId>>& rows() const { return doomed_; }
    const std::set<Cleared>& cleared() const { return cleared_; }

private:
    bool isDoomed(Table::State* table, RowId row) const;
    std::map<Table::State*, std::set<RowId>> doomed_;
    std::set<Cleared> cleared_;
};

} // namespace jet
