#pragma once

#include <string>
#include <string_view>

namespace seasons {

/// "1.234,50" with so many digits behind the comma; "—" for what is no finite number.
std::string numberText(double number, int decimals);

/// "05.11.2025" of a day number (days since 1899-12-30).
std::string dayText(int day);

/// "05.11.2025 14:30" of a moment.
std::string momentText(double moment);

/// "2025–2026" of the year in which a season began.
std::string seasonText(int year);

/// The text with U+FFFD for whatever is no character that can be shown everywhere: controls, codes that Unicode keeps
/// from being characters, bytes that are no UTF-8.
std::string showable(std::string_view text);

/// The text as it may stand between tags and between quotes of a page: marks as references, and U+FFFD for the control
/// characters that a page must not hold.
std::string escaped(std::string_view utf8);

} // namespace seasons
