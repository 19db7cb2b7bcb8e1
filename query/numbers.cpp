#include "query/numbers.h"

#include "exchange/field_text.h"
#include "store/jet/values/decimal.h"

#include <charconv>
#include <cstdint>

namespace query {

double shortestOf(float number)
{
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, number).ptr;
    double value = number;
    std::from_chars(text, end, value);
    return value;
}

double numberOf(jet::Currency money)
{
    constexpr double units = 10000;
    return static_cast<double>(money.tenThousandths) / units;
}

std::string fieldText(const jet::Value& value)
{
    std::string text;
    exchange::Output out(text);
    exchange::FieldWriter(out).put(value);
    out.flush();
    return text;
}

bool isExact(jet::ColumnType type) { return type == jet::ColumnType::currency || type == jet::ColumnType::numeric; }

bool hasManyDigits(const jet::Value& value)
{
    if (const auto* money = std::get_if<jet::Currency>(&value)) {
        constexpr std::int64_t least = 1'000'000'000'000'000;
        return money->tenThousandths >= least || money->tenThousandths <= -least;
    }
    constexpr unsigned certain = 15;
    const auto* number = std::get_if<jet::Numeric>(&value);
    return number != nullptr && jet::decimal::digits(*number) > certain;
}

} // namespace query
