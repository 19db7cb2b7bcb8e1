#pragma once

#include "pressing/station_screen.h"

#include <optional>

/// Fractions key by key. A decimal mark that has just been typed has no digit behind it yet, and a zero behind it may
/// be the first of two: such a text is shown as it stands and counts as the whole number before its mark.
namespace pressing {

inline constexpr QStringView percentPattern = u"#0"; ///< of a whole percentage
inline constexpr QStringView percentFractionPattern = u"#0.##";
inline constexpr QStringView fractionPattern = u"#,##0.###"; ///< of oil and fee
inline constexpr int percentageDecimals = 2;                 ///< of percentFractionPattern
inline constexpr int feeDecimals = 3;                        ///< of fractionPattern

/// A whole number, a mark, and zeros behind it, fewer than the pattern has decimals.
struct UnfinishedFraction {
    QString whole; ///< in the pattern of whole numbers
    QString shown; ///< with the mark of the settings and the zeros
};

/// Either mark counts when it has just been typed, as the keypad has only the comma; before zeros only the decimal mark
/// of the settings does: the other one stands between groups. Nothing for every other text.
std::optional<UnfinishedFraction> unfinishedFraction(const QString& text, int decimals, QStringView wholePattern,
                                                     const base::Regional& regional);

/// A number in that pattern, without a mark that rounding has left without digits; any other text as it is.
QString formatWithoutMark(const QString& text, QStringView pattern, const base::Regional& regional);

/// The display that was edited is left: an unfinished fraction becomes the whole number that it counted as.
void finishFraction(StationScreen& screen);

} // namespace pressing
