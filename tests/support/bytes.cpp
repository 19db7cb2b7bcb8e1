#include "tests/support/bytes.h"

#include <stdexcept>

namespace {

constexpr std::string_view digitsInOrder = "0123456789abcdef";

} // namespace

std::string plainHex(std::string_view digits)
{
    std::string plain;
    for (const char digit : digits) {
        if (digit == ' ') continue;
        const char small = digit >= 'A' && digit <= 'F' ? static_cast<char>(digit - 'A' + 'a') : digit;
        if (digitsInOrder.find(small) == std::string_view::npos)
            throw std::logic_error("no hexadecimal digits: " + std::string(digits));
        plain += small;
    }
    return plain;
}

std::vector<std::uint8_t> bytesOf(std::string_view digits)
{
    const std::string plain = plainHex(digits);
    if (plain.size() % 2 != 0) throw std::logic_error("half a byte: " + std::string(digits));
    std::vector<std::uint8_t> bytes(plain.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] =
            static_cast<std::uint8_t>(digitsInOrder.find(plain[2 * i]) << 4 | digitsInOrder.find(plain[2 * i + 1]));
    return bytes;
}

std::string hexOf(std::span<const std::uint8_t> bytes)
{
    std::string digits;
    for (const std::uint8_t byte : bytes) {
        digits += digitsInOrder[byte >> 4];
        digits += digitsInOrder[byte & 0x0F];
    }
    return digits;
}
