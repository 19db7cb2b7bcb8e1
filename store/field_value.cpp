#include "store/field_value.h"

#include "base/error.h"
#include "base/flag_text.h"
#include "base/numbers.h"
#include "base/patterns.h"

#include <cmath>

namespace store {
namespace {

const QDate dayZero(1899, 12, 30);
constexpr double secondsOfDay = 86400.0;

/// Digit for digit, whatever the size: an amount has more digits than a double carries.
QString amountToText(Money amount, const base::Regional& regional)
{
    const bool negative = amount.tenThousandths < 0;
    const auto bits = static_cast<std::uint64_t>(amount.tenThousandths);
    const std::uint64_t magnitude = negative ? 0 - bits : bits;
    QString decimals = QString::number(magnitude % 10000).rightJustified(4, u'0');
    while (decimals.endsWith(u'0')) decimals.chop(1);
    QString text = QString::number(magnitude / 10000);
    if (!decimals.isEmpty()) text += regional.decimal + decimals;
    return negative ? u'-' + text : text;
}

} // namespace

FieldValue FieldValue::date(const QDateTime& moment)
{
    const double day = static_cast<double>(dayZero.daysTo(moment.date()));
    const int wholeSeconds = moment.time().msecsSinceStartOfDay() / 1000;
    const double time = wholeSeconds / secondsOfDay;
    return DateDays{day < 0 ? day - time : day + time};
}

QString FieldValue::text() const
{
    const auto* text = std::get_if<QString>(&value_);
    return text ? *text : QString();
}

std::optional<double> FieldValue::number() const
{
    if (const auto* number = std::get_if<double>(&value_)) return *number;
    if (const auto* money = std::get_if<Money>(&value_)) return static_cast<double>(money->tenThousandths) / 10000.0;
    if (const auto* flag = std::get_if<bool>(&value_)) return *flag ? -1.0 : 0.0;
    return std::nullopt;
}

QDateTime FieldValue::moment() const
{
    const auto* date = std::get_if<DateDays>(&value_);
    if (!date || !(std::fabs(date->days) < 3.0e6)) return {};
    // The fraction counts forward also before day zero.
    double day = std::trunc(date->days);
    auto seconds = static_cast<qint64>(std::llround(std::fabs(date->days - day) * secondsOfDay));
    if (seconds >= 86400) {
        seconds -= 86400;
        day += 1;
    }
    return {dayZero.addDays(static_cast<qint64>(day)), QTime(0, 0).addSecs(static_cast<int>(seconds))};
}

QString FieldValue::toCaption(const base::Regional& regional) const
{
    if (isNull()) throw base::runtimeError(base::errors::invalidNull);
    return toCell(regional);
}

QString FieldValue::toCell(const base::Regional& regional) const
{
    if (isText()) return text();
    if (isDate()) return base::dateToText(moment(), regional);
    if (const auto* flag = std::get_if<bool>(&value_)) return base::flagText(*flag);
    if (const auto* money = std::get_if<Money>(&value_)) return amountToText(*money, regional);
    const std::optional<double> value = number();
    return value ? base::numberToText(*value, regional) : QString();
}

} // namespace store
