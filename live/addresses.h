#pragma once

#include <optional>
#include <string>
#include <vector>

namespace live {

/// An IP address in the one way to write it; nothing for what is none.
std::optional<std::string> plainAddress(const std::string& text);

/// Whether a plain address is one at which this machine alone is meant: one of its networks' cards, or the machine to
/// itself (127.x.x.x, ::1). Every network's at once is none, nor a whole network's, a group's, or an old address in the
/// clothes of a new one (::ffff:x.x.x.x), by which any of these could be meant.
bool isOwnAddress(const std::string& plain);

/// The addresses that others in its networks may know this machine by.
std::vector<std::string> ownAddresses();

} // namespace live
