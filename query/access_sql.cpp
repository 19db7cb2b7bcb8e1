#include "query/access_sql.h"

#include "files/error.h"
#include "query/function_names.h"
#include "query/moments.h"
#include "query/sql_words.h"
#include "store/jet/values/names.h"
#include "store/jet/values/value.h"

#include <algorithm>
#include <array>
#include <set>

namespace query {

namespace {

bool same(std::string_view a, std::string_view b) { return jet::sameName(jet::fromUtf8(a), jet::fromUtf8(b)); }

std::string sqlName(std::string_view name)
{
    std::string text = "\"";
    for (const char c : name) {
        text += c;
        if (c == '"') text += c;
    }
    return text + '"';
}

std::string textLiteral(std::string_view value)
{
    std::string text = "'";
    for (const char c : value) {
        text += c;
        if (c == '\'') text += c;
    }
    return text + '\'';
}

/// An expression in SQLite's words.
struct Expr {
    std::string sql = {};
    Type type = Type::unknown;
    bool condition = false;              ///< true or false, which SQLite counts as 1 and 0
    bool column = false;                 ///< a column and nothing else: it carries its collation
    bool literal = false;                ///< a value written in the text
    bool aggregate = false;              ///< holds Sum, Count, ...
    std::vector<std::string> loose = {}; ///< columns that stand outside of those
};

struct Source {
    std::string alias;
    std::vector<NamedType> columns;
};

/// The names that an expression may use: those of its own select, then those of the select around it.
struct Scope {
    std::vector<Source> sources;
    std::vector<std::pair<std::string, Expr>> aliases;
    const Scope* outer = nullptr;
};

struct Selected {
    std::string sql = {};
    std::vector<NamedType> columns;
};

bool isNumber(Type type) { return type == Type::number || type == Type::yesNo; }

constexpr std::array<std::string_view, 29> reserved = {
    "select", "from", "where", "group", "having", "order", "union", "inner",  "left", "right",
    "join",   "on",   "as",    "and",   "or",     "not",   "xor",   "eqv",    "imp",  "between",
    "in",     "is",   "like",  "mod",   "by",     "asc",   "desc",  "values", "set"};

bool isReserved(const Word& word)
{
    return std::ranges::any_of(reserved, [&](std::string_view each) { return word.is(each); });
}

class Translator {
public:
    Translator(std::string_view sql, Catalogue& catalogue, int depth)
        : sql_(sql), words_(wordsOf(sql)), catalogue_(catalogue), depth_(depth)
    {
    }

    Translation statement();
    Selected wholeQuery();

private:
    // ---- words ----
    const Word& word(std::size_t ahead = 0) const { return words_[std::min(at_ + ahead, words_.size() - 1)]; }
    bool take(std::string_view keyword)
    {
        if (!word().is(keyword)) return false;
        ++at_;
        return true;
    }
    bool takeMark(std::string_view mark)
    {
        if (!word().isMark(mark)) return false;
        ++at_;
        return true;
    }
    [[noreturn]] void fail(const std::string& what) const { notUnderstood(sql_, word().at, what); }
    void expect(std::string_view keyword)
    {
        if (!take(keyword)) fail(std::string(keyword) + " bekleniyor");
    }
    void expectMark(std::string_view mark)
    {
        if (!takeMark(mark)) fail("'" + std::string(mark) + "' bekleniyor");
    }
    std::string name(const char* what);
    void end();

    // ---- queries ----
    Selected query(const Scope* outer);
    Selected term(const Scope* outer, bool alone);
    std::string from(Scope& scope);
    std::string joined(Scope& scope);
    std::string source(Scope& scope);
    std::string orderBy(Scope& scope, const std::set<std::string>* groups);
    void checkGrouped(const Expr& expr, const std::set<std::string>& groups, std::size_t at) const;

    // ---- expressions, from the loosest to the tightest ----
    Expr expression(Scope& scope) { return disjunction(scope); }
    Expr disjunction(Scope& scope);
    Expr conjunction(Scope& scope);
    Expr negation(Scope& scope);
    Expr comparison(Scope& scope);
    Expr concatenation(Scope& scope);
    Expr sum(Scope& scope);
    Expr modulo(Scope& scope);
    Expr wholeDivision(Scope& scope);
    Expr product(Scope& scope);
    Expr sign(Scope& scope);
    Expr power(Scope& scope);
    Expr primary(Scope& scope);
    Expr function(Scope& scope);
    Expr aggregate(Scope& scope, const std::string& called, const Function& function);
    Expr special(Scope& scope, const std::string& called);
    Expr reference(Scope& scope);

