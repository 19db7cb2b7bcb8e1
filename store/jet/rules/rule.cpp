#include "store/jet/rules/rule.h"

#include "store/jet/rules/rule_node.h"

#include <utility>

namespace jet {

Rule::Rule(std::u16string_view text, Kind kind) : root_(std::make_unique<Node>(parseRule(text, kind))) {}
Rule::~Rule() = default;
Rule::Rule(Rule&&) noexcept = default;
Rule& Rule::operator=(Rule&&) noexcept = default;

bool Rule::allows(const RuleSubject& subject) const
{
    const Value outcome = evaluate(*root_, subject);
    if (const auto* flag = std::get_if<bool>(&outcome)) return *flag;
    if (const auto* number = std::get_if<double>(&outcome)) return *number != 0;
    if (isNull(outcome)) return true;
    throwNotUnderstood("sonucu doğru ya da yanlış değil");
}

Value Rule::value(const RuleSubject& subject) const { return evaluate(*root_, subject); }

} // namespace jet
