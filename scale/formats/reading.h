#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace scale {

/// What a frame says of the load's rest.
enum class Rest {
    unknown, ///< the format has no word for it
    stable,
    moving,
};

/// Which weight a frame says.
enum class Load { unknown, gross, net };

/// A decimal number as it stood in the frame: digits and where the mark was, so that nothing is lost to a binary
/// fraction.
struct Decimal {
    std::int64_t digits = 0; ///< with the sign
    int decimals = 0;        ///< how many of the digits stand behind the mark; negative: zeros before it

    bool operator==(const Decimal&) const = default;
};

enum class Unit { kilogram, gram, tonne, pound };

/// What one frame said.
struct Reading {
    Decimal kilograms; ///< without zeros behind the last digit: equal weights are equal here
    Rest rest = Rest::unknown;
    Load load = Load::unknown;
    std::string bytes; ///< the frame itself
};

/// Why bytes gave no weight.
enum class Refusal {
    overload,
    underload,
    invalid, ///< the scale itself says that it has no weight
    tare,    ///< a tare is no weight of a load
    wrongChecksum,
    unknownUnit,      ///< a unit that is none of the four, or left out while the load moves
    unknownBytes,     ///< no frame of the format
    halfLine,         ///< the line fell silent in the middle of a frame
    unconfirmed,      ///< on a disturbed line only a weight that comes again counts
    unconfirmedPrint, ///< the same, of a line that came alone
};

/// For the status line, in Turkish (UTF-8), without a full stop.
std::string_view sentenceOf(Refusal refusal);

/// The same weight in kilograms, exactly: a pound is 0.45359237 kg. At most 10 digits for a pound, 15 for the others.
Decimal inKilograms(Decimal weight, Unit unit);

/// "1240.5": a point as the mark, no zeros behind the last digit, no sign of a zero.
std::string toText(Decimal number);

/// The same number without zeros behind its mark.
Decimal shortened(Decimal number);

/// For comparing with a part of another weight; not for showing.
double approximately(Decimal number);

/// The line in which the counter's own scale would say the weight: digits, `decimalMark`, "kg", a carriage return.
/// Decimals that do not fit into the seven characters that the counter keeps are cut off, never rounded: the counter
/// rounds to whole kilograms itself, and rounding twice may go one too far. Nothing for a weight whose whole kilograms
/// do not fit (from 10,000,000 on; below zero from 1,000,000 on).
std::optional<std::string> counterLine(const Reading& reading, char decimalMark);

} // namespace scale
