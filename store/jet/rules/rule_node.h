#pragma once

#include "store/jet/rules/rule.h"
#include "store/jet/values/like_pattern.h"

#include <optional>
#include <string>
#include <vector>

namespace jet {

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
        like,    ///< pattern where it is a text of the rule, else a second part
        isNull,
        join, ///< &
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
    Value content;
    std::u16string name;
    std::optional<LikePattern> pattern;
    std::vector<Node> parts;
};

/// Throws unsupported.
Rule::Node parseRule(std::u16string_view text, Rule::Kind kind);
/// Throws unsupported.
Value evaluate(const Rule::Node& node, const RuleSubject& subject);
/// A call of that function with so many arguments is understood.
bool isRuleFunction(std::u16string_view name, std::size_t arguments);

/// Throws unsupported with a clause.
[[noreturn]] void throwNotUnderstood(const std::string& what);

} // namespace jet
