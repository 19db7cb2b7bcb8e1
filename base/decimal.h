#pragma once

#include <string>

namespace base {

/// A finite number as decimal digits: 0.d1d2d3... times ten to the power `point`.
/// The digits carry no trailing zeros; zero has no digits at all and point 0.
struct Decimal {
    bool negative = false; ///< below zero; never set for a zero
    std::string digits;    ///< '0' to '9', the first one not '0'
    int point = 0;         ///< how many digits stand before the decimal mark (may be negative)
};

/// The decimal of at most `significant` digits (1 to 17) nearest to the value, which must be finite.
/// All roundings for display work on these digits, never on binary products with powers of ten.
Decimal decimalOf(double value, int significant);

/// The same number rounded half away from zero to so many decimal places.
Decimal rounded(Decimal number, int places);

/// Digits before the decimal mark ("0" is written as an empty text), zeros filled in.
std::string wholeDigits(const Decimal& number);

/// Digits after the decimal mark, without trailing zeros.
std::string fractionDigits(const Decimal& number);

} // namespace base
