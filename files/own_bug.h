#pragma once

#include <exception>
#include <source_location>
#include <string>
#include <string_view>

namespace files {

/// The sentence for people and logs about an exception that nobody expected: neither an Error of the engine nor one of
/// an action, but std::bad_alloc, std::logic_error and their like. No file, device or entry is to blame then, the
/// program is, and the sentence says so: what was being done, what came, and the place in the source that met it.
/// `action` is a Turkish noun phrase or a command; UTF-8.
std::string ownBug(std::string_view action, const std::exception& error,
                   const std::source_location& place = std::source_location::current());

} // namespace files
