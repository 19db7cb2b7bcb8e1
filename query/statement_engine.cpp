#include "query/statement.h"

#include "exchange/linked_tables.h"
#include "files/error.h"
#include "files/language.h"
#include "query/sql_words.h"
#include "store/jet/sql/sql.h"

namespace query {

namespace {

/// The engine's own sentence, and why it understands so little here; of a linked table what every command says of it.
template <class Action> auto orSaySo(const jet::Database& database, std::string_view sql, Action&& action)
{
    try {
        return action();
    } catch (const files::Error& error) {
        if (error.fault() == files::Fault::noSuchTable)
            for (const Word& word : wordsOf(sql)) exchange::refuseLinkedTable(database, word.text);
        if (error.fault() != files::Fault::syntax) throw;
        throw files::Error(error.fault(),
                           std::string(error.what()) +
                               " Bu kurulum SQLite olmadan derlenmiş: yalnızca tek tablodan Select (Sum, "
                               "Where, Order By ile) ve Delete anlar.");
    }
}

} // namespace

bool available() { return false; }

namespace {

void refuse(const Parameters& parameters)
{
    if (parameters.empty()) return;
    throw files::Error(files::Fault::unsupported,
                       files::said("Bu kurulum SQLite olmadan derlenmiş: sorgulara değer verilemez.",
                                   "This installation was built without SQLite: queries take no parameters."));
}

} // namespace

bool writes(std::string_view sql)
{
    const std::vector<Word> words = wordsOf(sql);
    return words.front().is("delete") || words.front().is("insert") || words.front().is("update");
}

void select(jet::Database& database, std::string_view sql, bool, exchange::RowWriter& rows,
            const Parameters& parameters)
{
    refuse(parameters);
    const jet::Selection selection = orSaySo(database, sql, [&] { return jet::select(database, jet::fromUtf8(sql)); });
    std::vector<jet::Column> columns(selection.columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (selection.table != nullptr) columns[i] = selection.table->columns()[selection.fields[i]];
        columns[i].name = selection.columns[i];
    }
    rows.begin(u"Sorgu", columns);
    if (selection.table == nullptr) rows.values(selection.aggregates);
    std::vector<jet::Value> values(columns.size());
    for (const jet::RowId id : selection.rows) {
        const auto row = selection.table->row(id);
        if (!row) continue;
        for (std::size_t i = 0; i < columns.size(); ++i) values[i] = row->value(selection.fields[i]);
        rows.values(values);
    }
    rows.end();
}

std::uint64_t execute(jet::Database& database, std::string_view sql, bool, const Parameters& parameters)
{
    refuse(parameters);
    return orSaySo(database, sql, [&] { return jet::execute(database, jet::fromUtf8(sql)); });
}

} // namespace query
