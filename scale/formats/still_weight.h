#pragma once

#include "scale/formats/reading.h"

#include <chrono>
#include <optional>

namespace scale {

/// "Yalnız duran tartım": of all readings only a weight that stands still, is above zero and is not the one that was
/// taken last. A scale that streams all day is taken once for each load, and a pressing that waits for its oil keeps
/// its weight while the load lies on.
///
/// A weight stands still when its frame says so, or, where the format has no word for it, when all readings of half a
/// second say the same. A frame that says moving never stands.
///
/// What was taken last is forgotten when the scale has stood at zero or below: the next load counts also when it weighs
/// the same. Zero must stand, too: one frame of it between two that are equal is a knock against the platform, and the
/// load that still lies there would go to the next pressing as well.
class StillWeight {
public:
    using Time = std::chrono::milliseconds; ///< since any moment, never going back

    /// True when this reading, heard at `now`, is to be taken.
    bool takes(const Reading& reading, Time now);
    /// Nothing was heard before, as when the port is opened: neither a weight nor a standing one.
    void reset();

private:
    std::optional<Decimal> equalWeight_; ///< what all readings since equalSince_ say
    Time equalSince_{0};
    std::optional<Decimal> taken_;
};

} // namespace scale
