#pragma once

#include "store/jet/format/format.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace jet {

/// Room for pages that are looked at in passing (Pager::look).
struct PassingBuffer {
    std::vector<std::uint8_t> bytes;
    std::optional<std::size_t> extent; ///< number of the extent whose pages it holds
};

/// Room for one page that is looked at in passing, by those who jump.
struct PageBuffer {
    std::vector<std::uint8_t> bytes;
};

} // namespace jet
