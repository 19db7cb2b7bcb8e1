#include "query/translator.h"

#include "files/language.h"
#include "query/moments.h"

#include <algorithm>
#include <optional>

/// Expressions, from the loosest operator to the tightest.
namespace query {

namespace {

/// A function of SQLite's takes 127 values at most.
constexpr std::size_t mostParts = 100;

/// Of two values tied by an operator.
Type typeOf(char sign, Type left, Type right)
{
    if (sign != '+' && sign != '-') return Type::number;
    if (left == Type::date || right == Type::date) return sign == '-' && left == right ? Type::number : Type::date;
    if (sign == '+' && left == Type::text && right == Type::text) return Type::text;
    return left == Type::unknown || right == Type::unknown ? Type::unknown : Type::number;
}

} // namespace

Expr Translator::truth(Scope& scope)
{
    const std::size_t at = word().at;
    Expr expr = expression(scope);
    requireTruth(expr, at);
    return expr;
}

void Translator::requireTruth(const Expr& expr, std::size_t at) const
{
    if (expr.type != Type::text && expr.type != Type::date && expr.type != Type::bytes) return;
    notUnderstood(sql_, at,
                  files::said("burada bir koşul olmalı; bir metin ya da tarih ne doğrudur ne yanlış. Unvan = 'Ali', "
                              "Tarih < #11/20/2025# ya da Unvan Is Null gibi yazın",
                              "a condition must stand here; a text or a date is neither true nor false. Write it like "
                              "Unvan = 'Ali', Tarih < #11/20/2025# or Unvan Is Null"));
}

void Translator::requireText(const Expr& expr, std::size_t at) const
{
    if (expr.type == Type::date)
        notUnderstood(sql_, at,
                      files::said("tarih bir metin değil; Between #11/1/2025# And #11/30/2025# (ay/gün/yıl) ya da "
                                  "Format(Tarih, 'dd.mm.yyyy') gibi yazın",
                                  "a date is no text; write it like Between #11/1/2025# And #11/30/2025# "
                                  "(month/day/year) or Format(Tarih, 'dd.mm.yyyy')"));
    if (expr.type == Type::bytes)
        notUnderstood(
            sql_, at,
            files::said("bayt tutan alan (OLE, Binary) bir metin değil; Is Null ile sorulabilir, olduğu gibi "
                        "yazılabilir",
                        "a field of bytes (OLE, Binary) is no text; it can be asked with Is Null, and written "
                        "as it is"));
}

Expr Translator::exclusion(Scope& scope)
{
    const std::size_t at = word().at;
    Expr left = disjunction(scope);
    if (word().is("xor")) requireTruth(left, at);
    while (take("xor")) {
        const std::size_t next = word().at;
        const Expr right = disjunction(scope);
        requireTruth(right, next);
        left = made("((NOT " + left.sql + ") <> (NOT " + right.sql + "))", Type::number, {&left, &right});
        left.condition = true;
    }
    return left;
}

/// Conditions tied by one word, in one pair of brackets: how deep brackets lie in one another is limited.
Expr Translator::tied(Scope& scope, Expr (Translator::*part)(Scope&), std::string_view keyword)
{
    const std::size_t at = word().at;
    Expr all = (this->*part)(scope);
    if (!word().is(keyword)) return all;
    requireTruth(all, at);
    all = made("(" + all.sql, Type::number, {&all});
    while (take(keyword)) {
        const std::size_t next = word().at;
        const Expr right = (this->*part)(scope);
        requireTruth(right, next);
        all.sql += (keyword == "or" ? " OR " : " AND ") + right.sql;
        inherit(all, right);
    }
    all.sql += ")";
    all.condition = true;
    return all;
}

Expr Translator::disjunction(Scope& scope) { return tied(scope, &Translator::conjunction, "or"); }

Expr Translator::conjunction(Scope& scope) { return tied(scope, &Translator::negation, "and"); }

Expr Translator::negation(Scope& scope)
{
    const Level level(*this);
    if (!take("not")) return comparison(scope);
    const std::size_t at = word().at;
    const Expr inner = negation(scope);
    requireTruth(inner, at);
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
            notUnderstood(sql_, at,
                          files::said("tarih bir metinle karşılaştırılamaz; #11/20/2025# (ay/gün/yıl) gibi yazın",
                                      "a date cannot be compared with a text; write #11/20/2025# (month/day/year)"));
        }
    };
    const auto asBytes = [&](const Expr& expr) {
        if (isNumber(expr.type) || expr.type == Type::text || expr.type == Type::date)
            notUnderstood(
                sql_, at,
                files::said("bayt tutan alan (OLE, Binary) başka türden bir değerle karşılaştırılamaz; Is Null "
                            "ile sorulabilir",
                            "a field of bytes (OLE, Binary) cannot be compared with a value of another kind; it "
                            "can be asked with Is Null"));
    };
    if (left.type == Type::bytes) asBytes(right);
    if (right.type == Type::bytes) asBytes(left);
    if (left.type == Type::date && right.type != Type::date) asDate(right);
    if (right.type == Type::date && left.type != Type::date) asDate(left);
    if ((isNumber(left.type) && right.type == Type::text) || (left.type == Type::text && isNumber(right.type)))
        notUnderstood(sql_, at,
                      files::said("sayı bir metinle karşılaştırılamaz", "a number cannot be compared with a text"));
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
    const std::size_t begin = word().at;
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
            requireText(left, begin);
            const std::size_t behind = word().at;
            const Expr pattern = concatenation(scope);
            requireText(pattern, behind);
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
                if (inner.columns.size() != 1)
                    fail(files::said("In içindeki sorgu tek sütunlu olmalı", "the query in In must have one column"));
                Expr item{.sql = "NULL", .type = inner.columns[0].type};
                if (left.type == Type::date && isNumber(item.type))
                    fail(files::said("tarih, sayı veren bir sorguda aranamaz",
                                     "a date cannot be looked for in a query for numbers"));
                checkComparable(left, item, at);
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
                list.insert(0, "(" + collated(left) + " " + no + "IN (");
                left = made(list + "))", Type::number, {&left, &all});
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
    const std::size_t at = word().at;
    Expr left = sum(scope);
    while (word().isMark("&")) {
        requireText(left, at);
        left = made("acc_concat(" + valueOf(left), Type::text, {&left});
        for (std::size_t parts = 1; parts < mostParts && takeMark("&"); ++parts) {
            const std::size_t next = word().at;
            const Expr right = sum(scope);
            requireText(right, next);
            left.sql += ", " + valueOf(right);
            inherit(left, right);
        }
        left.sql += ")";
    }
    return left;
}

