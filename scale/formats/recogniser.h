#pragma once

#include "scale/formats/framer.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace scale {

/// What a stream was recognised as.
struct Recognised {
    /// The one format that reads the stream; nothing where none does, or where several do that cannot be told apart: a
    /// guess would be a wrong weight.
    const LineFormat* format = nullptr;
    /// All formats that read it, those that lose against another one left out.
    std::vector<const LineFormat*> candidates;
    std::vector<Reading> readings; ///< by the format, or by all candidates where they say the same; else none
    /// Enough was seen to fill in a setting: five frames with a weight, one of them other than zero.
    bool isSure = false;
};

/// Which formats read the stream. A format is a candidate when its frames make up most of it, a cut frame at either end
/// aside; so it is found on a line with some noise, too. One with a checksum that fits wins over those without, and one
/// that reads all of it over those that leave something out. Where more than one is left none is recognised: also
/// where they say the same so far, as "=" frames do forwards and backwards of a zero or a palindrome.
/// One frame is enough where it cannot be the end of another format's line; otherwise it takes two.
Recognised recognise(std::string_view stream);

/// What the screen would show for a burst that reaches the control as it is.
using ShownAsItIs = std::function<std::string(std::string_view burst)>;

/// The format that recognises the stream, when the screen would show something else of it as it is than by the format;
/// nothing when all is well, or nothing is recognised for sure. `decimalMark` is that of the user's settings.
const LineFormat* shownWronglyAsItIs(std::string_view stream, char decimalMark, const ShownAsItIs& shown);

} // namespace scale
