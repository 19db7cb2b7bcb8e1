#include "store/postgres/carry.h"

#include "files/error.h"
#include "files/journal_name.h"
#include "files/language.h"
#include "files/quoted_path.h"
#include "mill/names.h"
#include "mill/tables.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/postgres/file_rows.h"
#include "store/postgres/leave.h"
#include "store/postgres/row_piles.h"
#include "store/postgres/schema.h"
#include "store/postgres/server_rows.h"
#include "store/postgres/server_settings.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace postgres {
namespace {

using files::said;
using Path = std::filesystem::path;

/// What is to be done to the rows of a table on the server.
struct Work {
    std::vector<std::string> added;
    std::vector<std::pair<int, std::string>> changed; ///< a customer's other terms
    std::vector<int> gone;
};

Work workOn(const std::vector<ServerLine>& there, const std::vector<std::string>& wanted)
{
    Work work;
    RowPile pile(wanted);
    for (const ServerLine& each : there)
        if (!pile.take(each.line)) work.gone.push_back(each.row);
    work.added = missingFrom(textsOf(there), wanted);
    return work;
}

/// A customer who is there with other terms is changed, not taken away and made anew.
void pairByName(Work& work, const std::vector<ServerLine>& there)
{
    std::unordered_map<std::string, std::vector<int>> gone;
    std::unordered_map<int, std::string> names;
    for (const ServerLine& each : there) names[each.row] = nameIn(each.line);
    for (const int row : work.gone) gone[names[row]].push_back(row);
    std::vector<std::string> added;
    for (std::string& line : work.added) {
        const auto found = gone.find(nameIn(line));
        if (found == gone.end() || found->second.empty()) {
            added.push_back(std::move(line));
            continue;
        }
        work.changed.emplace_back(found->second.back(), std::move(line));
        found->second.pop_back();
    }
    work.added = std::move(added);
    work.gone.clear();
    for (const auto& [name, rows] : gone) work.gone.insert(work.gone.end(), rows.begin(), rows.end());
}

void changeCustomers(Connection& connection, const std::vector<std::pair<int, std::string>>& changed, Count& count)
{
    for (const auto& [row, line] : changed) {
        const auto fields = fieldsOf(line);
        connection.ask("update presva.cari set yuzde = $2, kap = $3, nakit = $4 where satir = $1",
                       {Parameter(std::to_string(row)), fields.at(1), fields.at(2), fields.at(3)});
        count.step();
    }
}

void remove(Connection& connection, const char* statement, const std::vector<int>& rows)
{
    if (rows.empty()) return;
    std::string list = "{";
    for (const int row : rows) list += (list.size() > 1 ? "," : "") + std::to_string(row);
    connection.ask(statement, {Parameter(list + "}")});
}

void refuseGone(std::size_t customersGone, std::size_t pressingsGone)
{
    if (customersGone + pressingsGone == 0) return;
    throw ServerError(
        said("Sunucuda bu dosyada olmayan kayıtlar var: ", "The server has rows that this file has not: ") +
        jet::toUtf8(mill::Cari::table) + " " + plural(customersGone) + ", " + jet::toUtf8(mill::Hareket::table) + " " +
        plural(pressingsGone) +
        said(". Dosya doğruysa --delete yes ile onlar sunucudan silinir; eski bir dosyaysa vazgeçin. Hiçbir "
             "şey değiştirilmedi.",
             ". Where the file is right, --delete yes takes them from the server; give up where it is an "
             "old one. Nothing was changed."));
}

/// Where a counter has left a register, or was never in it with this file, its pressings stand there all the same.
void refuseShared(Connection& connection, const std::vector<std::string>& added)
{
    const auto registers = connection.ask("select sayac from presva.sayaclar where ortak order by 1");
    if (registers.empty()) return;
    std::optional<double> from, to;
    for (const std::string& line : added) {
        const auto moment = fieldsOf(line).front();
        if (!moment) continue;
        from = std::min(from.value_or(numberIn(*moment)), numberIn(*moment));
        to = std::max(to.value_or(numberIn(*moment)), numberIn(*moment));
    }
    if (!from) return;
    std::string names;
    std::vector<std::string> there;
    for (const ServerRow& row : registers) {
        const std::string name = row[0].value_or("");
        const std::vector<std::string> lines = linesOfRegister(connection, pressings(), name, *from, *to);
        if (missingFrom(lines, added).size() < added.size()) names += (names.empty() ? "" : ", ") + name;
        there.insert(there.end(), lines.begin(), lines.end());
    }
    const std::size_t alone = missingFrom(there, added).size();
    if (alone == added.size()) return;
    throw ServerError(
        said("Dosyada ortak defterde de duran sıkımlar var: ", "The file has pressings that a shared register has: ") +
        std::to_string(added.size() - alone) + " (" + names +
        said("). Kopya olarak da aktarılsalar büro onları iki kez sayardı. Sayaç bu defterdeyse Sunucu.ini'ye Defter "
             "satırını yazın; defterden ayrıldıysa kopyasına başka bir veritabanı verin (Veritabani). Hiçbir şey "
             "aktarılmadı.",
             "). As a copy, too, an office would count them twice. Where the counter is in this register, write the "
             "line "
             "Defter into Sunucu.ini; where it has left, give its copy another database (Veritabani). Nothing was "
             "carried over."));
}

// ---- from the server ----

struct Books {
    std::vector<std::string> customers;
    std::vector<std::string> pressings;
    std::optional<Place> place; ///< of a register that counters share
};

Books booksOn(Connection& connection, const ServerSettings& settings)
{
    ServerTransaction moment(connection, "begin isolation level repeatable read read only");
    Books books{textsOf(linesOn(connection, customers())), textsOf(linesOn(connection, pressings())), {}};
    if (!settings.book.empty()) books.place = placeOn(connection, settings.book);
    moment.commit();
    return books;
}

Books booksIn(jet::Database& database)
{
    return {linesIn(database.table(mill::Cari::table), customers()),
            linesIn(database.table(mill::Hareket::table), pressings()),
            {}};
}

/// The books as they stand at one moment, whether the program is running or not.
Books booksNow(files::Disk& disk, const Path& file)
{
    const auto database = jet::Database::open(disk, file, jet::Pager::Mode::readOnly);
    return booksIn(*database);
}

void removeWithJournal(files::Disk& disk, const Path& file)
{
    for (const Path& each : {file, files::journalOf(file)})
        if (disk.exists(each)) disk.remove(each);
}

void refuseToReplace(files::Disk& disk, const Path& file)
{
    if (disk.exists(file))
        throw files::Error(files::Fault::exists,
                           files::quotedPath(file) +
                               said(" zaten var; başka bir ad verin.", " is there already; give another name."));
}

/// What an earlier try has brought into the file in the making; nothing when that cannot be gone on with.
std::optional<Books> begun(files::Disk& disk, const Path& part, const Books& wanted)
{
    if (!disk.exists(part)) return std::nullopt;
    try {
        const auto database = jet::Database::open(disk, part, jet::Pager::Mode::readWrite);
        Books there = booksIn(*database);
        const bool fits = missingFrom(wanted.customers, there.customers).empty() &&
                          missingFrom(wanted.pressings, there.pressings).empty();
        return fits ? std::optional(std::move(there)) : std::nullopt;
    } catch (const files::Error& error) {
        if (error.fault() == files::Fault::inUse) throw;
        return std::nullopt; // not a file that we could have made
    }
}

void write(jet::Database& database, const std::vector<std::string>& lines, const TableShape& shape, Count& count)
{
    jet::Table& table = database.table(shape.name);
    for (std::size_t at = 0; at < lines.size();) {
        jet::Transaction change(database.pager());
        for (const std::size_t end = std::min(at + rowsAtOnce, lines.size()); at < end; ++at) {
            table.insert(assignmentsOf(lines[at], shape, table));
            count.step();
        }
        change.commit();
    }
}

/// Throws unless the finished file is sound and has these rows.
void verify(files::Disk& disk, const Path& part, const Books& wanted)
{
    const auto database = jet::Database::open(disk, part, jet::Pager::Mode::readOnly);
    const jet::CheckResult result = jet::checkDatabase(*database);
    if (!result.ok()) throw files::Error(files::Fault::damaged, result.faults.front());
    const Books there = booksIn(*database);
    requireSame(there.customers, wanted.customers, customers());
    requireSame(there.pressings, wanted.pressings, pressings());
}

} // namespace

