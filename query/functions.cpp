#include "query/functions.h"

#include "files/error.h"
#include "files/language.h"
#include "platform/console.h"
#include "query/access_collation.h"
#include "query/aggregates.h"
#include "query/arguments.h"
#include "query/arithmetic.h"
#include "query/format.h"
#include "query/moments.h"
#include "query/numbers.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/like_pattern.h"
#include "store/jet/values/value.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <limits>
#include <memory>
#include <string>
#include <utility>

namespace query {

namespace {

// ---- numbers ----

void negate(Arguments& values) { values.giveNumber(-values.number(0)); }
void absolute(Arguments& values) { values.giveNumber(std::abs(values.number(0))); }
void integer(Arguments& values) { values.giveNumber(std::floor(values.number(0))); }
void fix(Arguments& values) { values.giveNumber(std::trunc(values.number(0))); }

/// A whole number that a column of the type can hold.
template <class Whole> void toWhole(Arguments& values)
{
    const double number = rounded(values.number(0));
    using Limits = std::numeric_limits<Whole>;
    if (!(number >= Limits::min() && number <= Limits::max()))
        values.fail(files::said("CInt en çok 32767, CLng en çok 2147483647 olur",
                                "CInt is 32767 at most, CLng is 2147483647 at most"));
    values.giveNumber(number);
}

void toDouble(Arguments& values) { values.giveNumber(values.number(0)); }

/// What is left of a number in four bytes, as a column of them shows it.
void toSingle(Arguments& values)
{
    const auto narrow = static_cast<float>(values.number(0));
    if (!std::isfinite(narrow))
        values.fail(files::said("sayı CSng için çok büyük", "the number is too large for CSng"));
    values.giveNumber(shortestOf(narrow));
}

void signOf(Arguments& values)
{
    const double number = values.number(0);
    values.giveNumber(number > 0 ? 1 : number < 0 ? -1 : 0);
}

void squareRoot(Arguments& values)
{
    const double number = values.number(0);
    if (number >= 0) values.giveNumber(std::sqrt(number));
}

/// To so many decimals, halves to the even neighbour, by the digits that a double shows: 2.675 is 2.68.
double roundedTo(double number, int decimals)
{
    const double unit = std::pow(10.0, decimals);
    const double scaled = number * unit;
    const double half = std::floor(scaled) + 0.5;
    // So near to a half that the digits meant one.
    constexpr double slack = 4e-16;
    if (std::abs(scaled - half) <= std::abs(scaled) * slack) {
        const double below = half - 0.5;
        return (std::fmod(below, 2) == 0 ? below : below + 1) / unit;
    }
    return std::round(scaled) / unit;
}

void roundNumber(Arguments& values)
{
    constexpr double most = 15;
    const double decimals = values.count() > 1 ? rounded(values.number(1)) : 0;
    if (!(decimals >= 0))
        values.fail(files::said("Round sıfırdan küçük bir basamak sayısı almaz",
                                "Round takes no number of decimals below zero"));
    values.giveNumber(roundedTo(values.number(0), static_cast<int>(std::min(decimals, most))));
}

/// To the last digit; `exact` gives it so, too.
template <bool exact> void toCurrency(Arguments& values)
{
    const auto money = values.money(0);
    if (!money)
        values.fail(files::said("CCur en çok 922337203685477.5807 olur", "CCur is 922337203685477.5807 at most"));
    if (exact && hasManyDigits(*money))
        values.giveText(jet::fromUtf8(fieldText(*money)));
    else
        values.giveNumber(numberOf(*money));
}

// ---- texts ----

void length(Arguments& values) { values.giveWhole(static_cast<std::int64_t>(values.units(0).size())); }

std::size_t countOf(Arguments& values, int argument)
{
    constexpr double most = 1e9;
    const double count = values.number(argument);
    if (count < 0)
        values.fail(files::said("Left, Right ve Mid sıfırdan küçük bir sayı almaz",
                                "Left, Right and Mid take no number below zero"));
    return static_cast<std::size_t>(std::min(count, most));
}

void left(Arguments& values) { values.giveText(values.units(0).substr(0, countOf(values, 1))); }

void right(Arguments& values)
{
    const std::u16string text = values.units(0);
    values.giveText(text.substr(text.size() - std::min(text.size(), countOf(values, 1))));
}

void middle(Arguments& values)
{
    const std::u16string text = values.units(0);
    const std::size_t from = countOf(values, 1);
    if (from == 0) values.fail(files::said("Mid'in başlangıcı 1'den küçük olamaz", "Mid begins at 1"));
    const std::size_t most = values.count() > 2 ? countOf(values, 2) : std::u16string::npos;
    values.giveText(from > text.size() ? std::u16string() : text.substr(from - 1, most));
}

const FunctionSetting& settingOf(const Arguments& values)
{
    return *static_cast<const FunctionSetting*>(values.setting());
}

bool isTurkish(jet::Collation collation) { return collation.lcid == jet::turkish.lcid; }

void upper(Arguments& values)
{
    // In Turkish i and İ belong together, elsewhere i and I; ı and I do in both.
    const char16_t ofI = isTurkish(settingOf(values).order) ? u'İ' : u'I';
    std::u16string text = values.units(0);
    for (char16_t& unit : text) {
        if (unit == u'i')
            unit = ofI;
        else if (unit == u'ı')
            unit = u'I';
        else if ((unit >= u'a' && unit <= u'z') || (unit >= u'à' && unit <= u'þ' && unit != u'÷'))
            unit = static_cast<char16_t>(unit - 32);
        else if (unit == u'ğ' || unit == u'ş')
            unit = static_cast<char16_t>(unit - 1);
    }
    values.giveText(text);
}

void lower(Arguments& values) { values.giveText(jet::foldCase(values.units(0), settingOf(values).order)); }

std::u16string trimmedText(std::u16string text, bool front, bool back)
{
    while (front && text.starts_with(u' ')) text.erase(0, 1);
    while (back && text.ends_with(u' ')) text.pop_back();
    return text;
}

void trim(Arguments& values) { values.giveText(trimmedText(values.units(0), true, true)); }
void trimFront(Arguments& values) { values.giveText(trimmedText(values.units(0), true, false)); }
void trimBack(Arguments& values) { values.giveText(trimmedText(values.units(0), false, true)); }

/// Where a text stands in another, from 1; letter case does not count, as everywhere in a query.
void position(Arguments& values)
{
    const bool withStart = values.count() > 2;
    const std::size_t start = withStart ? countOf(values, 0) : 1;
    if (start == 0) values.fail(files::said("InStr'in başlangıcı 1'den küçük olamaz", "InStr begins at 1"));
    const jet::Collation order = settingOf(values).order;
    const std::u16string text = jet::foldCase(values.units(withStart ? 1 : 0), order);
    const std::size_t found = text.find(jet::foldCase(values.units(withStart ? 2 : 1), order), start - 1);
    values.giveWhole(found == std::u16string::npos ? 0 : static_cast<std::int64_t>(found) + 1);
}

void replace(Arguments& values)
{
    const std::u16string text = values.units(0);
    const std::u16string what = values.units(1);
    const std::u16string by = values.units(2);
    std::u16string result;
    std::size_t at = 0;
    for (std::size_t found; !what.empty() && (found = text.find(what, at)) != std::u16string::npos;
         at = found + what.size())
        result += text.substr(at, found - at) + by;
    values.giveText(result + text.substr(at));
}

/// 0: letter by letter; otherwise as the file orders its texts, like < and =.
void compare(Arguments& values)
{
    const std::u16string first = values.units(0), second = values.units(1);
    const bool exact = values.count() > 2 && values.number(2) == 0;
    const int order =
        exact ? first.compare(second) : compareTexts(jet::toUtf8(first), jet::toUtf8(second), settingOf(values).order);
    values.giveWhole(order < 0 ? -1 : order > 0 ? 1 : 0);
}

/// The number that a text begins with; 0 for none.
void leadingNumber(Arguments& values)
{
    const std::string text = jet::toUtf8(values.units(0));
    values.giveNumber(leadingNumberOf(text));
}

void toText(Arguments& values) { values.giveText(values.units(0)); }

/// Null counts as an empty text, unless all are.
void concatenate(Arguments& values)
{
    bool any = false;
    std::u16string text;
    for (int i = 0; i < values.count(); ++i) {
        if (values.isNull(i)) continue;
        any = true;
        text += values.units(i);
    }
    if (any) values.giveText(text);
}

// ---- dates ----

jet::DateTime nowMoment()
{
    const std::tm local = platform::localTime(std::time(nullptr));
    return momentOf(Calendar{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                             std::min(local.tm_sec, 59)})
        .value_or(jet::DateTime{});
}

void currentMoment(Arguments& values) { values.giveMoment(nowMoment()); }
void currentDay(Arguments& values) { values.giveMoment({std::floor(nowMoment().days)}); }
void currentTime(Arguments& values)
{
    const double now = nowMoment().days;
    values.giveMoment({now - std::floor(now)});
}

template <int Calendar::*Part> void part(Arguments& values) { values.giveWhole(calendarOf({values.days(0)}).*Part); }

/// The day that a week begins with, 1: Sunday, which it is unless an argument says another.
int firstDay(Arguments& values, int argument)
{
    const double first = values.count() > argument ? values.number(argument) : 1;
    if (first < 1 || first > 7)
        values.fail(files::said("haftanın ilk günü 1 (Pazar) ile 7 (Cumartesi) arasında olmalı",
                                "the first day of the week must lie between 1 (Sunday) and 7 (Saturday)"));
    return static_cast<int>(rounded(first));
}

/// 1: the first day of the week.
int dayOfWeek(jet::DateTime moment, int firstOfWeek)
{
    return (weekdayOf(calendarOf(moment)) - firstOfWeek + 7) % 7 + 1;
}

void weekday(Arguments& values) { values.giveWhole(dayOfWeek({values.days(0)}, firstDay(values, 1))); }

void asMoment(Arguments& values) { values.giveMoment({values.days(0)}); }

void dayAlone(Arguments& values)
{
    Calendar c = calendarOf({values.days(0)});
    c.hour = c.minute = c.second = 0;
    values.giveMoment(momentOf(c).value_or(jet::DateTime{}));
}

/// Any that leads from one date of the calendar to another, were it one of seconds.
std::int64_t countOfParts(Arguments& values, int argument)
{
    constexpr double most = 4e11;
    const double count = values.number(argument);
    if (!(std::abs(count) <= most)) failBeyondCalendar();
    return static_cast<std::int64_t>(rounded(count));
}

int smallNumber(Arguments& values, int argument)
{
    constexpr std::int64_t most = 100'000'000;
    const std::int64_t number = countOfParts(values, argument);
    if (std::abs(number) > most) failBeyondCalendar();
    return static_cast<int>(number);
}

void calendarMoment(Arguments& values, const Calendar& calendar, std::int64_t moreSeconds = 0)
{
    if (const auto moment = momentOf(calendar, moreSeconds))
        values.giveMoment(*moment);
    else
        failBeyondCalendar();
}

void dateOf(Arguments& values)
{
    int year = smallNumber(values, 0);
    if (year >= 0 && year < 100) year += year < 30 ? 2000 : 1900;
    calendarMoment(values, {.year = year, .month = smallNumber(values, 1), .day = smallNumber(values, 2)});
}

void timeOf(Arguments& values)
{
    calendarMoment(values, {.year = 1899,
                            .month = 12,
                            .day = 30,
                            .hour = smallNumber(values, 0),
                            .minute = smallNumber(values, 1),
                            .second = smallNumber(values, 2)});
}

enum class Interval { year, quarter, month, dayOfYear, day, weekday, week, hour, minute, second };

Interval intervalOf(Arguments& values, int argument)
{
    static constexpr std::pair<std::u16string_view, Interval> names[] = {
        {u"yyyy", Interval::year}, {u"q", Interval::quarter}, {u"m", Interval::month}, {u"y", Interval::dayOfYear},
        {u"d", Interval::day},     {u"w", Interval::weekday}, {u"ww", Interval::week}, {u"h", Interval::hour},
        {u"n", Interval::minute},  {u"s", Interval::second}};
    const std::u16string name = jet::foldTurkish(values.units(argument));
    for (const auto& [each, interval] : names)
        if (each == name) return interval;
    values.fail(files::said("aralık yyyy, q, m, y, d, w, ww, h, n ya da s olmalı",
                            "the interval must be yyyy, q, m, y, d, w, ww, h, n or s"));
}

void addInterval(Arguments& values)
{
    const Interval interval = intervalOf(values, 0);
    const std::int64_t count = countOfParts(values, 1);
    Calendar c = calendarOf({values.days(2)});
    const auto months = [&](std::int64_t more) {
        constexpr std::int64_t allMonths = 120'000;
        if (std::abs(more) > allMonths) failBeyondCalendar();
        // Not beyond the month's last day: a month after 31 January is the last of February.
        const int day = c.day;
        c.month += static_cast<int>(more);
        Calendar last = c;
        last.month += 1;
        last.day = 0;
        const auto end = momentOf(last);
        if (!end) return failBeyondCalendar();
        c.day = std::min(day, calendarOf(*end).day);
    };
    constexpr int perYear = 12, perQuarter = 3, perWeek = 7, perMinute = 60, perHour = 3600, perDay = 86'400;
    std::int64_t seconds = 0;
    switch (interval) {
    case Interval::year:
        months(count * perYear);
        break;
    case Interval::quarter:
        months(count * perQuarter);
        break;
    case Interval::month:
        months(count);
        break;
    case Interval::week:
        seconds = count * perWeek * perDay;
        break;
    case Interval::hour:
        seconds = count * perHour;
        break;
    case Interval::minute:
        seconds = count * perMinute;
        break;
    case Interval::second:
        seconds = count;
        break;
    default:
        seconds = count * perDay;
    }
    calendarMoment(values, c, seconds);
}

/// How many borders of the interval lie between the two.
void intervalBetween(Arguments& values)
{
    const Interval which = intervalOf(values, 0);
    const jet::DateTime from{values.days(1)}, to{values.days(2)};
    const Calendar a = calendarOf(from), b = calendarOf(to);
    const std::int64_t seconds = (jet::milliseconds(to) - jet::milliseconds(from)) / 1000;
    const auto dayNumber = [](jet::DateTime moment) {
        constexpr std::int64_t perDay = 86'400'000;
        const std::int64_t ms = jet::milliseconds(moment);
        return ms >= 0 ? ms / perDay : -((-ms + perDay - 1) / perDay);
    };
    const std::int64_t days = dayNumber(to) - dayNumber(from);
    const int months = (b.year - a.year) * 12 + b.month - a.month;
    switch (which) {
    case Interval::year:
        return values.giveWhole(b.year - a.year);
    case Interval::quarter:
        return values.giveWhole((b.year - a.year) * 4 + (b.month - 1) / 3 - (a.month - 1) / 3);
    case Interval::month:
        return values.giveWhole(months);
    case Interval::week:
        // Sundays between them.
        return values.giveWhole((days + weekdayOf(a) - weekdayOf(b)) / 7);
    case Interval::weekday:
        return values.giveWhole(days / 7);
    case Interval::hour:
        return values.giveWhole(days * 24 + b.hour - a.hour);
    case Interval::minute:
        return values.giveWhole(days * 1440 + std::int64_t{b.hour - a.hour} * 60 + b.minute - a.minute);
    case Interval::second:
        return values.giveWhole(seconds);
    default:
        return values.giveWhole(days);
    }
}

void partNamed(Arguments& values)
{
    const Interval interval = intervalOf(values, 0);
    const jet::DateTime moment{values.days(1)};
    const Calendar c = calendarOf(moment);
    const auto dayOfYear = [&] {
        const auto first = momentOf(Calendar{.year = c.year, .month = 1, .day = 1});
        return static_cast<int>(std::floor(moment.days) - first.value_or(moment).days) + 1;
    };
    switch (interval) {
    case Interval::year:
        return values.giveWhole(c.year);
    case Interval::quarter:
        return values.giveWhole((c.month - 1) / 3 + 1);
    case Interval::month:
        return values.giveWhole(c.month);
    case Interval::dayOfYear:
        return values.giveWhole(dayOfYear());
    case Interval::day:
        return values.giveWhole(c.day);
    case Interval::weekday:
        return values.giveWhole(dayOfWeek(moment, firstDay(values, 2)));
    case Interval::week: {
        if (values.count() > 3 && values.number(3) != 1)
            values.fail(files::said("yılın ilk haftası yalnız 1 Ocak'ın haftası (1) olabilir",
                                    "the first week of a year can only be that of 1 January (1)"));
        const auto first = momentOf(Calendar{.year = c.year, .month = 1, .day = 1}).value_or(moment);
        return values.giveWhole((dayOfYear() + dayOfWeek(first, firstDay(values, 2)) - 2) / 7 + 1);
    }
    case Interval::hour:
        return values.giveWhole(c.hour);
    case Interval::minute:
        return values.giveWhole(c.minute);
    case Interval::second:
        return values.giveWhole(c.second);
    }
}

void formatted(Arguments& values)
{
    const std::string pattern = jet::toUtf8(values.units(1));
    const bool english = settingOf(values).english;
    if (!values.isMoment(0) && !values.isNumeric(0))
        values.giveText(values.units(0));
    else if (isOfMoments(pattern))
        values.giveText(jet::fromUtf8(formatMoment({values.days(0)}, pattern, english)));
    else
        values.giveText(jet::fromUtf8(formatNumber(values.number(0), pattern, english)));
}

void like(Arguments& values)
{
    // The pattern is the first argument, and is the same for most rows.
    auto* pattern = static_cast<jet::LikePattern*>(values.kept(0));
    std::unique_ptr<jet::LikePattern> made;
    if (pattern == nullptr) {
        made = std::make_unique<jet::LikePattern>(values.units(0), settingOf(values).order);
        pattern = made.get();
    }
    values.giveWhole(pattern->matches(values.units(1)) ? 1 : 0);
    if (made) values.keep(0, made.release(), [](void* object) { delete static_cast<jet::LikePattern*>(object); });
}

// ---- the functions as SQLite calls them ----

using Body = void (*)(Arguments&);

/// Null in, Null out; what a function throws becomes the query's error.
template <Body body, bool seesNull = false> void call(sqlite3_context* context, int count, sqlite3_value** given)
{
    Arguments values(context, count, given);
    for (int i = 0; !seesNull && i < count; ++i)
        if (values.isNull(i)) return sqlite3_result_null(context);
    sqlite3_result_null(context);
    try {
        body(values);
    } catch (const std::exception& error) {
        sqlite3_result_error(context, error.what(), -1);
    }
}

} // namespace

void must(int result)
{
    if (result != SQLITE_OK)
        throw files::Error(files::Fault::disk,
                           files::said("Sorgu için bellek yetmedi; başka programları kapatın.",
                                       "There is too little memory for the query; close other programs."));
}

void addFunctions(sqlite3* database, const FunctionSetting& setting)
{
    using Callback = void (*)(sqlite3_context*, int, sqlite3_value**);
    static constexpr std::pair<const char*, Callback> functions[] = {
        {"acc_reckon", call<reckon>},
        {"acc_negate", call<negate>},
        {"acc_concat", call<concatenate, true>},
        {"acc_abs", call<absolute>},
        {"acc_int", call<integer>},
        {"acc_fix", call<fix>},
        {"acc_round", call<roundNumber>},
        {"acc_sgn", call<signOf>},
        {"acc_sqr", call<squareRoot>},
        {"acc_clng", call<toWhole<std::int32_t>>},
        {"acc_cint", call<toWhole<std::int16_t>>},
        {"acc_cdbl", call<toDouble>},
        {"acc_csng", call<toSingle>},
        {"acc_ccur", call<toCurrency<false>>},
        {"acc_ccur_exact", call<toCurrency<true>>},
        {"acc_len", call<length>},
        {"acc_left", call<left>},
        {"acc_right", call<right>},
        {"acc_mid", call<middle>},
        {"acc_ucase", call<upper>},
        {"acc_lcase", call<lower>},
        {"acc_trim", call<trim>},
        {"acc_ltrim", call<trimFront>},
        {"acc_rtrim", call<trimBack>},
        {"acc_instr", call<position>},
        {"acc_replace", call<replace>},
        {"acc_strcomp", call<compare>},
        {"acc_val", call<leadingNumber>},
        {"acc_cstr", call<toText>},
        {"acc_format", call<formatted>},
        {"acc_now", call<currentMoment>},
        {"acc_today", call<currentDay>},
        {"acc_time", call<currentTime>},
        {"acc_year", call<part<&Calendar::year>>},
        {"acc_month", call<part<&Calendar::month>>},
        {"acc_day", call<part<&Calendar::day>>},
        {"acc_hour", call<part<&Calendar::hour>>},
        {"acc_minute", call<part<&Calendar::minute>>},
        {"acc_second", call<part<&Calendar::second>>},
        {"acc_weekday", call<weekday>},
        {"acc_datevalue", call<dayAlone>},
        {"acc_date", call<asMoment>},
        {"acc_dateserial", call<dateOf>},
        {"acc_timeserial", call<timeOf>},
        {"acc_dateadd", call<addInterval>},
        {"acc_datediff", call<intervalBetween>},
        {"acc_datepart", call<partNamed>},
        {"like", call<like>},
    };
    constexpr int anyCount = -1;
    for (const auto& [name, callback] : functions) {
        // Also what asks for the time: one query sees one moment.
        const int count = std::string_view(name) == "like" ? 2 : anyCount;
        must(sqlite3_create_function_v2(database, name, count, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                        const_cast<FunctionSetting*>(&setting), callback, nullptr, nullptr, nullptr));
    }
    must(addAggregates(database));
    must(addCollation(database, setting.order));
}

} // namespace query
