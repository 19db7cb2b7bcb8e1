#include "query/arguments.h"

#include "exchange/field_text.h"
#include "files/error.h"
#include "files/language.h"
#include "query/moments.h"
#include "store/jet/format/limits.h"

#include <charconv>
#include <cmath>
#include <optional>

namespace query {

namespace {

std::optional<double> wholeNumberOf(std::string_view text)
{
    while (text.starts_with(' ')) text.remove_prefix(1);
    while (text.ends_with(' ')) text.remove_suffix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) return std::nullopt;
    return number;
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

double Arguments::days(int at) const { return daysOf(number(at)); }

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
    if (number >= jet::limits::firstDay && number < jet::limits::dayAfterLast) return number;
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