    Expr compare(const Expr& left, const std::string& op, const Expr& right, std::size_t at) const;
    void checkComparable(Expr& left, Expr& right, std::size_t at) const;

    // ---- statements that write ----
    Translation insert();
    Translation update();
    Translation erase();
    Catalogue::Shape tableToWrite();

    std::string_view sql_;
    std::vector<Word> words_;
    std::size_t at_ = 0;
    Catalogue& catalogue_;
    int depth_; ///< of saved queries in saved queries
};

/// As a value True is -1.
std::string valueOf(const Expr& expr) { return expr.condition ? "(-(" + expr.sql + "))" : expr.sql; }

/// To be compared, grouped and put in order as Access does.
std::string collated(const Expr& expr)
{
    const bool text = expr.type == Type::text || expr.type == Type::unknown;
    if (expr.column || expr.condition || !text) return valueOf(expr);
    return "(" + expr.sql + " COLLATE ACCESS)";
}

/// What the new expression takes over from its parts.
void inherit(Expr& expr, const Expr& part)
{
    expr.aggregate = expr.aggregate || part.aggregate;
    expr.loose.insert(expr.loose.end(), part.loose.begin(), part.loose.end());
}

Expr made(std::string sql, Type type, std::initializer_list<const Expr*> parts)
{
    Expr expr{.sql = std::move(sql), .type = type};
    for (const Expr* part : parts) inherit(expr, *part);
    return expr;
}

// ---- words ----

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
    if (word().kind != Word::Kind::end) fail("burada bitmesi gerekirdi");
}

// ---- queries ----

Selected Translator::wholeQuery()
{
    Selected selected = query(nullptr);
    end();
    return selected;
}

Selected Translator::query(const Scope* outer)
{
    const std::size_t begin = at_;
    Selected all = term(outer, true);
    if (!word().is("union")) return all;
    // Seen to be a union: its parts are read again, because an order behind them is that of the whole.
    at_ = begin;
    all = term(outer, false);
    while (take("union")) {
        const bool keep = take("all");
        const std::size_t at = word().at;
        const Selected next = term(outer, false);
        if (next.columns.size() != all.columns.size())
            notUnderstood(sql_, at, "Union ile birleşen sorguların sütun sayıları ayrı");
        all.sql += (keep ? " UNION ALL " : " UNION ") + next.sql;
    }
    if (!word().is("order")) return all;
    Scope scope;
    for (const NamedType& column : all.columns)
        scope.aliases.push_back({column.name, {.sql = sqlName(column.name), .type = column.type, .column = true}});
    all.sql += orderBy(scope, nullptr);
    return all;
}

Selected Translator::term(const Scope* outer, bool alone)
{
    if (takeMark("(")) {
        Selected inner = query(outer);
        expectMark(")");
        inner.sql = "SELECT * FROM (" + inner.sql + ")";
        return inner;
    }
    expect("select");
    bool distinct = false;
    if (take("distinct"))
        distinct = true;
    else if (!take("distinctrow"))
        take("all");
    std::string limit;
    if (word().is("top") && word(1).kind == Word::Kind::number) {
        limit = word(1).text;
        if (limit.find_first_not_of("0123456789") != std::string::npos) fail("Top bir tam sayı ister");
        at_ += 2;
        if (word().is("percent")) fail("Top ... Percent desteklenmiyor");
    }

    // What stands in the list may be any column of what stands behind it.
    const std::size_t list = at_;
    int open = 0;
    while (word().kind != Word::Kind::end && (open > 0 || !word().is("from"))) {
        open += word().isMark("(") ? 1 : word().isMark(")") ? -1 : 0;
        if (open < 0 || word().isMark(";") || word().is("union")) break;
        ++at_;
    }
    Scope scope;
    scope.outer = outer;
    std::string tables;
    const std::size_t listEnd = at_;
    if (take("from")) tables = " FROM " + from(scope);
    const std::size_t behind = at_;

    at_ = list;
    struct Item {
        Expr expr;
        std::string name;
        std::string longName;
        std::size_t at = 0;
    };
    std::vector<Item> items;
    const auto addAll = [&](const Source& source) {
        for (const NamedType& column : source.columns) {
            const std::string sql = sqlName(source.alias) + "." + sqlName(column.name);
            items.push_back({{.sql = sql, .type = column.type, .column = true, .loose = {sql}},
                             column.name,
                             source.alias + "." + column.name,
                             word().at});
        }
    };
    do {
        if (takeMark("*")) {
            if (scope.sources.empty()) fail("'*' bir From ister");
            for (const Source& source : scope.sources) addAll(source);
            continue;
        }
        if ((word(1).isMark(".") || word(1).isMark("!")) && word(2).isMark("*")) {
            const std::string wanted = name("tablo adı bekleniyor");
            const auto found =
                std::ranges::find_if(scope.sources, [&](const Source& source) { return same(source.alias, wanted); });
            if (found == scope.sources.end()) fail("From içinde '" + wanted + "' yok");
            at_ += 2;
            addAll(*found);
            continue;
        }
        const std::size_t begin = word().at;
        Expr expr = expression(scope);
        const std::size_t finish = words_[at_ - 1].end;
        std::string title(sql_.substr(begin, finish - begin));
        std::string longTitle = title;
        if (expr.column) {
            // The column's own name, as the table spells it.
            const std::size_t dot = expr.sql.rfind(".\"");
            if (dot != std::string::npos) title = expr.sql.substr(dot + 2, expr.sql.size() - dot - 3);
            longTitle = dot == std::string::npos ? title : expr.sql.substr(1, dot - 2) + "." + title;
        }
        if (take("as")) {
            title = longTitle = name("As'ten sonra bir ad bekleniyor");
            scope.aliases.push_back({title, expr});
        }
        items.push_back({std::move(expr), title, longTitle, begin});
    } while (takeMark(","));
    if (at_ != listEnd) fail("virgül ya da From bekleniyor");
    at_ = behind;

    Selected selected;
    const auto twice = [&](const std::string& wanted) {
        return std::ranges::count_if(items, [&](const Item& item) { return same(item.name, wanted); }) > 1;
    };
    for (const Item& item : items) {
        const std::string title = twice(item.name) ? item.longName : item.name;
        selected.columns.push_back({title, item.expr.type});
        selected.sql += (selected.sql.empty() ? "" : ", ") + collated(item.expr) + " AS " + sqlName(title);
    }
    selected.sql = (distinct ? "SELECT DISTINCT " : "SELECT ") + selected.sql + tables;

    if (take("where")) {
        const std::size_t at = word().at;
        const Expr where = expression(scope);
        if (where.aggregate) notUnderstood(sql_, at, "Where içinde toplam olmaz, Having içinde olur");
        selected.sql += " WHERE " + where.sql;
    }
    std::set<std::string> groups;
    bool grouped = std::ranges::any_of(items, [](const Item& item) { return item.expr.aggregate; });
    if (take("group")) {
        expect("by");
        grouped = true;
        std::string by;
        do {
            const Expr expr = expression(scope);
            if (expr.aggregate) fail("Group By içinde toplam olmaz");
            groups.insert(expr.sql);
            by += (by.empty() ? "" : ", ") + collated(expr);
        } while (takeMark(","));
        selected.sql += " GROUP BY " + by;
    }
    if (take("having")) {
        grouped = true;
        const std::size_t at = word().at;
        const Expr having = expression(scope);
        checkGrouped(having, groups, at);
        selected.sql += " HAVING " + having.sql;
    }
    if (grouped)
        for (const Item& item : items) checkGrouped(item.expr, groups, item.at);
    if (alone && word().is("order")) selected.sql += orderBy(scope, grouped ? &groups : nullptr);
    if (!limit.empty()) {
        selected.sql += " LIMIT " + limit;
        if (!alone) selected.sql = "SELECT * FROM (" + selected.sql + ")";
    }
    return selected;
}

void Translator::checkGrouped(const Expr& expr, const std::set<std::string>& groups, std::size_t at) const
{
    if (groups.contains(expr.sql)) return;
    for (const std::string& column : expr.loose)
        if (!groups.contains(column))
            notUnderstood(sql_, at,
                          column + " ne Group By içinde ne de bir toplamın içinde; bir grubun hangi "
                                   "satırından alınacağı belli değil");
}

std::string Translator::orderBy(Scope& scope, const std::set<std::string>* groups)
{
    expect("order");
    expect("by");
    std::string order;
    do {
        order += order.empty() ? " ORDER BY " : ", ";
        const std::size_t at = word().at;
        if (word().kind == Word::Kind::number && !word(1).isMark("+")) {
            order += word().text; // the number of a column
            ++at_;
        } else {
            const Expr expr = expression(scope);
            if (groups != nullptr) checkGrouped(expr, *groups, at);
            order += collated(expr);
        }
        if (take("desc"))
            order += " DESC";
        else
            take("asc");
    } while (takeMark(","));
    return order;
}

std::string Translator::from(Scope& scope)
{
    std::string tables = joined(scope);
    while (takeMark(",")) tables += " CROSS JOIN " + joined(scope);
    return tables;
}

std::string Translator::joined(Scope& scope)
{
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
        const Expr on = expression(scope);
        if (on.aggregate) notUnderstood(sql_, at, "On içinde toplam olmaz");
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
        const std::string wanted = name("tablo ya da sorgu adı bekleniyor");
        if (const auto table = catalogue_.table(wanted)) {
            sql = sqlName(table->name);
            source.alias = table->name;
            source.columns = table->columns;
        } else if (const auto text = catalogue_.savedQuery(wanted)) {
            constexpr int deepest = 20;
            if (depth_ == deepest) notUnderstood(sql_, at, "kayıtlı sorgular birbirini çağırıp duruyor");
            try {
                Selected selected = Translator(*text, catalogue_, depth_ + 1).wholeQuery();
                sql = "(" + selected.sql + ")";
                source.columns = std::move(selected.columns);
            } catch (const files::Error& error) {
                throw files::Error(error.fault(), "Kayıtlı sorgu '" + wanted + "': " + error.what());
            }
            source.alias = wanted;
        } else {
            throw files::Error(files::Fault::noSuchTable, "'" + wanted +
                                                              "' adlı bir tablo ya da sorgu yok; adları görmek için: "
                                                              "presva-mdb info");
        }
    }
    if (take("as"))
        source.alias = name("As'ten sonra bir ad bekleniyor");
    else if (word().kind == Word::Kind::bracket || (word().kind == Word::Kind::name && !isReserved(word())))
        source.alias = name("ad bekleniyor");
    if (source.alias.empty()) source.alias = "sorgu" + std::to_string(scope.sources.size() + 1);
    for (const Source& other : scope.sources)
        if (same(other.alias, source.alias))
            fail("'" + source.alias + "' From içinde iki kez geçiyor; As ile ad verin");
    sql += " AS " + sqlName(source.alias);
    scope.sources.push_back(std::move(source));
    return sql;
}

