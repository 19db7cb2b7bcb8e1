#include "query/expression.h"

#include "exchange/ascii.h"
#include "store/jet/values/names.h"
#include "store/jet/values/value.h"

#include <algorithm>
#include <array>

namespace query {

namespace {

constexpr std::array<std::string_view, 29> reserved = {
    "select", "from", "where", "group", "having", "order", "union", "inner",  "left", "right",
    "join",   "on",   "as",    "and",   "or",     "not",   "xor",   "eqv",    "imp",  "between",
    "in",     "is",   "like",  "mod",   "by",     "asc",   "desc",  "values", "set"};

} // namespace

bool same(std::string_view a, std::string_view b) { return jet::sameName(jet::fromUtf8(a), jet::fromUtf8(b)); }

std::string sqlName(std::string_view name) { return exchange::inMarks(name, '"'); }

std::string textLiteral(std::string_view value) { return exchange::inMarks(value, '\''); }

bool isNumber(Type type) { return type == Type::number || type == Type::yesNo; }

bool isReserved(const Word& word)
{
    return std::ranges::any_of(reserved, [&](std::string_view each) { return word.is(each); });
}

std::string valueOf(const Expr& expr) { return expr.condition ? "(-(" + expr.sql + "))" : expr.sql; }

std::string exactOf(const Expr& expr) { return expr.exact.empty() ? valueOf(expr) : expr.exact; }

Expr columnOf(const std::string& alias, const NamedType& column)
{
    const std::string table = sqlName(alias) + ".";
    return {.sql = table + sqlName(column.name),
            .type = column.type,
            .column = true,
            .exact = column.exact ? table + sqlName(exactName(column.name)) : ""};
}

std::string collated(const Expr& expr)
{
    const bool text = expr.type == Type::text || expr.type == Type::unknown;
    if (expr.column || expr.condition || !text) return valueOf(expr);
    return "(" + expr.sql + " COLLATE ACCESS)";
}

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

} // namespace query
