#include "store/postgres/shared_tables.h"

#include <algorithm>
#include <vector>

namespace postgres {
namespace {

constexpr std::uint16_t longestName = 100;    // a customer's, as the server takes it
constexpr std::uint16_t longestRegister = 80; // letters beyond the basic plane count twice
constexpr std::uint16_t identityLetters = 36;
constexpr std::uint16_t shortText = 50;

jet::NewColumn text(std::u16string_view name, std::uint16_t size)
{
    return {std::u16string(name), jet::ColumnType::text, size};
}

/// Where they are missing: what was saved of a damaged file may have one of the two.
void createTables(jet::Database& database, jet::DateTime now)
{
    if (!database.hasTable(Giden::table))
        database.createTable(std::u16string(Giden::table),
                             {{std::u16string(Giden::fields[Giden::Sira]), jet::ColumnType::doubleFloat},
                              text(Giden::fields[Giden::Kimlik], identityLetters),
                              text(Giden::fields[Giden::Ne], shortText),
                              text(Giden::fields[Giden::Unvan], longestName),
                              {std::u16string(Giden::fields[Giden::Veri]), jet::ColumnType::memo}},
                             {}, now);
    if (!database.hasTable(Durum::table))
        database.createTable(std::u16string(Durum::table),
                             {text(Durum::fields[Durum::Defter], longestRegister),
                              text(Durum::fields[Durum::Kimlik], identityLetters),
                              {std::u16string(Durum::fields[Durum::Sira]), jet::ColumnType::doubleFloat},
                              text(Durum::fields[Durum::Iz], shortText)},
                             {}, now);
}

void empty(jet::Table& table)
{
    std::vector<jet::RowId> rows;
    table.forEachRow([&](jet::RowId id, const jet::RowView&) {
        rows.push_back(id);
        return true;
    });
    for (const jet::RowId id : rows) table.erase(id);
}

std::string textOf(const jet::Value& value)
{
    const auto* const found = std::get_if<std::u16string>(&value);
    return found != nullptr ? jet::toUtf8(*found) : std::string();
}

} // namespace

std::optional<Place> placeIn(jet::Database& database)
{
    if (!database.hasTable(Durum::table)) return std::nullopt;
    std::optional<Place> found;
    database.table(Durum::table).forEachRow([&](jet::RowId, const jet::RowView& row) {
        const jet::Value number = row.value(Durum::Sira);
        const auto* const digits = std::get_if<double>(&number);
        found = Place{textOf(row.value(Durum::Defter)), textOf(row.value(Durum::Kimlik)),
                      digits != nullptr ? static_cast<std::int64_t>(*digits) : 0, textOf(row.value(Durum::Iz))};
        return false;
    });
    return found;
}

void putPlace(jet::Database& database, const Place& place, jet::DateTime now)
{
    createTables(database, now);
    jet::Table& table = database.table(Durum::table);
    empty(table);
    empty(database.table(Giden::table));
    table.insert({{Durum::Defter, jet::fromUtf8(place.name)},
                  {Durum::Kimlik, jet::fromUtf8(place.identity)},
                  {Durum::Sira, static_cast<double>(place.number)},
                  {Durum::Iz, jet::fromUtf8(place.mark)}});
}

std::vector<WaitingNote> notesIn(jet::Database& database)
{
    std::vector<WaitingNote> notes;
    if (!database.hasTable(Giden::table)) return notes;
    database.table(Giden::table).forEachRow([&](jet::RowId, const jet::RowView& row) {
        const jet::Value number = row.value(Giden::Sira);
        const auto* const digits = std::get_if<double>(&number);
        notes.push_back({digits != nullptr ? *digits : 0, textOf(row.value(Giden::Kimlik)),
                         textOf(row.value(Giden::Veri)),
                         textOf(row.value(Giden::Ne)) == jet::toUtf8(Giden::pressingComes)});
        return true;
    });
    std::ranges::stable_sort(notes, {}, &WaitingNote::number);
    return notes;
}

void Waiting::add(const WaitingNote& note)
{
    ++changes;
    pressings += note.bringsPressing ? 1 : 0;
}

Waiting waitingIn(jet::Database& database)
{
    Waiting found;
    for (const WaitingNote& note : notesIn(database)) found.add(note);
    return found;
}

void takePlaceAway(jet::Database& database)
{
    if (database.hasTable(Durum::table)) empty(database.table(Durum::table));
}

} // namespace postgres
