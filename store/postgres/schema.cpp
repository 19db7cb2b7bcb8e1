#include "store/postgres/schema.h"

#include "files/language.h"

#include <string>
#include <vector>

namespace postgres {
namespace {

using files::said;

/// The sections of schema.sql, from version 1 on.
std::vector<std::string> sections()
{
    constexpr std::string_view heading = "\n-- version ";
    std::vector<std::string> found;
    std::size_t at = schemaText.find(heading);
    while (at != std::string_view::npos) {
        const std::size_t end = schemaText.find(heading, at + heading.size());
        found.emplace_back(schemaText.substr(at, end - at));
        at = end;
    }
    return found;
}

/// 0 where there is nothing yet.
int versionOn(Connection& connection)
{
    if (!connection.ask("select to_regclass('presva.surum')")[0][0]) return 0;
    return std::stoi(connection.ask("select coalesce(max(surum), 0) from presva.surum")[0][0].value_or("0"));
}

[[noreturn]] void refuseNewer(int version)
{
    throw ServerError(
        said("Sunucudaki tablolar bu programdan yeni (sürüm ", "The tables on the server are newer than "
                                                               "this program (version ") +
        std::to_string(version) +
        said("); programı güncelleyin. Hiçbir şey değiştirilmedi.", "); update the program. Nothing was changed."));
}

void requireOwner(Connection& connection)
{
    if (connection.ask("select from pg_roles where rolname in ('presva_sahip', 'presva_sayac', 'presva_buro')")
            .size() != 3)
        throw ServerError(said("Sunucuda presva_sahip, presva_sayac ve presva_buro rolleri yok; docs/sunucu.md'deki "
                               "komutlarla oluşturun.",
                               "The server has no roles presva_sahip, presva_sayac and presva_buro; make them with "
                               "the commands of docs/sunucu.md."));
    if (connection.ask("select pg_has_role('presva_sahip', 'member')")[0][0] != "t")
        throw ServerError(said("Tabloları yalnızca sahip kurar ve ilerletir; --user ile presva_sahip rolünden bir "
                               "kullanıcı verin.",
                               "Only the owner makes and changes the tables; name a user of the role presva_sahip "
                               "with --user."));
}

} // namespace

void bringForward(Connection& connection)
{
    constexpr const char* oneAtATime = "select pg_advisory_xact_lock(20011205)"; // any number that nobody else uses
    const std::vector<std::string> all = sections();
    const auto newest = static_cast<int>(all.size());
    if (versionOn(connection) == newest) return;

    ServerTransaction change(connection);
    connection.ask(oneAtATime);
    const int there = versionOn(connection);
    if (there > newest) refuseNewer(there);
    if (there < newest) {
        requireOwner(connection);
        connection.run("set local role presva_sahip");
        for (int version = there + 1; version <= newest; ++version) {
            connection.run(all[static_cast<std::size_t>(version) - 1]);
            connection.ask("insert into presva.surum (surum) values ($1)", {Parameter(std::to_string(version))});
        }
    }
    change.commit();
}

void requireSchema(Connection& connection)
{
    const auto newest = static_cast<int>(sections().size());
    const int there = versionOn(connection);
    if (there > newest) refuseNewer(there);
    if (there == 0)
        throw ServerError(said("Sunucuda değirmenin tabloları yok; önce presva-mdb to-server ile aktarın.",
                               "The server has no tables of a mill; bring them there with presva-mdb to-server."));
    if (there < newest)
        throw ServerError(said("Sunucudaki tablolar eski; presva-mdb to-server ile ilerletin.",
                               "The tables on the server are old; presva-mdb to-server brings them forward."));
}

} // namespace postgres
