#include "platform/sha256.h"

#include "files/error.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <wincrypt.h>

namespace platform {
namespace {

void mustHold(BOOL success)
{
    if (!success) throw files::Error(files::Fault::disk, "Windows SHA-256 özetini hesaplayamadı.");
}

/// The system's library, found once: finding it takes far longer than a digest.
HCRYPTPROV provider()
{
    class Provider {
    public:
        Provider() { mustHold(CryptAcquireContextW(&handle, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT)); }
        ~Provider() { CryptReleaseContext(handle, 0); }
        Provider(const Provider&) = delete;
        Provider& operator=(const Provider&) = delete;

        HCRYPTPROV handle = 0;
    };
    static const Provider only;
    return only.handle;
}

/// A digest in the making.
class Hash {
public:
    Hash() { mustHold(CryptCreateHash(provider(), CALG_SHA_256, 0, 0, &handle)); }
    ~Hash() { CryptDestroyHash(handle); }
    Hash(const Hash&) = delete;
    Hash& operator=(const Hash&) = delete;

    HCRYPTHASH handle = 0;
};

} // namespace

std::array<std::uint8_t, 32> sha256(std::string_view bytes)
{
    const Hash hash;
    mustHold(
        CryptHashData(hash.handle, reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()), 0));
    std::array<std::uint8_t, 32> digest{};
    auto size = static_cast<DWORD>(digest.size());
    mustHold(CryptGetHashParam(hash.handle, HP_HASHVAL, digest.data(), &size, 0));
    return digest;
}

} // namespace platform
