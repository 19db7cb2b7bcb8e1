#include "store/jet/rules/rule.h"

#include "store/jet/rules/rule_node.h"

namespace jet {

Rule::Rule(std::u16string_view text, Kind kind, const RuleHome& home)
    : root_(std::make_unique<Node>(parseRule(text, kind, home))), order_(home.order)
{
}
Rule::~Rule() = default;
Rule::Rule(Rule&&) noexcept = default;
Rule& Rule::operator=(Rule&&) noexcept = default;

bool Rule::allows(const RuleSubject& subject) const
{
    const Operand outcome = evaluate(*root_, {subject, order_});
    if (const auto* flag = std::get_if<bool>(&outcome)) return *flag;
    if (isNull(outcome)) return true;
    throwNotUnderstood("sonucu doğru ya da yanlış değil");
}

namespace {

Value valueOf(const Operand& outcome)
{
    struct Given {
        Value operator()(Null) const { return {}; }
        Value operator()(bool flag) const { return flag; }
        Value operator()(const RuleNumber& number) const { return number.toWrite(); }
        Value operator()(DateTime moment) const { return moment; }
        Value operator()(const std::u16string& text) const { return text; }
        Value operator()(Opaque) const { throwNotUnderstood("sonucu yazılabilecek bir değer değil"); }
    };
    return std::visit(Given{}, outcome);
}

} // namespace

Value Rule::value(const RuleSubject& subject) const { return valueOf(evaluate(*root_, {subject, order_})); }

Value Rule::number(const RuleSubject& subject) const
{
    const Operand outcome = evaluate(*root_, {subject, order_});
    const bool isText = std::holds_alternative<std::u16string>(outcome);
    return isText ? numberOf(outcome).toWrite() : valueOf(outcome);
}

Value Rule::text(const RuleSubject& subject) const
{
    const Operand outcome = evaluate(*root_, {subject, order_});
    return isNull(outcome) ? Value() : Value(textOf(outcome));
}

} // namespace jet
