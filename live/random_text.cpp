#include "live/random_text.h"

#include "files/error.h"

#include <openssl/rand.h>

#include <cstdint>
#include <string_view>
#include <vector>

namespace live {

std::string randomText(std::size_t bytes)
{
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::vector<std::uint8_t> random(bytes);
    if (RAND_bytes(random.data(), static_cast<int>(random.size())) != 1)
        throw files::Error(files::Fault::disk, "Sistem rastgele sayı vermiyor; bilgisayarı yeniden başlatın.");
    std::string text;
    std::uint32_t bits = 0;
    int count = 0;
    for (const std::uint8_t byte : random) {
        bits = bits << 8 | byte;
        for (count += 8; count >= 6; count -= 6) text += letters[bits >> (count - 6) & 63];
    }
    if (count > 0) text += letters[bits << (6 - count) & 63];
    return text;
}

} // namespace live
