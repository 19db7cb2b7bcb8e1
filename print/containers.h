#pragma once

#include "base/regional.h"
#include <QString>

namespace print {

/// The containers that a pressing fills.
struct Containers {
    int litres = 0;  ///< of one container
    float count = 0; ///< whole containers still to fill
    QString display; ///< the count on the screen: "7 Kap"
};

/// Size by the position in the list of container kinds (5, 10, 15, 20 litres), count by the oil obtained, cut to whole
/// containers. Error 13 if no kind is chosen or the oil is no number; an empty oil display counts as 0.
Containers containers(const QString& oilCaption, int listPosition, const base::Regional& regional);

} // namespace print