// ---- expressions ----

Expr Translator::disjunction(Scope& scope)
{
    Expr left = conjunction(scope);
    while (word().is("or") || word().is("xor")) {
        const bool exclusive = word().is("xor");
        ++at_;
        const Expr right = conjunction(scope);
        Expr both = exclusive
                        ? made("((NOT " + left.sql + ") <> (NOT " + right.sql + "))", Type::number, {&left, &right})
                        : made("(" + left.sql + " OR " + right.sql + ")", Type::number, {&left, &right});
        both.condition = true;
        left = std::move(both);
    }
    return left;
}

Expr Translator::conjunction(Scope& scope)
{
    Expr left = negation(scope);
    while (take("and")) {
        const Expr right = negation(scope);
        left = made("(" + left.sql + " AND " + right.sql + ")", Type::number, {&left, &right});
        left.condition = true;
    }
    return left;
}

Expr Translator::negation(Scope& scope)
{
    if (!take("not")) return comparison(scope);
    const Expr inner = negation(scope);
    Expr expr = made("(NOT " + inner.sql + ")", Type::number, {&inner});
    expr.condition = true;
    return expr;
}

/// Throws where two values of known kinds never equal each other: SQLite would find no row and say nothing.
void Translator::checkComparable(Expr& left, Expr& right, std::size_t at) const
{
    const auto asDate = [&](Expr& expr) {
        if (isNumber(expr.type)) {
            expr.sql = "acc_date(" + valueOf(expr) + ")";
            expr.type = Type::date;
            expr.column = expr.condition = false;
        } else if (expr.type == Type::text) {
            notUnderstood(sql_, at, "tarih bir metinle karşılaştırılamaz; #11/20/2025# (ay/gün/yıl) gibi yazın");
        }
    };
    if (left.type == Type::date && right.type != Type::date) asDate(right);
    if (right.type == Type::date && left.type != Type::date) asDate(left);
    if ((isNumber(left.type) && right.type == Type::text) || (left.type == Type::text && isNumber(right.type)))
        notUnderstood(sql_, at, "sayı bir metinle karşılaştırılamaz");
}

