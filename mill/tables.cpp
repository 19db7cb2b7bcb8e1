#include "mill/tables.h"

#include "mill/names.h"

#include <algorithm>

namespace mill {
namespace {

constexpr std::uint16_t longestName = 100;     ///< characters of a customer's name: its index keys stay short
constexpr std::uint16_t longestContainer = 50; ///< characters of a container's name

/// Columns of numbers under those names; the few that hold something else are given their type afterwards.
template <std::size_t count> std::vector<jet::NewColumn> numbers(const std::array<std::u16string_view, count>& names)
{
    std::vector<jet::NewColumn> columns;
    columns.reserve(count);
    for (const std::u16string_view name : names)
        columns.push_back({std::u16string(name), jet::ColumnType::doubleFloat});
    return columns;
}

void makeText(jet::NewColumn& column, std::uint16_t size)
{
    column.type = jet::ColumnType::text;
    column.size = size;
}

} // namespace

void createTables(jet::Database& database, jet::DateTime now)
{
    std::vector<jet::NewColumn> customers = numbers(Cari::fields);
    makeText(customers[Cari::Unvan], longestName);
    makeText(customers[Cari::Kap], longestContainer);
    std::vector<jet::NewColumn> journal = numbers(Hareket::fields);
    journal[Hareket::Tarih].type = jet::ColumnType::dateTime;
    makeText(journal[Hareket::CariHar], longestName);
    // Reports ask for periods.
    jet::NewIndex byDate;
    byDate.name = Hareket::fields[Hareket::Tarih];
    byDate.columns = {{byDate.name, true}};

    jet::Transaction change(database.pager());
    database.createTable(std::u16string(Cari::table), customers, {}, now);
    database.createTable(std::u16string(Hareket::table), journal, {byDate}, now);
    change.commit();
}

std::u16string tableNamed(const std::vector<jet::Column>& columns)
{
    const auto named = [&](const auto& names) {
        return columns.size() >= names.size() &&
               std::equal(names.begin(), names.end(), columns.begin(),
                          [](std::u16string_view name, const jet::Column& column) { return column.name == name; });
    };
    return std::u16string(named(Cari::fields)      ? Cari::table
                          : named(Hareket::fields) ? Hareket::table
                          : named(Giden::fields)   ? Giden::table
                          : named(Durum::fields)   ? Durum::table
                                                   : u"");
}

void createDatabase(files::Disk& disk, const std::filesystem::path& path, jet::Collation collation, jet::DateTime now)
{
    // A database without its two tables would open, and fail the mill later.
    jet::Database::create(disk, path, collation, now, [now](jet::Database& database) { createTables(database, now); });
}

} // namespace mill
