#pragma once

#include "base/error.h"
#include "base/numbers.h"

#include <cstddef> // moc wants it ahead of <compare>

#include <cmath>
#include <compare>

/// Amounts that carry their unit. Only what means something can be written: oil less oil is oil, a share of oil is oil,
/// and a kilogram becomes a litre only where somebody says so. A result too large for a number is error 6.
namespace mill {

/// The number itself; error 6 for one that is too large to be one.
inline double inRange(double number)
{
    if (!std::isfinite(number)) throw base::runtimeError(base::errors::overflow);
    return number;
}

template <class Unit> struct Quantity {
    double value = 0;

    // What a defaulted comparison compares with 0 is taken for a pointer.
    auto operator<=>(const Quantity&) const = default; // NOLINT(modernize-use-nullptr) there is no pointer here
    friend Quantity operator-(Quantity whole, Quantity part) { return {inRange(whole.value - part.value)}; }
    friend Quantity operator*(Quantity whole, double factor) { return {inRange(whole.value * factor)}; }
    /// How many times one fits into the other: an error of the caller for a part of 0.
    friend double operator/(Quantity whole, Quantity part) { return whole.value / part.value; }
};

using Kilogram = Quantity<struct KilogramUnit>;
using Litre = Quantity<struct LitreUnit>;
using Percent = Quantity<struct PercentUnit>;
using Lira = Quantity<struct LiraUnit>;

inline Kilogram operator*(Kilogram whole, Percent share) { return {inRange(whole.value * share.value) / 100.0}; }

template <class Unit> bool isFractional(Quantity<Unit> amount) { return base::isFractional(amount.value); }

/// The mills hand out a litre for a kilogram of oil.
inline Litre handedOutFor(Kilogram oil) { return {oil.value}; }

} // namespace mill
