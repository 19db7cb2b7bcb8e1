#pragma once

#include <filesystem>
#include <string>

namespace files {

/// A path as people read it in a sentence: quoted, UTF-8.
std::string quotedPath(const std::filesystem::path& path, char quote = '"');
/// The same in single quotes, as the disk and the Pager name their file.
inline std::string inQuotes(const std::filesystem::path& path) { return quotedPath(path, '\''); }

} // namespace files
