#include "store/postgres/row_piles.h"

#include "files/error.h"
#include "files/language.h"

#include <algorithm>
#include <optional>

namespace postgres {

using files::said;

RowPile::RowPile(const std::vector<std::string>& lines)
{
    for (const std::string& line : lines) ++counts_[line];
}

bool RowPile::take(const std::string& line)
{
    const auto found = counts_.find(line);
    if (found == counts_.end() || found->second == 0) return false;
    --found->second;
    return true;
}

std::vector<std::string> missingFrom(const std::vector<std::string>& there, const std::vector<std::string>& wanted)
{
    RowPile pile(there);
    std::vector<std::string> missing;
    for (const std::string& line : wanted)
        if (!pile.take(line)) missing.push_back(line);
    return missing;
}

std::vector<std::string> textsOf(const std::vector<ServerLine>& lines)
{
    std::vector<std::string> texts;
    texts.reserve(lines.size());
    for (const ServerLine& each : lines) texts.push_back(each.line);
    return texts;
}

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

std::string nameIn(const std::string& line) { return line.substr(0, line.find('\t')); }

std::string plural(std::size_t rows) { return std::to_string(rows) + said(" satır", " rows"); }

Count::Count(const CarryProgress& progress, std::size_t all) : progress_(progress), all_(std::max<std::size_t>(all, 1))
{
}

void Count::step()
{
    ++done_;
    if (progress_) progress_(static_cast<int>(std::min(done_, all_) * 100 / all_));
}

void writeRowsOf(Connection& connection, const ServerSettings& settings)
{
    const std::string& owner = settings.rowsOf();
    connection.ask("select set_config('presva.sayac', $1, false), set_config('presva.giren', $2, false)",
                   {owner, settings.counter});
    connection.ask("select pg_advisory_lock(20011206, hashtext($1))", {owner}); // any number that nobody else uses
}

void makeNameKnown(Connection& connection, const std::string& owner)
{
    connection.ask("insert into presva.sayaclar (sayac) values ($1) on conflict do nothing", {owner});
}

void addRows(Connection& connection, const std::vector<std::string>& lines, const TableShape& shape,
             const std::string& owner, Count& count)
{
    const std::string statement = std::string("copy ") + shape.table + " (sayac, numara, " + columnsOf(shape) +
                                  (shape.orderColumn != nullptr ? std::string(", ") + shape.orderColumn : "") +
                                  ") from stdin";
    const std::string name = writtenField(owner) + '\t';
    for (std::size_t at = 0; at < lines.size();) {
        const std::size_t end = std::min(at + rowsAtOnce, lines.size());
        ServerTransaction change(connection);
        const auto last = connection.ask("update presva.sayaclar set son_numara = son_numara + $2 where sayac = $1 "
                                         "returning son_numara - $2",
                                         {owner, std::to_string(end - at)});
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

Place placeOn(Connection& connection, const std::string& name)
{
    const auto rows = connection.ask(
        "select s.kimlik, g.sira, g.zaman::text from presva.sayaclar s left join lateral (select sira, zaman from "
        "presva.gecmis where sayac = s.sayac order by sira desc limit 1) g on true where s.sayac = $1",
        {name});
    if (rows.empty())
        throw ServerError(said("Sunucuda bu adda bir defter yok; Sunucu.ini'deki Defter satırına bakın.",
                               "The server has no register of that name; look at the line Defter of Sunucu.ini."));
    return {name, rows[0][0].value_or(""), std::stoll(rows[0][1].value_or("0")), rows[0][2].value_or("")};
}

} // namespace postgres
