#include "app/colour.h"

#include <QPalette>
#include <algorithm>
#include <cmath>

namespace app {

namespace {

double linear(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& colour)
{
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

} // namespace

QColor painted(Colour stored, const QPalette& palette)
{
    if (stored & 0x80000000u) return palette.color(QPalette::Active, QPalette::Button);
    const auto part = [stored](int bits) { return static_cast<int>(stored >> bits & 0xFF); };
    return QColor(part(0), part(8), part(16));
}

double contrast(const QColor& one, const QColor& other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor inkOn(const QColor& ground)
{
    const QColor ink(0x10, 0x18, 0x1C);
    return contrast(ink, ground) >= contrast(Qt::white, ground) ? ink : QColor(Qt::white);
}

} // namespace app
