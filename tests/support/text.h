#pragma once

#include <charconv>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

/// The pieces of a text between separators, empty ones too: one more than there are separators.
std::vector<std::string> split(std::string_view text, std::string_view separator);

/// How often a part stands in a text, no two of them overlapping.
int countOf(std::string_view part, std::string_view text);

/// Every run of white space becomes one blank, none stays at the ends.
std::string simplified(std::string_view text);

/// A number above 0 from an environment variable that a person may set; `usual` where it says no such number.
inline int numberFromEnvironment(const char* variable, int usual)
{
    const char* const set = std::getenv(variable);
    const std::string_view digits = set ? set : "";
    int number = 0;
    const auto [end, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool whole = fault == std::errc() && end == digits.data() + digits.size();
    return whole && number > 0 ? number : usual;
}
