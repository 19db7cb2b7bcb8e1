#include "exchange/linked_tables.h"

#include "files/error.h"
#include "files/language.h"
#include "store/jet/format/system_objects.h"
#include "store/jet/table/catalogue.h"
#include "store/jet/values/names.h"

#include <utility>

namespace exchange {

std::vector<LinkedTable> linkedTablesOf(jet::Database& database)
{
    using jet::ColumnType;
    namespace at = jet::object_columns;
    const jet::Table& objects = database.table(jet::msysObjects);
    const std::size_t type = jet::systemColumn(objects, at::type, ColumnType::integer);
    const std::size_t name = jet::systemColumn(objects, at::name, ColumnType::text);
    const std::size_t foreignName = jet::systemColumn(objects, at::foreignName, ColumnType::text);
    const std::size_t elsewhere = jet::systemColumn(objects, at::file, ColumnType::memo);
    std::vector<LinkedTable> found;
    objects.forEachRow([&](jet::RowId, const jet::RowView& row) {
        const auto kind = row.number(type);
        if (kind != jet::linkToFile && kind != jet::linkToServer) return true;
        LinkedTable table;
        row.text(name, table.name);
        row.text(foreignName, table.foreignName);
        row.text(elsewhere, table.database);
        if (kind == jet::linkToServer) table.database.clear();
        found.push_back(std::move(table));
        return true;
    });
    return found;
}

std::optional<LinkedTable> linkedTableNamed(jet::Database& database, std::string_view name)
{
    const std::u16string wanted = jet::fromUtf8(name);
    for (LinkedTable& each : linkedTablesOf(database))
        if (jet::sameName(each.name, wanted)) return std::move(each);
    return std::nullopt;
}

std::string placeOf(const LinkedTable& table)
{
    const std::string name = "'" + jet::toUtf8(table.foreignName) + "'";
    if (table.database.empty()) return files::said("bir ODBC kaynağındaki ", "of an ODBC source, ") + name;
    return "'" + jet::toUtf8(table.database) + files::said("' dosyasındaki ", "', ") + name;
}

void refuseLinkedTable(jet::Database& database, std::string_view name)
{
    const auto linked = linkedTableNamed(database, name);
    if (!linked) return;
    throw files::Error(files::Fault::unsupported, "'" + jet::toUtf8(linked->name) +
                                                      files::said("' bağlı bir tablo, satırları başka yerde: ",
                                                                  "' is a linked table, its rows are elsewhere: ") +
                                                      placeOf(*linked) +
                                                      files::said("; orada açın.", "; open it there."));
}

} // namespace exchange
