#include "query/access_sql.h"

#include "files/language.h"
#include "query/translator.h"

/// Whole statements.
namespace query {

namespace {

const NamedType& columnOf(const Catalogue::Shape& table, const std::string& wanted, std::string_view sql,
                          std::size_t at)
{
    for (const NamedType& column : table.columns)
        if (same(column.name, wanted)) return column;
    notUnderstood(sql, at,
                  "'" + table.name + files::said("' tablosunda '", "' has no field '") + wanted +
                      files::said("' diye bir alan yok", "'"));
}

/// What is written or shown has all its digits.
const std::string& outermost(const Selected& selected)
{
    return selected.exact.empty() ? selected.sql : selected.exact;
}

} // namespace

std::string Translator::name(const char* what)
{
    const Word& next = word();
    if (next.kind != Word::Kind::bracket && (next.kind != Word::Kind::name || isReserved(next))) fail(what);
    ++at_;
    return next.text;
}

void Translator::end()
{
    takeMark(";");
    if (word().kind != Word::Kind::end) fail(files::said("burada bitmesi gerekirdi", "it should end here"));
}

void Translator::requireTable(const Catalogue::Shape& table, const std::string& named, std::size_t at) const
{
    if (same(named, table.name)) return;
    notUnderstood(sql_, at,
                  "'" + named +
                      files::said("' değiştirilen tablo değil; tablo: '", "' is not the table that is changed: '") +
                      table.name + "'");
}

void Translator::refuseTwice(const std::vector<NamedType>& columns, const NamedType& column, std::size_t at) const
{
    if (std::ranges::find(columns, column.name, &NamedType::name) == columns.end()) return;
    notUnderstood(sql_, at, "'" + column.name + files::said("' alanına iki değer verilmiş", "' gets two values"));
}

Catalogue::Shape Translator::tableToWrite()
{
    const std::size_t at = word().at;
    const std::string wanted = name(files::said("tablo adı bekleniyor", "the name of a table is expected"));
    const auto table = catalogue_.table(wanted);
    if (!table) catalogue_.refuseOther(wanted);
    if (!table) notUnderstood(sql_, at, "'" + wanted + files::said("' adlı tablo yok", "' is no table"));
    return *table;
}

Translation Translator::insert()
{
    expect("into");
    const Catalogue::Shape table = tableToWrite();
    Translation translation{
        .kind = Translation::Kind::insert, .sql = "INSERT INTO " + sqlName(table.name), .columns = table.columns};
    if (takeMark("(")) {
        translation.columns.clear();
        std::string columns;
        do {
            const std::size_t at = word().at;
            const std::string field = name(files::said("alan adı bekleniyor", "the name of a field is expected"));
            const NamedType& column = columnOf(table, field, sql_, at);
            refuseTwice(translation.columns, column, at);
            columns += (translation.columns.empty() ? " (" : ", ") + sqlName(column.name);
            translation.columns.push_back(column);
        } while (takeMark(","));
        expectMark(")");
        translation.sql += columns + ")";
    }
    const std::size_t at = word().at;
    std::size_t given = 0;
    if (take("values")) {
        expectMark("(");
        Scope nothing;
        std::string values;
        do {
            values += (given++ == 0 ? " VALUES (" : ", ") + exactOf(expression(nothing));
        } while (takeMark(","));
        expectMark(")");
        translation.sql += values + ")";
    } else {
        const Selected selected = query(nullptr);
        given = selected.columns.size();
        translation.sql += " " + outermost(selected);
    }
    const std::size_t count = translation.columns.size();
    if (given != count)
        notUnderstood(sql_, at,
                      std::to_string(count) + files::said(" alana ", " fields got ") + std::to_string(given) +
                          files::said(" değer verilmiş", " values"));
    end();
    return translation;
}

Translation Translator::update()
{
    const Catalogue::Shape table = tableToWrite();
    if (!word().is("set"))
        fail(files::said("Set bekleniyor; Update tek bir tabloyu değiştirir",
                         "Set is expected; Update changes one table"));
    ++at_;
    Scope scope;
    scope.sources.push_back({table.name, table.columns});
    Translation translation{.kind = Translation::Kind::update, .sql = {}, .columns = {}};
    std::vector<NamedType> changed;
    do {
        const std::size_t at = word().at;
        std::string field = name(files::said("alan adı bekleniyor", "the name of a field is expected"));
        if (takeMark(".")) {
            requireTable(table, field, at);
            field = name(files::said("alan adı bekleniyor", "the name of a field is expected"));
        }
        expectMark("=");
        const NamedType& column = columnOf(table, field, sql_, at);
        refuseTwice(changed, column, at);
        changed.push_back(column);
        translation.sql +=
            (translation.sql.empty() ? "" : ", ") + sqlName(column.name) + " = " + exactOf(expression(scope));
    } while (takeMark(","));
    translation.sql = "UPDATE " + sqlName(table.name) + " SET " + translation.sql;
    if (take("where")) translation.sql += " WHERE " + truth(scope).sql;
    end();
    return translation;
}

Translation Translator::erase()
{
    const std::size_t at = word().at;
    std::optional<std::string> named;
    if (!takeMark("*") && word(1).isMark(".") && word(2).isMark("*")) {
        named = name(files::said("tablo adı bekleniyor", "the name of a table is expected"));
        at_ += 2;
    }
    expect("from");
    const Catalogue::Shape table = tableToWrite();
    if (named) requireTable(table, *named, at);
    Scope scope;
    scope.sources.push_back({table.name, table.columns});
    Translation translation{
        .kind = Translation::Kind::erase, .sql = "DELETE FROM " + sqlName(table.name), .columns = {}};
    if (take("where")) translation.sql += " WHERE " + truth(scope).sql;
    end();
    return translation;
}

/// All rows of a table or a saved query.
Translation Translator::allOf(const std::string& named)
{
    const std::string text = "Select * From [" + named + "]";
    const Selected selected = Translator(text, catalogue_, depth_).wholeQuery();
    return {.kind = Translation::Kind::select, .sql = outermost(selected), .columns = selected.columns};
}

/// The whole text, where a table or a saved query has that name; else nothing.
std::string Translator::nameOfSeveralWords()
{
    if (word().kind != Word::Kind::name || word().is("select")) return {};
    const bool ended = words_.size() > 1 && words_[words_.size() - 2].isMark(";");
    const std::size_t last = words_.size() - (ended ? 3 : 2);
    const std::string whole(sql_.substr(word().at, words_[last].end - word().at));
    // Brackets enclose it from here on.
    if (whole.find_first_of("[]") != whole.npos) return {};
    return catalogue_.table(whole) || catalogue_.savedQuery(whole) ? whole : std::string();
}

Translation Translator::statement()
{
    if (take("insert")) return insert();
    if (take("update")) return update();
    if (take("delete")) return erase();
    for (const char* other : {"transform", "parameters", "create", "alter", "drop", "execute"})
        if (word().is(other))
            fail(files::said("bu deyim desteklenmiyor; Select, Insert, Update ya da Delete olmalı",
                             "this statement is not supported; it must be Select, Insert, Update or Delete"));
    // A name alone is the table or the saved query of that name.
    const bool alone = words_.size() == 2 || (words_.size() == 3 && words_[1].isMark(";"));
    if (alone && (word().kind == Word::Kind::bracket || word().kind == Word::Kind::name) && !isReserved(word()))
        return allOf(word().text);
    if (const std::string named = nameOfSeveralWords(); !named.empty()) return allOf(named);
    const Selected selected = wholeQuery();
    return {.kind = Translation::Kind::select, .sql = outermost(selected), .columns = selected.columns};
}

Translation translate(std::string_view sql, Catalogue& catalogue) { return Translator(sql, catalogue, 0).statement(); }

} // namespace query
