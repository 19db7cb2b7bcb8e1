#pragma once

#include "store/jet/values/value.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

/// Text as fields store it: plain UTF-16LE, or FF FE and a stream of single bytes (units 0001..00FF) and of pairs
/// (all others), where a 00 byte between units changes from one to the other.
namespace jet {

/// The text of stored bytes, into `into` (replaced). Never fails: half a unit at the end is left out.
void decodeText(std::span<const std::uint8_t> stored, std::u16string& into);

/// Whether decodeText would give exactly that text, without decoding more than it takes to see.
bool storedTextIs(std::span<const std::uint8_t> stored, std::u16string_view text);

/// The bytes to store; compressed when the column allows it and it does not make the value longer.
/// Nothing for the few texts that have no form at all: U+FEFF in front and a unit ending in 00 behind it.
std::optional<Bytes> encodeText(std::u16string_view text, bool compressible);

/// Plain UTF-16LE, whatever the text: names in definitions, the catalogue, fixed-length fields.
void appendUtf16(Bytes& out, std::u16string_view text);
std::u16string utf16Text(std::span<const std::uint8_t> bytes); ///< half a unit at the end is left out

} // namespace jet
