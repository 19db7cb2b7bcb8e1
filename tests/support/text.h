#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The pieces of a text between separators, empty ones too: one more than there are separators.
std::vector<std::string> split(std::string_view text, std::string_view separator);

/// How often a part stands in a text, no two of them overlapping.
int countOf(std::string_view part, std::string_view text);

/// Every run of white space becomes one blank, none stays at the ends.
std::string simplified(std::string_view text);

/// A whole number from an environment variable that a person may set; `usual` where it is not set or no number.
int numberFromEnvironment(const char* variable, int usual);
