#include "tests/support/files.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

std::string textOfFile(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(stream), {}};
    if (!stream.is_open() || stream.bad()) throw std::runtime_error("cannot read " + file.string());
    return content;
}

std::vector<std::uint8_t> bytesOfFile(const std::filesystem::path& file)
{
    const std::string content = textOfFile(file);
    return {content.begin(), content.end()};
}

void writeFile(const std::filesystem::path& file, std::string_view content)
{
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    if (!stream) throw std::runtime_error("cannot write " + file.string());
}

void writeFile(const std::filesystem::path& file, const std::vector<std::uint8_t>& content)
{
    writeFile(file, std::string_view(reinterpret_cast<const char*>(content.data()), content.size()));
}

void copyWritable(const std::filesystem::path& from, const std::filesystem::path& to)
{
    std::filesystem::copy_file(from, to);
    std::filesystem::permissions(to, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

void replaceFile(const std::filesystem::path& from, const std::filesystem::path& to)
{
    // Not by an option of the copying: the compiler's library for Windows refuses then, too.
    std::filesystem::remove(to);
    std::filesystem::copy_file(from, to);
}

std::vector<std::string> filesIn(const std::filesystem::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.is_regular_file()) names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}
