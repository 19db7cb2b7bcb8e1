#pragma once

#include "scale/formats/reading.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace scale {

/// What a piece of a frame can say besides the weight itself.
enum class Meaning {
    ok,
    stable,
    moving,
    over,
    under,
    invalid,
    tare,
    gross,
    net,
    negative,
    kilogram,
    gram,
    tonne,
    pound,
    decimals
};

/// One piece of a frame; line_formats.txt says what each kind is.
struct Piece {
    enum class Kind { bytes, weight, sign, unit, decimals, mark, bits, skip, digits, check, next };

    /// A text and what it means.
    struct Choice {
        std::string text;
        Meaning meaning = Meaning::ok;
    };
    /// Bits of a byte and what they mean; without a meaning they must be so.
    struct Bits {
        unsigned mask = 0;
        unsigned value = 0;
        std::optional<Meaning> meaning;
        int decimals = 0; ///< with Meaning::decimals
    };
    enum class Check { exclusiveOr, exclusiveOrHex, sum7, sum8, delmac };

    Kind kind = Kind::bytes;
    std::size_t length = 0; ///< bytes of the frame
    std::string text;       ///< bytes: these; weight: its options
    std::vector<Choice> choices;
    std::vector<Bits> bits;
    Check check = Check::exclusiveOr;
    std::size_t from = 0; ///< check: first and last place, counted from 1
    std::size_t to = 0;

    bool allows(char option) const { return text.find(option) != std::string::npos; } ///< of a weight
};

/// One shape of a frame.
struct Frame {
    std::vector<Piece> pieces;
    /// It begins with a byte that stands only at the beginning of a frame, so it may begin anywhere in the stream. Any
    /// other frame is a line and begins where the line before ended.
    bool marksItsBeginning = false;
    bool hasChecksum = false;
};

/// How a frame compares with the bytes from a place on.
struct Match {
    enum class Outcome { no, needsMore, yes };
    Outcome outcome = Outcome::no;
    std::size_t length = 0;         ///< of a frame that fits
    std::optional<Reading> reading; ///< what it says
    /// Why there is no reading. With Outcome::no: the frame would fit but for its checksum or its unit.
    std::optional<Refusal> refusal;
};

/// `atEnd`: no byte will follow soon, the line is silent. `usualUnit` is the unit of frames that name none, `usualRest`
/// what they say where they say nothing of it.
Match matchFrame(const Frame& frame, std::string_view bytes, bool atEnd, std::optional<Unit> usualUnit, Rest usualRest);

/// What the check bytes behind `frame` must be.
std::string checkBytes(const Piece& check, std::string_view frame);

} // namespace scale
