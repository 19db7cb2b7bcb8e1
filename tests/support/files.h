#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// Whole files as tests read and write them; what fails throws std::runtime_error with the path.
std::string textOfFile(const std::filesystem::path& file);
std::vector<std::uint8_t> bytesOfFile(const std::filesystem::path& file);
void writeFile(const std::filesystem::path& file, std::string_view content); ///< a file that is there is replaced
void writeFile(const std::filesystem::path& file, const std::vector<std::uint8_t>& content);

/// A copy that its owner may change, whatever the original is like.
void copyWritable(const std::filesystem::path& from, const std::filesystem::path& to);

/// Puts a copy where there is a file already.
void replaceFile(const std::filesystem::path& from, const std::filesystem::path& to);

/// The names of the files in a folder, hidden ones too, in the order of their bytes; folders are left out.
std::vector<std::string> filesIn(const std::filesystem::path& folder);