Expr Translator::compare(const Expr& left, const std::string& op, const Expr& right, std::size_t at) const
{
    Expr a = left;
    Expr b = right;
    checkComparable(a, b, at);
    // A literal takes the collation of the other side.
    const std::string first = a.literal ? valueOf(a) : collated(a);
    const std::string second = b.literal && !a.literal ? valueOf(b) : collated(b);
    Expr expr = made("(" + first + " " + op + " " + second + ")", Type::number, {&a, &b});
    expr.condition = true;
    return expr;
}

Expr Translator::comparison(Scope& scope)
{
    Expr left = concatenation(scope);
    for (;;) {
        const std::size_t at = word().at;
        const Word& next = word();
        if (next.kind == Word::Kind::other && (next.text == "=" || next.text == "<>" || next.text == "<" ||
                                               next.text == ">" || next.text == "<=" || next.text == ">=")) {
            ++at_;
            left = compare(left, next.text, concatenation(scope), at);
            continue;
        }
        if (take("is")) {
            const bool negated = take("not");
            expect("null");
            left = made("(" + valueOf(left) + (negated ? " IS NOT NULL)" : " IS NULL)"), Type::number, {&left});
            left.condition = true;
            continue;
        }
        const bool negated = word().is("not") && (word(1).is("like") || word(1).is("in") || word(1).is("between"));
        if (negated) ++at_;
        const std::string no = negated ? "NOT " : "";
        if (take("like")) {
            const Expr pattern = concatenation(scope);
            left = made("(" + valueOf(left) + " " + no + "LIKE " + valueOf(pattern) + ")", Type::number,
                        {&left, &pattern});
        } else if (take("between")) {
            Expr low = concatenation(scope);
            expect("and");
            Expr high = concatenation(scope);
            checkComparable(left, low, at);
            checkComparable(left, high, at);
            left = made("(" + collated(left) + " " + no + "BETWEEN " + valueOf(low) + " AND " + valueOf(high) + ")",
                        Type::number, {&left, &low, &high});
        } else if (take("in")) {
            expectMark("(");
            if (word().is("select")) {
                const Selected inner = query(&scope);
                if (inner.columns.size() != 1) fail("In içindeki sorgu tek sütunlu olmalı");
                left = made("(" + collated(left) + " " + no + "IN (" + inner.sql + "))", Type::number, {&left});
            } else {
                std::string list;
                Expr all;
                do {
                    Expr item = concatenation(scope);
                    checkComparable(left, item, at);
                    inherit(all, item);
                    list += (list.empty() ? "" : ", ") + valueOf(item);
                } while (takeMark(","));
                left = made("(" + collated(left) + " " + no + "IN (" + list + "))", Type::number, {&left, &all});
            }
            expectMark(")");
        } else {
            return left;
        }
        left.condition = true;
    }
}

