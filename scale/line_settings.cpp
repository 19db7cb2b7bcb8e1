#include "scale/line_settings.h"

#include <QList>
#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace scale {

namespace {

constexpr std::array speeds = {110,   300,   600,   1200,  2400,  4800,   9600,   14400,
                               19200, 28800, 38400, 56000, 57600, 115200, 128000, 256000};

std::optional<int> speedOf(QStringView text)
{
    for (const int speed : speeds)
        if (text == QString::number(speed)) return speed;
    return std::nullopt;
}

std::optional<StopBits> stopBitsOf(QStringView text)
{
    if (text == "1"_L1) return StopBits::one;
    if (text == "1.5"_L1) return StopBits::oneAndHalf;
    if (text == "2"_L1) return StopBits::two;
    return std::nullopt;
}

QLatin1StringView textOf(StopBits stopBits)
{
    switch (stopBits) {
    case StopBits::one:
        return "1"_L1;
    case StopBits::oneAndHalf:
        return "1.5"_L1;
    case StopBits::two:
        return "2"_L1;
    }
    return {};
}

} // namespace

QString LineSettings::text() const
{
    return QString::number(speed) + u',' + QLatin1Char(parity) + u',' + QString::number(dataBits) + u',' +
           textOf(stopBits);
}

std::optional<LineSettings> parseLineSettings(QStringView text)
{
    const QList<QStringView> parts = text.split(u',');
    if (parts.size() != 4) return std::nullopt;
    const auto speed = speedOf(parts[0]);
    const auto stopBits = stopBitsOf(parts[3]);
    if (!speed || !stopBits || parts[1].size() != 1 || parts[2].size() != 1) return std::nullopt;

    LineSettings settings{*speed, 'n', parts[2].front().unicode() - u'0', *stopBits};
    const char16_t letter = parts[1].front().unicode() | 0x20;
    if (!u"neoms"_s.contains(QChar(letter)) || !parts[1].front().isLetter()) return std::nullopt;
    settings.parity = static_cast<char>(letter);
    if (settings.dataBits < 5 || settings.dataBits > 8) return std::nullopt;
    return settings;
}

bool isFeasible(const LineSettings& settings)
{
    switch (settings.stopBits) {
    case StopBits::one:
        return true;
    case StopBits::oneAndHalf:
        return settings.dataBits == 5;
    case StopBits::two:
        return settings.dataBits != 5;
    }
    return false;
}

} // namespace scale
