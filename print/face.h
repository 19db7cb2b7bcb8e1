#pragma once

#include <QFont>
#include <QFontMetricsF>
#include <QString>

namespace print {

/// The name of a face that is there, can be scaled and has every Turkish letter: the one asked for, else the one of the
/// same widths, else one with the widths of Arial. Silent, as a missing face has never stopped a job.
QString availableFace(const QString& asked);

/// Letters as wide as their face has them, in percent.
inline constexpr int fullWidth = 100;

/// The font that paper gets. `points` may be fractional and is above 0; `stretch` is the width of the letters in
/// percent of their own, 1 to 100.
QFont printFont(const QString& face, double points, bool bold, bool italic, bool underline, int stretch);

/// Measures of a font in twips, as it comes out on paper: no rounding to the dots of any screen or printer.
QFontMetricsF metricsInTwips(const QFont& font);

} // namespace print
