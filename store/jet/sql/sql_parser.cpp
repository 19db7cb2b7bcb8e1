#include "store/jet/sql/sql_parser.h"

#include "store/jet/format/doors.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/word_units.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace jet::sql {
namespace {

/// Deeper nesting than anybody writes; a text of a million "(" must not take the stack.
constexpr int maxDepth = 64;

enum class Kind { end, word, name, text, number, date, mark };

struct Token {
    Kind kind = Kind::end;
    std::u16string_view source; ///< as it stands in the text
    std::u16string content;     ///< word, name, text: without quotes or brackets; mark: the sign
    Value value;                ///< number, date
};

bool sameKeyword(std::u16string_view word, std::string_view keyword)
{
    return std::ranges::equal(word, keyword, [](char16_t unit, char letter) {
        return unit < 0x80 && (unit == static_cast<char16_t>(letter) || (unit | 0x20) == (letter | 0x20));
    });
}

/// Words that end a name's place: a table or field of such a name must be written in brackets.
bool isReserved(std::u16string_view word)
{
    static constexpr std::array<std::string_view, 16> reserved = {"select", "delete", "from", "where", "order", "by",
                                                                  "asc",    "desc",   "and",  "or",    "not",   "like",
                                                                  "is",     "null",   "true", "false"};
    return std::ranges::any_of(reserved, [word](std::string_view keyword) { return sameKeyword(word, keyword); });
}

class Parser {
public:
    explicit Parser(std::u16string_view text) : text_(text) { advance(); }

    Statement statement();
    Expression wholeCondition();

private:
    [[noreturn]] void fail(const std::string& what) const;

    void advance();
    Token read();
    Token readQuoted(char16_t quote);
    Token readBracketed();
    Token readNumber();
    Token readDate();
    std::u16string_view from(std::size_t start) const { return text_.substr(start, at_ - start); }

    bool isWord(std::string_view keyword) const
    {
        return token_.kind == Kind::word && sameKeyword(token_.content, keyword);
    }
    bool isMark(std::u16string_view mark) const { return token_.kind == Kind::mark && token_.content == mark; }
    bool takeWord(std::string_view keyword);
    bool takeMark(std::u16string_view mark);
    void needWord(const char* keyword);
    void needMark(std::u16string_view mark);
    std::u16string needName(const char* what);
    void needEnd();

    std::vector<Output> outputs();
    Output output();
    std::vector<OrderItem> orderItems();
    Expression any();
    Expression all();
    Expression negation();
    Expression test();
    Operand operand();
    std::optional<Comparison> takeComparison();

