#pragma once

#include "base/error.h"
#include "pressing/station_screen.h"
#include "pressing/weight_origins.h"

#include <array>
#include <utility>

/// What the stations show at one moment, for when it has to stand there again.
namespace pressing {

/// Every display of both stations, the switch, and where the weights come from.
class KeptDisplays {
public:
    explicit KeptDisplays(const StationScreen& screen);
    void putBack(StationScreen& screen) const;

private:
    struct Station {
        std::array<QString, allFields.size()> captions;
        QString entitlementCaption;
        bool entitlementShown = false, entitlementTaken = false, printing = false;
    };
    std::array<Station, stationCount> stations_;
    WeightOrigins origins_;
};

/// Runs an action whose products may become too large: then error 6 comes out, and the displays are as they were.
template <class Action> void allOrNothing(StationScreen& screen, Action&& action)
{
    const KeptDisplays before(screen);
    try {
        std::forward<Action>(action)();
    } catch (const base::RuntimeError& error) {
        if (error.number() == base::errors::overflow) before.putBack(screen);
        throw;
    }
}

/// What a search recalls into a station: kept when the report panel opens, where names are searched for another reason.
class KeptTerms {
public:
    explicit KeptTerms(const StationScreen& screen);
    /// The terms stand there as they did, and the mill's share with them. Where another weight stands there now, its
    /// share is worked out by these terms.
    void putBack(StationScreen& screen) const;

private:
    struct Station {
        QString percentage, fee, oil, entitlement, left;
        int container = -1;
    };
    std::array<Station, stationCount> stations_;
};

} // namespace pressing
