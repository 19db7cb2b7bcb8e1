#include "store/jet/format/doors.h"
#include "store/jet/rules/rule_node.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/names.h"
#include "store/jet/values/word_units.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace jet {
namespace {

using Node = Rule::Node;
using Op = Node::Op;

/// Deeper nesting than anybody writes.
constexpr int maxDepth = 64;
/// Characters; Access takes no longer rule.
constexpr std::size_t longestRule = 2048;

enum class Kind { end, word, name, text, number, date, mark };

struct Token {
    Kind kind = Kind::end;
    std::u16string content;
    Operand value; ///< number, date
};

/// What stands between two operands.
struct Sign {
    std::u16string_view text;
    Op op = Op::join;
};
/// As Access reckons: the signs that bind the least first.
constexpr std::array<std::array<Sign, 2>, 5> levels = {{{{{u"&", Op::join}}},
                                                        {{{u"+", Op::add}, {u"-", Op::subtract}}},
                                                        {{{u"mod", Op::remainder}}},
                                                        {{{u"\\", Op::divideWhole}}},
                                                        {{{u"*", Op::multiply}, {u"/", Op::divide}}}}};

class Lexer {
public:
    explicit Lexer(std::u16string_view text) : text_(text) {}

    Token next()
    {
        while (at_ < text_.size() && isBlank(text_[at_])) ++at_;
        if (at_ == text_.size()) return {};
        const char16_t first = text_[at_];
        if (first == u'\'' || first == u'"') return {Kind::text, quoted(first), {}};
        if (first == u'[') return {Kind::name, until(u']'), {}};
        if (first == u'#') return date();
        if (isDigit(first) || (first == u'.' && at_ + 1 < text_.size() && isDigit(text_[at_ + 1]))) return number();
        const std::size_t start = at_;
        if (startsWord(first)) {
            while (at_ < text_.size() && (startsWord(text_[at_]) || isDigit(text_[at_]))) ++at_;
            return {Kind::word, std::u16string(text_.substr(start, at_ - start)), {}};
        }
        ++at_;
        const std::u16string_view two = text_.substr(start, 2);
        if (two == u"<=" || two == u">=" || two == u"<>") ++at_;
        return {Kind::mark, std::u16string(text_.substr(start, at_ - start)), {}};
    }

private:
    std::u16string quoted(char16_t quote)
    {
        std::u16string content;
        for (++at_; at_ < text_.size(); ++at_) {
            if (text_[at_] == quote) {
                ++at_;
                if (at_ == text_.size() || text_[at_] != quote) return content;
            }
            content += text_[at_];
        }
        throwNotUnderstood("tırnakla açılan metin kapatılmamış");
    }
    std::u16string until(char16_t end)
    {
        const std::size_t close = text_.find(end, at_ + 1);
        if (close == text_.npos || close == at_ + 1) throwNotUnderstood("ayraç içinde bir ad yok");
        std::u16string content(text_.substr(at_ + 1, close - at_ - 1));
        at_ = close + 1;
        return content;
    }
    Token number()
    {
        const std::size_t start = at_;
        while (at_ < text_.size() && (isDigit(text_[at_]) || text_[at_] == u'.')) ++at_;
        if (at_ < text_.size() && (text_[at_] == u'E' || text_[at_] == u'e')) {
            std::size_t digit = at_ + 1;
            if (digit < text_.size() && (text_[digit] == u'+' || text_[digit] == u'-')) ++digit;
            if (digit < text_.size() && isDigit(text_[digit]))
                for (at_ = digit; at_ < text_.size() && isDigit(text_[at_]);) ++at_;
        }
        const std::string digits = toUtf8(text_.substr(start, at_ - start));
        const auto value = RuleNumber::written(digits);
        const bool glued = at_ < text_.size() && startsWord(text_[at_]);
        if (!value || glued) throwNotUnderstood("“" + digits + "” bir sayı değil");
        return {Kind::number, {}, *value};
    }
    /// #month/day/year#, with hour:minute:second behind it, or these alone.
    Token date()
    {
        const std::u16string inside = until(u'#');
        std::array<int, 6> numbers{};
        std::u16string signs;
        std::size_t count = 0;
        bool inNumber = false;
        for (const char16_t unit : inside) {
            if (isDigit(unit)) {
                if (!inNumber && ++count > numbers.size()) break;
                numbers[count - 1] = std::min(numbers[count - 1] * 10 + (unit - u'0'), 99999);
                inNumber = true;
                continue;
            }
            inNumber = false;
            if (!isBlank(unit)) signs += unit;
        }
        const auto& n = numbers;
        std::optional<DateTime> moment;
        if (signs == u"//" && count == 3)
            moment = dateTime(n[2], n[0], n[1]);
        else if (signs == u"//:" && count == 5)
            moment = dateTime(n[2], n[0], n[1], n[3], n[4]);
        else if (signs == u"//::" && count == 6)
            moment = dateTime(n[2], n[0], n[1], n[3], n[4], n[5]);
        else if (signs == u"::" && count == 3)
            moment = dateTime(1899, 12, 30, n[0], n[1], n[2]);
        if (!moment) throwNotUnderstood("“#" + toUtf8(inside) + "#” bir tarih değil");
        return {Kind::date, {}, *moment};
    }