Expr Translator::concatenation(Scope& scope)
{
    Expr left = sum(scope);
    while (takeMark("&")) {
        const Expr right = sum(scope);
        left = made("acc_concat(" + valueOf(left) + ", " + valueOf(right) + ")", Type::text, {&left, &right});
    }
    return left;
}

Expr Translator::sum(Scope& scope)
{
    Expr left = modulo(scope);
    while (word().isMark("+") || word().isMark("-")) {
        const bool plus = word().isMark("+");
        ++at_;
        const Expr right = modulo(scope);
        Type type = Type::number;
        const bool known = left.type != Type::unknown && right.type != Type::unknown;
        if (left.type == Type::date || right.type == Type::date)
            type = !plus && left.type == right.type ? Type::number : Type::date;
        else if (plus && left.type == Type::text && right.type == Type::text)
            type = Type::text;
        else if (!known)
            type = Type::unknown;
        left = made(std::string(plus ? "acc_add(" : "acc_subtract(") + valueOf(left) + ", " + valueOf(right) + ")",
                    type, {&left, &right});
    }
    return left;
}

Expr Translator::modulo(Scope& scope)
{
    Expr left = wholeDivision(scope);
    while (take("mod")) {
        const Expr right = wholeDivision(scope);
        left = made("acc_mod(" + valueOf(left) + ", " + valueOf(right) + ")", Type::number, {&left, &right});
    }
    return left;
}

