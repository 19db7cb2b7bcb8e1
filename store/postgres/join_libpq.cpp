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
#include "store/postgres/waiting_slips.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

namespace postgres {
namespace {

using files::said;
using Lines = std::vector<std::string>;

enum class Standing {
    stranger, ///< the file is in no register, or in one that is no more
    ahead,    ///< the server comes from an old copy: it is this file's register, and has not what the file knows
    behind,   ///< it is in this register, and has not taken everything in, or brings something
    atTheEnd  ///< it is in this register, and should have its rows
};

Standing standingOf(Connection& connection, jet::Database& database, const std::string& name)
{
    const std::optional<Place> place = placeIn(database);
    const Place end = placeOn(connection, name);
    if (!place || place->identity != end.identity) return Standing::stranger;
    if (place->number > 0) {
        const auto line = connection.ask("select zaman::text from presva.gecmis where sayac = $1 and sira = $2",
                                         {name, std::to_string(place->number)});
        if (line.empty() || line[0][0] != place->mark) return Standing::ahead;
    }
    return place->number == end.number && waitingIn(database).changes == 0 ? Standing::atTheEnd : Standing::behind;
}

[[noreturn]] void refuseSecondJoin(Standing standing)
{
    const char* const compared =
        standing == Standing::atTheEnd ? said(", her satırı aynı", ", and has all of its rows") : "";
    throw ServerError(
        std::string(said("Bu dosya ortak defterde zaten", "This file is in the shared register already")) + compared +
        said("; sayaç onu kendisi günceller. Hiçbir kayıt değiştirilmedi.",
             "; the counter keeps it up to date by itself. No row was changed."));
}

void refuseDifferent(std::size_t inFile, std::size_t onServer)
{
    throw ServerError(
        said("Bu dosya ortak defterde, ama satırları tutmuyor: yalnız dosyada olan ",
             "This file is in the shared register, but has not its rows: in the file alone ") +
        std::to_string(inFile) + said(", yalnız sunucuda olan ", ", on the server alone ") + std::to_string(onServer) +
        said(". --merge yes ile satırlarıyla yeniden girer; yalnız dosyada olanlar bütün sayaçlara gider. Dosya "
             "yanlışsa "
             "from-server ile yenisini alın. Hiçbir kayıt değiştirilmedi.",
             ". With --merge yes it joins again, by its rows; those in the file alone go to all counters. Where the "
             "file is wrong, take a new one by from-server. No row was changed."));
}

/// Takes the rows out of `wanted` that the register had once. How many.
std::size_t takeGone(const Lines& gone, Lines& wanted)
{
    RowPile pile(gone);
    return std::erase_if(wanted, [&](const std::string& line) { return pile.take(line); });
}

/// The same for customers, by their names; one whose pressings are carried is needed.
std::size_t takeGoneCustomers(const Lines& gone, const Lines& newPressings, Lines& wanted)
{
    std::set<std::string> names, needed;
    for (const std::string& line : gone) names.insert(nameIn(line));
    for (const std::string& line : newPressings) needed.insert(line.substr(line.rfind('\t') + 1));
    return std::erase_if(wanted, [&](const std::string& line) {
        return names.contains(nameIn(line)) && !needed.contains(nameIn(line));
    });
}

void refuseDeleted(std::size_t ofCustomers, std::size_t ofPressings)
{
    throw ServerError(
        said("Dosyada bu defterden silinmiş kayıtlar var: ", "The file has what was deleted from this "
                                                             "register: ") +
        std::to_string(ofCustomers) + said(" cari, ", " customers, ") + std::to_string(ofPressings) +
        said(" sıkım. Dosyadan da gitsinler: --deleted drop; bütün sayaçlara geri gelsinler: --deleted "
             "keep. Hiçbir şey değiştirilmedi.",
             " pressings. --deleted drop takes them out of the file, too; --deleted keep brings them back "
             "to all counters. Nothing was changed."));
}

/// A mistyped name would be a register of its own, which nobody else sees.
void requireKnownName(Connection& connection, const std::string& name, bool create)
{
    std::string others;
    for (const ServerRow& row :
         connection.ask("select s.sayac, s.ortak, exists (select from presva.cari c where c.sayac = s.sayac) or exists "
                        "(select from "
                        "presva.hareket h where h.sayac = s.sayac) from presva.sayaclar s order by 1")) {
        const bool shared = row[1] == "t";
        const bool hasRows = row[2] == "t";
        if (row[0] == name && !shared && hasRows)
            throw ServerError(said("Sunucuda bu adda bir sayacın kopyası var; deftere başka bir ad verin. Hiçbir şey "
                                   "değiştirilmedi.",
                                   "The server has a copy of a counter's books under that name; give the register "
                                   "another one. Nothing was changed."));
        if (row[0] == name && shared) return;
        // A name without rows, of a copy that was refused or a joining that was cut off, is nobody's register.
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

/// Only what the register has, too, or had until somebody deleted it: a copy may be all that is left of another season.
void dropCopy(Connection& connection, const std::string& counter, const std::string& name)
{
    ServerTransaction change(connection);
    const auto rows = connection.ask(
        "select count(*) from (select tarih, zeytin, yag, yuzde, haktut, nakit, carihar "
        "from presva.hareket where sayac = $1 except all "
        "(select tarih, zeytin, yag, yuzde, haktut, nakit, carihar from presva.hareket where sayac = $2 union all "
        "select (eski ->> 'tarih')::float8, (eski ->> 'zeytin')::float8, (eski ->> 'yag')::float8, "
        "(eski ->> 'yuzde')::float8, (eski ->> 'haktut')::float8, (eski ->> 'nakit')::float8, eski ->> 'carihar' "
        "from presva.gecmis where sayac = $2 and tablo = 'hareket' and ne = 'DELETE')) alone",
        {counter, name});
    if (const std::string alone = rows[0][0].value_or(""); alone != "0")
        throw ServerError(said("Bu sayacın sunucudaki kopyasında defterde olmayan ",
                               "The copy of this counter's books on the server has ") +
                          alone +
                          said(" sıkım var: kopya silinmedi. Sunucu.ini'de sayaca başka bir ad verin (Sayac) ve "
                               "komutu yeniden çalıştırın; dosyanın satırları deftere girdi.",
                               " pressings that the register has not: it was not taken away. Give the counter another "
                               "name in Sunucu.ini (Sayac) and give the command again; the register has the rows of "
                               "the file."));
    connection.ask("delete from presva.hareket where sayac = $1", {counter});
    connection.ask("delete from presva.cari where sayac = $1", {counter});
    change.commit();
}

[[noreturn]] void refuseNarrow(const jet::Table& table, const std::u16string& what)
{
    throw files::Error(
        files::Fault::badValue,
        jet::toUtf8(table.name()) + ", " + jet::toUtf8(what) +
            said(": bu sütun öteki sayaçların yazacaklarını almaz. Dosyadaki satırlar deftere girdi; deftere bağlı "
                 "yeni bir dosya için presva-mdb from-server, sonra onu Yag.mdb yerine koyun (docs/sunucu.md).",
                 ": this column does not take what other counters will enter. The register has the rows of the "
                 "file; presva-mdb from-server writes a new one that belongs to it, to be put in the place of "
                 "Yag.mdb."));
}

bool holds(const jet::Column& column, const FieldShape& shape)
{
    if (column.required) return false;
    if (shape.kind == Kind::moment) return column.type == jet::ColumnType::dateTime;
    if (shape.kind == Kind::number) return column.type == jet::ColumnType::doubleFloat;
    if (!column.emptyTextAllowed) return false;
    return column.type == jet::ColumnType::memo ||
           (column.type == jet::ColumnType::text && column.length >= 2 * shape.longest);
}

/// What other counters enter must fit into the columns of the file, to the bit: else it could not come in, or would be
/// another value here.
void requireWideColumns(const jet::Table& table, const TableShape& shape)
{
    for (const FieldShape& each : shape.fields) {
        const jet::Column& column = table.columns().at(table.columnNamed(each.name).value());
        if (!holds(column, each)) refuseNarrow(table, column.name);
    }
    for (const jet::Index& each : table.indexes()) {
        // A column that numbers its rows itself takes every row.
        const bool takesAll =
            (!each.unique && !each.required) || std::ranges::any_of(each.columns, [&](const jet::IndexColumn& part) {
                const jet::Column& column = table.columns().at(part.column);
                return column.autoNumber || column.autoGuid;
            });
        if (!takesAll) refuseNarrow(table, table.columns().at(each.columns.front().column).name);
    }
}

/// The file is in the register already; the copy that stands beside it goes alone.
Carried dropCopyBesideIt(Connection& connection, jet::Database& database, const std::string& counter,
                         const std::string& name, std::size_t rows)
{
    if (waitingIn(database).changes > 0)
        throw ServerError(said("Sunucunun daha duymadığı değişiklikler bekliyor: kopya silinmedi. Programı açın, alt "
                               "satırda \"Sunucu: bağlı\" yazınca kapatıp yeniden deneyin.",
                               "Changes wait that the server has not heard of: the copy was not taken away. Start the "
                               "program, close it when its lowest line says \"Sunucu: bağlı\", and try again."));
    dropCopy(connection, counter, name);
    return {.removed = rows, .compared = false};
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
    if (name != settings.counter) requireNoRegisterOf(connection, settings.counter);
    const std::size_t ofCopy = name == settings.counter ? 0 : rowsOfCopy(connection, settings.counter);
    if (ofCopy > 0 && !options.dropCopy) refuseCopy(settings.counter, ofCopy);
    writeRowsOf(connection, settings);
    makeNameKnown(connection, name);
    connection.ask("update presva.sayaclar set ortak = true where sayac = $1 and not ortak", {name});
    // No counter brings a change until this line ends: a customer whom one adds now would be there twice.
    connection.ask("select pg_advisory_lock(20011207)");
    const auto database = jet::Database::open(disk, file);
    const Standing standing = standingOf(connection, *database, name);
    const bool joined = standing == Standing::behind || standing == Standing::atTheEnd;
    if (joined && ofCopy > 0) return dropCopyBesideIt(connection, *database, settings.counter, name, ofCopy);
    if (standing == Standing::behind) refuseSecondJoin(standing);

    const Lines customersHere = linesIn(database->table(mill::Cari::table), customers());
    const Lines pressingsHere = linesIn(database->table(mill::Hareket::table), pressings());
    const Lines customersThere = textsOf(linesOn(connection, customers()));
    const Lines pressingsThere = textsOf(linesOn(connection, pressings()));
    Lines newCustomers = customersMissingFrom(customersThere, customersHere);
    Lines newPressings = missingFrom(pressingsThere, pressingsHere);
    const std::size_t onlyThere = missingFrom(pressingsHere, pressingsThere).size();
    if (standing == Standing::atTheEnd) {
        const std::size_t here = newPressings.size() + missingFrom(customersThere, customersHere).size();
        const std::size_t there = onlyThere + missingFrom(customersHere, customersThere).size();
        if (here + there == 0) refuseSecondJoin(standing);
        if (!options.merge) refuseDifferent(here, there);
    }
    if (options.deleted != Deleted::keep) {
        const std::size_t ofPressings = takeGone(goneLinesOn(connection, pressings()), newPressings);
        const std::size_t ofCustomers =
            takeGoneCustomers(goneLinesOn(connection, customers()), newPressings, newCustomers);
        if (ofPressings + ofCustomers > 0 && options.deleted == Deleted::ask) refuseDeleted(ofCustomers, ofPressings);
    }
    if (!newPressings.empty() && onlyThere > 0 && !options.merge) refuseUnaskedMerge(newPressings.size(), onlyThere);

    // Another counter may wait with changes that the copy has forgotten, and that this file brings as rows: it must
    // join by its rows, too.
    if (standing == Standing::ahead)
        connection.ask("update presva.sayaclar set kimlik = gen_random_uuid() where sayac = $1", {name});
    // Cut off behind the rows that go up, the file must not know its place any more: it would take them in as
    // another's.
    if (standing == Standing::atTheEnd) {
        jet::Transaction leaving(database->pager());
        takePlaceAway(*database);
        leaving.commit();
    }
    Count count(progress, newCustomers.size() + newPressings.size() + onlyThere);
    addRows(connection, newCustomers, customers(), name, count);
    const Lines asRows = bringWaitingSlips(connection, settings, *database, pressingsThere, newPressings);
    for (std::size_t slips = newPressings.size() - asRows.size(); slips > 0; --slips) count.step();
    addRows(connection, asRows, pressings(), name, count);
    if (ofCopy > 0) dropCopy(connection, settings.counter, name);
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
