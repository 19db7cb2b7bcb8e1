#include "store/jet/format/doors.h"
#include "store/jet/rules/rule_node.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/names.h"
#include "store/jet/values/order_key.h"
#include "store/jet/values/sort_key.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <compare>
#include <iterator>
#include <optional>
#include <utility>

namespace jet {
namespace {

using Node = Rule::Node;
using Op = Node::Op;

/// Days of the format's calendar before the system's own begins.
constexpr int daysBefore1970 = 25569;

/// A field's value as rules reckon: numbers are doubles.
Value plain(const Value& value)
{
    struct Read {
        Value operator()(Null) const { return {}; }
        Value operator()(bool flag) const { return flag; }
        Value operator()(std::uint8_t number) const { return double(number); }
        Value operator()(std::int16_t number) const { return double(number); }
        Value operator()(std::int32_t number) const { return double(number); }
        Value operator()(Currency money) const { return double(money.tenThousandths) / 10000; }
        Value operator()(float number) const { return double(number); }
        Value operator()(double number) const { return number; }
        Value operator()(DateTime moment) const { return moment; }
        Value operator()(const std::u16string& text) const { return text; }
        Value operator()(const Bytes&) const { throwNotUnderstood("bu türden bir alanla hesap yapılamaz"); }
        Value operator()(const Guid&) const { throwNotUnderstood("bu türden bir alanla hesap yapılamaz"); }
        Value operator()(const Numeric& number) const
        {
            long double magnitude = 0;
            for (const std::uint32_t word : number.magnitude) magnitude = magnitude * 4294967296.0L + word;
            for (int i = 0; i < number.scale; ++i) magnitude /= 10;
            return static_cast<double>(number.negative ? -magnitude : magnitude);
        }
    };
    return std::visit(Read{}, value);
}

/// A value that is not Null, as a number.
double numberOf(const Value& value)
{
    if (const auto* number = std::get_if<double>(&value)) return *number;
    if (const auto* flag = std::get_if<bool>(&value)) return *flag ? -1 : 0;
    if (const auto* moment = std::get_if<DateTime>(&value)) return moment->days;
    const std::string digits = toUtf8(std::get<std::u16string>(value));
    double number = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (read.ec != std::errc() || read.ptr != digits.data() + digits.size())
        throwNotUnderstood("“" + digits + "” bir sayı değil");
    return number;
}

std::u16string textOf(const Value& value)
{
    if (const auto* text = std::get_if<std::u16string>(&value)) return *text;
    if (const auto* flag = std::get_if<bool>(&value)) return *flag ? u"-1" : u"0";
    if (std::holds_alternative<DateTime>(value)) throwNotUnderstood("tarih metin olarak kullanılamaz");
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), numberOf(value)).ptr;
    return {digits.data(), end};
}

bool isTrue(const Value& value) { return numberOf(value) != 0; }

std::partial_ordering compared(const Value& left, const Value& right)
{
    if (std::holds_alternative<std::u16string>(left) && std::holds_alternative<std::u16string>(right)) {
        const std::u16string a = foldTurkish(std::get<std::u16string>(left));
        const std::u16string b = foldTurkish(std::get<std::u16string>(right));
        if (a == b) return std::partial_ordering::equivalent;
        std::vector<std::uint8_t> one, other;
        appendFoldedOrderKey(one, a);
        appendFoldedOrderKey(other, b);
        if (one != other) return one < other ? std::partial_ordering::less : std::partial_ordering::greater;
        return a < b ? std::partial_ordering::less : std::partial_ordering::greater;
    }
    if (std::holds_alternative<DateTime>(left) || std::holds_alternative<DateTime>(right))
        return milliseconds(DateTime{numberOf(left)}) <=> milliseconds(DateTime{numberOf(right)});
    return numberOf(left) <=> numberOf(right);
}

/// Of two answers of which one may be unknown.
Value both(const Value& a, const Value& b)
{
    if ((!isNull(a) && !isTrue(a)) || (!isNull(b) && !isTrue(b))) return false;
    if (isNull(a) || isNull(b)) return {};
    return true;
}
Value inverted(const Value& answer)
{
    if (isNull(answer)) return {};
    return !isTrue(answer);
}

Value comparison(Op op, const Value& left, const Value& right)
{
    if (isNull(left) || isNull(right)) return {};
    const std::partial_ordering order = compared(left, right);
    switch (op) {
    case Op::equal:
        return order == 0;
    case Op::unequal:
        return order != 0;
    case Op::less:
        return order < 0;
    case Op::lessOrEqual:
        return order <= 0;
    case Op::greater:
        return order > 0;
    default:
        return order >= 0;
    }
}

