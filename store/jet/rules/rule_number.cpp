#include "store/jet/rules/rule_number.h"

#include "store/jet/rules/rule_node.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

namespace jet {
namespace {

using Wide = RuleNumber::Wide;

/// More decimals than any type has.
constexpr unsigned mostDecimals = 28;
constexpr unsigned decimalsOfCurrency = 4;
/// Where a product is Currency, it is rounded to this.
constexpr double unitOfCurrency = 1e-4;
/// A double carries 15 digits for certain and a Single 7; these leave room for the last of them.
constexpr double partOfDouble = 1e-12;
constexpr double partOfSingle = 1e-6;
constexpr double firstOf16Digits = 1e15;
/// Powers of ten and whole numbers that a double holds exactly.
constexpr double powersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                  1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr Wide wholeInDouble = Wide{1} << 53;
/// No type has more digits than 28.
constexpr Wide firstOf29Digits = Wide{10'000'000'000'000'000} * 1'000'000'000'000;

std::optional<Wide> times(Wide a, Wide b)
{
    Wide product = 0;
    if (__builtin_mul_overflow(a, b, &product)) return std::nullopt;
    return product;
}

std::optional<Wide> tenfold(Wide digits, unsigned times10)
{
    std::optional<Wide> scaled = digits;
    for (; scaled && times10 > 0; --times10) scaled = times(*scaled, 10);
    return scaled;
}

[[noreturn]] void throwTooClose() { throwNotUnderstood("sayılar kesin olarak karşılaştırılamayacak kadar yakın"); }

} // namespace

RuleNumber::RuleNumber(Wide digits, unsigned scale, double slack) : digits_(digits), scale_(scale), slack_(slack)
{
    while (scale_ > 0 && digits_ % 10 == 0) {
        digits_ /= 10;
        --scale_;
    }
    if (scale_ < std::size(powersOfTen) && digits_ < wholeInDouble && digits_ > -wholeInDouble) {
        // Both are exact, so the quotient is the nearest double.
        value_ = static_cast<double>(digits_) / powersOfTen[scale_];
        return;
    }
    long double value = static_cast<long double>(digits_);
    long double unit = 1;
    for (unsigned i = 0; i < scale_; ++i) unit *= 10;
    value_ = static_cast<double>(value / unit);
}

Value RuleNumber::toWrite() const
{
    const Wide digits = digits_ < 0 ? -digits_ : digits_;
    if (origin_ != Origin::decimal || digits < static_cast<Wide>(firstOf16Digits)) return value_;
    Numeric exact{.negative = digits_ < 0, .magnitude = {}, .scale = static_cast<std::uint8_t>(scale_)};
    Wide rest = digits;
    for (std::size_t word = exact.magnitude.size(); word > 0; rest >>= 32)
        exact.magnitude[--word] = static_cast<std::uint32_t>(rest);
    if (scale_ > mostDecimals || slack_ != 0 || digits >= firstOf29Digits) throwNotUnderstood("çok uzun bir sayı");
    return exact;
}

RuleNumber RuleNumber::of(Currency money) { return {Wide{money.tenThousandths}, decimalsOfCurrency, 0}; }

RuleNumber RuleNumber::of(const Numeric& number)
{
    std::optional<Wide> digits = 0;
    for (const std::uint32_t word : number.magnitude) {
        digits = times(*digits, Wide{1} << 32);
        if (!digits) throwNotUnderstood("alanda bir sayı yok"); // more digits than the type has
        *digits += word;
    }
    return {number.negative ? -*digits : *digits, number.scale, 0};
}

RuleNumber RuleNumber::of(float number)
{
    if (!std::isfinite(number)) throwNotUnderstood("alanda bir sayı yok");
    return {double{number}, Origin::single, std::fabs(double{number}) * partOfSingle};
}

RuleNumber RuleNumber::of(double number)
{
    if (!std::isfinite(number)) throwNotUnderstood("alanda bir sayı yok");
    return {number, Origin::real, 0};
}

RuleNumber RuleNumber::reckoned(double number)
{
    if (!std::isfinite(number)) throwNotUnderstood("sonuç bir sayı değil");
    return {number, Origin::reckoned, std::fabs(number) * partOfDouble};
}

std::optional<RuleNumber> RuleNumber::written(std::string_view digits)
{
    std::optional<Wide> number = 0;
    unsigned scale = 0;
    bool behindPoint = false, simple = !digits.empty();
    for (const char digit : digits) {
        if (digit == '.' && !behindPoint) {
            behindPoint = true;
            continue;
        }
        simple = simple && digit >= '0' && digit <= '9';
        if (!simple) break;
        number = number ? tenfold(*number, 1) : std::nullopt;
        if (number && __builtin_add_overflow(*number, digit - '0', &*number)) number.reset();
        if (behindPoint) ++scale;
    }
    if (simple && number && scale <= mostDecimals) return RuleNumber(*number, scale, 0);
    double value = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (read.ec != std::errc() || read.ptr != digits.data() + digits.size() || !std::isfinite(value))
        return std::nullopt;
    if (std::fabs(value) < firstOf16Digits && value == std::trunc(value))
        return whole(static_cast<std::int64_t>(value));
    return reckoned(value);
}

double RuleNumber::tolerance() const { return slack_ + std::fabs(value_) * partOfDouble; }

std::optional<std::int64_t> RuleNumber::asWhole() const
{
    const double limit = origin_ == Origin::single ? 1e7 : firstOf16Digits;
    if (!(std::fabs(value_) < limit) || value_ != std::trunc(value_)) return std::nullopt;
    if (origin_ == Origin::decimal && (scale_ != 0 || slack_ != 0)) return std::nullopt;
    return static_cast<std::int64_t>(value_);
}

std::string RuleNumber::text() const
{
    const auto number = asWhole();
    if (!number) throwNotUnderstood("kesirli ya da çok büyük bir sayı metin olarak kullanılamaz");
    return std::to_string(*number);
}

RuleNumber RuleNumber::operator-() const
{
    RuleNumber negated = *this;
    negated.digits_ = -digits_;
    negated.value_ = -value_;
    return negated;
}

RuleNumber RuleNumber::operator+(const RuleNumber& other) const
{
    if (origin_ == Origin::decimal && other.origin_ == Origin::decimal) {
        const unsigned scale = std::max(scale_, other.scale_);
        const auto a = tenfold(digits_, scale - scale_), b = tenfold(other.digits_, scale - other.scale_);
        Wide sum = 0;
        if (a && b && !__builtin_add_overflow(*a, *b, &sum)) return {sum, scale, slack_ + other.slack_};
    }
    RuleNumber sum = reckoned(value_ + other.value_);
    // Where two numbers all but cancel each other out, their own last digits are what is left.
    sum.slack_ = tolerance() + other.tolerance();
    return sum;
}

RuleNumber RuleNumber::operator*(const RuleNumber& other) const
{
    const double carried = std::fabs(value_) * other.slack_ + std::fabs(other.value_) * slack_ + slack_ * other.slack_;
    if (origin_ == Origin::decimal && other.origin_ == Origin::decimal && scale_ + other.scale_ <= mostDecimals) {
        if (const auto digits = times(digits_, other.digits_)) {
            RuleNumber product(*digits, scale_ + other.scale_, carried);
            if (product.scale_ > decimalsOfCurrency && scale_ > 0 && other.scale_ > 0) product.slack_ += unitOfCurrency;
            return product;
        }
    }
    RuleNumber product = reckoned(value_ * other.value_);
    product.slack_ += carried;
    return product;
}

RuleNumber RuleNumber::operator/(const RuleNumber& other) const
{
    if (other.isZero()) throwNotUnderstood("sıfıra bölme");
    RuleNumber quotient = reckoned(value_ / other.value_);
    quotient.slack_ += (slack_ + std::fabs(quotient.value_) * other.slack_) / std::fabs(other.value_);
    return quotient;
}

RuleNumber RuleNumber::floor() const
{
    if (origin_ == Origin::decimal && slack_ == 0) {
        const auto unit = tenfold(1, scale_);
        if (!unit) throwTooClose();
        const Wide rest = digits_ % *unit;
        return {digits_ / *unit - (rest < 0 ? 1 : 0), 0, 0};
    }
    const double nearest = std::nearbyint(value_);
    if (value_ != nearest && std::fabs(value_ - nearest) <= tolerance()) throwTooClose();
    const double floored = std::floor(value_);
    if (!(std::fabs(floored) < firstOf16Digits)) throwTooClose();
    return whole(static_cast<std::int64_t>(floored));
}

RuleNumber RuleNumber::truncated() const { return value_ < 0 ? -(-*this).floor() : floor(); }

std::int64_t RuleNumber::rounded() const
{
    const double half = std::floor(value_) + 0.5;
    const bool doubtful = origin_ != Origin::decimal || slack_ != 0;
    if (doubtful && value_ != half && std::fabs(value_ - half) <= tolerance()) throwTooClose();
    const double nearest = std::nearbyint(value_);
    if (!(std::fabs(nearest) <= std::numeric_limits<std::int32_t>::max()))
        throwNotUnderstood("tam sayı olarak çok büyük");
    return static_cast<std::int64_t>(nearest);
}

std::partial_ordering RuleNumber::operator<=>(const RuleNumber& other) const
{
    const bool decimals = origin_ == Origin::decimal && other.origin_ == Origin::decimal;
    if (decimals && slack_ == 0 && other.slack_ == 0) {
        const unsigned scale = std::max(scale_, other.scale_);
        const auto a = tenfold(digits_, scale - scale_), b = tenfold(other.digits_, scale - other.scale_);
        if (a && b)
            return *a < *b   ? std::partial_ordering::less
                   : *a > *b ? std::partial_ordering::greater
                             : std::partial_ordering::equivalent;
    }
    const bool asStored = origin_ == other.origin_ && (origin_ == Origin::single || origin_ == Origin::real);
    if (asStored || std::fabs(value_ - other.value_) > tolerance() + other.tolerance()) return value_ <=> other.value_;
    const auto roundedProduct = [](const RuleNumber& each) {
        return each.origin_ == Origin::decimal && each.slack_ != 0;
    };
    if (value_ != other.value_ || roundedProduct(*this) || roundedProduct(other)) throwTooClose();
    return std::partial_ordering::equivalent;
}

} // namespace jet
