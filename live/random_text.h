#pragma once

#include <cstddef>
#include <string>

namespace live {

/// So many random bytes from the system, in letters that an address may hold (base64url, RFC 4648 section 5).
/// Throws files::Error (Fault::disk) where the system gives none.
std::string randomText(std::size_t bytes);

} // namespace live
