#include "store/postgres/waiting_slips.h"

#include "store/postgres/row_piles.h"
#include "store/postgres/server_rows.h"
#include "store/postgres/shared_tables.h"

#include <utility>

namespace postgres {
namespace {

/// The pressing that a note is about, as a line.
std::string lineOf(Connection& connection, const WaitingNote& note)
{
    const TableShape& shape = pressings();
    std::string question = "select ";
    for (const FieldShape& each : shape.fields)
        question += (&each == shape.fields.data() ? "(" : ", (") + std::string("$1::jsonb ->> '") + each.column + "')" +
                    (each.kind == Kind::text ? "" : "::float8");
    const auto fields = connection.ask(question.c_str(), {note.json}).at(0);
    std::string line;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const bool number = shape.fields[i].kind != Kind::text && fields[i];
        line += (i > 0 ? "\t" : "") + (number ? writtenNumber(numberIn(*fields[i])) : writtenField(fields[i]));
    }
    return line;
}

} // namespace

std::vector<std::string> bringWaitingSlips(Connection& connection, const ServerSettings& settings,
                                           jet::Database& database, const std::vector<std::string>& there,
                                           std::vector<std::string> wanted)
{
    RowPile pile(wanted);
    bool some = false;
    for (const WaitingNote& note : notesIn(database)) {
        if (!note.bringsPressing || wanted.empty()) continue;
        try {
            if (!pile.take(lineOf(connection, note))) continue;
            connection.ask("select presva.islet($1, $2, $3::jsonb)",
                           {settings.rowsOf(), settings.counter, "[" + note.json + "]"});
            some = true;
        } catch (const ServerError&) {
            // It goes as the row that it is: a note that a damaged file has spoilt must not keep the file out.
            connection.ask("select"); // a line that is lost is another matter
        }
    }
    if (!some) return wanted;
    return missingFrom(missingFrom(there, textsOf(linesOn(connection, pressings()))), wanted);
}

} // namespace postgres
