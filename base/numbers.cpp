#include "base/numbers.h"

#include "base/decimal.h"
#include "base/error.h"
#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <system_error>

using namespace Qt::StringLiterals;

namespace base {

namespace {

bool isWhite(QChar c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

/// ASCII digits only: Arabic and other digits are letters to this program.
bool isDigit(QChar c) { return c >= u'0' && c <= u'9'; }

int hexValue(QChar c)
{
    if (isDigit(c)) return c.unicode() - u'0';
    const char16_t lower = c.unicode() | 0x20;
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : 16;
}

enum class Outcome { number, notANumber, tooLarge };

/// Walks once over the text; see the header for the language.
class Parser {
public:
    Parser(QStringView text, const Regional& regional) : rest_(text), regional_(regional) {}

    Outcome parse(double& value)
    {
        skipWhite();
        if (peek() == u'&') return parseRadix(value);
        takePrefix();
        if (!takeDigits() || !takeExponent() || !takeSuffix()) return Outcome::notANumber;
        return convert(value);
    }

private:
    QChar peek() const { return rest_.isEmpty() ? QChar() : rest_.front(); }
    void advance(qsizetype count = 1) { rest_ = rest_.sliced(count); }
    void skipWhite()
    {
        while (!rest_.isEmpty() && isWhite(rest_.front())) advance();
    }

    bool takeSign()
    {
        if (sign_ || (peek() != u'+' && peek() != u'-')) return false;
        sign_ = true;
        negative_ = peek() == u'-';
        advance();
        return true;
    }

    bool takeCurrency()
    {
        if (currency_ || regional_.currency.isEmpty() || !rest_.startsWith(regional_.currency)) return false;
        currency_ = true;
        advance(regional_.currency.size());
        return true;
    }

    void takePrefix()
    {
        for (;;) {
            skipWhite();
            if (takeSign() || takeCurrency()) continue;
            if (opened_ || peek() != u'(') return;
            opened_ = true;
            advance();
        }
    }

    bool takeDigits()
    {
        bool decimal = false;
        bool any = false;
        for (; !rest_.isEmpty(); advance()) {
            const QChar c = rest_.front();
            if (isDigit(c)) {
                any = true;
                digits_ += static_cast<char>(c.unicode());
            } else if (c == regional_.decimal) {
                if (decimal) return false;
                decimal = true;
                digits_ += '.';
            } else if (regional_.group.isNull() || c != regional_.group) {
                break;
            }
        }
        return any;
    }

    bool takeExponent()
    {
        const char16_t letter = peek().unicode() | 0x20;
        if (letter != u'e' && letter != u'd') return true;
        advance();
        bool minus = false;
        if (peek() == u'+' || peek() == u'-') {
            minus = peek() == u'-';
            advance();
        }
        if (!isDigit(peek())) return false;
        constexpr int beyondAnyDouble = 100000;
        for (; isDigit(peek()); advance())
            exponent_ = std::min(exponent_ * 10 + (peek().unicode() - u'0'), beyondAnyDouble);
        if (minus) exponent_ = -exponent_;
        return true;
    }

    bool takeSuffix()
    {
        bool closed = false;
        for (;;) {
            skipWhite();
            if (takeSign() || takeCurrency()) continue;
            if (closed || !opened_ || peek() != u')') break;
            closed = true;
            advance();
        }
        return rest_.isEmpty() && opened_ == closed && !(opened_ && sign_);
    }

    Outcome convert(double& value) const
    {
        const std::string text = digits_ + 'e' + std::to_string(exponent_);
        value = 0;
        if (digits_.find_first_not_of("0.") != std::string::npos) {
            // from_chars, not strtod: that one would follow the C library's own locale.
            const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
            if (result.ec == std::errc::result_out_of_range) {
                if (magnitude() > 0) return Outcome::tooLarge;
                value = 0;
            }
        }
        if (negative_ || opened_) value = -value;
        return Outcome::number;
    }

    /// Power of ten of the number, for telling a vanishing number from one that is too large.
    long magnitude() const
    {
        const std::size_t mark = std::min(digits_.find('.'), digits_.size());
        const std::size_t first = digits_.find_first_not_of("0.");
        return static_cast<long>(mark) - static_cast<long>(first) + exponent_;
    }

    Outcome parseRadix(double& value)
    {
        advance();
        const char16_t letter = peek().unicode() | 0x20;
        if (letter != u'h' && letter != u'o') return Outcome::notANumber;
        const int radix = letter == u'h' ? 16 : 8;
        advance();
        if (hexValue(peek()) >= radix) return Outcome::notANumber;
        value = 0;
        for (; hexValue(peek()) < radix; advance()) value = value * radix + hexValue(peek());
        skipWhite();
        if (!rest_.isEmpty()) return Outcome::notANumber;
        return std::isfinite(value) ? Outcome::number : Outcome::tooLarge;
    }

    QStringView rest_;
    const Regional& regional_;
    std::string digits_; ///< as from_chars wants them: no group marks, "." as decimal mark
    int exponent_ = 0;
    bool sign_ = false;
    bool negative_ = false;
    bool currency_ = false;
    bool opened_ = false;
};

template <class Integer> Integer narrowed(double value)
{
    const double whole = std::nearbyint(value);
    if (!(whole >= std::numeric_limits<Integer>::min() && whole <= std::numeric_limits<Integer>::max()))
        throw runtimeError(errors::overflow);
    return static_cast<Integer>(whole);
}

QString plainText(double value, int significant, const Regional& regional)
{
    if (!std::isfinite(value)) return std::isnan(value) ? u"-1.#IND"_s : value > 0 ? u"1.#INF"_s : u"-1.#INF"_s;
    const Decimal number = decimalOf(value, significant);
    QString text;
    if (number.negative) text += u'-';
    if (number.point > significant || number.point <= -significant) {
        text += QLatin1Char(number.digits.front());
        if (number.digits.size() > 1) text += regional.decimal + QString::fromLatin1(number.digits.substr(1));
        const int exponent = number.point - 1;
        text += exponent < 0 ? u"E-"_s : u"E+"_s;
        return text + QString::number(std::abs(exponent)).rightJustified(2, u'0');
    }
    const std::string whole = wholeDigits(number);
    const std::string fraction = fractionDigits(number);
    text += whole.empty() ? u"0"_s : QString::fromLatin1(whole);
    if (!fraction.empty()) text += regional.decimal + QString::fromLatin1(fraction);
    return text;
}

std::optional<bool> boolWord(QStringView text)
{
    if (text.compare(u"True", Qt::CaseInsensitive) == 0) return true;
    if (text.compare(u"False", Qt::CaseInsensitive) == 0) return false;
    return std::nullopt;
}

} // namespace

double toDouble(QStringView text, const Regional& regional)
{
    double value = 0;
    switch (Parser(text, regional).parse(value)) {
    case Outcome::number:
        break;
    case Outcome::notANumber:
        throw runtimeError(errors::typeMismatch);
    case Outcome::tooLarge:
        throw runtimeError(errors::overflow);
    }
    return value;
}

float toSingle(QStringView text, const Regional& regional)
{
    const double value = toDouble(text, regional);
    // Half a unit above the largest single still rounds to it; from there on nothing fits.
    constexpr double tooLarge = 0x1.ffffffp127;
    if (std::fabs(value) >= tooLarge) throw runtimeError(errors::overflow);
    return static_cast<float>(value);
}

std::int16_t toInt16(QStringView text, const Regional& regional) { return toInt16(toDouble(text, regional)); }
std::int32_t toInt32(QStringView text, const Regional& regional) { return toInt32(toDouble(text, regional)); }
std::int16_t toInt16(double value) { return narrowed<std::int16_t>(value); }
std::int32_t toInt32(double value) { return narrowed<std::int32_t>(value); }

bool isNumeric(QStringView text, const Regional& regional)
{
    double value = 0;
    return Parser(text, regional).parse(value) == Outcome::number;
}

bool toBool(QStringView text, const Regional& regional)
{
    const std::optional<bool> word = boolWord(text);
    return word ? *word : toDouble(text, regional) != 0;
}

bool flagOf(QStringView text)
{
    const std::optional<bool> word = boolWord(text);
    if (!word) throw runtimeError(errors::typeMismatch);
    return *word;
}

double displayValue(QStringView text, const Regional& regional)
{
    return text.isEmpty() ? 0 : toDouble(text, regional);
}

QString numberToText(double value, const Regional& regional) { return plainText(value, 15, regional); }
QString numberToText(float value, const Regional& regional)
{
    return plainText(static_cast<double>(value), 7, regional);
}
QString numberToText(int value, const Regional& regional) { return plainText(value, 15, regional); }

double truncate(double value) { return std::trunc(value); }
bool isFractional(double value) { return value > std::floor(value); }

} // namespace base
