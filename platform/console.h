#pragma once

#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

namespace platform {

/// What a command-line program needs of the system beyond the standard library. Texts are UTF-8 everywhere.

/// The words after the program's name. From here on the standard streams carry bytes as they are, and a terminal takes
/// them for UTF-8; call it first.
std::vector<std::string> commandWords(int argc, char** argv);

/// Somebody is looking at what goes to this descriptor (1: output, 2: errors).
bool isTerminal(int descriptor);

/// Writes as many of the bytes as the system takes at once and says how many; below 0 with errno set.
long long writeSome(int descriptor, const char* bytes, std::size_t count);

/// A moment by the clock on the wall.
std::tm localTime(std::time_t moment);

} // namespace platform
