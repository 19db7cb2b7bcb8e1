#pragma once

#include "store/jet/database/database.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/rows/table_definition.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

/// Relationships between tables as Access writes them, byte by byte.
namespace related {

struct Relationship {
    const char16_t* name;
    const char16_t* parent;
    const char16_t* parentIndex;
    const char16_t* child;
    const char16_t* childIndex;
    bool updates = false; ///< cascade
    bool deletes = false;
    bool clears = false; ///< deletes leave children behind without their parent
};

/// Another logical index for a table: `end` behind those that it has. Its bytes must still fit the pages it has.
inline void addLogicalIndex(jet::Pager& pager, jet::PageNo table, const jet::LogicalIndex& end)
{
    namespace layout = jet::definition_layout;
    namespace field = layout::logicalIndex;
    const auto chain = jet::readTableDefinition(pager, table).chain;
    jet::Bytes bytes;
    for (const jet::PageNo page : chain) {
        const jet::PageView view = pager.read(page);
        const auto part = std::span<const std::uint8_t>(view).subspan(page == table ? 0 : layout::page::ownBytes);
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    bytes.resize(layout::head::length.get(bytes));

    const std::size_t logical = layout::head::logicalIndexes.get(bytes);
    const std::size_t physical = layout::head::physicalIndexes.get(bytes);
    std::size_t at = layout::statistics::at(physical);
    const auto passNames = [&](std::size_t count) {
        for (; count > 0; --count) at += layout::nameLengthBytes + layout::nameLength.get(std::span(bytes).subspan(at));
    };
    const std::size_t columns = layout::head::columns.get(bytes);
    at += columns * layout::column::bytes;
    passNames(columns);
    at += physical * layout::physicalIndex::bytes + logical * field::bytes;
    const std::size_t recordAt = at;
    passNames(logical);

    jet::Bytes name(layout::nameLengthBytes + end.name.size() * 2);
    layout::nameLength.put(name, static_cast<std::uint32_t>(end.name.size() * 2));
    for (std::size_t i = 0; i < end.name.size(); ++i) jet::putU16(&name[layout::nameLengthBytes + i * 2], end.name[i]);
    bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(at), name.begin(), name.end());
    jet::Bytes record(field::bytes);
    field::magic.put(record, layout::magicNumber);
    field::id.put(record, end.id);
    field::physical.put(record, static_cast<std::uint32_t>(end.physical));
    field::role.put(record, static_cast<std::uint32_t>(end.relationship.role));
    field::partner.put(record, end.relationship.partner);
    field::partnerTable.put(record, end.relationship.partnerTable.number());
    field::cascadeUpdates.put(record, end.relationship.cascadesUpdates ? 1 : 0);
    field::cascadeDeletes.put(record, end.relationship.cascadesDeletes ? 1 : end.relationship.clearsOnDelete ? 2 : 0);
    field::kind.put(record, 2);
    bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(recordAt), record.begin(), record.end());
    layout::head::logicalIndexes.put(bytes, static_cast<std::uint32_t>(logical + 1));
    layout::head::length.put(bytes, static_cast<std::uint32_t>(bytes.size()));
    if (jet::definitionPages(bytes.size()) != chain.size()) throw std::runtime_error("the definition has no room");
    jet::writeDefinitionBytes(pager, chain, bytes);
}

/// Relates two tables. It counts from the next opening of the file on.
inline void relate(jet::Database& database, const Relationship& wanted)
{
    jet::Transaction change(database.pager());
    const auto pageOf = [&](const char16_t* name) { return database.table(name).definitionPage(); };
    struct End {
        jet::PageNo table;
        std::size_t physical;
        std::uint32_t id;
    };
    const auto endOf = [&](const char16_t* table, const char16_t* index) {
        const auto definition = jet::readTableDefinition(database.pager(), pageOf(table));
        End end{definition.page, 0, 0};
        for (const jet::LogicalIndex& each : definition.logicalIndexes) {
            end.id = std::max(end.id, each.id + 1);
            if (each.name == index) end.physical = each.physical;
        }
        return end;
    };
    using Role = jet::RelationshipEnd::Role;
    const End parent = endOf(wanted.parent, wanted.parentIndex);
    End child = endOf(wanted.child, wanted.childIndex);
    if (child.table == parent.table) ++child.id;
    const auto add = [&](const End& here, const End& there, Role role, std::u16string name) {
        jet::LogicalIndex end;
        end.name = std::move(name);
        end.id = here.id;
        end.physical = here.physical;
        end.relationship = {role, there.id, there.table, wanted.updates, wanted.deletes, wanted.clears};
        addLogicalIndex(database.pager(), here.table, end);
    };
    add(parent, child, Role::parent, u"." + std::u16string(wanted.name));
    add(child, parent, Role::child, wanted.name);
    change.commit();
}

enum : std::size_t { number, parent, text, second };

/// An AutoNumber never changes; numbers that are given do.
enum class Keys { counted, given };

/// Tables alike: "No" is the key, "Üst" and "Ad" and "Üst2", each with an index of its name, "İki" of two.
inline void createTables(files::Disk& disk, const std::filesystem::path& file,
                         const std::vector<const char16_t*>& names, Keys keys = Keys::counted)
{
    using namespace jet;
    Database::create(disk, file, turkish, DateTime{45000});
    const auto database = Database::open(disk, file);
    for (const char16_t* name : names) {
        std::vector<NewColumn> columns(4);
        columns[number] = {u"No", ColumnType::longInteger};
        columns[number].autoNumber = keys == Keys::counted;
        columns[parent] = {u"Üst", ColumnType::longInteger};
        columns[text] = {u"Ad", ColumnType::text, 20};
        columns[second] = {u"Üst2", ColumnType::longInteger};
        std::vector<NewIndex> indexes(5);
        indexes[0].name = u"PrimaryKey";
        indexes[0].columns = {{u"No", true}};
        indexes[0].primaryKey = indexes[0].unique = indexes[0].required = true;
        indexes[1] = {.name = u"Üst", .columns = {{u"Üst", true}}};
        indexes[2] = {.name = u"Ad", .columns = {{u"Ad", true}}};
        indexes[3] = {.name = u"Üst2", .columns = {{u"Üst2", true}}};
        indexes[4] = {.name = u"İki", .columns = {{u"Üst", true}, {u"Ad", true}}};
        database->createTable(name, columns, indexes, DateTime{45000});
    }
}

} // namespace related
