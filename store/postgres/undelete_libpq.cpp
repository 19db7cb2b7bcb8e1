#include "store/postgres/undelete.h"

#include "files/language.h"
#include "store/postgres/connection.h"
#include "store/postgres/schema.h"
#include "store/postgres/server_rows.h"

#include <algorithm>
#include <span>
#include <vector>

namespace postgres {
namespace {

using files::said;

/// One deletion of a customer, as the history tells it: his pressings, which go by one change, and his own row, where
/// it went behind them. A counter's deletion leaves the row where another counter has changed it meanwhile.
struct Deletion {
    std::string firstPressing = "0", lastPressing = "0"; ///< lines of the history
    std::string customer = "0";
    std::uint64_t pressings = 0;
    std::string when, who;
};

constexpr std::size_t mostTold = 5;

/// Oldest first.
std::vector<Deletion> deletionsOf(Connection& connection, const std::string& book, const std::string& customer)
{
    std::vector<Deletion> found;
    bool isOpen = false; // the last one may go on: nothing else has become of that customer since
    std::string change;
    for (const ServerRow& line : connection.ask(
             "select sira, tablo, ne, coalesce(kimlik::text, ''), to_char(zaman, 'YYYY-MM-DD HH24:MI:SS'), "
             "coalesce(giren, kullanan) from presva.gecmis where sayac = $1 and tablo in ('cari', 'hareket') "
             "and $2 in (eski ->> 'carihar', eski ->> 'unvan', yeni ->> 'carihar', yeni ->> 'unvan') order by sira",
             {book, customer})) {
        const auto text = [&](std::size_t field) { return line[field].value_or(""); };
        const bool isPressing = text(1) == "hareket";
        if (text(2) != "DELETE") {
            isOpen = false;
            continue;
        }
        if (!isOpen || (isPressing && text(3) != change)) found.emplace_back();
        Deletion& last = found.back();
        last.when = text(4);
        last.who = text(5);
        change = text(3);
        isOpen = isPressing;
        if (!isPressing) {
            last.customer = text(0);
            continue;
        }
        if (last.pressings++ == 0) last.firstPressing = text(0);
        last.lastPressing = text(0);
    }
    return found;
}

/// The pressings of that deletion that come back: of equal ones as many as the register has not got again since, by
/// whatever road. A list of lines of the history, as the server writes it.
struct Missing {
    std::string lines;
    std::uint64_t count = 0;
};

Missing missingOf(Connection& connection, const std::string& book, const std::string& customer,
                  const Deletion& deletion)
{
    const auto rows = connection.ask(
        "with gone as (select g.sira, (g.eski ->> 'tarih')::float8 as tarih, (g.eski ->> 'zeytin')::float8 as zeytin, "
        "(g.eski ->> 'yag')::float8 as yag, (g.eski ->> 'yuzde')::float8 as yuzde, "
        "(g.eski ->> 'haktut')::float8 as haktut, (g.eski ->> 'nakit')::float8 as nakit from presva.gecmis g "
        "where g.sayac = $1 and g.tablo = 'hareket' and g.ne = 'DELETE' and g.eski ->> 'carihar' = $2 "
        "and g.sira between $3::bigint and $4::bigint), "
        "counted as (select gone.*, "
        "row_number() over (partition by tarih, zeytin, yag, yuzde, haktut, nakit order by sira) as nth from gone), "
        "back as (select h.tarih, h.zeytin, h.yag, h.yuzde, h.haktut, h.nakit, count(*) as times "
        "from presva.gecmis g join presva.hareket h on h.satir = g.satir and h.sayac = g.sayac "
        "where g.sayac = $1 and g.tablo = 'hareket' and g.ne = 'INSERT' and g.sira > $4::bigint and h.carihar = $2 "
        "group by 1, 2, 3, 4, 5, 6) "
        "select coalesce(array_agg(c.sira), '{}'), count(*) from counted c where c.nth > coalesce((select b.times "
        "from back b where (b.tarih, b.zeytin, b.yag, b.yuzde, b.haktut, b.nakit) is not distinct from "
        "(c.tarih, c.zeytin, c.yag, c.yuzde, c.haktut, c.nakit)), 0)",
        {book, customer, deletion.firstPressing, deletion.lastPressing});
    return {rows.at(0).at(0).value_or("{}"), std::stoull(rows[0].at(1).value_or("0"))};
}

std::string listed(std::span<const Deletion> deletions)
{
    std::string text;
    for (std::size_t i = deletions.size(); i > 0 && i + mostTold > deletions.size(); --i) {
        const Deletion& each = deletions[i - 1];
        text += (text.empty() ? "" : ", ") + each.when + " (" + std::to_string(each.pressings) +
                said(" sıkım)", " pressings)");
    }
    return text;
}

/// The last one, or the one of that moment.
std::size_t chosen(std::span<const Deletion> deletions, const std::string& customer, const std::string& moment)
{
    if (deletions.empty())
        throw ServerError(customer + said(": bu defterden bu adda kimse silinmemiş. Adı silindiği gibi yazın.",
                                          ": nobody of that name was deleted from this register."));
    if (moment.empty()) return deletions.size() - 1;
    const auto isThat = [&](const Deletion& each) { return each.when == moment; };
    const auto that = std::ranges::find_if(deletions, isThat);
    if (std::ranges::count_if(deletions, isThat) != 1)
        throw ServerError(customer +
                          said(": o anda bu defterden tek bir silmesi yok. Hiçbir şey değiştirilmedi. Silmeleri: ",
                               ": not one deletion from this register is of that moment. Nothing was changed. "
                               "Deletions: ") +
                          listed(deletions) + " UTC.");
    return static_cast<std::size_t>(that - deletions.begin());
}

} // namespace

BroughtBack undelete(const ServerSettings& settings, const std::string& user, const std::string& customer,
                     const std::string& moment)
{
    if (settings.book.empty())
        throw ServerError(said("Sunucu.ini'de Defter satırı yok: geri getirilecek ortak bir defter yok.",
                               "Sunucu.ini has no line Defter: there is no shared register."));
    const std::string& name = settings.book;
    Connection connection(settings, user);
    requireSchema(connection);
    ServerTransaction change(connection);
    connection.ask("select pg_advisory_xact_lock(20011207)");
    const std::vector<Deletion> deletions = deletionsOf(connection, name, customer);
    const std::size_t place = chosen(deletions, customer, moment);
    const Deletion& deletion = deletions[place];
    const std::string earlier = listed(std::span(deletions).first(place));
    const Missing missing =
        deletion.pressings > 0 ? missingOf(connection, name, customer, deletion) : Missing{.lines = "{}", .count = 0};
    const bool customerIsThere =
        !connection.ask("select from presva.cari where sayac = $1 and unvan = $2", {name, customer}).empty();
    // What comes back has one identity for its place in the history: the pressings, and the customer's row.
    const auto identity = [&](const std::string& line) -> std::optional<std::string> {
        const auto made = connection.ask(
            "insert into presva.islenen (kimlik, ozet) values (md5('geri ' || $1 || ' ' || $2)::uuid, 'geri') "
            "on conflict do nothing returning kimlik",
            {name, line});
        return made.empty() ? std::nullopt : made[0][0];
    };
    std::optional<std::string> back;
    for (const std::string& line : {deletion.lastPressing, deletion.customer}) {
        if (line == "0") continue;
        back = identity(line);
        if (!back)
            throw ServerError(
                customer + said(": bu silmesi zaten geri getirildi (", ": that deletion was brought back already (") +
                deletion.when + " UTC)." +
                (earlier.empty()
                     ? ""
                     : said(" Daha önceki silmeleri, --deletion ile: ", " Deletions before it, with --deletion: ") +
                           earlier + " UTC.") +
                said(" Hiçbir şey değiştirilmedi.", " Nothing was changed."));
    }
    // Rows of a file that joined, or another deletion, have brought them: nothing is done, and nothing is marked as
    // done.
    if (deletion.pressings > 0 && missing.count == 0 && customerIsThere)
        throw ServerError(customer +
                          said(": bu silmesinde giden her şey zaten defterde (", ": the register has all of that "
                                                                                 "deletion again (") +
                          deletion.when + said(" UTC, sıkım ", " UTC, pressings ") +
                          std::to_string(deletion.pressings) +
                          said("). Hiçbir şey değiştirilmedi.", "). Nothing was changed."));
    connection.ask("select set_config('presva.sayac', $1, true), set_config('presva.kimlik', $2, true), "
                   "set_config('presva.giren', $3, true)",
                   {name, back, settings.counter});
    const auto numbers = [&](std::uint64_t count) {
        return connection
            .ask("update presva.sayaclar set son_numara = son_numara + $2 where sayac = $1 "
                 "returning son_numara - $2",
                 {name, std::to_string(count)})
            .at(0)
            .at(0);
    };
    BroughtBack brought{0, missing.count, deletion.pressings - missing.count, deletion.when, deletion.who, earlier};
    if (missing.count > 0)
        connection.ask(
            "insert into presva.hareket (sayac, numara, tarih, zeytin, yag, yuzde, haktut, nakit, carihar, giren) "
            "select g.sayac, $2::bigint + row_number() over (order by g.sira), "
            "(g.eski ->> 'tarih')::float8, (g.eski ->> 'zeytin')::float8, "
            "(g.eski ->> 'yag')::float8, (g.eski ->> 'yuzde')::float8, "
            "(g.eski ->> 'haktut')::float8, (g.eski ->> 'nakit')::float8, g.eski ->> 'carihar', g.eski ->> 'giren' "
            "from presva.gecmis g where g.sayac = $1 and g.sira = any($3::bigint[])",
            {name, numbers(missing.count), missing.lines});
    // A deletion that has left the customer's row says nothing of his terms: then those that went last.
    if (!customerIsThere)
        brought.customers =
            connection
                .ask("insert into presva.cari (sayac, numara, unvan, unvan_sira, yuzde, kap, nakit) "
                     "select g.sayac, $3::bigint + 1, g.eski ->> 'unvan', decode($4, 'hex'), "
                     "(g.eski ->> 'yuzde')::float8, g.eski ->> 'kap', (g.eski ->> 'nakit')::float8 "
                     "from presva.gecmis g where g.sayac = $1 and g.tablo = 'cari' and g.ne = 'DELETE' "
                     "and g.eski ->> 'unvan' = $2 order by g.sira = $5::bigint desc, g.sira desc limit 1 returning 1",
                     {name, customer, numbers(1), orderKeyInHex(customer), deletion.customer})
                .size();
    change.commit();
    return brought;
}

} // namespace postgres
