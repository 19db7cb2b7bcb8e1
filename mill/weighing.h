#pragma once

#include <string>

namespace mill {

/// Who put a weight on the screen.
enum class WeightSource {
    typed,    ///< the operator's keys, or anything else that is neither of the others
    computed, ///< a rule: the oil that is expected of the olives
    scale,    ///< a line of the scale, untouched since
};

/// Where a weight comes from.
struct Weighing {
    WeightSource source = WeightSource::typed;
    std::string bytes; ///< what the scale sent; empty for the others
    double moment = 0; ///< when it came, days since 1899-12-30; 0 for the others

    bool operator==(const Weighing&) const = default;
};

/// Where the weights of a pressing come from.
struct Provenance {
    int station = 1; ///< 1 or 2, as the screen counts them
    Weighing olives, oil;

    bool operator==(const Provenance&) const = default;
};

} // namespace mill
