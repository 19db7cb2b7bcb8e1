#include "store/jet/table/catalogue.h"

#include "store/jet/format/doors.h"
#include "store/jet/format/system_objects.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace jet {
namespace {

void readProperties(CatalogueEntry& entry, const RowView& row, std::size_t column)
{
    try {
        const Value value = row.value(column);
        if (const Bytes* bytes = std::get_if<Bytes>(&value)) entry.properties = *bytes;
    } catch (const Error& error) {
        // The table itself is readable without them.
        if (error.fault() != Fault::damaged) throw;
        entry.propertiesLost = true;
    }
}

} // namespace

const char* foreignKind(int type)
{
    static constexpr std::pair<int, const char*> kinds[] = {{4, "bağlı tablo"}, {6, "bağlı tablo"}, {5, "sorgu"},
                                                            {-32768, "form"},   {-32766, "makro"},  {-32764, "rapor"},
                                                            {-32761, "modül"},  {-32756, "sayfa"}};
    const auto kind = std::ranges::find(kinds, type, &std::pair<int, const char*>::first);
    return kind == std::end(kinds) ? nullptr : kind->second;
}

bool isUserObject(std::uint32_t flags) { return (flags & systemMarks) == 0; }

bool isUserTable(std::uint32_t flags, PageNo definition)
{
    const bool isFixed = definition >= firstSystemTable && definition < firstSystemTable + header_layout::systemTables;
    return isUserObject(flags) && !isFixed;
}

std::size_t systemColumn(const Table& table, std::u16string_view name, ColumnType type)
{
    const auto column = table.columnNamed(name);
    if (!column || table.columns()[*column].type != type) {
        throw Error(Fault::damaged, "Dosyanın sistem tablosu " + quotedName(table.name()) +
                                        " bozuk: " + quotedName(name) +
                                        " sütunu yok ya da türü değişik. Dosyanın yedeğini kullanın.");
    }
    return *column;
}

std::vector<CatalogueEntry> readCatalogue(const Table& systemObjects)
{
    const std::size_t id = systemColumn(systemObjects, object_columns::id, ColumnType::longInteger);
    const std::size_t name = systemColumn(systemObjects, object_columns::name, ColumnType::text);
    const std::size_t type = systemColumn(systemObjects, object_columns::type, ColumnType::integer);
    const std::size_t flags = systemColumn(systemObjects, object_columns::flags, ColumnType::longInteger);
    const std::size_t properties = systemColumn(systemObjects, object_columns::properties, ColumnType::ole);

    std::vector<CatalogueEntry> entries;
    systemObjects.forEachRow([&](RowId, const RowView& row) {
        if (row.number(type) != localTable) return true;
        CatalogueEntry entry;
        entry.definition = static_cast<PageNo>(static_cast<std::int64_t>(row.number(id).value_or(0)));
        row.text(name, entry.name);
        const bool listed = std::any_of(entries.begin(), entries.end(), [&](const CatalogueEntry& each) {
            return each.definition == entry.definition;
        });
        if (entry.name.empty() || entry.definition == 0 || listed) return true;
        const auto marks = static_cast<std::uint32_t>(static_cast<std::int64_t>(row.number(flags).value_or(0)));
        entry.user = isUserTable(marks, entry.definition);
        readProperties(entry, row, properties);
        entries.push_back(std::move(entry));
        return true;
    });
    return entries;
}

TableProperties propertiesOf(const CatalogueEntry& entry)
{
    TableProperties properties = tableProperties(entry.properties);
    properties.unreadable = properties.unreadable || entry.propertiesLost;
    return properties;
}

std::vector<LinkedTable> readLinks(const Table& systemObjects)
{
    const std::size_t type = systemColumn(systemObjects, object_columns::type, ColumnType::integer);
    const std::size_t name = systemColumn(systemObjects, object_columns::name, ColumnType::text);
    const std::size_t file = systemColumn(systemObjects, object_columns::file, ColumnType::memo);
    const std::size_t table = systemColumn(systemObjects, object_columns::foreignName, ColumnType::text);
    std::vector<LinkedTable> links;
    systemObjects.forEachRow([&](RowId, const RowView& row) {
        const double kind = row.number(type).value_or(0);
        if (kind != linkToFile && kind != linkToServer) return true;
        LinkedTable link;
        row.text(name, link.name);
        row.text(table, link.table);
        try {
            if (kind == linkToFile) row.text(file, link.file);
        } catch (const Error& error) {
            if (error.fault() != Fault::damaged) throw;
        }
        links.push_back(std::move(link));
        return true;
    });
    return links;
}

} // namespace jet