Value reckoned(Op op, const Value& left, const Value& right)
{
    if (op == Op::join) {
        // Null joins as nothing, unless both are.
        if (isNull(left) && isNull(right)) return {};
        return (isNull(left) ? std::u16string() : textOf(left)) + (isNull(right) ? std::u16string() : textOf(right));
    }
    if (isNull(left) || isNull(right)) return {};
    if (op == Op::add && std::holds_alternative<std::u16string>(left) && std::holds_alternative<std::u16string>(right))
        return std::get<std::u16string>(left) + std::get<std::u16string>(right);
    const double a = numberOf(left), b = numberOf(right);
    const bool moment = std::holds_alternative<DateTime>(left) != std::holds_alternative<DateTime>(right);
    const auto whole = [](double number) { return std::nearbyint(number); };
    switch (op) {
    case Op::add:
        return moment ? Value(DateTime{a + b}) : Value(a + b);
    case Op::subtract:
        return moment && std::holds_alternative<DateTime>(left) ? Value(DateTime{a - b}) : Value(a - b);
    case Op::multiply:
        return a * b;
    default:
        break;
    }
    if (op != Op::divide && whole(b) == 0) throwNotUnderstood("sıfıra bölme");
    if (b == 0) throwNotUnderstood("sıfıra bölme");
    if (op == Op::divide) return a / b;
    return op == Op::divideWhole ? std::trunc(whole(a) / whole(b)) : std::fmod(whole(a), whole(b));
}

// ---- functions ----

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
    count = std::trunc(count);
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

double dateDiff(const std::u16string& interval, double from, double to)
{
    const Calendar a = calendarOf(from), b = calendarOf(to);
    const double months = (b.year - a.year) * 12 + b.month - a.month;
    if (interval == u"yyyy") return b.year - a.year;
    if (interval == u"q") return (b.year - a.year) * 4 + (b.month - 1) / 3 - (a.month - 1) / 3;
    if (interval == u"m") return months;
    const double seconds = std::round(double(milliseconds(DateTime{to}) - milliseconds(DateTime{from})) / 1000);
    if (interval == u"d" || interval == u"y") return std::trunc(to) - std::trunc(from);
    if (interval == u"w") return std::trunc((std::trunc(to) - std::trunc(from)) / 7);
    if (interval == u"s") return seconds;
    throwNotUnderstood("“" + toUtf8(interval) + "” bu işlevde anlaşılmıyor");
}

double datePart(const std::u16string& interval, double days)
{
    const Calendar date = calendarOf(days);
    if (interval == u"yyyy") return date.year;
    if (interval == u"q") return (date.month - 1) / 3 + 1; // NOLINT(bugprone-integer-division) whole quarters
    if (interval == u"m") return date.month;
    if (interval == u"d") return date.day;
    if (interval == u"w") return date.weekday;
    if (interval == u"h") return date.hour;
    if (interval == u"n") return date.minute;
    if (interval == u"s") return date.second;
    throwNotUnderstood("“" + toUtf8(interval) + "” bu işlevde anlaşılmıyor");
}

/// A value that is a moment; texts are read differently on every computer.
double momentOf(const Value& value)
{
    const auto* moment = std::get_if<DateTime>(&value);
    if (moment == nullptr) throwNotUnderstood("bu işlev yalnız tarihle anlaşılır");
    return moment->days;
}

std::u16string trimmed(std::u16string text, bool left, bool right)
{
    if (right) text.erase(text.find_last_not_of(u' ') + 1);
    if (left) text.erase(0, std::min(text.find_first_not_of(u' '), text.size()));
    return text;
}

std::size_t lengthOf(const Value& value)
{
    const double length = numberOf(value);
    if (!(length >= 0)) throwNotUnderstood("uzunluk eksi olamaz");
    return static_cast<std::size_t>(std::min(length, 1e9));
}

using Values = std::vector<Value>;

/// What a function answers to arguments of which none is Null.
struct Function {
    std::u16string_view name;
    std::size_t fewest;
    std::size_t most;
    Value (*answer)(const Values&, const RuleSubject&);
};

template <auto Part> Value partOfDate(const Values& given, const RuleSubject&)
{
    return double(calendarOf(numberOf(given[0])).*Part);
}

