#include "tests/support/text.h"

std::vector<std::string> split(std::string_view text, std::string_view separator)
{
    std::vector<std::string> pieces;
    for (;;) {
        const std::size_t end = text.find(separator);
        pieces.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) return pieces;
        text.remove_prefix(end + separator.size());
    }
}

int countOf(std::string_view part, std::string_view text) { return static_cast<int>(split(text, part).size()) - 1; }

std::string simplified(std::string_view text)
{
    std::string result;
    for (const char letter : text) {
        const bool blank = std::string_view(" \t\r\n\v\f").find(letter) != std::string_view::npos;
        if (!blank)
            result += letter;
        else if (!result.empty() && result.back() != ' ')
            result += ' ';
    }
    if (!result.empty() && result.back() == ' ') result.pop_back();
    return result;
}
