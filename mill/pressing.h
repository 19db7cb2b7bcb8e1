#pragma once

#include <QString>

namespace mill {

/// A pressing as it is booked: the texts that stood at its station. Each is converted only where a field of the
/// database or a line on paper needs a number, so that a text that is none fails there and nowhere earlier.
struct Pressing {
    QString customer;
    QString olives;      ///< kg
    QString oil;         ///< kg at the station, litres on paper
    QString percentage;  ///< the mill's share of the oil
    QString entitlement; ///< the mill's share, kg of oil
    QString fee;         ///< TL
    QString container;   ///< kind, as the list shows it; empty when none is chosen

    bool operator==(const Pressing&) const = default;
};

} // namespace mill