constexpr Function functions[] = {
    {u"abs", 1, 1, [](const Values& a, const RuleSubject&) -> Value { return std::fabs(numberOf(a[0])); }},
    {u"asc", 1, 1,
     [](const Values& a, const RuleSubject&) -> Value {
         const std::u16string text = textOf(a[0]);
         // Other letters have other numbers on every computer.
         if (text.empty() || text[0] >= 0x80) throwNotUnderstood("Asc yalnız temel harflerle anlaşılır");
         return double(text[0]);
     }},
    {u"date", 0, 0, [](const Values&, const RuleSubject& s) -> Value { return DateTime{std::trunc(s.now.days)}; }},
    {u"dateadd", 3, 3,
     [](const Values& a, const RuleSubject&) -> Value {
         return dateAdd(foldTurkish(textOf(a[0])), numberOf(a[1]), numberOf(a[2]));
     }},
    {u"datediff", 3, 3,
     [](const Values& a, const RuleSubject&) -> Value {
         return dateDiff(foldTurkish(textOf(a[0])), numberOf(a[1]), numberOf(a[2]));
     }},
    {u"datepart", 2, 2,
     [](const Values& a, const RuleSubject&) -> Value { return datePart(foldTurkish(textOf(a[0])), numberOf(a[1])); }},
    {u"dateserial", 3, 3,
     [](const Values& a, const RuleSubject&) -> Value {
         const double year = numberOf(a[0]);
         const auto first = year >= 100 && year < 10000 ? dateTime(int(year), 1, 1) : std::nullopt;
         if (!first) throwNotUnderstood("tarih takvimin dışında");
         return DateTime{monthsLater(first->days, numberOf(a[1]) - 1).days + numberOf(a[2]) - 1};
     }},
    {u"datevalue", 1, 1,
     [](const Values& a, const RuleSubject&) -> Value { return DateTime{std::trunc(momentOf(a[0]))}; }},
    {u"day", 1, 1, partOfDate<&Calendar::day>},
    {u"fix", 1, 1, [](const Values& a, const RuleSubject&) -> Value { return std::trunc(numberOf(a[0])); }},
    {u"hour", 1, 1, partOfDate<&Calendar::hour>},
    {u"instr", 2, 2,
     [](const Values& a, const RuleSubject&) -> Value {
         const std::size_t at = foldTurkish(textOf(a[0])).find(foldTurkish(textOf(a[1])));
         return at == std::u16string::npos ? 0.0 : double(at + 1);
     }},
    {u"int", 1, 1, [](const Values& a, const RuleSubject&) -> Value { return std::floor(numberOf(a[0])); }},
    {u"lcase", 1, 1, [](const Values& a, const RuleSubject&) -> Value { return foldTurkish(textOf(a[0])); }},
    {u"left", 2, 2,
     [](const Values& a, const RuleSubject&) -> Value { return textOf(a[0]).substr(0, lengthOf(a[1])); }},
    {u"len", 1, 1, [](const Values& a, const RuleSubject&) -> Value { return double(textOf(a[0]).size()); }},
    {u"ltrim", 1, 1, [](const Values& a, const RuleSubject&) -> Value { return trimmed(textOf(a[0]), true, false); }},
    {u"mid", 2, 3,
     [](const Values& a, const RuleSubject&) -> Value {
         const std::u16string text = textOf(a[0]);
         const std::size_t start = lengthOf(a[1]);
         if (start == 0) throwNotUnderstood("Mid birinci harften başlar");
         if (start > text.size()) return std::u16string();
         return text.substr(start - 1, a.size() == 3 ? lengthOf(a[2]) : std::u16string::npos);
     }},
    {u"minute", 1, 1, partOfDate<&Calendar::minute>},
    {u"month", 1, 1, partOfDate<&Calendar::month>},
    {u"now", 0, 0, [](const Values&, const RuleSubject& s) -> Value { return s.now; }},
    {u"right", 2, 2,
     [](const Values& a, const RuleSubject&) -> Value {
         const std::u16string text = textOf(a[0]);
         return text.substr(text.size() - std::min(text.size(), lengthOf(a[1])));
     }},
    {u"rtrim", 1, 1, [](const Values& a, const RuleSubject&) -> Value { return trimmed(textOf(a[0]), false, true); }},
    {u"second", 1, 1, partOfDate<&Calendar::second>},
    {u"sgn", 1, 1,
     [](const Values& a, const RuleSubject&) -> Value {
         const double number = numberOf(a[0]);
         return number > 0 ? 1.0 : number < 0 ? -1.0 : 0.0;
     }},
    {u"time", 0, 0, [](const Values&, const RuleSubject& s) -> Value { return DateTime{timeOf(s.now.days)}; }},
    {u"timeserial", 3, 3,
     [](const Values& a, const RuleSubject&) -> Value {
         return DateTime{(numberOf(a[0]) * 3600 + numberOf(a[1]) * 60 + numberOf(a[2])) / 86400};
     }},
    {u"timevalue", 1, 1, [](const Values& a, const RuleSubject&) -> Value { return DateTime{timeOf(momentOf(a[0]))}; }},
    {u"trim", 1, 1, [](const Values& a, const RuleSubject&) -> Value { return trimmed(textOf(a[0]), true, true); }},
    {u"weekday", 1, 1, partOfDate<&Calendar::weekday>},
    {u"year", 1, 1, partOfDate<&Calendar::year>},
};

