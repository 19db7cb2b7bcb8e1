#include "store/postgres/join.h"

#include "files/error.h"
#include "files/language.h"
#include "mill/names.h"
#include "store/jet/database/database.h"
#include "store/postgres/file_rows.h"
#include "store/postgres/leave.h"
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

/// True when the server comes from an old copy: it is this file's register, and has not what the file knows.
bool refuseSecondJoin(Connection& connection, const std::string& name, const std::optional<Place>& place)
{
    if (!place || place->identity != placeOn(connection, name).identity) return false;
    if (place->number > 0) {
        const auto line = connection.ask("select zaman::text from presva.gecmis where sayac = $1 and sira = $2",
                                         {name, std::to_string(place->number)});
        if (line.empty() || line[0][0] != place->mark) return true;
    }
    throw ServerError(said("Bu dosya ortak defterde zaten; sayaç onu kendisi günceller. Hiçbir şey değiştirilmedi.",
                           "This file is in the shared register already; the counter keeps it up to date by itself. "
                           "Nothing was changed."));
}

/// A mistyped name would be a register of its own, which nobody else sees.
void requireKnownName(Connection& connection, const std::string& name, bool create)
{
    std::string others;
    for (const ServerRow& row : connection.ask("select sayac, ortak from presva.sayaclar order by sayac")) {
        const bool shared = row[1] == "t";
        if (row[0] == name && !shared)
            throw ServerError(said("Sunucuda bu adda bir sayacın kopyası var; deftere başka bir ad verin. Hiçbir şey "
                                   "değiştirilmedi.",
                                   "The server has a copy of a counter's books under that name; give the register "
                                   "another one. Nothing was changed."));
        if (row[0] == name) return;
        if (shared) others += (others.empty() ? "" : ", ") + row[0].value_or("");
    }
    if (others.empty() || create) return;
    throw ServerError(said("Sunucuda ", "The server has no register ") + name +
                      said(" adında bir defter yok; olanlar: ", "; it has: ") + others +
                      said(". Sunucu.ini'deki Defter satırı doğruysa yeni defter --new yes ile açılır. Hiçbir şey "
                           "değiştirilmedi.",
                           ". Where the line Defter of Sunucu.ini is right, --new yes makes it. Nothing was changed."));
}

/// The books that a counter has carried over as a copy, before it came to share a register.
std::size_t rowsOfCopy(Connection& connection, const std::string& counter)
{
    const auto rows = connection.ask("select (select count(*) from presva.cari where sayac = $1) + "
                                     "(select count(*) from presva.hareket where sayac = $1)",
                                     {counter});
    return std::stoull(rows[0][0].value_or("0"));
}

void refuseCopy(const std::string& counter, std::size_t rows)
{
    throw ServerError(said("Sunucuda bu sayacın (", "The server has a copy of this counter's books (") + counter +
                      said(") kopyası da duruyor, ", "), ") + std::to_string(rows) +
                      said(" satır: büro her sıkımı iki kez sayardı. --delete yes ile kopya silinir (geçmişte kalır). "
                           "Hiçbir şey değiştirilmedi.",
                           " rows: an office would count each pressing twice. --delete yes takes the copy away (the "
                           "history keeps it). Nothing was changed."));
}

void dropCopy(Connection& connection, const std::string& counter)
{
    ServerTransaction change(connection);
    connection.ask("delete from presva.hareket where sayac = $1", {counter});
    connection.ask("delete from presva.cari where sayac = $1", {counter});
    change.commit();
}

/// What other counters enter must fit into the columns of the file, to the bit: else it could not come in, or would be
/// another value here.
void requireWideColumns(const jet::Table& table, const TableShape& shape)
{
    for (const FieldShape& each : shape.fields) {
        const jet::Column& column = table.columns().at(table.columnNamed(each.name).value());
        const bool fits = each.kind == Kind::moment              ? column.type == jet::ColumnType::dateTime
                          : each.kind == Kind::number            ? column.type == jet::ColumnType::doubleFloat
                          : column.type == jet::ColumnType::text ? column.length >= 2 * each.longest
                                                                 : column.type == jet::ColumnType::memo;
        if (fits && !column.required) continue;
        throw files::Error(
            files::Fault::badValue,
            jet::toUtf8(table.name()) + ", " + jet::toUtf8(column.name) +
                said(": bu sütun öteki sayaçların yazacaklarını almaz. Dosyadaki satırlar deftere girdi; deftere bağlı "
                     "yeni bir dosya için presva-mdb from-server, sonra onu Yag.mdb yerine koyun (docs/sunucu.md).",
                     ": this column does not take what other counters will enter. The register has the rows of the "
                     "file; presva-mdb from-server writes a new one that belongs to it, to be put in the place of "
                     "Yag.mdb."));
    }
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
    requireNoOtherRegister(disk, file, name);
    Connection connection(settings, options.user);
    bringForward(connection);
    requireKnownName(connection, name, options.create);
    const std::size_t ofCopy = name == settings.counter ? 0 : rowsOfCopy(connection, settings.counter);
    if (ofCopy > 0 && !options.dropCopy) refuseCopy(settings.counter, ofCopy);
    writeRowsOf(connection, settings);
    connection.ask("update presva.sayaclar set ortak = true where sayac = $1 and not ortak", {name});
    // No counter brings a change until this line ends: a customer whom one adds now would be there twice.
    connection.ask("select pg_advisory_lock(20011207)");
    const auto database = jet::Database::open(disk, file);
    const bool fromOldCopy = refuseSecondJoin(connection, name, placeIn(*database));

    const Lines customersHere = linesIn(database->table(mill::Cari::table), customers());
    const Lines pressingsHere = linesIn(database->table(mill::Hareket::table), pressings());
    const Lines customersThere = textsOf(linesOn(connection, customers()));
    const Lines pressingsThere = textsOf(linesOn(connection, pressings()));
    const Lines newCustomers = customersMissingFrom(customersThere, customersHere);
    const Lines newPressings = missingFrom(pressingsThere, pressingsHere);
    const std::size_t onlyThere = missingFrom(pressingsHere, pressingsThere).size();
    if (!newPressings.empty() && onlyThere > 0 && !options.merge) refuseUnaskedMerge(newPressings.size(), onlyThere);

    // Another counter may wait with changes that the copy has forgotten, and that this file brings as rows: it must
    // join by its rows, too.
    if (fromOldCopy) connection.ask("update presva.sayaclar set kimlik = gen_random_uuid() where sayac = $1", {name});
    Count count(progress, newCustomers.size() + newPressings.size() + onlyThere);
    addRows(connection, newCustomers, customers(), name, count);
    addRows(connection, newPressings, pressings(), name, count);
    if (ofCopy > 0) dropCopy(connection, settings.counter);
    requireWideColumns(database->table(mill::Cari::table), customers());
    requireWideColumns(database->table(mill::Hareket::table), pressings());

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
