#pragma once

#include "scale/formats/reading.h"

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

namespace scale {

/// Which of the weights that whole frames say count.
///
/// A byte that the line has changed can turn one digit into another, and most formats have no checksum that would show
/// it; a sum or an exclusive or misses some pairs of changed bytes. So a weight counts when its frame has a checksum,
/// when the two frames before said the same, or when the line falls silent behind it (a scale that prints on a key).
///
/// Where one byte in a hundred is changed even that is not enough. But most frames that are hit are frames no more, so
/// a disturbed line tells on itself: from the first noise on, and until 200 whole frames have come in a row, a weight
/// counts only when it makes 4 of the last 16 (2 where a checksum stands behind it). Frames that come one by one, each
/// between two silences, count there when two of them say the same, and then the line is trusted again.
///
/// What no reader can see: a load that lies there for many lines, of which four or more are changed to the same other
/// weight within 16.
class Confirmation {
public:
    enum class Keep {
        /// For a screen: a weight that counts does away with older ones that still wait.
        newest,
        /// For a list: all that count, in their order, the later ones waiting for the earlier. 200 whole frames in a
        /// row
        /// vouch for each other here, so that also weights that change from line to line are listed.
        every,
    };

    explicit Confirmation(Keep keep) : keep_(keep) {}

    void hear(Reading reading, bool checked);
    /// A whole frame that carries no weight.
    void hearOther();
    /// Bytes that belong to no frame.
    void hearNoise();
    void fallSilent();

    /// The weights that count by now and have not been taken yet, oldest first.
    std::vector<Reading> take();
    /// The line is disturbed: weights wait for others that say the same.
    bool isDisturbed() const { return trust_ == Trust::disturbed; }

private:
    enum class Trust { usual, disturbed, sound };
    struct Waiting {
        Reading reading;
        std::string said; ///< weight and rest: what must come again
        std::size_t place = 0;
        bool counts = false;
    };

    void countFrame();
    bool standsAlone() const;
    bool cameOften(const std::string& said, bool checked) const;

    Keep keep_;
    Trust trust_ = Trust::usual;
    std::size_t framesInARow_ = 0;
    std::deque<std::string> recent_; ///< what the last frames said, the newest last
    std::deque<Waiting> waiting_;
    std::size_t heard_ = 0;         ///< weights in all
    std::size_t framesInBurst_ = 0; ///< since the last silence
    bool noiseInBurst_ = false;
    std::string lastAlone_; ///< what the last frame between two silences said
};

} // namespace scale
