#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace files {

/// The sentence for people and logs about an exception that nobody expected: neither an Error of the engine nor one of
/// an action, but std::bad_alloc, std::logic_error and their like. No file, device or entry is to blame then, the
/// program is, and the sentence says so: what was being done, what came, and the place in the source that met it.
/// `action` is a Turkish noun phrase or a command; UTF-8. The place is the caller's, by `__builtin_FILE`, because not
/// every compiler we use has std::source_location.
std::string ownBug(std::string_view action, const std::exception& error, const char* file = __builtin_FILE(),
                   int line = __builtin_LINE());

} // namespace files
