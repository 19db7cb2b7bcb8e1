#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

namespace jet {

/// The least and the greatest of some numbers. Without any it meets nothing; with one that is no number it meets
/// everything, as that stands in no order.
struct NumberRange {
    double least = std::numeric_limits<double>::infinity();
    double greatest = -std::numeric_limits<double>::infinity();

    void take(double number)
    {
        if (std::isnan(number)) {
            least = -std::numeric_limits<double>::infinity();
            greatest = std::numeric_limits<double>::infinity();
            return;
        }
        least = std::min(least, number);
        greatest = std::max(greatest, number);
    }
    void take(const NumberRange& other)
    {
        least = std::min(least, other.least);
        greatest = std::max(greatest, other.greatest);
    }
    /// False when none of the numbers lies between the two, both included.
    bool meets(double low, double high) const { return least <= high && greatest >= low; }
};

} // namespace jet
