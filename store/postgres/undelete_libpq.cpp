#include "store/postgres/undelete.h"

#include "files/language.h"
#include "store/postgres/connection.h"
#include "store/postgres/schema.h"
#include "store/postgres/server_rows.h"

namespace postgres {
namespace {

using files::said;

/// The last line of the history by which something of that customer went, before a moment where one is given, and the
/// deletion of the customer before it: 0 where there was none.
constexpr const char* lastLine =
    "select s.sira, coalesce(s.giren, s.kullanan), to_char(s.zaman, 'YYYY-MM-DD HH24:MI'), "
    "(select coalesce(max(c.sira), 0) from presva.gecmis c where c.sayac = $1 and c.tablo = 'cari' and c.ne = 'DELETE' "
    "and c.eski ->> 'unvan' = $2 and c.sira < s.sira) "
    "from presva.gecmis s where s.sayac = $1 and s.ne = 'DELETE' "
    "and coalesce(s.eski ->> 'carihar', s.eski ->> 'unvan') = $2 "
    "and s.zaman < coalesce(nullif($3, '')::timestamptz, 'infinity') order by s.sira desc limit 1";

/// When that customer was deleted before, the last times first.
constexpr const char* deletionsBefore =
    "select string_agg(t, ', ') from (select to_char(c.zaman, 'YYYY-MM-DD HH24:MI') as t from presva.gecmis c "
    "where c.sayac = $1 and c.tablo = 'cari' and c.ne = 'DELETE' and c.eski ->> 'unvan' = $2 and c.sira <= $3::bigint "
    "order by c.sira desc limit 5) l";

/// The pressings of one deletion went by one change, behind the deletion before.
constexpr const char* pressingsGone =
    "from presva.gecmis g where g.sayac = $1 and g.tablo = 'hareket' and g.ne = 'DELETE' and g.eski ->> 'carihar' = $2 "
    "and g.sira > $3::bigint and g.sira <= $4::bigint and g.kimlik is not distinct from (select h.kimlik from "
    "presva.gecmis h where h.sayac = $1 and h.tablo = 'hareket' and h.ne = 'DELETE' and h.eski ->> 'carihar' = $2 "
    "and h.sira <= $4::bigint order by h.sira desc limit 1)";

std::uint64_t numberOf(const std::vector<ServerRow>& rows) { return std::stoull(rows.at(0).at(0).value_or("0")); }

} // namespace

BroughtBack undelete(const ServerSettings& settings, const std::string& user, const std::string& customer,
                     const std::string& before)
{
    if (settings.book.empty())
        throw ServerError(said("Sunucu.ini'de Defter satırı yok: geri getirilecek ortak bir defter yok.",
                               "Sunucu.ini has no line Defter: there is no shared register."));
    const std::string& name = settings.book;
    Connection connection(settings, user);
    requireSchema(connection);
    ServerTransaction change(connection);
    connection.ask("select pg_advisory_xact_lock(20011207)");
    const auto last = connection.ask(lastLine, {name, customer, before});
    if (last.empty())
        throw ServerError(
            customer + (before.empty()
                            ? said(": bu defterden bu adda kimse silinmemiş. Adı silindiği gibi yazın.",
                                   ": nobody of that name was deleted from this register.")
                            : said(": o andan önce bu defterden bu adda kimse silinmemiş. Hiçbir şey değiştirilmedi.",
                                   ": nobody of that name was deleted from this register before that moment. "
                                   "Nothing was changed.")));
    const std::string line = last[0][0].value_or("");
    const std::string deletionBefore = last[0][3].value_or("0");
    const std::string earlier =
        connection.ask(deletionsBefore, {name, customer, deletionBefore}).at(0).at(0).value_or("");
    // The change by which they come back has one identity for one deletion.
    const auto identity = connection.ask(
        "insert into presva.islenen (kimlik, ozet) values (md5('geri ' || $1 || ' ' || $2)::uuid, 'geri') "
        "on conflict do nothing returning kimlik",
        {name, line});
    if (identity.empty())
        throw ServerError(
            customer + said(": bu silmesi zaten geri getirildi (", ": that deletion was brought back already (") +
            last[0][2].value_or("") + " UTC)." +
            (earlier.empty() ? ""
                             : said(" Daha önceki silmeleri, --before ile: ", " Deletions before it, with --before: ") +
                                   earlier + " UTC.") +
            said(" Hiçbir şey değiştirilmedi.", " Nothing was changed."));
    connection.ask("select set_config('presva.sayac', $1, true), set_config('presva.kimlik', $2, true), "
                   "set_config('presva.giren', $3, true)",
                   {name, identity[0][0].value_or(""), settings.counter});
    const auto numbers = [&](std::uint64_t count) {
        return connection
            .ask("update presva.sayaclar set son_numara = son_numara + $2 where sayac = $1 "
                 "returning son_numara - $2",
                 {name, std::to_string(count)})
            .at(0)
            .at(0);
    };
    const std::string gone = pressingsGone;
    BroughtBack back{
        0, numberOf(connection.ask(("select count(*) " + gone).c_str(), {name, customer, deletionBefore, line})),
        last[0][2].value_or(""), last[0][1].value_or(""), earlier};
    if (back.pressings > 0)
        connection.ask(("insert into presva.hareket (sayac, numara, tarih, zeytin, yag, yuzde, haktut, nakit, carihar, "
                        "giren) select g.sayac, $5::bigint + row_number() over (order by g.sira), "
                        "(g.eski ->> 'tarih')::float8, (g.eski ->> 'zeytin')::float8, (g.eski ->> 'yag')::float8, "
                        "(g.eski ->> 'yuzde')::float8, (g.eski ->> 'haktut')::float8, (g.eski ->> 'nakit')::float8, "
                        "g.eski ->> 'carihar', g.eski ->> 'giren' " +
                        gone)
                           .c_str(),
                       {name, customer, deletionBefore, line, numbers(back.pressings)});
    if (connection.ask("select from presva.cari where sayac = $1 and unvan = $2", {name, customer}).empty())
        back.customers = connection
                             .ask("insert into presva.cari (sayac, numara, unvan, unvan_sira, yuzde, kap, nakit) "
                                  "select g.sayac, $3::bigint + 1, g.eski ->> 'unvan', decode($4, 'hex'), "
                                  "(g.eski ->> 'yuzde')::float8, g.eski ->> 'kap', (g.eski ->> 'nakit')::float8 "
                                  "from presva.gecmis g where g.sayac = $1 and g.tablo = 'cari' and g.ne = 'DELETE' "
                                  "and g.eski ->> 'unvan' = $2 order by g.sira desc limit 1 returning 1",
                                  {name, customer, numbers(1), orderKeyInHex(customer)})
                             .size();
    change.commit();
    return back;
}

} // namespace postgres