const Function* functionNamed(std::u16string_view name)
{
    const auto found = std::ranges::find(functions, name, &Function::name);
    return found == std::end(functions) ? nullptr : found;
}

Value called(const Node& node, const RuleSubject& subject)
{
    if (node.name == u"iif") {
        const Value answer = evaluate(node.parts[0], subject);
        return evaluate(node.parts[!isNull(answer) && isTrue(answer) ? 1 : 2], subject);
    }
    Values given;
    for (const Node& part : node.parts) given.push_back(evaluate(part, subject));
    if (node.name == u"isnull") return isNull(given[0]);
    if (std::ranges::any_of(given, [](const Value& value) { return isNull(value); })) return {};
    return functionNamed(node.name)->answer(given, subject);
}

Value liked(const Node& node, const RuleSubject& subject)
{
    const Value left = evaluate(node.parts[0], subject);
    if (isNull(left)) return {};
    if (node.pattern) return node.pattern->matches(textOf(left));
    const Value right = evaluate(node.parts[1], subject);
    if (isNull(right)) return {};
    try {
        return LikePattern(textOf(right)).matches(textOf(left));
    } catch (const Error& error) {
        throwNotUnderstood(error.what());
    }
}

} // namespace

bool isRuleFunction(std::u16string_view name, std::size_t arguments)
{
    if (name == u"iif") return arguments == 3;
    if (name == u"isnull") return arguments == 1;
    const Function* const function = functionNamed(name);
    return function != nullptr && arguments >= function->fewest && arguments <= function->most;
}

Value evaluate(const Node& node, const RuleSubject& subject)
{
    const auto part = [&](std::size_t i) { return evaluate(node.parts[i], subject); };
    switch (node.op) {
    case Op::value:
        return node.content;
    case Op::own:
        if (subject.own == nullptr) throwNotUnderstood("hangi alandan söz ettiği belli değil");
        return plain(*subject.own);
    case Op::field: {
        const Value* const value = subject.field ? subject.field(node.name) : nullptr;
        if (value == nullptr) throwNotUnderstood(quotedName(node.name) + " adlı bir alan yok");
        return plain(*value);
    }
    case Op::orOp:
        return inverted(both(inverted(part(0)), inverted(part(1))));
    case Op::andOp:
        return both(part(0), part(1));
    case Op::notOp:
        return inverted(part(0));
    case Op::between: {
        const Value middle = part(0);
        const Value one = part(1), other = part(2);
        // The two ends may stand in any order.
        const bool backwards = !isNull(one) && !isNull(other) && compared(one, other) > 0;
        return both(comparison(Op::greaterOrEqual, middle, backwards ? other : one),
                    comparison(Op::lessOrEqual, middle, backwards ? one : other));
    }
    case Op::in: {
        Value answer = false;
        for (std::size_t i = 1; i < node.parts.size(); ++i)
            answer = inverted(both(inverted(answer), inverted(comparison(Op::equal, part(0), part(i)))));
        return answer;
    }
    case Op::like:
        return liked(node, subject);
    case Op::isNull:
        return isNull(part(0));
    case Op::negate: {
        const Value number = part(0);
        return isNull(number) ? Value{} : Value(-numberOf(number));
    }
    case Op::call:
        return called(node, subject);
    case Op::equal:
    case Op::unequal:
    case Op::less:
    case Op::lessOrEqual:
    case Op::greater:
    case Op::greaterOrEqual:
        return comparison(node.op, part(0), part(1));
    default:
        return reckoned(node.op, part(0), part(1));
    }
}

} // namespace jet
