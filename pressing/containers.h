#pragma once

#include "mill/quantities.h"
#include "pressing/station_screen.h"

#include <QStringList>

/// The containers that a customer's oil is filled into, counted when the slip is printed and counted down by the
/// operator.
namespace pressing {

/// The kinds of container in list order. One is chosen by its position in the list; -1 means that none is.
const QStringList& containerNames(); ///< as they are shown and booked
QString containerName(int kind);     ///< empty when none is chosen
mill::Litre containerSize(int kind); ///< error 13 when none is chosen

/// "3 Kap": the count without grouping; from ten million on in powers of ten, as every single-precision number.
QString containerCaption(float count, const base::Regional& regional);

/// The slip has come to the containers: the station's oil fills so many whole ones of its kind, all of them still to
/// fill. The size of one. Error 13 when no kind is chosen or the oil is no number; an empty oil display counts as 0.
mill::Litre countContainers(StationScreen& screen, int station);

/// `KapFrm` or `Label4` clicked: one container more is filled. A count of 0 ignores it.
void containerFilled(StationScreen& screen, int station);
/// `Label4` changed: shows the count, centred; a count of 0 hides the panel.
void containerCaptionChanged(StationScreen& screen, int station);
/// `KapCmd` clicked: the count is dropped and the panel hidden; the caption stays.
void containersDropped(StationScreen& screen, int station);

} // namespace pressing
