#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Letters and digits as every program writes them, whatever the locale.
namespace exchange {

inline bool isDigit(char c) { return c >= '0' && c <= '9'; }

inline char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// The text between the blanks at its ends.
inline std::string_view withoutBlanks(std::string_view text)
{
    while (text.starts_with(' ')) text.remove_prefix(1);
    while (text.ends_with(' ')) text.remove_suffix(1);
    return text;
}

/// The text between two of that mark, which is written twice inside.
inline std::string inMarks(std::string_view text, char mark)
{
    std::string result(1, mark);
    for (const char c : text) result.append(c == mark ? 2 : 1, c);
    return result + mark;
}

/// Takes the digits that a text begins with; nothing where there are none, or more than `most` (9 or fewer).
inline std::optional<int> takeNumber(std::string_view& text, std::size_t most)
{
    std::size_t digits = 0;
    int value = 0;
    for (; digits < text.size() && isDigit(text[digits]); ++digits) {
        if (digits == most) return std::nullopt;
        value = value * 10 + (text[digits] - '0');
    }
    if (digits == 0) return std::nullopt;
    text.remove_prefix(digits);
    return value;
}

} // namespace exchange
