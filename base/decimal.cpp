#include "base/decimal.h"

#include <array>
#include <cassert>
#include <charconv>
#include <cmath>
#include <system_error>

namespace base {

namespace {

void dropTrailingZeros(Decimal& number)
{
    while (!number.digits.empty() && number.digits.back() == '0') number.digits.pop_back();
    if (number.digits.empty()) number.point = 0;
}

} // namespace

Decimal decimalOf(double value, int significant)
{
    assert(std::isfinite(value) && significant >= 1 && significant <= 17);
    Decimal number;
    if (value == 0) return number;
    number.negative = value < 0;

    std::array<char, 40> buffer;
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::fabs(value),
                                            std::chars_format::scientific, significant - 1);
    assert(error == std::errc());
    const std::string text(buffer.data(), end); // d.ddddde+xx
    const std::size_t mark = text.find('e');
    for (const char c : text.substr(0, mark))
        if (c != '.') number.digits += c;
    number.point = 1 + std::stoi(text.substr(mark + 1));
    dropTrailingZeros(number);
    return number;
}

Decimal rounded(Decimal number, int places)
{
    const int kept = number.point + places;
    if (kept >= static_cast<int>(number.digits.size())) return number;
    const bool up = kept >= 0 && number.digits[static_cast<std::size_t>(kept)] >= '5';
    number.digits.resize(kept > 0 ? static_cast<std::size_t>(kept) : 0);
    if (up) {
        std::size_t i = number.digits.size();
        while (i > 0 && number.digits[i - 1] == '9') number.digits[--i] = '0';
        if (i > 0) {
            ++number.digits[i - 1];
        } else {
            number.digits.insert(number.digits.begin(), '1');
            ++number.point;
        }
    }
    dropTrailingZeros(number);
    return number;
}

std::string wholeDigits(const Decimal& number)
{
    if (number.point <= 0) return {};
    std::string whole = number.digits.substr(0, static_cast<std::size_t>(number.point));
    whole.resize(static_cast<std::size_t>(number.point), '0');
    return whole;
}

std::string fractionDigits(const Decimal& number)
{
    if (number.digits.empty()) return {};
    if (number.point <= 0) return std::string(static_cast<std::size_t>(-number.point), '0') + number.digits;
    if (number.point >= static_cast<int>(number.digits.size())) return {};
    return number.digits.substr(static_cast<std::size_t>(number.point));
}

} // namespace base
