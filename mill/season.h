#pragma once

namespace mill {

/// The year in which the olive season of that moment (days since 1899-12-30) began. One runs from the first of July,
/// when no mill presses.
int seasonOf(double moment);

/// The first day of the season that began in that year, as such a day number.
int firstDayOfSeason(int year);

} // namespace mill