    std::u16string_view text_;
    std::size_t at_ = 0;
};

class Parser {
public:
    Parser(std::u16string_view text, Rule::Kind kind, const RuleHome& home)
        : home_(home), lexer_(text), isCondition_(kind == Rule::Kind::condition)
    {
        if (kind == Rule::Kind::value) {
            // A default may be written with the sign of an assignment.
            std::size_t start = 0;
            while (start < text.size() && isBlank(text[start])) ++start;
            if (start < text.size() && text[start] == u'=') lexer_ = Lexer(text.substr(start + 1));
        }
        advance();
    }

    Node whole()
    {
        Node root = isCondition_ ? asCondition(any()) : operand();
        if (token_.kind != Kind::end) throwNotUnderstood("“" + shown() + "” beklenmiyordu");
        return root;
    }

private:
    void advance() { token_ = lexer_.next(); }
    std::string shown() const { return token_.kind == Kind::end ? "son" : toUtf8(token_.content); }
    bool takeWord(std::u16string_view word)
    {
        if (token_.kind != Kind::word || lower(token_.content) != word) return false;
        advance();
        return true;
    }
    bool takeMark(std::u16string_view mark)
    {
        if (token_.kind != Kind::mark || token_.content != mark) return false;
        advance();
        return true;
    }
    void needMark(std::u16string_view mark)
    {
        if (!takeMark(mark)) throwNotUnderstood("“" + toUtf8(mark) + "” eksik");
    }
    template <class... Parts> static Node node(Op op, Parts... parts)
    {
        Node made;
        made.op = op;
        (made.parts.push_back(std::move(parts)), ...);
        return made;
    }

    Node any()
    {
        if (++depth_ > maxDepth) throwNotUnderstood("ayraçlar çok derin iç içe");
        Node left = all();
        while (takeWord(u"or")) left = node(Op::orOp, std::move(left), all());
        --depth_;
        return left;
    }
    Node all()
    {
        Node left = negation();
        while (takeWord(u"and")) left = node(Op::andOp, std::move(left), negation());
        return left;
    }
    Node negation()
    {
        if (!takeWord(u"not")) return test();
        if (++depth_ > maxDepth) throwNotUnderstood("ayraçlar çok derin iç içe");
        Node inner = node(Op::notOp, negation());
        --depth_;
        return inner;
    }

    std::optional<Op> takeComparison()
    {
        static constexpr std::array<std::pair<std::u16string_view, Op>, 6> signs = {{{u"=", Op::equal},
                                                                                     {u"<>", Op::unequal},
                                                                                     {u"<", Op::less},
                                                                                     {u"<=", Op::lessOrEqual},
                                                                                     {u">", Op::greater},
                                                                                     {u">=", Op::greaterOrEqual}}};
        for (const auto& [sign, op] : signs)
            if (takeMark(sign)) return op;
        return std::nullopt;
    }
    bool atTest() const
    {
        if (token_.kind == Kind::mark)
            return token_.content == u"=" || token_.content.front() == u'<' || token_.content.front() == u'>';
        if (token_.kind != Kind::word) return false;
        const std::u16string word = lower(token_.content);
        return word == u"like" || word == u"between" || word == u"in" || word == u"is" || word == u"not";
    }

    Node test()
    {
        Node left = atTest() ? node(Op::own) : operand();
        if (!atTest()) return left;
        const bool inverted = takeWord(u"not");
        Node tested = testOf(std::move(left));
        return inverted ? node(Op::notOp, std::move(tested)) : std::move(tested);
    }

    static bool speaksOfFields(const Node& node)
    {
        return node.op == Op::field || node.op == Op::own || std::ranges::any_of(node.parts, speaksOfFields);
    }
    /// A value alone, at a place where a condition stands, means that the field equals it.
    static Node asCondition(Node node)
    {
        if (node.op == Op::orOp || node.op == Op::andOp || node.op == Op::notOp) {
            for (Node& part : node.parts) part = asCondition(std::move(part));
            return node;
        }
        const bool isQuestion = node.op == Op::call && (node.name == u"isnull" || node.name == u"iif");
        if ((node.op >= Op::equal && node.op <= Op::meant) || isQuestion || speaksOfFields(node)) return node;
        Node own = Parser::node(Op::own);
        if (node.op == Op::value && jet::isNull(node.content)) // "Not Null" asks for a value
            return Parser::node(Op::isNull, std::move(own));
        return Parser::node(Op::meant, std::move(own), std::move(node));
    }

