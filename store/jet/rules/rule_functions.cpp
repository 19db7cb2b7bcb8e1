#include "store/jet/rules/rule_node.h"
#include "store/jet/rules/rule_texts.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/word_units.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <compare>
#include <iterator>
#include <optional>

/// The functions of rules.
namespace jet {
namespace {

/// Days of the format's calendar before the system's own begins.
constexpr int daysBefore1970 = 25569;

struct Calendar {
    int year, month, day, hour, minute, second, weekday;
};

Calendar calendarOf(double days)
{
    using namespace std::chrono;
    if (!(std::fabs(days) < 3'000'000)) throwNotUnderstood("tarih takvimin dışında");
    double whole = 0;
    auto seconds = static_cast<int>(std::lround(std::fabs(std::modf(days, &whole)) * 86400));
    if (seconds == 86400) {
        seconds = 0;
        whole += 1;
    }
    const sys_days date{std::chrono::days(static_cast<int>(whole) - daysBefore1970)};
    const year_month_day calendar(date);
    return {int(calendar.year()),
            int(unsigned(calendar.month())),
            int(unsigned(calendar.day())),
            seconds / 3600,
            seconds / 60 % 60,
            seconds % 60,
            int(weekday(date).c_encoding()) + 1};
}

double timeOf(double days)
{
    double whole = 0;
    return std::fabs(std::modf(days, &whole));
}

/// The day so many months on, and the last of its month where there is no such day.
DateTime monthsLater(double days, double months)
{
    using namespace std::chrono;
    if (!(std::fabs(months) < 200000)) throwNotUnderstood("tarih takvimin dışında");
    const Calendar from = calendarOf(days);
    year_month_day moved = year_month_day(year(from.year), month(unsigned(from.month)), day(unsigned(from.day))) +
                           std::chrono::months(static_cast<int>(months));
    if (!moved.ok()) moved = moved.year() / moved.month() / last;
    const auto date = dateTime(int(moved.year()), int(unsigned(moved.month())), int(unsigned(moved.day())));
    if (!date) throwNotUnderstood("tarih takvimin dışında");
    return DateTime{date->days + (date->days < 0 ? -timeOf(days) : timeOf(days))};
}

DateTime dateAdd(const std::u16string& interval, double count, double days)
{
    if (interval == u"yyyy") return monthsLater(days, count * 12);
    if (interval == u"q") return monthsLater(days, count * 3);
    if (interval == u"m") return monthsLater(days, count);
    if (interval == u"d" || interval == u"y" || interval == u"w") return DateTime{days + count};
    if (interval == u"ww") return DateTime{days + count * 7};
    if (interval == u"h") return DateTime{days + count / 24};
    if (interval == u"n") return DateTime{days + count / 1440};
    if (interval == u"s") return DateTime{days + count / 86400};
    throwNotUnderstood("“" + toUtf8(interval) + "” bir tarih aralığı değil");
}

RuleNumber dateDiff(const std::u16string& interval, double from, double to)
{
    const Calendar a = calendarOf(from), b = calendarOf(to);
    const auto wholeDays = [&] { return static_cast<std::int64_t>(std::trunc(to) - std::trunc(from)); };
    if (interval == u"yyyy") return RuleNumber::whole(b.year - a.year);
    if (interval == u"q") return RuleNumber::whole((b.year - a.year) * 4 + (b.month - 1) / 3 - (a.month - 1) / 3);
    if (interval == u"m") return RuleNumber::whole((b.year - a.year) * 12 + b.month - a.month);
    if (interval == u"d" || interval == u"y") return RuleNumber::whole(wholeDays());
    if (interval == u"w") return RuleNumber::whole(wholeDays() / 7);
    if (interval == u"s") {
        const auto milliseconds = jet::milliseconds(DateTime{to}) - jet::milliseconds(DateTime{from});
        return RuleNumber::whole(std::llround(static_cast<double>(milliseconds) / 1000));
    }
    throwNotUnderstood("“" + toUtf8(interval) + "” bu işlevde anlaşılmıyor");
}

RuleNumber datePart(const std::u16string& interval, double days)
{
    const Calendar date = calendarOf(days);
    if (interval == u"yyyy") return RuleNumber::whole(date.year);
    if (interval == u"q") return RuleNumber::whole((date.month - 1) / 3 + 1);
    if (interval == u"m") return RuleNumber::whole(date.month);
    if (interval == u"d") return RuleNumber::whole(date.day);
    if (interval == u"w") return RuleNumber::whole(date.weekday);
    if (interval == u"h") return RuleNumber::whole(date.hour);
    if (interval == u"n") return RuleNumber::whole(date.minute);
    if (interval == u"s") return RuleNumber::whole(date.second);
    throwNotUnderstood("“" + toUtf8(interval) + "” bu işlevde anlaşılmıyor");
}

std::u16string intervalOf(const Operand& operand) { return lower(textOf(operand)); }

/// A moment, or a number of days; texts are read differently on every computer.
double daysOf(const Operand& operand)
{
    if (const auto* moment = std::get_if<DateTime>(&operand)) return moment->days;
    if (const auto* number = std::get_if<RuleNumber>(&operand)) return number->value();
    throwNotUnderstood("bu işlev yalnız tarihle anlaşılır");
}
double momentOf(const Operand& operand)
{
    if (!std::holds_alternative<DateTime>(operand)) throwNotUnderstood("bu işlev yalnız tarihle anlaşılır");
    return daysOf(operand);
}

std::int64_t wholeOf(const Operand& operand)
{
    const auto number = numberOf(operand).asWhole();
    if (!number) throwNotUnderstood("bu işlev yalnız tam sayıyla anlaşılır");
    return *number;
}
double wholeDoubleOf(const Operand& operand) { return static_cast<double>(wholeOf(operand)); }

std::size_t lengthOf(const Operand& operand)
{
    const std::int64_t length = wholeOf(operand);
    if (length < 0) throwNotUnderstood("uzunluk eksi olamaz");
    return static_cast<std::size_t>(length);
}

std::u16string trimmed(std::u16string text, bool left, bool right)
{
    if (right) text.erase(text.find_last_not_of(u' ') + 1);
    if (left) text.erase(0, std::min(text.find_first_not_of(u' '), text.size()));
    return text;
}

using Given = const std::vector<Operand>&;
using Asked = const RuleQuestion&;

/// What a function answers to arguments of which none is Null.
struct Function {
    std::u16string_view name;
    std::size_t fewest;
    std::size_t most;
    Operand (*answer)(Given, Asked);
};

template <auto Part> Operand partOfDate(Given given, Asked)
{
    return RuleNumber::whole(calendarOf(daysOf(given[0])).*Part);
}

constexpr Function functions[] = {
    {u"abs", 1, 1,
     [](Given a, Asked) -> Operand {
         const RuleNumber number = numberOf(a[0]);
         return number.value() < 0 ? -number : number;
     }},
    {u"asc", 1, 1,
     [](Given a, Asked) -> Operand {
         const std::u16string text = textOf(a[0]);
         // Other letters have other numbers on every computer.
         if (text.empty() || text[0] >= 0x80) throwNotUnderstood("Asc yalnız temel harflerle anlaşılır");
         return RuleNumber::whole(text[0]);
     }},
    {u"date", 0, 0, [](Given, Asked q) -> Operand { return DateTime{std::trunc(q.subject.now.days)}; }},
    {u"dateadd", 3, 3,
     [](Given a, Asked) -> Operand { return dateAdd(intervalOf(a[0]), wholeDoubleOf(a[1]), daysOf(a[2])); }},
    {u"datediff", 3, 3,
     [](Given a, Asked) -> Operand { return dateDiff(intervalOf(a[0]), daysOf(a[1]), daysOf(a[2])); }},
    {u"datepart", 2, 2, [](Given a, Asked) -> Operand { return datePart(intervalOf(a[0]), daysOf(a[1])); }},
    {u"dateserial", 3, 3,
     [](Given a, Asked) -> Operand {
         const std::int64_t year = wholeOf(a[0]);
         const auto first = year >= 100 && year < 10000 ? dateTime(int(year), 1, 1) : std::nullopt;
         if (!first) throwNotUnderstood("tarih takvimin dışında");
         return DateTime{monthsLater(first->days, wholeDoubleOf(a[1]) - 1).days + wholeDoubleOf(a[2]) - 1};
     }},
    {u"datevalue", 1, 1, [](Given a, Asked) -> Operand { return DateTime{std::trunc(momentOf(a[0]))}; }},
    {u"day", 1, 1, partOfDate<&Calendar::day>},
    {u"fix", 1, 1, [](Given a, Asked) -> Operand { return numberOf(a[0]).truncated(); }},
    {u"hour", 1, 1, partOfDate<&Calendar::hour>},
    {u"instr", 2, 2,
     [](Given a, Asked q) -> Operand {
         const std::size_t at = placeIn(textOf(a[0]), textOf(a[1]), q.order);
         return RuleNumber::whole(at == std::u16string::npos ? 0 : static_cast<std::int64_t>(at) + 1);
     }},
    {u"int", 1, 1, [](Given a, Asked) -> Operand { return numberOf(a[0]).floor(); }},
    {u"lcase", 1, 1, [](Given a, Asked q) -> Operand { return smallLetters(textOf(a[0]), q.order); }},
    {u"left", 2, 2, [](Given a, Asked) -> Operand { return textOf(a[0]).substr(0, lengthOf(a[1])); }},
    {u"len", 1, 1,
     [](Given a, Asked) -> Operand { return RuleNumber::whole(static_cast<std::int64_t>(textOf(a[0]).size())); }},
    {u"ltrim", 1, 1, [](Given a, Asked) -> Operand { return trimmed(textOf(a[0]), true, false); }},
    {u"mid", 2, 3,
     [](Given a, Asked) -> Operand {
         const std::u16string text = textOf(a[0]);
         const std::size_t start = lengthOf(a[1]);
         if (start == 0) throwNotUnderstood("Mid birinci harften başlar");
         if (start > text.size()) return std::u16string();
         return text.substr(start - 1, a.size() == 3 ? lengthOf(a[2]) : std::u16string::npos);
     }},
    {u"minute", 1, 1, partOfDate<&Calendar::minute>},
    {u"month", 1, 1, partOfDate<&Calendar::month>},
    {u"now", 0, 0, [](Given, Asked q) -> Operand { return q.subject.now; }},
    {u"right", 2, 2,
     [](Given a, Asked) -> Operand {
         const std::u16string text = textOf(a[0]);
         return text.substr(text.size() - std::min(text.size(), lengthOf(a[1])));
     }},
    {u"rtrim", 1, 1, [](Given a, Asked) -> Operand { return trimmed(textOf(a[0]), false, true); }},
    {u"second", 1, 1, partOfDate<&Calendar::second>},
    {u"sgn", 1, 1,
     [](Given a, Asked) -> Operand {
         const auto sign = numberOf(a[0]) <=> RuleNumber::whole(0);
         return RuleNumber::whole(std::is_gt(sign) ? 1 : std::is_lt(sign) ? -1 : 0);
     }},
    {u"time", 0, 0, [](Given, Asked q) -> Operand { return DateTime{timeOf(q.subject.now.days)}; }},
    {u"timeserial", 3, 3,
     [](Given a, Asked) -> Operand {
         return DateTime{(wholeDoubleOf(a[0]) * 3600 + wholeDoubleOf(a[1]) * 60 + wholeDoubleOf(a[2])) / 86400};
     }},
    {u"timevalue", 1, 1, [](Given a, Asked) -> Operand { return DateTime{timeOf(momentOf(a[0]))}; }},
    {u"trim", 1, 1, [](Given a, Asked) -> Operand { return trimmed(textOf(a[0]), true, true); }},
    {u"weekday", 1, 1, partOfDate<&Calendar::weekday>},
    {u"year", 1, 1, partOfDate<&Calendar::year>},
};

const Function* functionNamed(std::u16string_view name)
{
    const auto found = std::ranges::find(functions, name, &Function::name);
    return found == std::end(functions) ? nullptr : found;
}

} // namespace

bool isRuleFunction(std::u16string_view name, std::size_t arguments)
{
    if (name == u"iif") return arguments == 3;
    if (name == u"isnull") return arguments == 1;
    const Function* const function = functionNamed(name);
    return function != nullptr && arguments >= function->fewest && arguments <= function->most;
}

Operand callRuleFunction(std::u16string_view name, const std::vector<Operand>& arguments, const RuleQuestion& question)
{
    return functionNamed(name)->answer(arguments, question);
}

} // namespace jet
