#include "platform/sha256.h"

#include <nettle/sha2.h>

namespace platform {

std::array<std::uint8_t, 32> sha256(std::string_view bytes)
{
    std::array<std::uint8_t, 32> digest{};
    static_assert(digest.size() == SHA256_DIGEST_SIZE);
    sha256_ctx state;
    sha256_init(&state);
    sha256_update(&state, bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
    sha256_digest(&state, digest.size(), digest.data());
    return digest;
}

} // namespace platform