Expr Translator::wholeDivision(Scope& scope)
{
    Expr left = product(scope);
    while (takeMark("\\")) {
        const Expr right = product(scope);
        left = made("acc_whole(" + valueOf(left) + ", " + valueOf(right) + ")", Type::number, {&left, &right});
    }
    return left;
}

Expr Translator::product(Scope& scope)
{
    Expr left = sign(scope);
    while (word().isMark("*") || word().isMark("/")) {
        const bool times = word().isMark("*");
        ++at_;
        const Expr right = sign(scope);
        left = made(std::string(times ? "acc_multiply(" : "acc_divide(") + valueOf(left) + ", " + valueOf(right) + ")",
                    Type::number, {&left, &right});
    }
    return left;
}

Expr Translator::sign(Scope& scope)
{
    if (takeMark("+")) return sign(scope);
    if (!takeMark("-")) return power(scope);
    const Expr inner = sign(scope);
    Expr expr = inner.literal ? made("-" + inner.sql, Type::number, {&inner})
                              : made("acc_negate(" + valueOf(inner) + ")", Type::number, {&inner});
    expr.literal = inner.literal;
    return expr;
}

Expr Translator::power(Scope& scope)
{
    Expr left = primary(scope);
    while (takeMark("^")) {
        const Expr right = takeMark("-") ? [&] {
            const Expr inner = primary(scope);
            return made("acc_negate(" + valueOf(inner) + ")", Type::number, {&inner});
        }()
                                         : primary(scope);
        left = made("acc_power(" + valueOf(left) + ", " + valueOf(right) + ")", Type::number, {&left, &right});
    }
    return left;
}

Expr Translator::primary(Scope& scope)
{
    const Word& next = word();
    switch (next.kind) {
    case Word::Kind::number:
        ++at_;
        return {.sql = next.text, .type = Type::number, .literal = true};
    case Word::Kind::text:
        ++at_;
        return {.sql = textLiteral(next.text), .type = Type::text, .literal = true};
    case Word::Kind::date: {
        const auto moment = dateLiteral(next.text);
        if (!moment) fail("bir tarih değil; #11/20/2025 14:05# (ay/gün/yıl) ya da #2025-11-20# gibi yazın");
        ++at_;
        return {.sql = textLiteral(*moment), .type = Type::date, .literal = true};
    }
    case Word::Kind::other:
        if (takeMark("(")) {
            if (word().is("select")) {
                const Selected inner = query(&scope);
                expectMark(")");
                if (inner.columns.size() != 1) fail("burada tek sütunlu bir sorgu olmalı");
                return {.sql = "(" + inner.sql + ")", .type = inner.columns[0].type};
            }
            Expr inner = expression(scope);
            expectMark(")");
            // A column stays one, and a condition too.
            if (!inner.column) inner.sql = "(" + inner.sql + ")";
            return inner;
        }
        break;
    case Word::Kind::name: {
        const bool called = word(1).isMark("(");
        if (next.is("null")) {
            ++at_;
            return {.sql = "NULL", .literal = true};
        }
        if (next.is("true") || next.is("yes") || next.is("on")) {
            ++at_;
            return {.sql = "-1", .type = Type::yesNo, .literal = true};
        }
        if (next.is("false") || next.is("no") || next.is("off")) {
            ++at_;
            return {.sql = "0", .type = Type::yesNo, .literal = true};
        }
        if (next.is("exists") && called) {
            at_ += 2;
            const Selected inner = query(&scope);
            expectMark(")");
            return {.sql = "EXISTS (" + inner.sql + ")", .type = Type::number, .condition = true};
        }
        if (called) return function(scope);
        if (!isReserved(next)) return reference(scope);
        break;
    }
    case Word::Kind::bracket:
        return reference(scope);
    default:
        break;
    }
    fail("bir değer ya da alan adı bekleniyor");
}

