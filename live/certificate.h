#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include <openssl/ssl.h>

namespace live {

struct FreeContext {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using TlsContext = std::unique_ptr<SSL_CTX, FreeContext>;

/// Seconds since 1970.
struct Validity {
    std::int64_t begins = 0;
    std::int64_t renewal = 0; ///< a month before the end, when another one should be made

    bool covers(std::int64_t moment) const { return begins <= moment && moment < renewal; }
};

/// What connections are encrypted with.
struct Certificate {
    TlsContext context;      ///< TLS 1.2 and later, with the certificate and its key
    std::string fingerprint; ///< SHA-256, "AB:CD:...", as browsers show it
    Validity validity;
};

/// The certificate of this address in the folder: a key on P-256 and a certificate signed with it. Made where there is
/// none that counts for the address now and for another month; telephones then ask anew whether they may trust it. Only
/// the owner of the files may read the key. Throws files::Error.
Certificate certificateFor(const std::string& address, const std::filesystem::path& folder, std::int64_t now);

} // namespace live
