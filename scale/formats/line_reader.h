#pragma once

#include "scale/formats/confirmation.h"
#include "scale/formats/framer.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace scale {

/// What a line has brought: a weight that counts, or why there is none.
struct Heard {
    std::optional<Reading> reading;
    std::optional<Refusal> refusal;
    std::string bytes; ///< of the frame, or those that are none
};

/// Makes weights of a stream of bytes in one format, in whatever pieces it arrives. Which weights count is told in
/// confirmation.h.
class LineReader {
public:
    /// The format must outlive the reader.
    explicit LineReader(const LineFormat& format, Confirmation::Keep keep = Confirmation::Keep::newest)
        : framer_(format), confirmation_(keep)
    {
    }

    /// What these bytes have brought. With Keep::newest at most one reading for each frame.
    std::vector<Heard> read(std::string_view bytes);
    /// No byte has come for longer than a scale pauses inside a line: half a line is given up.
    std::vector<Heard> silence();

    bool isDisturbed() const { return confirmation_.isDisturbed(); }

private:
    void hear(std::vector<Framed> framed, std::vector<Heard>& heard);
    void take(std::vector<Heard>& heard);

    Framer framer_;
    Confirmation confirmation_;
};

} // namespace scale
