#pragma once

#include "store/jet/values/value.h"

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace jet {

/// A number as rules reckon: to the last decimal where the types of the fields keep decimals, in doubles otherwise.
///
/// Access reckons with Currency, Decimal, Single and Double by turns, and which of them it takes where is not known in
/// every case. What does not depend on it is certain; where two numbers differ by no more than the ways of reckoning
/// do, nothing is said of them. The functions that throw, throw unsupported then.
class RuleNumber {
public:
    __extension__ using Wide = __int128;

    static RuleNumber whole(std::int64_t number) { return RuleNumber(number, 0, 0); }
    static RuleNumber of(Currency money);
    static RuleNumber of(const Numeric& number);
    static RuleNumber of(float number);
    static RuleNumber of(double number);
    /// A double that was reckoned here.
    static RuleNumber reckoned(double number);
    /// Digits with a decimal point, perhaps an exponent.
    static std::optional<RuleNumber> written(std::string_view digits);

    double value() const { return value_; }
    Value toWrite() const; ///< a double, or a Numeric where a double would lose a digit of it
    bool isZero() const { return std::is_eq(*this <=> whole(0)); }
    std::optional<std::int64_t> asWhole() const; ///< of a whole number of at most 15 digits
    std::string text() const;                    ///< of such a one; throws for others

    RuleNumber operator-() const;
    RuleNumber operator+(const RuleNumber& other) const;
    RuleNumber operator-(const RuleNumber& other) const { return *this + -other; }
    RuleNumber operator*(const RuleNumber& other) const;
    RuleNumber operator/(const RuleNumber& other) const;
    RuleNumber floor() const;
    RuleNumber truncated() const;
    /// To the nearest whole number, halves to the even one.
    std::int64_t rounded() const;
    /// Throws where the two are too close to tell.
    std::partial_ordering operator<=>(const RuleNumber& other) const;

private:
    enum class Origin : std::uint8_t { decimal, single, real, reckoned };
    RuleNumber(Wide digits, unsigned scale, double slack);
    RuleNumber(double value, Origin origin, double slack) : origin_(origin), value_(value), slack_(slack) {}

    /// How far the ways of reckoning may lead from each other.
    double tolerance() const;

    Origin origin_ = Origin::decimal;
    Wide digits_ = 0;    ///< of a decimal: digits_ / 10^scale_, without a zero at its end
    unsigned scale_ = 0; ///< of a decimal
    double value_ = 0;
    double slack_ = 0;
};

} // namespace jet
