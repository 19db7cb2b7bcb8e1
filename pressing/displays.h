#pragma once

#include "base/numbers.h"
#include "base/patterns.h"
#include "mill/quantities.h"
#include "pressing/station_screen.h"

/// The displays of a station with the unit that each counts in.
namespace pressing {

using mill::Kilogram, mill::Litre, mill::Percent, mill::Lira;

template <class Amount> struct Display {
    Field field;
};

namespace displays {
inline constexpr Display<Kilogram> olives{Field::Label2};
inline constexpr Display<Kilogram> oil{Field::Label3};
inline constexpr Display<Percent> percentage{Field::Haklbl};
inline constexpr Display<Kilogram> entitlement{Field::HakTut};
inline constexpr Display<Litre> handedOver{Field::Verilen};
inline constexpr Display<Lira> fee{Field::NakitLbl};
} // namespace displays

/// What the display shows now. An empty one counts as 0; a text that is no number is error 13.
template <class Amount> Amount read(const StationScreen& screen, Display<Amount> display, int station)
{
    return {base::displayValue(screen.caption(display.field, station), screen.regional())};
}

/// Shows an amount in that pattern, and lets everything follow that follows from it.
template <class Amount>
void show(StationScreen& screen, Display<Amount> display, int station, Amount amount,
          QStringView pattern = base::wholePattern)
{
    screen.setCaption(display.field, station, base::formatNumber(amount.value, pattern, screen.regional()));
}

} // namespace pressing
