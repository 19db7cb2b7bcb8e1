#pragma once

#include <string_view>

namespace tools {

/// What database_tool's table says of a command in Turkish, in English.
struct EnglishHelp {
    std::string_view name;
    std::string_view parameters;
    std::string_view summary;
    std::string_view help;
};

/// Null for a command that has none.
const EnglishHelp* englishHelp(std::string_view command);

} // namespace tools
