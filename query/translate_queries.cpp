#include "query/translator.h"

#include "files/error.h"
#include "files/language.h"

#include <algorithm>

/// Selects: their lists, tables, groups and orders.
namespace query {

namespace {

bool isWhole(std::string_view number) { return number.find_first_not_of("0123456789") == std::string_view::npos; }

} // namespace

Selected Translator::wholeQuery()
{
    Selected selected = query(nullptr);
    end();
    return selected;
}

Selected Translator::query(const Scope* outer)
{
    const Level level(*this);
    Selected all = term(outer, true);
    if (!word().is("union")) return all;
    all.oneRow = false;
    if (all.ended) all.sql = "SELECT * FROM (" + all.sql + ")";
    all.exact.clear();
    while (take("union")) {
        const bool keep = take("all");
        const std::size_t at = word().at;
        const Selected next = term(outer, false);
        if (next.columns.size() != all.columns.size())
            notUnderstood(sql_, at,
                          files::said("Union ile birleşen sorguların sütun sayıları ayrı",
                                      "the queries of a Union have different numbers of columns"));
        // Values of two types are compared and written as each of them is.
        for (std::size_t i = 0; i < next.columns.size(); ++i)
            if (next.columns[i].type != all.columns[i].type) all.columns[i].type = Type::unknown;
        all.sql += (keep ? " UNION ALL " : " UNION ") + next.sql;
    }
    if (!word().is("order")) return all;
    Scope scope;
    for (const NamedType& column : all.columns)
        scope.aliases.push_back({column.name, {.sql = sqlName(column.name), .type = column.type, .column = true}});
    all.sql += orderBy(scope, {.columns = all.columns.size()});
    return all;
}

Selected Translator::term(const Scope* outer, bool alone)
{
    if (takeMark("(")) {
        Selected inner = query(outer);
        expectMark(")");
        inner.sql = "SELECT * FROM (" + inner.sql + ")";
        inner.exact.clear();
        inner.ended = false;
        return inner;
    }
    expect("select");
    const bool distinct = take("distinct");
    if (!distinct && !take("distinctrow")) take("all");
    const std::string limit = top();

    // What stands in the list may be any column of what stands behind it.
    const std::size_t begin = at_;
    passList();
    const std::size_t end = at_;
    Scope scope;
    scope.outer = outer;
    const std::string tables = take("from") ? " FROM " + from(scope) : "";
    const std::size_t behind = at_;
    at_ = begin;
    const std::vector<Item> items = list(scope);
    if (at_ != end) fail(files::said("virgül ya da From bekleniyor", "a comma or From is expected"));
    at_ = behind;

    std::string rest = tables + where(scope);
    std::set<std::string> groups;
    const bool byGroups = word().is("group");
    const bool grouped = groupBy(scope, items, groups, rest);
    const bool ordered = alone && word().is("order");
    if (ordered) rest += orderBy(scope, {items.size(), &items, grouped ? &groups : nullptr, distinct});
    if (!limit.empty()) rest += " LIMIT " + limit;

    Selected selected = titled(items, false);
    selected.sql = (distinct ? "SELECT DISTINCT " : "SELECT ") + selected.sql + rest;
    selected.ended = ordered || !limit.empty();
    selected.oneRow = tables.empty() || (grouped && !byGroups) || limit == "1";
    if (!limit.empty() && !alone) selected.sql = "SELECT * FROM (" + selected.sql + ")";
    // Rows that are compared with each other are compared as numbers.
    const bool anyExact = std::ranges::any_of(items, [](const Item& item) { return !item.expr.exact.empty(); });
    if (anyExact && !distinct && !grouped) selected.exact = "SELECT " + titled(items, true).sql + rest;
    return selected;
}

/// The number of rows that Top asks for; empty without one.
std::string Translator::top()
{
    if (!word().is("top") || word(1).kind != Word::Kind::number) return {};
    std::string limit = word(1).text;
    if (!isWhole(limit)) fail(files::said("Top bir tam sayı ister", "Top wants a whole number"));
    at_ += 2;
    if (word().is("percent")) fail(files::said("Top ... Percent desteklenmiyor", "Top ... Percent is not supported"));
    return limit;
}

/// On to From, or to what ends a select without one.
void Translator::passList()
{
    for (int open = 0; word().kind != Word::Kind::end && (open > 0 || !word().is("from")); ++at_) {
        open += word().isMark("(") ? 1 : word().isMark(")") ? -1 : 0;
        if (open < 0 || word().isMark(";") || (open == 0 && word().is("union"))) return;
    }
}

std::vector<Translator::Item> Translator::list(Scope& scope)
{
    std::vector<Item> items;
    const auto addAll = [&](const Source& source) {
        for (const NamedType& column : source.columns) {
            Expr expr = columnOf(source.alias, column);
            expr.loose = {expr.sql};
            items.push_back({std::move(expr), column.name, source.alias + "." + column.name, word().at});
        }
    };
    do {
        if (takeMark("*")) {
            if (scope.sources.empty()) fail(files::said("'*' bir From ister", "'*' wants a From"));
            for (const Source& source : scope.sources) addAll(source);
        } else if ((word(1).isMark(".") || word(1).isMark("!")) && word(2).isMark("*")) {
            const std::string wanted = name(files::said("tablo adı bekleniyor", "the name of a table is expected"));
            const auto found =
                std::ranges::find_if(scope.sources, [&](const Source& source) { return same(source.alias, wanted); });
            if (found == scope.sources.end())
                fail(files::said("From içinde '", "From lacks '") + wanted + files::said("' yok", "'"));
            at_ += 2;
            addAll(*found);
        } else {
            items.push_back(item(scope));
        }
    } while (takeMark(","));
    return items;
}

/// One expression of a list, with its title: its name, that of its column, or its own text.
Translator::Item Translator::item(Scope& scope)
{
    const std::size_t begin = word().at;
    Expr expr = expression(scope);
    std::string title(sql_.substr(begin, words_[at_ - 1].end - begin));
    std::string longTitle = title;
    if (expr.column) {
        // The column's own name, as the table spells it.
        const std::size_t dot = expr.sql.rfind(".\"");
        if (dot != std::string::npos) title = expr.sql.substr(dot + 2, expr.sql.size() - dot - 3);
        longTitle = dot == std::string::npos ? title : expr.sql.substr(1, dot - 2) + "." + title;
    }
    if (take("as")) {
        title = longTitle = name(files::said("As'ten sonra bir ad bekleniyor", "a name is expected behind As"));
        scope.aliases.push_back({title, expr});
    }
    return {std::move(expr), title, longTitle, begin};
}

/// The list in SQLite's words. A title that stands there twice is written with its table.
Selected Translator::titled(const std::vector<Item>& items, bool exact)
{
    Selected selected;
    const auto twice = [&](const std::string& wanted) {
        return std::ranges::count_if(items, [&](const Item& item) { return same(item.name, wanted); }) > 1;
    };
    for (const Item& item : items) {
        const std::string title = twice(item.name) ? item.longName : item.name;
        selected.columns.push_back({title, item.expr.type});
        const bool digits = exact && !item.expr.exact.empty();
        selected.sql += (selected.sql.empty() ? "" : ", ") + (digits ? item.expr.exact : collated(item.expr)) + " AS " +
                        sqlName(title);
    }
    return selected;
}

std::string Translator::where(Scope& scope)
{
    if (!take("where")) return {};
    const std::size_t at = word().at;
    const Expr condition = truth(scope);
    if (condition.aggregate)
        notUnderstood(
            sql_, at,
            files::said("Where içinde toplam olmaz, Having içinde olur", "a sum cannot stand in Where, but in Having"));
    return " WHERE " + condition.sql;
}

/// Writes Group By and Having; true where the rows come in groups, by them or by a sum in the list.
bool Translator::groupBy(Scope& scope, const std::vector<Item>& items, std::set<std::string>& groups, std::string& sql)
{
    bool grouped = std::ranges::any_of(items, [](const Item& item) { return item.expr.aggregate; });
    if (take("group")) {
        expect("by");
        grouped = true;
        std::string by;
        do {
            const Expr expr = expression(scope);
            if (expr.aggregate) fail(files::said("Group By içinde toplam olmaz", "a sum cannot stand in Group By"));
            groups.insert(expr.sql);
            by += (by.empty() ? "" : ", ") + collated(expr);
        } while (takeMark(","));
        sql += " GROUP BY " + by;
    }
    if (take("having")) {
        grouped = true;
        const std::size_t at = word().at;
        const Expr having = truth(scope);
        checkGrouped(having, groups, at);
        sql += " HAVING " + having.sql;
    }
    if (grouped)
        for (const Item& item : items) checkGrouped(item.expr, groups, item.at);
    return grouped;
}

void Translator::checkGrouped(const Expr& expr, const std::set<std::string>& groups, std::size_t at) const
{
    if (groups.contains(expr.sql)) return;
    for (const std::string& column : expr.loose)
        if (!groups.contains(column))
            notUnderstood(sql_, at,
                          column +
                              files::said(" ne Group By içinde ne de bir toplamın içinde; bir grubun hangi satırından "
                                          "alınacağı belli değil",
                                          " is neither in Group By nor in a sum; nobody knows which row of a "
                                          "group it should come from"));
}

std::string Translator::orderBy(Scope& scope, const Ordered& what)
{
    expect("order");
    expect("by");
    std::string order;
    do {
        order += order.empty() ? " ORDER BY " : ", ";
        const std::size_t at = word().at;
        if (isColumnNumber()) {
            const std::string& number = word().text;
            if (!isWhole(number) || number.size() > 4 || std::stoul(number) < 1 || std::stoul(number) > what.columns)
                fail(files::said("bu numarada bir sütun yok; sütun sayısı ",
                                 "there is no column of that number; they are ") +
                     std::to_string(what.columns));
            // A column that is shown with all its digits is put in order as a number.
            const Expr* const shown = what.items == nullptr ? nullptr : &(*what.items)[std::stoul(number) - 1].expr;
            order += shown != nullptr && !shown->exact.empty() && !shown->literal ? collated(*shown) : number;
            ++at_;
        } else {
            const Expr expr = expression(scope);
            if (what.groups != nullptr) checkGrouped(expr, *what.groups, at);
            const auto isThis = [&](const Item& item) { return item.expr.sql == expr.sql; };
            if (what.distinct && std::ranges::none_of(*what.items, isThis))
                notUnderstood(sql_, at,
                              files::said("Distinct'in yanında Order By yalnızca seçilen sütunlarla olur; birleşen "
                                          "satırların hangisine göre sıralanacağı belli değil",
                                          "beside Distinct an Order By takes the columns of the list alone; nobody "
                                          "knows by which of the rows that become one to sort"));
            // A value that is the same for all rows; SQLite would take a whole number for a column's.
            order += expr.literal ? "NULL" : collated(expr);
        }
        if (take("desc"))
            order += " DESC";
        else
            take("asc");
    } while (takeMark(","));
    return order;
}

/// A number that stands alone in Order By.
bool Translator::isColumnNumber() const
{
    const Word& next = word(1);
    return word().kind == Word::Kind::number &&
           (next.kind == Word::Kind::end || next.isMark(",") || next.isMark(")") || next.isMark(";") ||
            next.is("asc") || next.is("desc") || next.is("union"));
}

std::string Translator::from(Scope& scope)
{
    std::string tables = joined(scope);
    while (takeMark(",")) {
        const std::string next = joined(scope);
        // What is joined behind a comma is joined before it is combined with what stands in front.
        const bool inBrackets = next.find(" RIGHT JOIN ") != next.npos;
        tables += " CROSS JOIN " + (inBrackets ? "(" + next + ")" : next);
    }
    return tables;
}

std::string Translator::joined(Scope& scope)
{
    const Level level(*this);
    std::string tables = source(scope);
    for (;;) {
        const char* kind = nullptr;
        if (word().is("inner") || word().is("join")) {
            kind = " JOIN ";
            take("inner");
        } else if (word().is("left") || word().is("right")) {
            kind = word().is("left") ? " LEFT JOIN " : " RIGHT JOIN ";
            ++at_;
            take("outer");
        }
        if (kind == nullptr) return tables;
        expect("join");
        tables += kind + source(scope);
        expect("on");
        const std::size_t at = word().at;
        const Expr on = truth(scope);
        if (on.aggregate) notUnderstood(sql_, at, files::said("On içinde toplam olmaz", "a sum cannot stand in On"));
        tables += " ON " + on.sql;
    }
}

std::string Translator::source(Scope& scope)
{
    Source source;
    std::string sql = {};
    if (takeMark("(")) {
        if (!word().is("select") && !(word().isMark("(") && word(1).is("select"))) {
            const std::string inner = joined(scope);
            expectMark(")");
            return "(" + inner + ")";
        }
        Selected selected = query(scope.outer);
        expectMark(")");
        sql = "(" + selected.sql + ")";
        source.columns = std::move(selected.columns);
    } else {
        const std::size_t at = word().at;
        const std::string wanted =
            name(files::said("tablo ya da sorgu adı bekleniyor", "the name of a table or query is expected"));
        if (const auto table = catalogue_.table(wanted)) {
            sql = sqlName(table->name);
            source.alias = table->name;
            source.columns = table->columns;
        } else if (const auto text = catalogue_.savedQuery(wanted)) {
            if (depth_ == deepestQuery)
                notUnderstood(sql_, at,
                              files::said("kayıtlı sorgular birbirini çağırıp duruyor",
                                          "the saved queries ask each other without end"));
            try {
                Selected selected = Translator(*text, catalogue_, depth_ + 1).wholeQuery();
                sql = "(" + selected.sql + ")";
                source.columns = std::move(selected.columns);
            } catch (const files::Error& error) {
                throw files::Error(error.fault(),
                                   files::said("Kayıtlı sorgu '", "Saved query '") + wanted + "': " + error.what());
            }
            source.alias = wanted;
        } else {
            catalogue_.refuseOther(wanted);
            throw files::Error(files::Fault::noSuchTable,
                               "'" + wanted +
                                   files::said("' adlı bir tablo ya da sorgu yok; adları görmek için: presva-mdb info",
                                               "' is no table and no query; to see their names: presva-mdb info"));
        }
    }
    if (take("as"))
        source.alias = name(files::said("As'ten sonra bir ad bekleniyor", "a name is expected behind As"));
    else if (word().kind == Word::Kind::bracket || (word().kind == Word::Kind::name && !isReserved(word())))
        source.alias = name(files::said("ad bekleniyor", "a name is expected"));
    if (source.alias.empty()) source.alias = "sorgu" + std::to_string(scope.sources.size() + 1);
    for (const Source& other : scope.sources)
        if (same(other.alias, source.alias))
            fail("'" + source.alias +
                 files::said("' From içinde iki kez geçiyor; As ile ad verin",
                             "' stands twice in From; give it a name with As"));
    sql += " AS " + sqlName(source.alias);
    scope.sources.push_back(std::move(source));
    return sql;
}

} // namespace query
