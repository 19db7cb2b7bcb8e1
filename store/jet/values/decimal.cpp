#include "store/jet/values/decimal.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace jet::decimal {
namespace {

__extension__ using Wide = unsigned __int128;

constexpr unsigned mostDigits = 28;
constexpr std::uint8_t currencyScale = 4;

Wide wide(const Numeric& number)
{
    Wide value = 0;
    for (const std::uint32_t word : number.magnitude) value = value << 32 | word;
    return value;
}

Numeric numeric(bool negative, Wide magnitude, std::uint8_t scale)
{
    Numeric number;
    number.negative = negative && magnitude != 0;
    number.scale = scale;
    for (std::size_t word = 4; word-- > 0;) {
        number.magnitude[word] = static_cast<std::uint32_t>(magnitude);
        magnitude >>= 32;
    }
    return number;
}

unsigned digitsOf(Wide value)
{
    unsigned count = 1;
    while (value >= 10) {
        value /= 10;
        ++count;
    }
    return count;
}

/// The value with `places` more decimal digits (fewer when negative).
std::optional<Wide> shifted(Wide value, int places)
{
    for (; places > 0 && value != 0; --places) {
        if (digitsOf(value) >= mostDigits) return std::nullopt;
        value *= 10;
    }
    if (places >= 0) return value;
    // One digit at a time would round a half twice; what is cut off is collected and judged at the end.
    bool rest = false;
    unsigned last = 0;
    for (; places < 0; ++places) {
        rest = rest || last != 0;
        last = static_cast<unsigned>(value % 10);
        value /= 10;
    }
    const bool up = last > 5 || (last == 5 && (rest || value % 2 == 1));
    return up ? value + 1 : value;
}

} // namespace

std::optional<Numeric> rescaled(const Numeric& number, std::uint8_t scale)
{
    const auto value = shifted(wide(number), int{scale} - int{number.scale});
    if (!value || digitsOf(*value) > mostDigits) return std::nullopt;
    return numeric(number.negative, *value, scale);
}

std::optional<Numeric> fromCurrency(Currency money, std::uint8_t scale)
{
    const bool negative = money.tenThousandths < 0;
    const auto units = static_cast<std::uint64_t>(money.tenThousandths);
    return rescaled(numeric(negative, negative ? ~units + 1 : units, currencyScale), scale);
}

std::optional<Numeric> fromDouble(double number, std::uint8_t scale)
{
    if (!std::isfinite(number)) return std::nullopt;
    constexpr int digitsBehindFirst = 14;
    std::array<char, 40> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), std::fabs(number),
                                   std::chars_format::scientific, digitsBehindFirst)
                         .ptr;
    Wide value = 0;
    const char* p = text.data();
    for (; p != end && *p != 'e'; ++p) {
        if (*p != '.') value = value * 10 + static_cast<unsigned>(*p - '0');
    }
    int exponent = 0;
    if (p != end) std::from_chars(p[1] == '+' ? p + 2 : p + 1, end, exponent);
    const auto scaled = shifted(value, exponent - digitsBehindFirst + scale);
    if (!scaled) return std::nullopt;
    return numeric(number < 0, *scaled, scale);
}

std::optional<Currency> toCurrency(const Numeric& number)
{
    const auto units = shifted(wide(number), int{currencyScale} - int{number.scale});
    constexpr auto limit = static_cast<Wide>(std::numeric_limits<std::int64_t>::max());
    if (!units || *units > limit + (number.negative ? 1 : 0)) return std::nullopt;
    const auto bits = static_cast<std::uint64_t>(*units);
    return Currency{static_cast<std::int64_t>(number.negative ? ~bits + 1 : bits)};
}

unsigned digits(const Numeric& number) { return digitsOf(wide(number)); }

} // namespace jet::decimal