Expr Translator::reference(Scope& scope)
{
    const std::size_t at = word().at;
    std::string table;
    std::string field = name("alan adı bekleniyor");
    if (takeMark(".") || takeMark("!")) {
        table = std::move(field);
        field = name("alan adı bekleniyor");
    }
    if (word().isMark("!") || word().isMark("."))
        notUnderstood(sql_, at, "bir formun alanı sorulamaz; yerine değerini yazın");
    for (const Scope* each = &scope; each != nullptr; each = each->outer) {
        std::optional<Expr> found;
        for (const Source& source : each->sources) {
            if (!table.empty() && !same(source.alias, table)) continue;
            for (const NamedType& column : source.columns) {
                if (!same(column.name, field)) continue;
                if (found) notUnderstood(sql_, at, "'" + field + "' birden çok tabloda var; TABLO.ALAN diye yazın");
                const std::string sql = sqlName(source.alias) + "." + sqlName(column.name);
                found = {.sql = sql, .type = column.type, .column = true};
                // A column of the query around is one value for this one.
                if (each == &scope) found->loose.push_back(sql);
                break;
            }
        }
        if (found) return *found;
        if (!table.empty()) continue;
        for (const auto& [alias, expr] : each->aliases)
            if (same(alias, field)) return expr;
    }
    notUnderstood(sql_, at, "'" + (table.empty() ? "" : table + ".") + field + "' diye bir alan yok");
}

Expr Translator::function(Scope& scope)
{
    const std::string called = word().text;
    const Function* const known = functionNamed(called);
    if (known == nullptr) fail("'" + called + "' diye bir işlev yok");
    if (known->kind == Function::Kind::aggregate) return aggregate(scope, called, *known);
    if (known->kind == Function::Kind::special) return special(scope, called);
    at_ += 2;
    Expr expr{.type = known->type};
    std::size_t count = 0;
    std::string arguments;
    if (!word().isMark(")")) {
        do {
            const Expr argument = expression(scope);
            inherit(expr, argument);
            arguments += (count == 0 ? "" : ", ") + valueOf(argument);
            ++count;
        } while (takeMark(","));
    }
    if (count < known->fewest || count > known->most)
        fail(called + " işlevi " + std::to_string(known->fewest) +
             (known->most == known->fewest ? "" : " ile " + std::to_string(known->most) + " arası") + " değer ister");
    expectMark(")");
    expr.sql = std::string(known->sqlName) + "(" + arguments + ")";
    return expr;
}

Expr Translator::aggregate(Scope& scope, const std::string& called, const Function& function)
{
    at_ += 2;
    Expr expr{.type = function.type, .aggregate = true};
    if (takeMark("*")) {
        if (!same(called, "count")) fail("'*' yalnızca Count içinde olur");
        expr.sql = "count(*)";
    } else {
        const Expr inner = expression(scope);
        if (inner.aggregate) fail("bir toplamın içinde toplam olmaz");
        if (function.numbers && (inner.type == Type::text || inner.type == Type::date || inner.type == Type::bytes))
            fail(called + " sayı ister");
        if (function.type == Type::unknown) expr.type = inner.condition ? Type::number : inner.type;
        expr.sql = std::string(function.sqlName) + "(" + collated(inner) + ")";
    }
    expectMark(")");
    return expr;
}

/// Those whose arguments are conditions, or are looked at only when they count.
Expr Translator::special(Scope& scope, const std::string& called)
{
    at_ += 2;
    Expr expr;
    const auto next = [&] {
        Expr argument = expression(scope);
        inherit(expr, argument);
        return argument;
    };
    if (same(called, "iif")) {
        const Expr condition = next();
        expectMark(",");
        const Expr yes = next();
        expectMark(",");
        const Expr no = next();
        expr.type = yes.type == no.type ? yes.type : Type::unknown;
        expr.sql = "CASE WHEN " + condition.sql + " THEN " + valueOf(yes) + " ELSE " + valueOf(no) + " END";
    } else if (same(called, "isnull")) {
        expr.sql = "(" + valueOf(next()) + " IS NULL)";
        expr.type = Type::number;
        expr.condition = true;
    } else { // Nz
        const Expr value = next();
        const Expr instead = takeMark(",") ? next() : Expr{.sql = isNumber(value.type) ? "0" : "''"};
        expr.type = value.type;
        expr.sql = "coalesce(" + valueOf(value) + ", " + valueOf(instead) + ")";
    }
    expectMark(")");
    return expr;
}

// ---- statements that write ----