Expr Translator::sum(Scope& scope) { return chain(scope, &Translator::modulo, &Translator::modulo, "+-"); }

Expr Translator::modulo(Scope& scope)
{
    return chain(scope, &Translator::wholeDivision, &Translator::wholeDivision, "m");
}

Expr Translator::wholeDivision(Scope& scope) { return chain(scope, &Translator::product, &Translator::product, "\\"); }

Expr Translator::product(Scope& scope) { return chain(scope, &Translator::sign, &Translator::sign, "*/"); }

/// The operator that stands there, taken, if it is one of them; m is Mod. Nothing: 0.
char Translator::takeOperator(std::string_view operators)
{
    for (const char each : operators)
        if (each == 'm' ? take("mod") : takeMark({&each, 1})) return each;
    return 0;
}

/// Values tied by operators of one rank, from left to right, in one call, as long as there is room in it: how deep
/// calls lie in one another is limited.
Expr Translator::chain(Scope& scope, Part first, Part next, std::string_view operators)
{
    Expr left = (this->*first)(scope);
    for (char sign = takeOperator(operators); sign != 0;) {
        std::string signs;
        left = made(valueOf(left), left.condition ? Type::number : left.type, {&left});
        do {
            const Expr right = (this->*next)(scope);
            left.type = typeOf(sign, left.type, right.type);
            left.sql += ", " + valueOf(right);
            inherit(left, right);
            signs += sign;
            sign = takeOperator(operators);
        } while (sign != 0 && signs.size() + 1 < mostParts);
        left.sql = "acc_reckon('" + signs + "', " + left.sql + ")";
    }
    return left;
}

