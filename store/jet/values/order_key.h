#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace jet {

/// The bytes by which queries order texts, whatever the collation of the file: Turkish alphabet, letter case without
/// weight, a shorter text before a longer one that begins so. Unsigned byte comparison of the keys is the order.
///
/// The text is folded first, although the alphabet has no case of its own: for a few letters far from here the two
/// cases weigh differently, and the search by first letters must find both cases side by side.
void appendOrderKey(std::vector<std::uint8_t>& key, std::u16string_view text);

/// The same for a text that has gone through foldTurkish already.
void appendFoldedOrderKey(std::vector<std::uint8_t>& key, std::u16string_view folded);

/// What the keys of all texts that begin (in any case) with these characters begin with.
std::vector<std::uint8_t> orderKeyPrefix(std::u16string_view beginning);

} // namespace jet
