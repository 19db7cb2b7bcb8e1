#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Bytes written as hexadecimal digits, with blanks anywhere.
std::vector<std::uint8_t> bytesOf(std::string_view digits);

/// The same bytes as text, to be shown when they differ: small digits, two for each byte and nothing between.
std::string hexOf(std::span<const std::uint8_t> bytes);

/// Digits as hexOf() writes them, from a text with blanks and capitals in it.
std::string plainHex(std::string_view digits);
