#pragma once

#include "store/jet/values/value.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// SQL text to a tree, by the grammar that sql.h describes. Names are as written: whether there is such a table or
/// field is found out later. Everything that is not understood throws Fault::syntax with a sentence that shows where.
namespace jet::sql {

/// A field by name, or a value written in the text: Null, bool, double, DateTime or text.
struct Operand {
    std::u16string field; ///< empty for a value
    Value value;
    bool isField() const { return !field.empty(); }
};

/// Each is the set of outcomes it is met by: the left side less, equal, greater.
enum class Comparison : unsigned {
    less = 1,
    equal = 2,
    greater = 4,
    lessOrEqual = less | equal,
    unequal = less | greater,
    greaterOrEqual = equal | greater,
};

/// A condition. And, Or and Not have parts; the others compare `left`.
struct Expression {
    enum class Kind { all, any, negation, compare, like, isNull };
    Kind kind = Kind::all;
    std::vector<Expression> parts; ///< all (And), any (Or): two or more; negation (Not): one
    Comparison comparison{};       ///< compare
    Operand left;                  ///< compare, like, isNull
    Operand right;                 ///< compare
    std::u16string pattern;        ///< like
};

struct Output {
    std::u16string field;
    bool sum = false;
};

struct OrderItem {
    std::u16string field;
    bool descending = false;
};

struct Statement {
    enum class Kind { select, erase };
    Kind kind = Kind::select;
    std::vector<Output> outputs; ///< select; empty means *
    std::u16string table;
    std::optional<Expression> where;
    std::vector<OrderItem> order;
};

Statement parseStatement(std::u16string_view text);

/// A condition alone, as after Where.
Expression parseCondition(std::u16string_view text);

} // namespace jet::sql