Expr Translator::sign(Scope& scope)
{
    const Level level(*this);
    if (takeMark("+")) return sign(scope);
    if (!takeMark("-")) return power(scope);
    const Expr inner = sign(scope);
    // Two signs without a bracket would begin a comment.
    const bool literal = inner.literal && inner.type == Type::number;
    Expr expr = literal ? made("(-" + inner.sql + ")", Type::number, {&inner})
                        : made("acc_negate(" + valueOf(inner) + ")", Type::number, {&inner});
    expr.literal = literal;
    if (!inner.exact.empty() && literal)
        expr.exact = inner.exact.starts_with("'-") ? "'" + inner.exact.substr(2) : "'-" + inner.exact.substr(1);
    return expr;
}

/// As it is written, in digits: more of them than a number of SQLite holds are kept beside it.
Expr Translator::number(const std::string& text)
{
    constexpr std::ptrdiff_t certain = 15;
    Expr expr{.sql = text, .type = Type::number, .literal = true};
    const bool plain = text.find_first_not_of("0123456789.") == text.npos;
    if (plain && std::ranges::count_if(text, [](char c) { return c != '.'; }) > certain) expr.exact = textLiteral(text);
    return expr;
}

Expr Translator::power(Scope& scope) { return chain(scope, &Translator::primary, &Translator::exponent, "^"); }

Expr Translator::exponent(Scope& scope)
{
    if (!takeMark("-")) return primary(scope);
    const Expr inner = primary(scope);
    return made("acc_negate(" + valueOf(inner) + ")", Type::number, {&inner});
}

bool Translator::isField(const Scope& scope, const std::string& name)
{
    return std::ranges::any_of(scope.sources, [&](const Source& source) {
        return std::ranges::any_of(source.columns, [&](const NamedType& column) { return same(column.name, name); });
    });
}

