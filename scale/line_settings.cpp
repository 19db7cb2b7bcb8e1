#include "scale/line_settings.h"

#include <QList>
#include <utility>

using namespace Qt::StringLiterals;

namespace scale {

namespace {

std::optional<int> speedOf(QStringView text)
{
    for (const int speed : speeds)
        if (text == QString::number(speed)) return speed;
    return std::nullopt;
}

constexpr std::pair<StopBits, QLatin1StringView> stopBitTexts[] = {
    {StopBits::one, "1"_L1}, {StopBits::oneAndHalf, "1.5"_L1}, {StopBits::two, "2"_L1}};

std::optional<StopBits> stopBitsOf(QStringView text)
{
    for (const auto& [stopBits, written] : stopBitTexts)
        if (text == written) return stopBits;
    return std::nullopt;
}

} // namespace

QString LineSettings::text() const
{
    return QString::number(speed) + u',' + QLatin1Char(parity) + u',' + QString::number(dataBits) + u',' +
           stopBitTexts[static_cast<std::size_t>(stopBits)].second;
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
    if (settings.stopBits == StopBits::one) return true;
    return (settings.stopBits == StopBits::oneAndHalf) == (settings.dataBits == 5);
}

} // namespace scale