Carried toServer(files::Disk& disk, const ServerSettings& settings, const Path& file, const ToServer& options,
                 const CarryProgress& progress)
{
    requireNoOtherRegister(disk, file, {});
    Connection connection(settings, options.user);
    bringForward(connection);
    requireNoRegisterOf(connection, settings.counter);
    writeRowsOf(connection, settings);
    const Books wanted = booksNow(disk, file);
    const std::vector<ServerLine> customersThere = linesOn(connection, customers());
    const std::vector<ServerLine> pressingsThere = linesOn(connection, pressings());
    Work onCustomers = workOn(customersThere, wanted.customers);
    pairByName(onCustomers, customersThere);
    const Work onPressings = workOn(pressingsThere, wanted.pressings);
    refuseShared(connection, onPressings.added);
    if (!options.removeGone) refuseGone(onCustomers.gone.size(), onPressings.gone.size());
    makeNameKnown(connection, settings.rowsOf());

    Count count(progress, onCustomers.added.size() + onCustomers.changed.size() + onPressings.added.size());
    {
        ServerTransaction change(connection);
        remove(connection, "delete from presva.cari where satir = any($1::integer[])", onCustomers.gone);
        remove(connection, "delete from presva.hareket where satir = any($1::integer[])", onPressings.gone);
        changeCustomers(connection, onCustomers.changed, count);
        change.commit();
    }
    addRows(connection, onCustomers.added, customers(), settings.rowsOf(), count);
    addRows(connection, onPressings.added, pressings(), settings.rowsOf(), count);

    requireSame(textsOf(linesOn(connection, customers())), wanted.customers, customers());
    requireSame(textsOf(linesOn(connection, pressings())), wanted.pressings, pressings());
    connection.ask("update presva.sayaclar set aktarildi = now() where sayac = $1", {settings.rowsOf()});
    return {wanted.customers.size(), wanted.pressings.size(), count.done(),
            onCustomers.gone.size() + onPressings.gone.size()};
}