Expr Translator::primary(Scope& scope)
{
    const Word& next = word();
    switch (next.kind) {
    case Word::Kind::number:
        ++at_;
        return number(next.text);
    case Word::Kind::text:
        ++at_;
        return {.sql = textLiteral(next.text), .type = Type::text, .literal = true};
    case Word::Kind::date: {
        const auto moment = dateLiteral(next.text);
        if (!moment)
            fail(files::said("bir tarih değil; #11/20/2025 14:05# (ay/gün/yıl) ya da #2025-11-20# gibi yazın",
                             "this is no date; write #11/20/2025 14:05# (month/day/year) or #2025-11-20#"));
        ++at_;
        return {.sql = textLiteral(*moment), .type = Type::date, .literal = true};
    }
    case Word::Kind::other:
        if (takeMark("(")) {
            if (word().is("select")) {
                const Selected inner = query(&scope);
                expectMark(")");
                if (inner.columns.size() != 1)
                    fail(files::said("burada tek sütunlu bir sorgu olmalı", "the query here must have one column"));
                const std::string one =
                    inner.oneRow ? inner.sql
                                 : "SELECT acc_only(" + sqlName(inner.columns[0].name) + ") FROM (" + inner.sql + ")";
                return {.sql = "(" + one + ")", .type = inner.columns[0].type};
            }
            // What comes of an expression needs no bracket of its own.
            Expr inner = expression(scope);
            expectMark(")");
            return inner;
        }
        break;
    case Word::Kind::name: {
        const bool called = word(1).isMark("(");
        // "No" is the usual name of a number in Turkish tables: a field is meant wherever there is one.
        if (!called && !isReserved(next) && isField(scope, next.text)) return reference(scope);
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
    fail(files::said("bir değer ya da alan adı bekleniyor", "a value or the name of a field is expected"));
}

Expr Translator::reference(Scope& scope)
{
    const std::size_t at = word().at;
    std::string table;
    std::string field = name(files::said("alan adı bekleniyor", "the name of a field is expected"));
    if (takeMark(".") || takeMark("!")) {
        table = std::move(field);
        field = name(files::said("alan adı bekleniyor", "the name of a field is expected"));
    }
    if (word().isMark("!") || word().isMark("."))
        notUnderstood(sql_, at,
                      files::said("bir formun alanı sorulamaz; yerine değerini yazın",
                                  "the field of a form cannot be asked; write its value instead"));
    for (const Scope* each = &scope; each != nullptr; each = each->outer) {
        std::optional<Expr> found;
        for (const Source& source : each->sources) {
            if (!table.empty() && !same(source.alias, table)) continue;
            for (const NamedType& column : source.columns) {
                if (!same(column.name, field)) continue;
                if (found)
                    notUnderstood(sql_, at,
                                  "'" + field +
                                      files::said("' birden çok tabloda var; TABLO.ALAN diye yazın",
                                                  "' is in more than one table; write TABLE.FIELD"));
                found = columnOf(source.alias, column);
                // A column of the query around is one value for this one.
                if (each == &scope) found->loose.push_back(found->sql);
                break;
            }
        }
        if (found) return *found;
        if (!table.empty()) continue;
        for (const auto& [alias, expr] : each->aliases) {
            if (!same(alias, field)) continue;
            // Each name may hold the one before twice.
            constexpr std::size_t longest = 100'000;
            if (expr.sql.size() > longest)
                notUnderstood(sql_, at,
                              "'" + field + files::said("' çok uzun bir deyim", "' is too long an expression"));
            return expr;
        }
    }
    if (table.empty())
        if (const auto text = catalogue_.parameter(field)) return parameter(field, *text, at);
    const bool mayBeAsked = depth_ > 0 && table.empty();
    notUnderstood(
        sql_, at,
        "'" + (table.empty() ? "" : table + ".") + field + files::said("' diye bir alan yok", "' is no field") +
            (mayBeAsked ? files::said("; sorgunun sorduğu bir değerse --parameter \"", "; if the query asks for "
                                                                                       "it, --parameter \"") +
                              field + files::said("=değer\" ile verin", "=value\" gives it")
                        : ""));
}

/// What was given for a name that the query asks for.
Expr Translator::parameter(const std::string& name, const std::string& text, std::size_t at)
{
    if (depth_ == deepestQuery)
        notUnderstood(sql_, at, "'" + name + files::said("' kendini soruyor", "' asks for itself"));
    Translator given(text, catalogue_, depth_ + 1);
    Scope nothing;
    Expr value = given.expression(nothing);
    given.end();
    return value;
}

Expr Translator::function(Scope& scope)
{
    const std::string called = word().text;
    const Function* const known = functionNamed(called);
    if (known == nullptr) fail("'" + called + files::said("' diye bir işlev yok", "' is no function"));
    if (known->kind == Function::Kind::aggregate) return aggregate(scope, called, *known);
    if (known->kind == Function::Kind::special) return special(scope, called);
    at_ += 2;
    Expr expr{.type = known->type};
    std::size_t count = 0;
    std::string arguments, exact;
    if (!word().isMark(")")) {
        do {
            const std::size_t at = word().at;
            const Expr argument = expression(scope);
            if (known->texts) requireText(argument, at);
            inherit(expr, argument);
            arguments += (count == 0 ? "" : ", ") + valueOf(argument);
            exact += (count == 0 ? "" : ", ") + exactOf(argument);
            ++count;
        } while (takeMark(","));
    }
    if (count < known->fewest || count > known->most)
        fail(called + files::said(" işlevi ", " wants ") + std::to_string(known->fewest) +
             (known->most == known->fewest
                  ? ""
                  : files::said(" ile ", " to ") + std::to_string(known->most) + files::said(" arası", "")) +
             files::said(" değer ister", " values"));
    expectMark(")");
    expr.sql = std::string(known->sqlName) + "(" + arguments + ")";
    if (!known->exact.empty()) expr.exact = std::string(known->exact) + "(" + exact + ")";
    return expr;
}

Expr Translator::aggregate(Scope& scope, const std::string& called, const Function& function)
{
    at_ += 2;
    Expr expr{.type = function.type, .aggregate = true};
    if (takeMark("*")) {
        if (!same(called, "count")) fail(files::said("'*' yalnızca Count içinde olur", "'*' stands in Count alone"));
        expr.sql = "count(*)";
    } else {
        const Expr inner = expression(scope);
        if (inner.aggregate) fail(files::said("bir toplamın içinde toplam olmaz", "a sum cannot hold a sum"));
        if (function.numbers && (inner.type == Type::text || inner.type == Type::date || inner.type == Type::bytes))
            fail(called + files::said(" sayı ister", " wants numbers"));
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
        const std::size_t at = word().at;
        const Expr condition = next();
        requireTruth(condition, at);
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

} // namespace query
