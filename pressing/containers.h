#pragma once

#include "pressing/station_screen.h"

/// The containers that a customer's oil is filled into, counted down by the operator.
namespace pressing {

/// Container kinds in list order, as they are shown and stored; position p stands for 5(p + 1) litres.
inline const std::array containerKinds = {QStringLiteral(" 5 Litrelik Kap"), QStringLiteral("10 Litrelik Kap"),
                                          QStringLiteral("15 Litrelik Kap"), QStringLiteral("20 Litrelik Kap")};

/// "3 Kap": the count without grouping.
QString containerCaption(float count);

/// `KapFrm` or `Label4` clicked: one container more is filled. A count of 0 ignores it.
void containerFilled(StationScreen& screen, int station);
/// `Label4` changed: shows the count, centred; a count of 0 hides the panel.
void containerCaptionChanged(StationScreen& screen, int station);
/// `KapCmd` clicked: the count is dropped and the panel hidden; the caption stays.
void containersDropped(StationScreen& screen, int station);

} // namespace pressing
