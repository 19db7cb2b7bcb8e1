#pragma once

#include <cstdint>

namespace jet {

/// How a file keeps those out who should not read it.
enum class Protection : std::uint8_t {
    none,
    password, ///< asked for by programs that care; its pages are as plain as any
    covered,  ///< its pages are covered by a key that stands in the header (page_code.h); with or without a password
};

} // namespace jet
