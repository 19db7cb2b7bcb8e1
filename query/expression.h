#pragma once

#include "query/access_sql.h"
#include "query/sql_words.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What the translator makes of the parts of a text.
namespace query {

/// An expression in SQLite's words.
struct Expr {
    std::string sql = {};
    Type type = Type::unknown;
    bool condition = false;              ///< true or false, which SQLite counts as 1 and 0
    bool column = false;                 ///< a column and nothing else: it carries its collation
    bool literal = false;                ///< a value written in the text
    bool aggregate = false;              ///< holds Sum, Count, ...
    std::string exact = {};              ///< the same with all its digits, where it may have too many for a number
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
    std::vector<NamedType> columns = {};
    bool oneRow = false;    ///< or none, whatever the tables hold
    bool ended = false;     ///< by an order or a limit: no union may follow as it is
    std::string exact = {}; ///< the same with all digits, for who does not compare them; empty: sql has them
};

/// Names that mean one thing, whatever their letter case.
bool same(std::string_view a, std::string_view b);
/// A word that no name is unless it stands in brackets.
bool isReserved(const Word& word);
/// In SQLite's quotes.
std::string sqlName(std::string_view name);
std::string textLiteral(std::string_view value);

bool isNumber(Type type);
/// As a value True is -1.
std::string valueOf(const Expr& expr);
/// To be stored or shown, and nothing else: a number that has too many digits is a text.
std::string exactOf(const Expr& expr);
/// A column of a table, seen by `alias`.
Expr columnOf(const std::string& alias, const NamedType& column);
/// To be compared, grouped and put in order as Access does.
std::string collated(const Expr& expr);
/// What an expression takes over from one of its parts.
void inherit(Expr& expr, const Expr& part);
Expr made(std::string sql, Type type, std::initializer_list<const Expr*> parts);

} // namespace query
