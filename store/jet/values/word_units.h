#pragma once

#include <string>

/// What the languages of queries and of rules take for blanks, digits and words.
namespace jet {

inline bool isBlank(char16_t unit) { return unit == u' ' || (unit >= u'\t' && unit <= u'\r') || unit == 0x00A0; }
inline bool isDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }
inline bool startsWord(char16_t unit)
{
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') || unit == u'_' ||
           (unit >= 0x0080 && !isBlank(unit));
}
/// English letters alone.
inline std::u16string lower(std::u16string text)
{
    for (char16_t& unit : text)
        if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit - u'A' + u'a');
    return text;
}

} // namespace jet
