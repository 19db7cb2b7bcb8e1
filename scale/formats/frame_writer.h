#pragma once

#include "scale/formats/format_table.h"

#include <optional>
#include <string>

namespace scale {

/// The frame in which a scale of this format would say the weight, in kilograms: what plays a scale, and what tests are
/// fed with. Where the format gives no weight, or leaves its unit out, while the load moves, so does the frame. Nothing
/// when the format cannot say this weight (its sign, its decimals, its width) or this rest.
std::optional<std::string> frameFor(const LineFormat& format, Decimal kilograms, Rest rest);

} // namespace scale
