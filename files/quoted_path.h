#pragma once

#include <filesystem>
#include <string>

namespace files {

/// A path as people read it in a sentence: quoted, UTF-8.
std::string quotedPath(const std::filesystem::path& path);

} // namespace files
