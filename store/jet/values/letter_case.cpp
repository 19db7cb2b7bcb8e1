#include "store/jet/values/sort_key.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace jet {
namespace {

/// Capitals from `first` to `last`, every `step`-th code unit; the small letter lies `toSmall` further.
struct Capitals {
    char16_t first;
    char16_t last;
    int toSmall;
    int step;
};

// clang-format off
constexpr Capitals capitals[] = {
    {0x00C0, 0x00D6, 32, 1}, {0x00D8, 0x00DE, 32, 1}, {0x0100, 0x012E, 1, 2}, {0x0132, 0x0136, 1, 2},
    {0x0139, 0x0147, 1, 2}, {0x014A, 0x0176, 1, 2}, {0x0178, 0x0178, -121, 1}, {0x0179, 0x017D, 1, 2},
    {0x0181, 0x0181, 210, 1}, {0x0182, 0x0184, 1, 2}, {0x0186, 0x0186, 206, 1}, {0x0187, 0x0187, 1, 1},
    {0x0189, 0x018A, 205, 1}, {0x018B, 0x018B, 1, 1}, {0x018E, 0x018E, 79, 1}, {0x018F, 0x018F, 202, 1},
    {0x0190, 0x0190, 203, 1}, {0x0191, 0x0191, 1, 1}, {0x0193, 0x0193, 205, 1}, {0x0194, 0x0194, 207, 1},
    {0x0196, 0x0196, 211, 1}, {0x0197, 0x0197, 209, 1}, {0x0198, 0x0198, 1, 1}, {0x019C, 0x019C, 211, 1},
    {0x019D, 0x019D, 213, 1}, {0x019F, 0x019F, 214, 1}, {0x01A0, 0x01A4, 1, 2}, {0x01A6, 0x01A6, 218, 1},
    {0x01A7, 0x01A7, 1, 1}, {0x01A9, 0x01A9, 218, 1}, {0x01AC, 0x01AC, 1, 1}, {0x01AE, 0x01AE, 218, 1},
    {0x01AF, 0x01AF, 1, 1}, {0x01B1, 0x01B2, 217, 1}, {0x01B3, 0x01B5, 1, 2}, {0x01B7, 0x01B7, 219, 1},
    {0x01B8, 0x01B8, 1, 1}, {0x01BC, 0x01BC, 1, 1}, {0x01C4, 0x01C4, 2, 1}, {0x01C5, 0x01C5, 1, 1},
    {0x01C7, 0x01C7, 2, 1}, {0x01C8, 0x01C8, 1, 1}, {0x01CA, 0x01CA, 2, 1}, {0x01CB, 0x01DB, 1, 2},
    {0x01DE, 0x01EE, 1, 2}, {0x01F1, 0x01F1, 2, 1}, {0x01F2, 0x01F4, 1, 2}, {0x01F6, 0x01F6, -97, 1},
    {0x01F7, 0x01F7, -56, 1}, {0x01F8, 0x021E, 1, 2}, {0x0220, 0x0220, -130, 1}, {0x0222, 0x0232, 1, 2},
    {0x023A, 0x023A, 10795, 1}, {0x023B, 0x023B, 1, 1}, {0x023D, 0x023D, -163, 1}, {0x023E, 0x023E, 10792, 1},
    {0x0241, 0x0241, 1, 1}, {0x0243, 0x0243, -195, 1}, {0x0244, 0x0244, 69, 1}, {0x0245, 0x0245, 71, 1},
    {0x0246, 0x024E, 1, 2}, {0x0370, 0x0372, 1, 2}, {0x0376, 0x0376, 1, 1}, {0x037F, 0x037F, 116, 1},
    {0x0386, 0x0386, 38, 1}, {0x0388, 0x038A, 37, 1}, {0x038C, 0x038C, 64, 1}, {0x038E, 0x038F, 63, 1},
    {0x0391, 0x03A1, 32, 1}, {0x03A3, 0x03AB, 32, 1}, {0x03CF, 0x03CF, 8, 1}, {0x03D8, 0x03EE, 1, 2},
    {0x03F4, 0x03F4, -60, 1}, {0x03F7, 0x03F7, 1, 1}, {0x03F9, 0x03F9, -7, 1}, {0x03FA, 0x03FA, 1, 1},
    {0x03FD, 0x03FF, -130, 1}, {0x0400, 0x040F, 80, 1}, {0x0410, 0x042F, 32, 1}, {0x0460, 0x0480, 1, 2},
    {0x048A, 0x04BE, 1, 2}, {0x04C0, 0x04C0, 15, 1}, {0x04C1, 0x04CD, 1, 2}, {0x04D0, 0x052E, 1, 2},
    {0x0531, 0x0556, 48, 1}, {0x1E00, 0x1E94, 1, 2}, {0x1E9E, 0x1E9E, -7615, 1}, {0x1EA0, 0x1EFE, 1, 2},
    {0x1F08, 0x1F0F, -8, 1}, {0x1F18, 0x1F1D, -8, 1}, {0x1F28, 0x1F2F, -8, 1}, {0x1F38, 0x1F3F, -8, 1},
    {0x1F48, 0x1F4D, -8, 1}, {0x1F59, 0x1F5F, -8, 2}, {0x1F68, 0x1F6F, -8, 1}, {0x1F88, 0x1F8F, -8, 1},
    {0x1F98, 0x1F9F, -8, 1}, {0x1FA8, 0x1FAF, -8, 1}, {0x1FB8, 0x1FB9, -8, 1}, {0x1FBA, 0x1FBB, -74, 1},
    {0x1FBC, 0x1FBC, -9, 1}, {0x1FC8, 0x1FCB, -86, 1}, {0x1FCC, 0x1FCC, -9, 1}, {0x1FD8, 0x1FD9, -8, 1},
    {0x1FDA, 0x1FDB, -100, 1}, {0x1FE8, 0x1FE9, -8, 1}, {0x1FEA, 0x1FEB, -112, 1}, {0x1FEC, 0x1FEC, -7, 1},
    {0x1FF8, 0x1FF9, -128, 1}, {0x1FFA, 0x1FFB, -126, 1}, {0x1FFC, 0x1FFC, -9, 1},
};
// clang-format on

char16_t smallLetter(char16_t unit)
{
    const auto* at = std::ranges::lower_bound(capitals, unit, {}, &Capitals::last);
    if (at == std::end(capitals) || unit < at->first || (unit - at->first) % at->step != 0) return unit;
    return static_cast<char16_t>(unit + at->toSmall);
}

/// Most texts hold nothing but these.
constexpr std::array<char16_t, 0x80> asciiFold = [] {
    std::array<char16_t, 0x80> fold{};
    for (std::size_t unit = 0; unit < fold.size(); ++unit)
        fold[unit] = static_cast<char16_t>(unit >= u'A' && unit <= u'Z' ? unit + 32 : unit);
    fold[u'I'] = u'ı';
    return fold;
}();

} // namespace

char16_t foldTurkish(char16_t unit)
{
    if (unit < asciiFold.size()) return asciiFold[unit];
    return unit == u'İ' ? u'i' : smallLetter(unit);
}

std::u16string foldTurkish(std::u16string_view text)
{
    std::u16string folded(text);
    for (char16_t& unit : folded) unit = foldTurkish(unit);
    return folded;
}

char16_t foldCase(char16_t unit, Collation collation)
{
    if (collation == turkish) return foldTurkish(unit);
    if (unit == u'I') return u'i';
    return unit == u'İ' ? unit : foldTurkish(unit);
}

std::u16string foldCase(std::u16string_view text, Collation collation)
{
    std::u16string folded(text);
    for (char16_t& unit : folded) unit = foldCase(unit, collation);
    return folded;
}

} // namespace jet
