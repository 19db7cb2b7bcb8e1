#include "store/jet/format/doors.h"
#include "store/jet/rules/rule_node.h"
#include "store/jet/rules/rule_texts.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <compare>
#include <utility>

/// What rules come to.
namespace jet {
namespace {

using Node = Rule::Node;
using Op = Node::Op;

/// A field's value as rules reckon with it.
Operand operandOf(const Value& value)
{
    struct Read {
        Operand operator()(Null) const { return {}; }
        Operand operator()(bool flag) const { return flag; }
        Operand operator()(std::uint8_t number) const { return RuleNumber::whole(number); }
        Operand operator()(std::int16_t number) const { return RuleNumber::whole(number); }
        Operand operator()(std::int32_t number) const { return RuleNumber::whole(number); }
        Operand operator()(Currency money) const { return RuleNumber::of(money); }
        Operand operator()(float number) const { return RuleNumber::of(number); }
        Operand operator()(double number) const { return RuleNumber::of(number); }
        Operand operator()(DateTime moment) const { return moment; }
        Operand operator()(const std::u16string& text) const { return text; }
        Operand operator()(const Bytes&) const { return Opaque(); }
        Operand operator()(const Guid&) const { return Opaque(); }
        Operand operator()(const Numeric& number) const { return RuleNumber::of(number); }
    };
    return std::visit(Read{}, value);
}

bool isText(const Operand& operand) { return std::holds_alternative<std::u16string>(operand); }
bool isMoment(const Operand& operand) { return std::holds_alternative<DateTime>(operand); }

/// An answer that is not Null. A number is none here: Access ties numbers bit by bit.
bool isTrue(const Operand& answer)
{
    const auto* flag = std::get_if<bool>(&answer);
    if (flag == nullptr) throwNotUnderstood("And, Or ve Not yalnız koşulları bağlar");
    return *flag;
}

/// Of two answers of which one may be unknown.
Operand both(const Operand& a, const Operand& b)
{
    const bool oneIsFalse = !isNull(a) && !isTrue(a), otherIsFalse = !isNull(b) && !isTrue(b);
    if (oneIsFalse || otherIsFalse) return false;
    if (isNull(a) || isNull(b)) return {};
    return true;
}
Operand inverted(const Operand& answer)
{
    if (isNull(answer)) return {};
    return !isTrue(answer);
}

std::partial_ordering compared(const Operand& left, const Operand& right, const RuleQuestion& question)
{
    if (isText(left) && isText(right))
        return orderOfTexts(std::get<std::u16string>(left), std::get<std::u16string>(right), question.order);
    if (isText(left) || isText(right)) throwNotUnderstood("metin, metin olmayan bir değerle karşılaştırılamaz");
    if (isMoment(left) || isMoment(right))
        return milliseconds(DateTime{numberOf(left).value()}) <=> milliseconds(DateTime{numberOf(right).value()});
    return numberOf(left) <=> numberOf(right);
}

Operand comparison(Op op, const Operand& left, const Operand& right, const RuleQuestion& question)
{
    if (isNull(left) || isNull(right)) return {};
    const std::partial_ordering order = compared(left, right, question);
    if (op == Op::equal) return std::is_eq(order);
    if (op == Op::unequal) return std::is_neq(order);
    if (order == std::partial_ordering::unordered)
        throwNotUnderstood("metinlerin bu dosyanın alfabesindeki sırası bilinmiyor");
    if (op == Op::less) return std::is_lt(order);
    if (op == Op::lessOrEqual) return std::is_lteq(order);
    return op == Op::greater ? std::is_gt(order) : std::is_gteq(order);
}

/// True and False alone may be meant as the answer itself: beside a field that is no Yes/No nobody knows.
Operand isMeant(const Operand& own, const Operand& value, const RuleQuestion& question)
{
    const auto isFlag = [](const Operand& each) { return std::holds_alternative<bool>(each); };
    if (isFlag(value) && !isFlag(own) && !isNull(own))
        throwNotUnderstood("evet/hayır tek başına bu türden bir alanla karşılaştırılamaz");
    return comparison(Op::equal, own, value, question);
}

/// The two ends may stand in any order; an end that is Null leaves everything unknown.
Operand isBetween(const Operand& middle, const Operand& one, const Operand& other, const RuleQuestion& question)
{
    if (isNull(middle) || isNull(one) || isNull(other)) return {};
    const bool backwards = std::get<bool>(comparison(Op::greater, one, other, question));
    return both(comparison(Op::greaterOrEqual, middle, backwards ? other : one, question),
                comparison(Op::lessOrEqual, middle, backwards ? one : other, question));
}

Operand isAmong(const Node& node, const RuleQuestion& question)
{
    const Operand wanted = evaluate(node.parts[0], question);
    Operand answer = false;
    for (std::size_t i = 1; i < node.parts.size(); ++i) {
        const Operand each = evaluate(node.parts[i], question);
        answer = inverted(both(inverted(answer), inverted(comparison(Op::equal, wanted, each, question))));
    }
    return answer;
}

Operand isLiked(const Operand& text, const Operand& pattern, const RuleQuestion& question)
{
    if (isNull(pattern)) return {};
    // A pattern that cannot be read is found out before there is a text.
    const bool matches = isLike(isNull(text) ? std::u16string() : textOf(text), textOf(pattern), question.order);
    return isNull(text) ? Operand() : Operand(matches);
}

Operand joined(const Operand& left, const Operand& right)
{
    // Null joins as nothing, unless both are.
    if (isNull(left) && isNull(right)) return {};
    return (isNull(left) ? std::u16string() : textOf(left)) + (isNull(right) ? std::u16string() : textOf(right));
}

Operand reckoned(Op op, const Operand& left, const Operand& right)
{
    if (isNull(left) || isNull(right)) return {};
    if (op == Op::add && isText(left) && isText(right))
        return std::get<std::u16string>(left) + std::get<std::u16string>(right);
    const RuleNumber a = numberOf(left), b = numberOf(right);
    const bool oneMoment = isMoment(left) != isMoment(right);
    switch (op) {
    case Op::add:
        return oneMoment ? Operand(DateTime{a.value() + b.value()}) : Operand(a + b);
    case Op::subtract:
        return oneMoment && isMoment(left) ? Operand(DateTime{a.value() - b.value()}) : Operand(a - b);
    case Op::multiply:
        return a * b;
    case Op::divide:
        return a / b;
    default:
        break;
    }
    const std::int64_t whole = a.rounded(), divisor = b.rounded();
    if (divisor == 0) throwNotUnderstood("sıfıra bölme");
    return RuleNumber::whole(op == Op::divideWhole ? whole / divisor : whole % divisor);
}

Operand called(const Node& node, const RuleQuestion& question)
{
    if (node.name == u"iif") {
        const Operand answer = evaluate(node.parts[0], question);
        const auto* const number = std::get_if<RuleNumber>(&answer);
        const bool met = number != nullptr ? !number->isZero() : !isNull(answer) && isTrue(answer);
        return evaluate(node.parts[met ? 1 : 2], question);
    }
    std::vector<Operand> given;
    for (const Node& part : node.parts) given.push_back(evaluate(part, question));
    if (node.name == u"isnull") return isNull(given[0]);
    if (std::ranges::any_of(given, [](const Operand& operand) { return isNull(operand); })) return {};
    return callRuleFunction(node.name, given, question);
}

} // namespace

RuleNumber numberOf(const Operand& operand)
{
    if (const auto* number = std::get_if<RuleNumber>(&operand)) return *number;
    if (const auto* flag = std::get_if<bool>(&operand)) return RuleNumber::whole(*flag ? -1 : 0);
    // What days are reckoned with were reckoned themselves.
    if (const auto* moment = std::get_if<DateTime>(&operand)) return RuleNumber::reckoned(moment->days);
    const auto* const text = std::get_if<std::u16string>(&operand);
    if (text == nullptr) throwNotUnderstood("bu türden bir alanla hesap yapılamaz");
    // Decimals are read differently on every computer.
    std::string digits = toUtf8(*text);
    const bool negative = digits.starts_with('-');
    if (negative) digits.erase(0, 1);
    const bool allDigits = std::ranges::all_of(digits, [](char digit) { return digit >= '0' && digit <= '9'; });
    const auto number = allDigits ? RuleNumber::written(digits) : std::nullopt;
    if (!number || !number->asWhole()) throwNotUnderstood("“" + toUtf8(*text) + "” bir tam sayı değil");
    return negative ? -*number : *number;
}

std::u16string textOf(const Operand& operand)
{
    if (const auto* text = std::get_if<std::u16string>(&operand)) return *text;
    // They are written differently on every computer.
    if (isMoment(operand)) throwNotUnderstood("tarih metin olarak kullanılamaz");
    if (std::holds_alternative<bool>(operand)) throwNotUnderstood("evet/hayır metin olarak kullanılamaz");
    return fromUtf8(numberOf(operand).text());
}

Operand evaluate(const Node& node, const RuleQuestion& question)
{
    const auto part = [&](std::size_t i) { return evaluate(node.parts[i], question); };
    switch (node.op) {
    case Op::value:
        return node.content;
    case Op::own:
        if (question.subject.own == nullptr) throwNotUnderstood("hangi alandan söz ettiği belli değil");
        return operandOf(*question.subject.own);
    case Op::field: {
        const Value* const value = question.subject.field ? question.subject.field(node.name) : nullptr;
        if (value == nullptr) throwNotUnderstood(quotedName(node.name) + " adlı bir alan yok");
        return operandOf(*value);
    }
    case Op::orOp:
        return inverted(both(inverted(part(0)), inverted(part(1))));
    case Op::andOp:
        return both(part(0), part(1));
    case Op::notOp:
        return inverted(part(0));
    case Op::between:
        return isBetween(part(0), part(1), part(2), question);
    case Op::in:
        return isAmong(node, question);
    case Op::like:
        return isLiked(part(0), part(1), question);
    case Op::isNull:
        return isNull(part(0));
    case Op::meant:
        return isMeant(part(0), part(1), question);
    case Op::join:
        return joined(part(0), part(1));
    case Op::negate: {
        const Operand number = part(0);
        return isNull(number) ? Operand() : Operand(-numberOf(number));
    }
    case Op::call:
        return called(node, question);
    case Op::equal:
    case Op::unequal:
    case Op::less:
    case Op::lessOrEqual:
    case Op::greater:
    case Op::greaterOrEqual:
        return comparison(node.op, part(0), part(1), question);
    default:
        return reckoned(node.op, part(0), part(1));
    }
}

} // namespace jet
