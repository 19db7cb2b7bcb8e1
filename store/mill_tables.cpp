#include "store/mill_tables.h"

#include "files/part_file.h"

#include <algorithm>
#include <string_view>

namespace store {

namespace {

constexpr std::uint16_t longestName = 100;     ///< characters of a customer's name: its index keys stay short
constexpr std::uint16_t longestContainer = 50; ///< characters of a container's name

jet::NewColumn text(const char16_t* name, std::uint16_t size) { return {name, jet::ColumnType::text, size}; }
jet::NewColumn number(const char16_t* name) { return {name, jet::ColumnType::doubleFloat}; }
jet::NewColumn date(const char16_t* name) { return {name, jet::ColumnType::dateTime}; }

} // namespace

void createMillTables(jet::Database& database, jet::DateTime now)
{
    jet::Transaction change(database.pager());
    database.createTable(
        u"Cari", {text(u"Unvan", longestName), number(u"Yuzde"), text(u"Kap", longestContainer), number(u"Nakit")}, {},
        now);
    // Reports ask for periods.
    jet::NewIndex byDate;
    byDate.name = u"Tarih";
    byDate.columns = {{u"Tarih", true}};
    database.createTable(u"Hareket",
                         {date(u"Tarih"), number(u"Zeytin"), number(u"Yağ"), number(u"Yuzde"), number(u"HakTut"),
                          number(u"Nakit"), text(u"CariHar", longestName)},
                         {byDate}, now);
    change.commit();
}

std::u16string millTableName(const std::vector<jet::Column>& columns)
{
    static const std::vector<std::u16string_view> customers = {u"Unvan", u"Yuzde", u"Kap", u"Nakit"};
    static const std::vector<std::u16string_view> journal = {u"Tarih",  u"Zeytin", u"Yağ",    u"Yuzde",
                                                             u"HakTut", u"Nakit",  u"CariHar"};
    const auto named = [&](const std::vector<std::u16string_view>& names) {
        return columns.size() >= names.size() &&
               std::equal(names.begin(), names.end(), columns.begin(),
                          [](std::u16string_view name, const jet::Column& column) { return column.name == name; });
    };
    return named(customers) ? u"Cari" : named(journal) ? u"Hareket" : u"";
}

void createMillDatabase(jet::Disk& disk, const std::filesystem::path& path, jet::Collation collation, jet::DateTime now)
{
    // A database without its two tables would open, and fail the mill later.
    jet::PartFile part(disk, path);
    jet::Database::create(disk, part.path(), collation, now);
    createMillTables(*jet::Database::open(disk, part.path()), now);
    part.publish();
}

} // namespace store