    std::u16string_view text_;
    std::size_t at_ = 0;
    Token token_;
    int depth_ = 0;
};

/// Where the reading stopped, with some of the text around it.
void Parser::fail(const std::string& what) const
{
    const std::size_t stop =
        token_.kind == Kind::end ? text_.size() : static_cast<std::size_t>(token_.source.data() - text_.data());
    constexpr std::size_t around = 40;
    const std::size_t start = stop > around ? stop - around : 0;
    const std::string before = toUtf8(text_.substr(start, stop - start));
    const std::string after = toUtf8(text_.substr(stop, around));
    throw Error(Fault::syntax, "Sorgu anlaşılamadı: " + what + " Yeri: “" + before + "»" + after +
                                   "”. Sorgu çalıştırılmadı, hiçbir kayıt değişmedi.");
}

// ---- Words of the text ----------------------------------------------------------------------------------------

void Parser::advance() { token_ = read(); }

Token Parser::read()
{
    while (at_ < text_.size() && isBlank(text_[at_])) ++at_;
    if (at_ == text_.size()) return {Kind::end, text_.substr(at_), {}, {}};

    const std::size_t start = at_;
    const char16_t first = text_[at_];
    if (first == u'\'' || first == u'"') return readQuoted(first);
    if (first == u'[') return readBracketed();
    if (first == u'#') return readDate();
    if (isDigit(first) || (first == u'.' && at_ + 1 < text_.size() && isDigit(text_[at_ + 1]))) return readNumber();
    if (startsWord(first)) {
        while (at_ < text_.size() && (startsWord(text_[at_]) || isDigit(text_[at_]))) ++at_;
        return {Kind::word, from(start), std::u16string(from(start)), {}};
    }
    ++at_;
    if (at_ < text_.size()) {
        const std::u16string_view two = text_.substr(start, 2);
        if (two == u"<=" || two == u">=" || two == u"<>") ++at_;
    }
    return {Kind::mark, from(start), std::u16string(from(start)), {}};
}

Token Parser::readQuoted(char16_t quote)
{
    const std::size_t start = at_++;
    std::u16string content;
    for (; at_ < text_.size(); ++at_) {
        if (text_[at_] == quote) {
            ++at_;
            const bool doubled = at_ < text_.size() && text_[at_] == quote;
            if (!doubled) return {Kind::text, from(start), content, {}};
        }
        content += text_[at_];
    }
    token_ = {Kind::text, from(start), {}, {}};
    fail("tırnakla açılan metin kapatılmamış.");
}

Token Parser::readBracketed()
{
    const std::size_t start = at_;
    const std::size_t close = text_.find(u']', start);
    at_ = close == text_.npos ? text_.size() : close + 1;
    Token name{Kind::name, from(start), {}, {}};
    if (close != text_.npos) name.content = text_.substr(start + 1, close - start - 1);
    if (name.content.empty()) {
        token_ = name;
        fail("köşeli ayraç içinde bir ad bekleniyordu.");
    }
    return name;
}

Token Parser::readNumber()
{
    const std::size_t start = at_;
    const auto digits = [this] {
        while (at_ < text_.size() && isDigit(text_[at_])) ++at_;
    };
    digits();
    if (at_ < text_.size() && text_[at_] == u'.') {
        ++at_;
        digits();
    }
    if (at_ + 1 < text_.size() && (text_[at_] == u'e' || text_[at_] == u'E')) {
        const bool sign = text_[at_ + 1] == u'+' || text_[at_ + 1] == u'-';
        const std::size_t firstDigit = at_ + (sign ? 2 : 1);
        if (firstDigit < text_.size() && isDigit(text_[firstDigit])) {
            at_ = firstDigit;
            digits();
        }
    }
    Token number{Kind::number, from(start), {}, {}};
    const std::string digitsText = toUtf8(number.source);
    double value = 0;
    const auto read = std::from_chars(digitsText.data(), digitsText.data() + digitsText.size(), value);
    const bool glued = at_ < text_.size() && startsWord(text_[at_]);
    if (read.ec != std::errc() || glued) {
        token_ = number;
        fail(glued ? "sayı ile sözcük bitişik yazılmış." : "sayı çok büyük.");
    }
    number.value = value;
    return number;
}

/// #month/day/year#, with hour:minute:second where wanted.
Token Parser::readDate()
{
    const std::size_t start = at_;
    const std::size_t close = text_.find(u'#', start + 1);
    at_ = close == text_.npos ? text_.size() : close + 1;
    Token date{Kind::date, from(start), {}, {}};
    token_ = date;
    if (close == text_.npos) fail("“#” ile açılan tarih “#” ile kapatılmamış.");

    std::u16string_view rest = text_.substr(start + 1, close - start - 1);
    const auto skipBlanks = [&rest] {
        while (!rest.empty() && isBlank(rest.front())) rest.remove_prefix(1);
    };
    const auto part = [&rest](std::size_t most) -> std::optional<int> {
        int value = 0;
        std::size_t digits = 0;
        while (digits < rest.size() && digits <= most && isDigit(rest[digits]))
            value = value * 10 + (rest[digits++] - u'0');
        if (digits == 0 || digits > most) return std::nullopt;
        rest.remove_prefix(digits);
        return value;
    };
    const auto separator = [&rest](char16_t wanted) {
        if (rest.empty() || rest.front() != wanted) return false;
        rest.remove_prefix(1);
        return true;
    };

    bool understood = false;
    std::optional<int> month, day, year, hour = 0, minute = 0, second = 0;
    skipBlanks();
    if ((month = part(2)) && separator(u'/') && (day = part(2)) && separator(u'/') && (year = part(4))) {
        skipBlanks();
        understood = true;
        if (!rest.empty()) {
            understood = (hour = part(2)) && separator(u':') && (minute = part(2));
            if (understood && separator(u':')) understood = (second = part(2)).has_value();
            skipBlanks();
        }
    }
    if (!understood || !rest.empty()) fail("tarih #ay/gün/yıl saat:dakika:saniye# biçiminde yazılmalı.");
    const std::optional<DateTime> moment = dateTime(*year, *month, *day, *hour, *minute, *second);
    if (!moment) fail("takvimde böyle bir gün ya da saat yok (tarih ay/gün/yıl sırasıyla yazılır).");
    date.value = *moment;
    return date;
}

// ---- Grammar --------------------------------------------------------------------------------------------------

bool Parser::takeWord(std::string_view keyword)
{
    if (!isWord(keyword)) return false;
    advance();
    return true;
}

bool Parser::takeMark(std::u16string_view mark)
{
    if (!isMark(mark)) return false;
    advance();
    return true;
}

void Parser::needWord(const char* keyword)
{
    if (!takeWord(keyword)) fail(std::string("“") + keyword + "” sözcüğü bekleniyordu.");
}

void Parser::needMark(std::u16string_view mark)
{
    if (!takeMark(mark)) fail("“" + toUtf8(mark) + "” bekleniyordu.");
}

std::u16string Parser::needName(const char* what)
{
    const bool plain = token_.kind == Kind::word && !isReserved(token_.content);
    if (!plain && token_.kind != Kind::name) fail(std::string(what) + " bekleniyordu.");
    std::u16string name = std::move(token_.content);
    advance();
    return name;
}

void Parser::needEnd()
{
    takeMark(u";");
    if (token_.kind != Kind::end) fail("burada bir işleç eksik ya da fazladan söz var.");
}

Statement Parser::statement()
{
    Statement result;
    if (takeWord("delete")) {
        result.kind = Statement::Kind::erase;
    } else {
        needWord("Select");
        result.outputs = outputs();
    }
    needWord("From");
    result.table = needName("tablo adı");
    if (takeWord("where")) result.where = any();
    if (result.kind == Statement::Kind::select && takeWord("order")) {
        needWord("By");
        result.order = orderItems();
    }
    needEnd();
    return result;
}

Expression Parser::wholeCondition()
{
    Expression condition = any();
    needEnd();
    return condition;
}

std::vector<Output> Parser::outputs()
{
    std::vector<Output> list;
    if (takeMark(u"*")) return list;
    do list.push_back(output());
    while (takeMark(u","));
    return list;
}

Output Parser::output()
{
    const bool mayBeSum = isWord("sum");
    Output one{needName("alan adı"), false};
    if (mayBeSum && takeMark(u"(")) {
        one = {needName("alan adı"), true};
        needMark(u")");
    }
    return one;
}

std::vector<OrderItem> Parser::orderItems()
{
    std::vector<OrderItem> list;
    do {
        OrderItem item{needName("sıralanacak alan adı"), false};
        if (takeWord("desc"))
            item.descending = true;
        else
            takeWord("asc");
        list.push_back(std::move(item));
    } while (takeMark(u","));
    return list;
}

/// Of one part, so far.
Expression made(Expression::Kind kind, Expression part)
{
    Expression group;
    group.kind = kind;
    group.parts.push_back(std::move(part));
    return group;
}

Expression Parser::any()
{
    if (++depth_ > maxDepth) fail("ayraçlar çok derin iç içe.");
    Expression first = all();
    if (isWord("or")) first = made(Expression::Kind::any, std::move(first));
    while (takeWord("or")) first.parts.push_back(all());
    --depth_;
    return first;
}

Expression Parser::all()
{
    Expression first = negation();
    if (!isWord("and")) return first;
    Expression group = made(Expression::Kind::all, std::move(first));
    while (takeWord("and")) group.parts.push_back(negation());
    return group;
}

/// Not binds closer than And and takes the whole comparison after it; two of them take each other back.
Expression Parser::negation()
{
    bool negated = false;
    while (takeWord("not")) negated = !negated;

    Expression inner;
    if (takeMark(u"(")) {
        inner = any();
        needMark(u")");
    } else {
        inner = test();
    }
    return negated ? made(Expression::Kind::negation, std::move(inner)) : std::move(inner);
}

Expression Parser::test()
{
    Expression result;
    result.left = operand();
    bool negated = false;
    if (takeWord("is")) {
        negated = takeWord("not");
        needWord("Null");
        result.kind = Expression::Kind::isNull;
    } else if (const auto comparison = takeComparison()) {
        result.kind = Expression::Kind::compare;
        result.comparison = *comparison;
        result.right = operand();
    } else {
        negated = takeWord("not");
        needWord("Like");
        if (token_.kind != Kind::text) fail("Like sözcüğünden sonra tırnak içinde bir kalıp bekleniyordu.");
        result.kind = Expression::Kind::like;
        result.pattern = std::move(token_.content);
        advance();
    }
    return negated ? made(Expression::Kind::negation, std::move(result)) : std::move(result);
}

std::optional<Comparison> Parser::takeComparison()
{
    static constexpr std::array<std::pair<std::u16string_view, Comparison>, 6> signs = {{
        {u"=", Comparison::equal},
        {u"<>", Comparison::unequal},
        {u"<", Comparison::less},
        {u"<=", Comparison::lessOrEqual},
        {u">", Comparison::greater},
        {u">=", Comparison::greaterOrEqual},
    }};
    for (const auto& [sign, comparison] : signs)
        if (takeMark(sign)) return comparison;
    return std::nullopt;
}

Operand Parser::operand()
{
    Operand result;
    const bool negative = isMark(u"-");
    if (negative || isMark(u"+")) {
        advance();
        if (token_.kind != Kind::number) fail("işaretten sonra bir sayı bekleniyordu.");
    }
    if (token_.kind == Kind::text) {
        result.value = std::move(token_.content);
    } else if (negative) {
        result.value = -std::get<double>(token_.value);
    } else if (token_.kind == Kind::number || token_.kind == Kind::date) {
        result.value = token_.value;
    } else if (isWord("true") || isWord("false")) {
        result.value = isWord("true");
    } else if (!isWord("null")) {
        result.field = needName("alan adı ya da değer");
        return result;
    }
    advance();
    return result;
}

} // namespace

Statement parseStatement(std::u16string_view text) { return Parser(text).statement(); }

Expression parseCondition(std::u16string_view text) { return Parser(text).wholeCondition(); }

} // namespace jet::sql
