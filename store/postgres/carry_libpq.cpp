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
#include "store/postgres/schema.h"
#include "store/postgres/server_rows.h"
#include "store/postgres/server_settings.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace postgres {
namespace {

using files::said;
using Path = std::filesystem::path;

constexpr std::size_t atOnce = 2000; // rows in a change: what a stop in between makes us carry again

std::string plural(std::size_t rows) { return std::to_string(rows) + said(" satır", " rows"); }

/// Rows that one place has and the other has not; of equal ones as many as it has more.
class Surplus {
public:
    explicit Surplus(const std::vector<std::string>& there)
    {
        for (const std::string& line : there) ++counts_[line];
    }
    /// Takes one such row; false when there is none left.
    bool take(const std::string& line)
    {
        const auto found = counts_.find(line);
        if (found == counts_.end() || found->second == 0) return false;
        --found->second;
        return true;
    }

private:
    std::unordered_map<std::string_view, std::size_t> counts_;
};

std::vector<std::string> missingFrom(const std::vector<std::string>& there, const std::vector<std::string>& wanted)
{
    Surplus surplus(there);
    std::vector<std::string> missing;
    for (const std::string& line : wanted)
        if (!surplus.take(line)) missing.push_back(line);
    return missing;
}

std::vector<std::string> textsOf(const std::vector<ServerLine>& lines)
{
    std::vector<std::string> texts;
    texts.reserve(lines.size());
    for (const ServerLine& each : lines) texts.push_back(each.line);
    return texts;
}

/// Throws unless both have the same rows.
void requireSame(const std::vector<std::string>& one, const std::vector<std::string>& other, const TableShape& shape)
{
    const std::size_t differing = missingFrom(one, other).size() + missingFrom(other, one).size();
    if (differing > 0)
        throw files::Error(files::Fault::damaged, jet::toUtf8(shape.name) +
                                                      said(": aktarımdan sonra ", ": after carrying over, ") +
                                                      plural(differing) +
                                                      said(" iki yerde aynı değil. Komutu yeniden çalıştırın.",
                                                           " are not the same in both places. Run the command again."));
}

/// What is to be done to the rows of a table on the server.
struct Work {
    std::vector<std::string> added;
    std::vector<std::pair<int, std::string>> changed; ///< a customer's other terms
    std::vector<int> gone;
};

Work workOn(const std::vector<ServerLine>& there, const std::vector<std::string>& wanted)
{
    Work work;
    Surplus surplus(wanted);
    for (const ServerLine& each : there)
        if (!surplus.take(each.line)) work.gone.push_back(each.row);
    work.added = missingFrom(textsOf(there), wanted);
    return work;
}

std::string nameIn(const std::string& line) { return line.substr(0, line.find('\t')); }

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

/// Tells how far the rows have come, all tables together.
class Count {
public:
    Count(const CarryProgress& progress, std::size_t all) : progress_(progress), all_(std::max<std::size_t>(all, 1)) {}
    void step()
    {
        ++done_;
        if (progress_) progress_(static_cast<int>(done_ * 100 / all_));
    }
    std::uint64_t done() const { return done_; }

private:
    const CarryProgress& progress_;
    std::size_t all_;
    std::size_t done_ = 0;
};

std::string columnsOf(const TableShape& shape)
{
    std::string columns;
    for (const FieldShape& each : shape.fields) columns += (columns.empty() ? "" : ", ") + std::string(each.column);
    return columns;
}

/// Adds rows, each with a number of this counter: none is given twice, also when the row is gone again.
void add(Connection& connection, const std::vector<std::string>& lines, const TableShape& shape,
         const std::string& counter, Count& count)
{
    const std::string statement = std::string("copy ") + shape.table + " (sayac, numara, " + columnsOf(shape) +
                                  (shape.orderColumn != nullptr ? std::string(", ") + shape.orderColumn : "") +
                                  ") from stdin";
    const std::string name = writtenField(counter) + '\t';
    for (std::size_t at = 0; at < lines.size();) {
        const std::size_t end = std::min(at + atOnce, lines.size());
        ServerTransaction change(connection);
        const auto last = connection.ask("update presva.sayaclar set son_numara = son_numara + $2 where sayac = $1 "
                                         "returning son_numara - $2",
                                         {counter, std::to_string(end - at)});
        long long number = std::stoll(last.at(0).at(0).value_or("0"));
        connection.copyIn(statement.c_str(), [&]() -> std::optional<std::string> {
            if (at == end) return std::nullopt;
            count.step();
            const std::string& line = lines[at++];
            std::string written = name + std::to_string(++number);
            written.append(1, '\t').append(line);
            if (shape.orderColumn != nullptr) written.append(1, '\t').append(writtenOrder(line));
            return written;
        });
        change.commit();
    }
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

/// The session is that counter's from here on: its rows alone are read, and the history says so. Two programs at once
/// for one counter would carry every row twice; the lock goes with the session, and one that was cut off ends soon.
void beCounter(Connection& connection, const std::string& counter)
{
    connection.ask("select set_config('presva.sayac', $1, false)", {counter});
    connection.ask("select pg_advisory_lock(20011206, hashtext($1))", {counter}); // any number that nobody else uses
    connection.ask("insert into presva.sayaclar (sayac) values ($1) on conflict do nothing", {counter});
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

// ---- from the server ----

struct Books {
    std::vector<std::string> customers;
    std::vector<std::string> pressings;
};

Books booksOn(Connection& connection)
{
    ServerTransaction moment(connection, "begin isolation level repeatable read read only");
    Books books{textsOf(linesOn(connection, customers())), textsOf(linesOn(connection, pressings()))};
    moment.commit();
    return books;
}

Books booksIn(jet::Database& database)
{
    return {linesIn(database.table(mill::Cari::table), customers()),
            linesIn(database.table(mill::Hareket::table), pressings())};
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
        for (const std::size_t end = std::min(at + atOnce, lines.size()); at < end; ++at) {
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
    Connection connection(settings, options.user);
    bringForward(connection);
    beCounter(connection, settings.counter);
    const Books wanted = booksNow(disk, file);
    const std::vector<ServerLine> customersThere = linesOn(connection, customers());
    const std::vector<ServerLine> pressingsThere = linesOn(connection, pressings());
    Work onCustomers = workOn(customersThere, wanted.customers);
    pairByName(onCustomers, customersThere);
    const Work onPressings = workOn(pressingsThere, wanted.pressings);
    if (!options.removeGone) refuseGone(onCustomers.gone.size(), onPressings.gone.size());

    Count count(progress, onCustomers.added.size() + onCustomers.changed.size() + onPressings.added.size());
    {
        ServerTransaction change(connection);
        remove(connection, "delete from presva.cari where satir = any($1::integer[])", onCustomers.gone);
        remove(connection, "delete from presva.hareket where satir = any($1::integer[])", onPressings.gone);
        changeCustomers(connection, onCustomers.changed, count);
        change.commit();
    }
    add(connection, onCustomers.added, customers(), settings.counter, count);
    add(connection, onPressings.added, pressings(), settings.counter, count);

    requireSame(textsOf(linesOn(connection, customers())), wanted.customers, customers());
    requireSame(textsOf(linesOn(connection, pressings())), wanted.pressings, pressings());
    connection.ask("update presva.sayaclar set aktarildi = now() where sayac = $1", {settings.counter});
    return {wanted.customers.size(), wanted.pressings.size(), count.done(),
            onCustomers.gone.size() + onPressings.gone.size()};
}

Carried fromServer(files::Disk& disk, const ServerSettings& settings, const Path& file, const std::string& user,
                   jet::DateTime now, const CarryProgress& progress)
{
    refuseToReplace(disk, file);
    Connection connection(settings, user);
    requireSchema(connection);
    connection.ask("select set_config('presva.sayac', $1, false)", {settings.counter});
    const Books wanted = booksOn(connection);

    Path part = file;
    part += ".aktarim";
    std::optional<Books> there = begun(disk, part, wanted);
    if (!there) {
        removeWithJournal(disk, part);
        mill::createDatabase(disk, part, jet::turkish, now);
        there.emplace();
    }
    const Books missing{missingFrom(there->customers, wanted.customers),
                        missingFrom(there->pressings, wanted.pressings)};
    Count count(progress, missing.customers.size() + missing.pressings.size());
    {
        const auto database = jet::Database::open(disk, part, jet::Pager::Mode::readWrite);
        write(*database, missing.customers, customers(), count);
        write(*database, missing.pressings, pressings(), count);
    }
    verify(disk, part, wanted);
    refuseToReplace(disk, file);
    disk.rename(part, file);
    disk.syncFolder(file.parent_path());
    return {wanted.customers.size(), wanted.pressings.size(), count.done(), 0};
}

} // namespace postgres
