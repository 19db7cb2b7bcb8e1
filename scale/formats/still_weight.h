#pragma once

#include "scale/formats/reading.h"

#include <chrono>
#include <optional>

namespace scale {

/// "Yalnız duran tartım": of all readings only a weight that stands still, is above zero and is not the one that was
/// taken last. A scale that streams all day is taken once for each load, and a pressing that waits for its oil keeps
/// its weight whatever the load does.
///
/// A weight stands still when its frame says so, or, where the format has no word for it, when all readings of half a
/// second say the same. A frame that says moving never stands.
///
/// A load is over when the scale has stood empty: at zero or below, or, where something was left lying, at no more than
/// a fiftieth of the load; then only what is more than that is the next load: zero drifts, too. What was taken was no
/// load where the next weight is two hundred times as much: leaves, rain. Zero must stand, too: one frame of it is
/// a knock against the platform. Until then what lies there is the load that was taken: a display that drifts, sacks
/// that are carried away, a person who leans on the platform. Only in the first minute it may grow, by more than a
/// hundredth: sacks are put on one after the other, and the scale stands still between them.
///
/// A weight that was printed on a key is a load of its own: an empty scale is printed by nobody.
class StillWeight {
public:
    using Time = std::chrono::milliseconds; ///< since any moment, never going back

    enum class Verdict {
        taken,
        sameLoad, ///< was taken before
        notStanding,
        empty,     ///< zero, below, or what the last load has left
        loadStays, ///< another weight than was taken, and the scale was not empty in between
    };

    /// A weight that a whole frame said at `now`, also one that does not count: a swinging load says others in between.
    void hear(const Reading& reading, Time now);
    /// What becomes of the weight that was heard last, and counts. `alone`: it was printed on a key, for a load of its
    /// own.
    Verdict judge(const Reading& reading, bool alone);
    /// Nobody could use the weight that was taken last.
    void notTaken() { last_ = before_; }
    /// The line was away for a while: no weight stands, and what was taken stays so.
    void interrupt() { equalWeight_.reset(); }

private:
    /// What was taken last.
    struct Taken {
        std::optional<Decimal> weight; ///< nothing: the scale was empty since
        double left = 0;               ///< kilograms that may have been left lying
        Time at{0};
    };

    std::optional<Decimal> equalWeight_; ///< what all readings since equalSince_ say
    Time equalSince_{0};
    Time heard_{0}; ///< the last of them
    Taken last_;
    Taken before_;
};

} // namespace scale
