#include "store/postgres/join.h"

#include "files/error.h"
#include "files/language.h"
#include "mill/names.h"
#include "store/jet/database/database.h"
#include "store/postgres/file_rows.h"
#include "store/postgres/row_piles.h"
#include "store/postgres/schema.h"
#include "store/postgres/server_rows.h"
#include "store/postgres/shared_tables.h"

#include <set>
#include <utility>
#include <vector>

namespace postgres {
namespace {

using files::said;
using Lines = std::vector<std::string>;

void refuseSecondJoin(Connection& connection, const std::string& name, const std::optional<Place>& place)
{
    if (!place || place->identity != placeOn(connection, name).identity) return;
    if (place->number > 0) {
        const auto line = connection.ask("select zaman::text from presva.gecmis where sayac = $1 and sira = $2",
                                         {name, std::to_string(place->number)});
        if (line.empty() || line[0][0] != place->mark) return; // the server comes from an old copy
    }
    throw ServerError(said("Bu dosya ortak defterde zaten; sayaç onu kendisi günceller. Hiçbir şey değiştirilmedi.",
                           "This file is in the shared register already; the counter keeps it up to date by itself. "
                           "Nothing was changed."));
}

void refuseUnaskedMerge(std::size_t inFile, std::size_t onServer)
{
    throw ServerError(said("Dosyada ve sunucudaki defterde birbirinde olmayan sıkımlar var: dosyada ",
                           "File and register have pressings that the other has not: the file ") +
                      std::to_string(inFile) + said(", sunucuda ", ", the server ") + std::to_string(onServer) +
                      said(". Aynı değirmenin defterleriyse --merge yes ile birleştirin. Hiçbir şey değiştirilmedi.",
                           ". Where both are the same mill's, --merge yes joins them. Nothing was changed."));
}

/// Customers by their names: one whom the other place knows is not missing there, whatever the terms.
Lines customersMissingFrom(const Lines& there, const Lines& wanted)
{
    std::set<std::string> names;
    for (const std::string& line : there) names.insert(nameIn(line));
    Lines missing;
    for (const std::string& line : wanted)
        if (!names.contains(nameIn(line))) missing.push_back(line);
    return missing;
}

/// The rows of the table become these. How many had to be written, and how many went.
std::pair<std::uint64_t, std::uint64_t> makeRows(jet::Table& table, const TableShape& shape, const Lines& wanted,
                                                 Count& count)
{
    const std::vector<FileLine> there = fileLinesIn(table, shape);
    Lines lines;
    for (const FileLine& each : there) lines.push_back(each.line);
    RowPile pile(wanted);
    std::uint64_t gone = 0;
    for (const FileLine& each : there) {
        if (pile.take(each.line)) continue;
        table.erase(each.row);
        ++gone;
    }
    const Lines missing = missingFrom(lines, wanted);
    for (const std::string& line : missing) {
        table.insert(assignmentsOf(line, shape, table));
        count.step();
    }
    return {missing.size(), gone};
}

} // namespace

Carried joinRegister(files::Disk& disk, const ServerSettings& settings, const std::filesystem::path& file,
                     const Join& options, jet::DateTime now, const CarryProgress& progress)
{
    const std::string& name = settings.rowsOf();
    Connection connection(settings, options.user);
    bringForward(connection);
    writeRowsOf(connection, settings);
    const auto database = jet::Database::open(disk, file);
    refuseSecondJoin(connection, name, placeIn(*database));

    const Lines customersHere = linesIn(database->table(mill::Cari::table), customers());
    const Lines pressingsHere = linesIn(database->table(mill::Hareket::table), pressings());
    const Lines customersThere = textsOf(linesOn(connection, customers()));
    const Lines pressingsThere = textsOf(linesOn(connection, pressings()));
    const Lines newCustomers = customersMissingFrom(customersThere, customersHere);
    const Lines newPressings = missingFrom(pressingsThere, pressingsHere);
    const std::size_t onlyThere = missingFrom(pressingsHere, pressingsThere).size();
    if (!newPressings.empty() && onlyThere > 0 && !options.merge) refuseUnaskedMerge(newPressings.size(), onlyThere);

    Count count(progress, newCustomers.size() + newPressings.size() + onlyThere);
    addRows(connection, newCustomers, customers(), name, count);
    addRows(connection, newPressings, pressings(), name, count);

    ServerTransaction moment(connection, "begin isolation level repeatable read read only");
    const Lines allCustomers = textsOf(linesOn(connection, customers()));
    const Lines allPressings = textsOf(linesOn(connection, pressings()));
    const Place place = placeOn(connection, name);
    moment.commit();

    jet::Transaction change(database->pager());
    const auto ofCustomers = makeRows(database->table(mill::Cari::table), customers(), allCustomers, count);
    const auto ofPressings = makeRows(database->table(mill::Hareket::table), pressings(), allPressings, count);
    putPlace(*database, place, now);
    requireSame(linesIn(database->table(mill::Cari::table), customers()), allCustomers, customers());
    requireSame(linesIn(database->table(mill::Hareket::table), pressings()), allPressings, pressings());
    change.commit();
    return {allCustomers.size(), allPressings.size(), count.done(), ofCustomers.second + ofPressings.second};
}

} // namespace postgres
