#pragma once

#include "store/jet/rules/rule.h"
#include "store/jet/rules/rule_number.h"

#include <string>
#include <variant>
#include <vector>

namespace jet {

/// A field of a type that is there or not, and no more can be said of it.
struct Opaque {};

/// What a piece of a rule comes to.
using Operand = std::variant<Null, bool, RuleNumber, DateTime, std::u16string, Opaque>;
inline bool isNull(const Operand& operand) { return std::holds_alternative<Null>(operand); }

/// A piece of a rule with the pieces that it is made of. Private to Rule.
struct Rule::Node {
    enum class Op {
        value, ///< content
        own,   ///< the field that the rule stands at
        field, ///< name
        orOp,
        andOp,
        notOp,
        equal,
        unequal,
        less,
        lessOrEqual,
        greater,
        greaterOrEqual,
        between, ///< three parts
        in,      ///< the first part among the others
        like,
        isNull,
        meant, ///< the first part, which is own, equals the second: a value that stands alone
        join,  ///< &
        add,
        subtract,
        multiply,
        divide,
        divideWhole,
        remainder,
        negate,
        call, ///< name, in small letters
    };
    Op op = Op::value;
    Operand content;
    std::u16string name;
    std::vector<Node> parts;
};

/// The subject, and the order of its texts.
struct RuleQuestion {
    const RuleSubject& subject;
    Collation order;
};

/// Throws unsupported.
Rule::Node parseRule(std::u16string_view text, Rule::Kind kind, const RuleHome& home);
/// Throws unsupported.
Operand evaluate(const Rule::Node& node, const RuleQuestion& question);

/// A call of that function with so many arguments is understood.
bool isRuleFunction(std::u16string_view name, std::size_t arguments);
/// What it answers to arguments of which none is Null. Throws unsupported.
Operand callRuleFunction(std::u16string_view name, const std::vector<Operand>& arguments, const RuleQuestion& question);

/// An operand that is not Null, as a number. Throws unsupported.
RuleNumber numberOf(const Operand& operand);
std::u16string textOf(const Operand& operand);

/// Throws unsupported with a clause.
[[noreturn]] void throwNotUnderstood(const std::string& what);

} // namespace jet
