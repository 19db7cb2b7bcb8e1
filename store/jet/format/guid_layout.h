#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// What a GUID made of random bytes says of itself (RFC 4122, version 4). The first three of its numbers are stored
/// with their lowest byte first:
///
///     0           4        6        8         16
///     | 4 bytes   | 2      | 2 v..  | r.      |      v: version, upper half of byte 7; r: variant, upper bits of 8
namespace jet::guid_layout {

inline constexpr std::size_t versionAt = 7, variantAt = 8;
inline constexpr unsigned belowVersion = 0x0F, random = 0x40;
inline constexpr unsigned belowVariant = 0x3F, variant = 0x80;

inline void markRandom(std::span<std::uint8_t> guid)
{
    guid[versionAt] = static_cast<std::uint8_t>((guid[versionAt] & belowVersion) | random);
    guid[variantAt] = static_cast<std::uint8_t>((guid[variantAt] & belowVariant) | variant);
}

} // namespace jet::guid_layout