Catalogue::Shape Translator::tableToWrite()
{
    const std::size_t at = word().at;
    const std::string wanted = name("tablo adı bekleniyor");
    const auto table = catalogue_.table(wanted);
    if (!table) notUnderstood(sql_, at, "'" + wanted + "' adlı tablo yok");
    return *table;
}

std::string columnOf(const Catalogue::Shape& table, const std::string& wanted, std::string_view sql, std::size_t at)
{
    for (const NamedType& column : table.columns)
        if (same(column.name, wanted)) return sqlName(column.name);
    notUnderstood(sql, at, "'" + table.name + "' tablosunda '" + wanted + "' diye bir alan yok");
}

Translation Translator::insert()
{
    expect("into");
    const Catalogue::Shape table = tableToWrite();
    Translation translation{
        .kind = Translation::Kind::insert, .sql = "INSERT INTO " + sqlName(table.name), .columns = {}};
    std::size_t count = table.columns.size();
    if (takeMark("(")) {
        count = 0;
        std::string columns;
        do {
            const std::size_t at = word().at;
            columns += (count++ == 0 ? " (" : ", ") + columnOf(table, name("alan adı bekleniyor"), sql_, at);
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
            values += (given++ == 0 ? " VALUES (" : ", ") + valueOf(expression(nothing));
        } while (takeMark(","));
        expectMark(")");
        translation.sql += values + ")";
    } else {
        const Selected selected = query(nullptr);
        given = selected.columns.size();
        translation.sql += " " + selected.sql;
    }
    if (given != count)
        notUnderstood(sql_, at, std::to_string(count) + " alana " + std::to_string(given) + " değer verilmiş");
    end();
    return translation;
}

Translation Translator::update()
{
    const Catalogue::Shape table = tableToWrite();
    if (!word().is("set")) fail("Set bekleniyor; Update tek bir tabloyu değiştirir");
    ++at_;
    Scope scope;
    scope.sources.push_back({table.name, table.columns});
    Translation translation{.kind = Translation::Kind::update, .sql = {}, .columns = {}};
    do {
        const std::size_t at = word().at;
        std::string field = name("alan adı bekleniyor");
        if (takeMark(".")) field = name("alan adı bekleniyor");
        expectMark("=");
        translation.sql += (translation.sql.empty() ? "" : ", ") + columnOf(table, field, sql_, at) + " = " +
                           valueOf(expression(scope));
    } while (takeMark(","));
    translation.sql = "UPDATE " + sqlName(table.name) + " SET " + translation.sql;
    if (take("where")) translation.sql += " WHERE " + expression(scope).sql;
    end();
    return translation;
}

Translation Translator::erase()
{
    if (!takeMark("*") && word(1).isMark(".") && word(2).isMark("*")) at_ += 3;
    expect("from");
    const Catalogue::Shape table = tableToWrite();
    Scope scope;
    scope.sources.push_back({table.name, table.columns});
    Translation translation{
        .kind = Translation::Kind::erase, .sql = "DELETE FROM " + sqlName(table.name), .columns = {}};
    if (take("where")) translation.sql += " WHERE " + expression(scope).sql;
    end();
    return translation;
}

Translation Translator::statement()
{
    if (take("insert")) return insert();
    if (take("update")) return update();
    if (take("delete")) return erase();
    for (const char* other : {"transform", "parameters", "create", "alter", "drop", "execute"})
        if (word().is(other)) fail("bu deyim desteklenmiyor; Select, Insert, Update ya da Delete olmalı");
    // A name alone is the table or the saved query of that name.
    const bool alone = words_.size() == 2 || (words_.size() == 3 && words_[1].isMark(";"));
    if (alone && (word().kind == Word::Kind::bracket || word().kind == Word::Kind::name) && !isReserved(word())) {
        const std::string text = "Select * From [" + word().text + "]";
        Selected selected = Translator(text, catalogue_, depth_).wholeQuery();
        return {.kind = Translation::Kind::select, .sql = selected.sql, .columns = selected.columns};
    }
    Selected selected = wholeQuery();
    return {.kind = Translation::Kind::select, .sql = std::move(selected.sql), .columns = std::move(selected.columns)};
}

} // namespace

Translation translate(std::string_view sql, Catalogue& catalogue) { return Translator(sql, catalogue, 0).statement(); }

} // namespace query
