#include "files/quoted_path.h"

namespace files {

std::string quotedPath(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return '"' + std::string(text.begin(), text.end()) + '"';
}

} // namespace files