    Node testOf(Node left)
    {
        if (const auto op = takeComparison()) return node(*op, std::move(left), operand());
        if (takeWord(u"is")) {
            const bool inverted = takeWord(u"not");
            if (!takeWord(u"null")) throwNotUnderstood("Is sözcüğünden sonra yalnız Null anlaşılır");
            Node tested = node(Op::isNull, std::move(left));
            return inverted ? node(Op::notOp, std::move(tested)) : std::move(tested);
        }
        if (takeWord(u"like")) return node(Op::like, std::move(left), operand());
        if (takeWord(u"between")) {
            Node one = operand();
            if (!takeWord(u"and")) throwNotUnderstood("Between … And … yarım kalmış");
            return node(Op::between, std::move(left), std::move(one), operand());
        }
        if (takeWord(u"in")) {
            Node among = node(Op::in, std::move(left));
            needMark(u"(");
            do among.parts.push_back(operand());
            while (takeMark(u",") || takeMark(u";"));
            needMark(u")");
            return among;
        }
        throwNotUnderstood("“" + shown() + "” beklenmiyordu");
    }

    Node operand(std::size_t level = 0)
    {
        if (level == levels.size()) return factor();
        Node left = operand(level + 1);
        const auto taken = [this](const Sign& sign) { return takeMark(sign.text) || takeWord(sign.text); };
        for (;;) {
            const auto sign = std::ranges::find_if(levels[level], taken);
            if (sign == levels[level].end()) return left;
            left = node(sign->op, std::move(left), operand(level + 1));
        }
    }
    Node factor()
    {
        if (++depth_ > maxDepth) throwNotUnderstood("ayraçlar çok derin iç içe");
        Node made = unguardedFactor();
        --depth_;
        return made;
    }
    Node unguardedFactor()
    {
        if (takeMark(u"-")) return node(Op::negate, factor());
        if (takeMark(u"+")) return factor();
        if (takeMark(u"(")) {
            Node inner = any();
            needMark(u")");
            return inner;
        }
        Node made;
        Token token = std::move(token_);
        switch (token.kind) {
        case Kind::number:
        case Kind::date:
            made.content = std::move(token.value);
            break;
        case Kind::text:
            made.content = std::move(token.content);
            break;
        case Kind::name:
            advance();
            return fieldNamed(std::move(token.content));
        case Kind::word:
            advance();
            return word(std::move(token.content));
        default:
            token_ = std::move(token);
            throwNotUnderstood("“" + shown() + "” yerine bir değer bekleniyordu");
        }
        advance();
        return made;
    }

    /// The table's own name may stand before the field's.
    Node fieldNamed(std::u16string name)
    {
        if (takeMark(u"!") || takeMark(u".")) {
            if (!sameName(name, home_.table)) throwNotUnderstood(quotedName(name) + " bu tablo değil");
            if (token_.kind != Kind::name && token_.kind != Kind::word)
                throwNotUnderstood("“" + shown() + "” yerine bir alan adı bekleniyordu");
            name = std::move(token_.content);
            advance();
        }
        Node made = node(Op::field);
        made.name = std::move(name);
        return made;
    }

    Node word(std::u16string name)
    {
        const std::u16string small = lower(name);
        Node made;
        if (small == u"null") return made;
        if (small == u"true" || small == u"yes" || small == u"on") {
            made.content = true;
            return made;
        }
        if (small == u"false" || small == u"no" || small == u"off") {
            made.content = false;
            return made;
        }
        if (!takeMark(u"(")) return fieldNamed(std::move(name));
        made.op = Op::call;
        made.name = small;
        if (!takeMark(u")")) {
            do made.parts.push_back(any());
            while (takeMark(u",") || takeMark(u";"));
            needMark(u")");
        }
        if (!isRuleFunction(small, made.parts.size())) throwNotUnderstood("“" + toUtf8(name) + "” işlevi tanınmıyor");
        return made;
    }

    const RuleHome& home_;
    Lexer lexer_;
    bool isCondition_;
    Token token_;
    int depth_ = 0;
};

} // namespace

void throwNotUnderstood(const std::string& what) { throw Error(Fault::unsupported, what); }

Rule::Node parseRule(std::u16string_view text, Rule::Kind kind, const RuleHome& home)
{
    if (text.size() > longestRule) throwNotUnderstood("çok uzun");
    return Parser(text, kind, home).whole();
}

} // namespace jet
