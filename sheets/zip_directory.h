#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace sheets {

/// Names of the files in a zip archive and their bytes unpacked, as the directory at its end has them (APPNOTE 4.3.12
/// and 4.3.16; no zip64, no comment behind it). Empty for a file that is no such archive.
std::map<std::string, std::uint64_t> zipDirectory(const std::filesystem::path& path);

} // namespace sheets
