#pragma once

#include "mill/weighing.h"
#include "pressing/station_screen.h"

#include <QScopeGuard>
#include <QStringList>
#include <array>
#include <string>
#include <utility>

namespace pressing {

/// Keeps where the two weights of each station come from, beside the captions that hold them. Whoever changes a weight
/// has typed it, but for two: a rule that runs because the olives have changed, and the scale, which says so itself.
class WeightOrigins {
public:
    /// The caption of the olives has changed; `rules` are what follows, the expected oil among it.
    template <class Rules> void olivesChanged(int station, Rules&& rules)
    {
        at(station).olives = {};
        ++rulesOfOlives_;
        const auto ended = qScopeGuard([this] { --rulesOfOlives_; });
        std::forward<Rules>(rules)();
    }
    void oilChanged(int station);
    /// The olives are what that line of the scale says; to be called when they stand on the screen.
    void weighed(int station, const std::string& bytes, double moment);

    mill::Provenance of(int station) const;

private:
    struct Station {
        mill::Weighing olives, oil;
    };
    Station& at(int station) { return stations_.at(static_cast<std::size_t>(station)); }

    std::array<Station, stationCount> stations_;
    int rulesOfOlives_ = 0; ///< running, one inside the other
};

/// What the status line says of the typed weights of a station: nothing where none is typed. A weight of 0 is none.
QString typedMark(const StationScreen& screen, const WeightOrigins& origins, int station);

} // namespace pressing
