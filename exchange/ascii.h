#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

/// Letters and digits as every program writes them, whatever the locale.
namespace exchange {

inline bool isDigit(char c) { return c >= '0' && c <= '9'; }

inline char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

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
