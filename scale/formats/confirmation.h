#pragma once

#include "scale/formats/repetition.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace scale {

/// Which of the weights of a live line count, as its frames come in.
///
/// A byte that the line has changed can turn one digit into another, and most formats have no checksum that would show
/// it. So a weight counts when three frames in a row say it. One with a checksum counts at once, after the first 16
/// frames of a line have been whole.
///
/// A weight that comes alone, behind a key of the scale, can have no such proof. It counts when nothing follows for
/// afterAPrint: by then a scale that streams, however slowly, would have said something. Two such prints are more than
/// betweenPrints apart, or say the same; what comes more often is a slow stream, and needs its three frames.
///
/// Most frames that are hit are frames no more, so a disturbed line tells on itself: from the first noise on, and until
/// 200 whole frames have come in a row, a weight counts only when it comes often (Repetition::cameOften), or when three
/// prints in a row say it.
///
/// What no reader can see: a single print without a checksum, one digit of which is changed, on a line that has shown
/// no noise yet; a load that lies there for many lines, of which four or more are changed to the same other weight
/// within 16.
class Confirmation {
public:
    static constexpr std::chrono::milliseconds afterAPrint{1000};
    static constexpr std::chrono::milliseconds betweenPrints{5000};

    /// True when this weight counts.
    bool hear(const Reading& reading, bool checked);
    /// A whole frame that carries no weight.
    void hearOther();
    /// Bytes that belong to no frame.
    void hearNoise();

    /// A weight that came before a silence.
    struct Print {
        Reading reading;
        bool counts = false;
        /// Nothing had come for betweenPrints before it, or before the equal ones that it repeats: a key was pressed
        /// for a load of its own. A slow stream says a weight twice, too.
        bool ofItsOwn = false;
    };
    /// No byte has come for so long; to be told when afterAPrint and betweenPrints are over. Gives the weight that came
    /// alone, once.
    std::optional<Print> fallSilent(std::chrono::milliseconds length);

    /// The line is disturbed: weights wait for others that say the same.
    bool isDisturbed() const { return disturbed_; }

private:
    void countFrame();
    bool othersSayMore() const;

    Repetition repetition_;
    bool disturbed_ = false;
    std::size_t framesInARow_ = 0;  ///< whole ones
    std::size_t framesInBurst_ = 0; ///< since the last silence of afterAPrint
    bool noiseInBurst_ = false;
    bool rested_ = true;             ///< no frame had come for betweenPrints when this burst began
    bool countedInBurst_ = false;    ///< a weight
    std::vector<Decimal> burst_;     ///< its first weights
    std::optional<Reading> waiting_; ///< of this burst, the last that did not count
    std::string lastPrint_;          ///< what it said
    int equalPrints_ = 0;            ///< in a row
    bool runIsOfItsOwn_ = false;     ///< of these: the first came behind a rest
};

} // namespace scale
