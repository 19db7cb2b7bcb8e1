#pragma once

#include <QString>
#include <QStringView>
#include <optional>

namespace scale {

enum class StopBits { one, oneAndHalf, two };

/// Speed, parity, data bits and stop bits of a serial line, as one settings string names them.
struct LineSettings {
    int speed = 9600;
    char parity = 'n'; ///< n none, e even, o odd, m mark, s space
    int dataBits = 8;  ///< 5 to 8
    StopBits stopBits = StopBits::one;

    QString text() const; ///< "9600,n,8,1", with a full stop in "1.5" whatever the regional settings say
    bool operator==(const LineSettings&) const = default;
};

/// All four parts, nothing around them, the parity letter in either case, one of the speeds of the dialog.
///
/// Refused here, when the string is assigned, are also 4 data bits: the dialog offers them, but no serial line of our
/// systems has them, and the driver layer would pretend and send 8. "1.5" stop bits are accepted with any data bits,
/// because the string is a proper one; whether the line can do it shows when the port is opened (see isFeasible).
std::optional<LineSettings> parseLineSettings(QStringView text);

/// Whether serial hardware has that combination: 1.5 stop bits exist with 5 data bits only, and 2 with all others.
bool isFeasible(const LineSettings& settings);

} // namespace scale
