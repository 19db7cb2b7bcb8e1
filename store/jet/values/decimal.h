#pragma once

#include "store/jet/values/value.h"

#include <cstdint>
#include <optional>

/// Exact decimal numbers of the Numeric type: up to 28 digits. Where digits are lost, halves go to the even neighbour;
/// where the result has no room, there is none.
namespace jet::decimal {

std::optional<Numeric> rescaled(const Numeric& number, std::uint8_t scale);
std::optional<Numeric> fromCurrency(Currency money, std::uint8_t scale);
/// By the 15 digits that a double carries for certain, so that 0.1 becomes 0.1.
std::optional<Numeric> fromDouble(double number, std::uint8_t scale);
std::optional<Currency> toCurrency(const Numeric& number);
/// Decimal digits of the magnitude; 1 for zero.
unsigned digits(const Numeric& number);

} // namespace jet::decimal
