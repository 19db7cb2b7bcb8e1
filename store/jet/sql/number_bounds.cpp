#include "store/jet/sql/number_bounds.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace jet::sql {
namespace {

template <class Whole> NumberBounds wholeBounds(Condition::Span span)
{
    constexpr double least = std::numeric_limits<Whole>::min(), most = std::numeric_limits<Whole>::max();
    NumberBounds bounds;
    if (std::isfinite(span.from)) bounds.low = static_cast<Whole>(std::clamp(std::floor(span.from), least, most));
    if (std::isfinite(span.to)) bounds.high = static_cast<Whole>(std::clamp(std::ceil(span.to), least, most));
    return bounds;
}

NumberBounds currencyBounds(Condition::Span span)
{
    constexpr double unitsPerLira = 10000;
    // Twice rounded, by the query and by the comparison, each time by half of the last bit.
    const auto slack = [](double units) { return 1 + std::abs(units) * 4 * std::numeric_limits<double>::epsilon(); };
    const auto bound = [](double units) -> std::optional<Value> {
        constexpr double limit = 9.2e18; // of 64 bits, and a little less
        if (!(std::abs(units) < limit)) return std::nullopt;
        return Currency{static_cast<std::int64_t>(units)};
    };
    const double from = span.from * unitsPerLira, to = span.to * unitsPerLira;
    return {bound(std::floor(from - slack(from))), bound(std::ceil(to + slack(to)))};
}

NumberBounds doubleBounds(Condition::Span span)
{
    NumberBounds bounds;
    // Zero has two keys, of which that with the minus stands first.
    if (std::isfinite(span.from)) bounds.low = span.from == 0 ? -0.0 : span.from;
    if (std::isfinite(span.to)) bounds.high = span.to == 0 ? 0.0 : span.to;
    return bounds;
}

NumberBounds singleBounds(Condition::Span span)
{
    constexpr float infinite = std::numeric_limits<float>::infinity();
    const auto bound = [](double number, float towards) -> std::optional<Value> {
        if (!(std::abs(number) < std::numeric_limits<float>::max())) return std::nullopt;
        return std::nextafter(static_cast<float>(number), towards);
    };
    return {bound(span.from, -infinite), bound(span.to, infinite)};
}

} // namespace

std::optional<NumberBounds> numberBounds(ColumnType type, Condition::Span span)
{
    switch (type) {
    case ColumnType::byte:
        return wholeBounds<std::uint8_t>(span);
    case ColumnType::integer:
        return wholeBounds<std::int16_t>(span);
    case ColumnType::longInteger:
        return wholeBounds<std::int32_t>(span);
    case ColumnType::currency:
        return currencyBounds(span);
    case ColumnType::doubleFloat:
        return doubleBounds(span);
    case ColumnType::singleFloat:
        return singleBounds(span);
    default:
        return std::nullopt;
    }
}

} // namespace jet::sql
