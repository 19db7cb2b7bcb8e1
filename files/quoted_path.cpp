#include "files/quoted_path.h"

namespace files {

std::string quotedPath(const std::filesystem::path& path, char quote)
{
    // As the system writes it: paths come with slashes from some of our callers, and with the system's own from others.
    const std::u8string text = std::filesystem::path(path).make_preferred().u8string();
    return quote + std::string(text.begin(), text.end()) + quote;
}

} // namespace files
