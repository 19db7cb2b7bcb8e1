#pragma once

#include "scale/formats/frame.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The table of line formats: line_formats.txt, read once.
namespace scale {

/// A frame that the table shows as an example.
struct FormatSample {
    std::string bytes;
    std::string kilograms; ///< "none": the frame carries no weight
    Rest rest = Rest::unknown;
};

struct LineFormat {
    std::string name;          ///< what tools and settings know it by
    std::string title;         ///< for people
    std::string source;        ///< of the facts
    std::optional<Unit> unit;  ///< of frames that name none
    Rest rest = Rest::unknown; ///< of frames that say nothing of it
    std::vector<Frame> frames;
    std::vector<FormatSample> samples;
};

/// All formats, in the order of the table.
const std::vector<LineFormat>& lineFormats();

/// Nothing when there is no format of that name.
const LineFormat* lineFormatNamed(std::string_view name);

/// Reads a table. Throws std::runtime_error with the line that it does not understand: a table that is compiled in and
/// cannot be read is a fault of the program.
std::vector<LineFormat> parseLineFormats(std::string_view text);

} // namespace scale
