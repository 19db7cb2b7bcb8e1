#pragma once

#include "store/jet/database/database.h"
#include "store/jet/rules/table_properties.h"
#include "store/jet/table/catalogue.h"
#include "store/jet/table/table_state.h"
#include "tests/jet/chosen_rows.h"

#include <algorithm>
#include <string>
#include <utility>
#include <variant>
#include <vector>

/// Property blocks of tables as Access writes them, byte by byte.
namespace properties {

struct Property {
    std::u16string name;
    std::variant<std::u16string, bool> value;
    Property(std::u16string n, const char16_t* text) : name(std::move(n)), value(std::u16string(text)) {}
    Property(std::u16string n, bool flag) : name(std::move(n)), value(flag) {}
};
/// Of a column, or of the table itself where the name is empty.
struct Group {
    std::u16string column;
    std::vector<Property> properties;
};
struct Block {
    std::vector<Group> groups;
};

inline void putNumber(jet::Bytes& bytes, std::size_t value, int size)
{
    for (int i = 0; i < size; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> 8 * i));
}
inline void putText(jet::Bytes& bytes, const std::u16string& text)
{
    for (const char16_t unit : text) putNumber(bytes, unit, 2);
}

inline jet::Bytes bytesOf(const Block& block)
{
    std::vector<std::u16string> names;
    const auto numberOf = [&](const std::u16string& name) {
        const auto found = std::ranges::find(names, name);
        if (found != names.end()) return static_cast<std::size_t>(found - names.begin());
        names.push_back(name);
        return names.size() - 1;
    };
    jet::Bytes groups;
    for (const Group& group : block.groups) {
        jet::Bytes body;
        putNumber(body, 6 + 2 * group.column.size(), 4);
        putNumber(body, 2 * group.column.size(), 2);
        putText(body, group.column);
        for (const Property& property : group.properties) {
            jet::Bytes value;
            const bool isText = std::holds_alternative<std::u16string>(property.value);
            if (isText)
                putText(value, std::get<std::u16string>(property.value));
            else
                value.push_back(std::get<bool>(property.value) ? 0xFF : 0);
            putNumber(body, 8 + value.size(), 2);
            body.push_back(1);
            body.push_back(isText ? 12 : 1);
            putNumber(body, numberOf(property.name), 2);
            putNumber(body, value.size(), 2);
            body.insert(body.end(), value.begin(), value.end());
        }
        putNumber(groups, 6 + body.size(), 4);
        putNumber(groups, group.column.empty() ? 0 : 1, 2);
        groups.insert(groups.end(), body.begin(), body.end());
    }
    jet::Bytes list;
    for (const std::u16string& name : names) {
        putNumber(list, 2 * name.size(), 2);
        putText(list, name);
    }
    jet::Bytes bytes{'M', 'R', '2', 0};
    putNumber(bytes, 6 + list.size(), 4);
    putNumber(bytes, 0x80, 2);
    bytes.insert(bytes.end(), list.begin(), list.end());
    bytes.insert(bytes.end(), groups.begin(), groups.end());
    return bytes;
}

/// Gives a table those bytes as its block. They count from the next opening of the file on.
inline void put(jet::Database& database, std::u16string_view table, const jet::Bytes& block)
{
    const jet::Table& listed = database.table(u"MSysObjects");
    jet::Table::State objects(database.pager(), listed.name(), listed.definitionPage(), {});
    objects.systemObjects = &listed;
    const std::size_t name = jet::systemColumn(listed, u"Name", jet::ColumnType::text);
    const auto places = rowsWhere(listed, [&](const jet::RowView& row) { return row.textIs(name, table); });
    const std::size_t column = jet::systemColumn(listed, u"LvProp", jet::ColumnType::ole);
    objects.update(places.at(0), std::vector<jet::Assignment>{{column, block}});
}
inline void put(jet::Database& database, std::u16string_view table, const Block& block)
{
    if (!block.groups.empty()) put(database, table, bytesOf(block));
}

} // namespace properties
