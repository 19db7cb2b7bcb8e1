#include "tests/support/text.h"

#include <charconv>
#include <cstdlib>

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

int numberFromEnvironment(const char* variable, int usual)
{
    const char* const set = std::getenv(variable);
    if (set == nullptr) return usual;
    const std::string_view digits = set;
    int number = 0;
    const auto [end, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return fault == std::errc() && end == digits.data() + digits.size() ? number : usual;
}
