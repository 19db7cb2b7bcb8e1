#pragma once

#include <QString>
#include <QStringView>
#include <array>
#include <optional>

namespace scale {

/// The speeds that the dialog offers and a settings string may name, baud.
inline constexpr std::array speeds = {110,   300,   600,   1200,  2400,  4800,   9600,   14400,
                                      19200, 28800, 38400, 56000, 57600, 115200, 128000, 256000};

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
