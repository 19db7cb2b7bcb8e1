#pragma once

#include "scale/formats/framer.h"
#include "scale/formats/repetition.h"

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace scale {

/// The weights of a stream that is at hand as a whole, without times: a file, or what a program pipes in.
///
/// Where all of it is whole frames, every weight counts but one that stands alone: between two and two others that are
/// equal, or between weights that came often, and but for one byte as one of these. Where there is noise anywhere, a
/// weight counts only when it comes often (Repetition::cameOften), or came three times in a row before the first noise:
/// most changed bytes are noise, so what has one of them has others, which nobody sees. So nothing can be said before
/// the end; only behind 100,000 whole frames in a row it is.
class Transcript {
public:
    /// The format must outlive the transcript.
    explicit Transcript(const LineFormat& format) : framer_(format) {}

    /// Those of the weights so far that are certain and have not been given yet, in their order.
    std::vector<Reading> read(std::string_view bytes);
    /// The others: nothing more comes.
    std::vector<Reading> end();

private:
    struct Waiting {
        Reading reading;
        std::string said;
        std::size_t place = 0;
        bool counts = false;
    };

    void hear(std::vector<Framed> framed);
    void hearWeight(Reading reading, bool checked);
    bool standsAlone(const Waiting& oldest) const;
    std::vector<Reading> take(bool atEnd);

    Framer framer_;
    Repetition repetition_;
    std::deque<Waiting> waiting_;
    std::deque<Waiting> before_; ///< the last that waited
    std::size_t heard_ = 0;      ///< weights in all
    bool noise_ = false;         ///< within the last 100,000 frames
    std::size_t framesInARow_ = 0;
};

} // namespace scale
