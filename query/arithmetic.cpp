#include "query/arithmetic.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace query {

namespace {

/// What stands on one side of an operator. A text that is a moment is one.
using Operand = std::variant<std::int64_t, double, jet::DateTime, std::u16string>;

Operand operandOf(const Arguments& values, int at)
{
    if (values.isWhole(at)) return values.whole(at);
    if (!values.isText(at)) return values.number(at);
    if (values.isMoment(at)) return jet::DateTime{values.number(at)};
    return values.units(at);
}

bool isMoment(const Operand& operand) { return std::holds_alternative<jet::DateTime>(operand); }

double numberOf(const Operand& operand)
{
    if (const auto* whole = std::get_if<std::int64_t>(&operand)) return static_cast<double>(*whole);
    if (const auto* number = std::get_if<double>(&operand)) return *number;
    if (const auto* moment = std::get_if<jet::DateTime>(&operand)) return moment->days;
    return numberIn(jet::toUtf8(std::get<std::u16string>(operand)));
}

/// The whole numbers tied, as long as the result is one; `tie` is true for one that is too large.
template <class Tie> std::optional<Operand> ofWholes(const Operand& left, const Operand& right, Tie tie)
{
    const auto* const a = std::get_if<std::int64_t>(&left);
    const auto* const b = std::get_if<std::int64_t>(&right);
    std::int64_t result = 0;
    if (a == nullptr || b == nullptr || tie(*a, *b, &result)) return std::nullopt;
    return result;
}

Operand sum(const Operand& left, const Operand& right)
{
    if (isMoment(left) || isMoment(right)) return jet::DateTime{daysOf(numberOf(left)) + daysOf(numberOf(right))};
    const auto* const a = std::get_if<std::u16string>(&left);
    const auto* const b = std::get_if<std::u16string>(&right);
    if (a != nullptr && b != nullptr) return *a + *b;
    const auto whole = ofWholes(left, right, [](auto x, auto y, auto* z) { return __builtin_add_overflow(x, y, z); });
    return whole ? *whole : Operand(numberOf(left) + numberOf(right));
}

Operand difference(const Operand& left, const Operand& right)
{
    if (isMoment(left) || isMoment(right)) {
        const double days = daysOf(numberOf(left)) - daysOf(numberOf(right));
        return isMoment(left) && isMoment(right) ? Operand(days) : Operand(jet::DateTime{days});
    }
    const auto whole = ofWholes(left, right, [](auto x, auto y, auto* z) { return __builtin_sub_overflow(x, y, z); });
    return whole ? *whole : Operand(numberOf(left) - numberOf(right));
}

Operand product(const Operand& left, const Operand& right)
{
    const auto whole = ofWholes(left, right, [](auto x, auto y, auto* z) { return __builtin_mul_overflow(x, y, z); });
    return whole ? *whole : Operand(numberOf(left) * numberOf(right));
}

/// Nothing for a division by zero.
std::optional<Operand> tied(char sign, const Operand& left, const Operand& right)
{
    switch (sign) {
    case '+':
        return sum(left, right);
    case '-':
        return difference(left, right);
    case '*':
        return product(left, right);
    case '^':
        return std::pow(numberOf(left), numberOf(right));
    default:
        break;
    }
    const bool exact = sign == '/';
    const double by = exact ? numberOf(right) : rounded(numberOf(right));
    if (by == 0) return std::nullopt;
    const double number = exact ? numberOf(left) : rounded(numberOf(left));
    if (exact) return number / by;
    return sign == 'm' ? std::fmod(number, by) : std::trunc(number / by);
}

} // namespace

double rounded(double number) { return std::nearbyint(number); }

void reckon(Arguments& values)
{
    const std::u16string signs = values.units(0);
    Operand result = operandOf(values, 1);
    for (std::size_t i = 0; i < signs.size(); ++i) {
        auto next = tied(static_cast<char>(signs[i]), result, operandOf(values, static_cast<int>(i) + 2));
        if (!next) return;
        result = *std::move(next);
    }
    struct Giver {
        Arguments& values;
        void operator()(std::int64_t whole) const { values.giveWhole(whole); }
        void operator()(double number) const { values.giveNumber(number); }
        void operator()(jet::DateTime moment) const { values.giveMoment(moment); }
        void operator()(const std::u16string& text) const { values.giveText(text); }
    };
    std::visit(Giver{values}, result);
}

} // namespace query
