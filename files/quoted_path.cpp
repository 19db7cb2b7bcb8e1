#include "files/quoted_path.h"

namespace files {

std::string quotedPath(const std::filesystem::path& path, char quote)
{
    const std::u8string text = path.u8string();
    return quote + std::string(text.begin(), text.end()) + quote;
}

} // namespace files
