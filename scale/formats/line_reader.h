#pragma once

#include "scale/formats/confirmation.h"
#include "scale/formats/framer.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace scale {

/// What a line has brought: a weight, or why there is none.
struct Heard {
    std::optional<Reading> reading;     ///< a weight that counts
    std::optional<Reading> unconfirmed; ///< a weight that a whole frame said, and that does not count yet
    std::optional<Refusal> refusal;     ///< why there is no weight that counts, where somebody should know
    std::string bytes;                  ///< of the frame, or those that are none
    bool alone = false;                 ///< it was printed on a key: see Confirmation
    bool ofItsOwn = false;              ///< for a load of its own
};

/// Makes weights of a live line in one format, in whatever pieces it arrives. Which weights count is told in
/// confirmation.h.
class LineReader {
public:
    /// The format must outlive the reader.
    explicit LineReader(const LineFormat& format) : framer_(format) {}

    /// What these bytes have brought: something for each frame, and for what is none.
    std::vector<Heard> read(std::string_view bytes);
    /// No byte has come for so long, which is longer than a scale pauses inside a line: half a line is given up. To be
    /// told again after Confirmation::afterAPrint and betweenPrints.
    std::vector<Heard> silence(std::chrono::milliseconds length);

    bool isDisturbed() const { return confirmation_.isDisturbed(); }

private:
    void hear(std::vector<Framed> framed, std::vector<Heard>& heard);

    Framer framer_;
    Confirmation confirmation_;
};

} // namespace scale