Carried fromServer(files::Disk& disk, const ServerSettings& settings, const Path& file, const std::string& user,
                   jet::DateTime now, const CarryProgress& progress)
{
    refuseToReplace(disk, file);
    Connection connection(settings, user);
    requireSchema(connection);
    connection.ask("select set_config('presva.sayac', $1, false)", {settings.rowsOf()});
    const Books wanted = booksOn(connection, settings);

    Path part = file;
    part += ".aktarim";
    std::optional<Books> there = begun(disk, part, wanted);
    if (!there) {
        removeWithJournal(disk, part);
        mill::createDatabase(disk, part, jet::turkish, now);
        there.emplace();
    }
    const Books missing{
        missingFrom(there->customers, wanted.customers), missingFrom(there->pressings, wanted.pressings), {}};
    Count count(progress, missing.customers.size() + missing.pressings.size());
    {
        const auto database = jet::Database::open(disk, part, jet::Pager::Mode::readWrite);
        write(*database, missing.customers, customers(), count);
        write(*database, missing.pressings, pressings(), count);
        if (wanted.place) {
            jet::Transaction change(database->pager());
            putPlace(*database, *wanted.place, now);
            change.commit();
        }
    }
    verify(disk, part, wanted);
    refuseToReplace(disk, file);
    disk.rename(part, file);
    disk.syncFolder(file.parent_path());
    return {wanted.customers.size(), wanted.pressings.size(), count.done(), 0};
}

} // namespace postgres
