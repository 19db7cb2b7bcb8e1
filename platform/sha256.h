#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace platform {

/// The SHA-256 digest (FIPS 180-4) of these bytes, by the system's own library. Throws files::Error (Fault::disk) where
/// the system refuses.
std::array<std::uint8_t, 32> sha256(std::string_view bytes);

} // namespace platform
