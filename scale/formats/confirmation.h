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
/// it; an exclusive or shows only every second bit of what two changed bytes do. But where one byte in a hundred is
/// changed, most frames that are hit are frames no more, so a disturbed line tells on itself within a few frames. From
/// that moment on, and until 200 whole frames have come in a row, a weight counts only when it makes 4 of the last 16
/// (2 where a checksum stands behind it).
///
/// When the listening begins nothing is known of the line yet: a weight counts when the frame before said the same,
/// when a checksum stands behind it, when the line falls silent behind it, or when 200 whole frames have come. After
/// that every frame counts at once.
///
/// Frames that come one by one, each between two silences (a scale that prints on a key), count each by itself; after
/// noise two of them must say the same, and then the line is trusted as at the beginning.
class Confirmation {
public:
    enum class Keep {
        newest, ///< for a screen: a weight that counts does away with older ones that still wait
        every,  ///< for a list: all that count, in their order, the later ones waiting for the earlier
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
    enum class Trust { beginning, disturbed, sound };
    struct Waiting {
        Reading reading;
        std::string said; ///< weight and rest: what must come again
        bool counts = false;
    };

    void countFrame();
    bool cameOften(const std::string& said, bool checked) const;

    Keep keep_;
    Trust trust_ = Trust::beginning;
    std::size_t framesInARow_ = 0;
    std::deque<std::string> recent_; ///< what the last frames said, the newest last
    std::deque<Waiting> waiting_;
    std::size_t framesInBurst_ = 0; ///< since the last silence
    bool noiseInBurst_ = false;
    std::string lastAlone_; ///< what the last frame between two silences said
};

} // namespace scale
