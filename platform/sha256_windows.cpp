#include "platform/sha256.h"

#include "files/error.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <wincrypt.h>

namespace platform {
namespace {

/// Gives what it holds back to the system.
template <class Handle, class Release> class Held {
public:
    explicit Held(Release release) : release_(release) {}
    ~Held()
    {
        if (handle) release_(handle);
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

    Handle handle = 0;

private:
    Release release_;
};

void mustHold(BOOL success)
{
    if (!success) throw files::Error(files::Fault::disk, "Windows SHA-256 özetini hesaplayamadı.");
}

} // namespace

std::array<std::uint8_t, 32> sha256(std::string_view bytes)
{
    const auto release = [](HCRYPTPROV provider) { CryptReleaseContext(provider, 0); };
    const auto destroy = [](HCRYPTHASH hash) { CryptDestroyHash(hash); };
    Held<HCRYPTPROV, decltype(release)> provider(release);
    Held<HCRYPTHASH, decltype(destroy)> hash(destroy);
    mustHold(CryptAcquireContextW(&provider.handle, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT));
    mustHold(CryptCreateHash(provider.handle, CALG_SHA_256, 0, 0, &hash.handle));
    mustHold(
        CryptHashData(hash.handle, reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()), 0));
    std::array<std::uint8_t, 32> digest{};
    auto size = static_cast<DWORD>(digest.size());
    mustHold(CryptGetHashParam(hash.handle, HP_HASHVAL, digest.data(), &size, 0));
    return digest;
}

} // namespace platform
