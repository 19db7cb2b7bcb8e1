#include "query/arguments.h"

#include "exchange/ascii.h"
#include "exchange/field_text.h"
#include "exchange/written_values.h"
#include "files/error.h"
#include "files/language.h"
#include "query/moments.h"
#include "store/jet/format/limits.h"
#include "store/jet/values/decimal.h"

#include <charconv>
#include <cmath>
#include <optional>

namespace query {

namespace {

using exchange::withoutBlanks;

std::optional<double> wholeNumberOf(std::string_view text)
{
    text = withoutBlanks(text);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) return std::nullopt;
    return number;
}

/// A date as people write it: 20.11.2025 14:05, 2025-11-20, 20 Kasım 2025. Throws files::Error (badValue).
jet::DateTime writtenMoment(std::string_view text)
{
    const exchange::Hint hint = exchange::dateHint(text);
    if (hint == exchange::Hint::either)
        throw files::Error(files::Fault::badValue,
                           "'" + std::string(text) +
                               files::said("': önce gün mü ay mı yazılmış, belli değil; #ay/gün/yıl# ya da "
                                           "'yıl-ay-gün' yazın",
                                           "': nobody can tell whether the day or the month comes first; write "
                                           "#month/day/year# or 'year-month-day'"));
    jet::Column date;
    date.type = jet::ColumnType::dateTime;
    const exchange::WrittenStyle style{.dayFirst = hint != exchange::Hint::second};
    const jet::Value value = exchange::writtenValue({std::string(text), true}, date, style);
    const auto* const moment = std::get_if<jet::DateTime>(&value);
    return moment != nullptr ? *moment : jet::DateTime{numberIn(text)};
}

} // namespace

std::string_view Arguments::bytes(int at) const
{
    const auto* const text = reinterpret_cast<const char*>(sqlite3_value_text(values_[at]));
    return {text == nullptr ? "" : text, static_cast<std::size_t>(sqlite3_value_bytes(values_[at]))};
}

bool Arguments::isMoment(int at) const { return isText(at) && momentOf(bytes(at)).has_value(); }

bool Arguments::isNumeric(int at) const
{
    const int type = sqlite3_value_type(values_[at]);
    return type == SQLITE_INTEGER || type == SQLITE_FLOAT || (type == SQLITE_TEXT && wholeNumberOf(bytes(at)));
}

double Arguments::number(int at) const
{
    const int type = sqlite3_value_type(values_[at]);
    if (type == SQLITE_INTEGER || type == SQLITE_FLOAT) return sqlite3_value_double(values_[at]);
    if (type == SQLITE_TEXT) return numberIn(bytes(at));
    throw files::Error(files::Fault::badValue, files::said("ikili bir değer sayı gibi kullanılamaz",
                                                           "a binary value cannot be used as a number"));
}

double Arguments::days(int at) const
{
    if (isText(at) && !isMoment(at) && !isNumeric(at)) return daysOf(writtenMoment(bytes(at)).days);
    return daysOf(number(at));
}

std::optional<jet::Currency> Arguments::money(int at) const
{
    constexpr double tooLarge = 1e15, tooSmall = 1e-5; // between them a number is written in plain digits
    const double size = number(at);
    if (!(std::abs(size) < tooLarge)) return std::nullopt;
    if (std::abs(size) < tooSmall) return jet::Currency{};
    auto exact = exchange::decimalIn(isText(at) ? withoutBlanks(bytes(at)) : exchange::numberText(size));
    if (!exact) exact = exchange::decimalIn(exchange::numberText(size));
    return exact ? jet::decimal::toCurrency(*exact) : std::nullopt;
}

std::u16string Arguments::units(int at) const
{
    if (sqlite3_value_type(values_[at]) == SQLITE_FLOAT)
        return jet::fromUtf8(exchange::numberText(sqlite3_value_double(values_[at])));
    return jet::fromUtf8(bytes(at));
}

void Arguments::giveText(const std::u16string& text)
{
    const std::string utf8 = jet::toUtf8(text);
    sqlite3_result_text64(context_, utf8.data(), utf8.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void Arguments::giveMoment(jet::DateTime moment)
{
    const auto text = momentText(moment);
    if (!text) failBeyondCalendar();
    sqlite3_result_text64(context_, text->data(), text->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

double numberIn(std::string_view text)
{
    if (const auto moment = momentOf(text)) return moment->days;
    if (const auto number = wholeNumberOf(text)) return *number;
    throw files::Error(files::Fault::badValue,
                       "'" + std::string(text) +
                           files::said("' bir sayı ya da tarih değil", "' is no number and no date"));
}

double daysOf(double number)
{
    if (jet::limits::isMoment(number)) return number;
    failBeyondCalendar();
}

void failBeyondCalendar()
{
    throw files::Error(files::Fault::badValue, files::said("tarih 100 ile 9999 yılları arasında değil",
                                                           "the date is not between the years 100 and 9999"));
}

void Arguments::fail(const std::string& sentence) const { throw files::Error(files::Fault::badValue, sentence); }

double leadingNumberOf(std::string_view text)
{
    while (text.starts_with(' ')) text.remove_prefix(1);
    if (text.starts_with('+')) text.remove_prefix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && std::isfinite(number) ? number : 0;
}

} // namespace query
