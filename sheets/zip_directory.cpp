#include "sheets/zip_directory.h"

#include <array>
#include <fstream>
#include <span>

namespace sheets {

/// The record at the end of an archive.
namespace zip_end {
constexpr std::uint32_t signature = 0x06054B50;
constexpr std::size_t count = 10;  ///< files, 2 bytes
constexpr std::size_t offset = 16; ///< of the directory, 4 bytes
constexpr std::size_t length = 22;
} // namespace zip_end

/// A file's record in the directory; its name stands behind.
namespace zip_entry {
constexpr std::uint32_t signature = 0x02014B50;
constexpr std::size_t unpacked = 24;      ///< bytes of the file, 4 bytes
constexpr std::size_t nameLength = 28;    ///< 2 bytes
constexpr std::size_t extraLength = 30;   ///< 2 bytes
constexpr std::size_t commentLength = 32; ///< 2 bytes
constexpr std::size_t length = 46;
} // namespace zip_entry

namespace {

std::uint32_t number(std::span<const unsigned char> bytes, std::size_t at, std::size_t size)
{
    std::uint32_t value = 0;
    for (std::size_t i = size; i-- > 0;) value = value << 8 | bytes[at + i];
    return value;
}

} // namespace

std::map<std::string, std::uint64_t> zipDirectory(const std::filesystem::path& path)
{
    namespace end = zip_end;
    namespace entry = zip_entry;
    std::map<std::string, std::uint64_t> held;
    std::ifstream file(path, std::ios::binary);
    const auto read = [&](std::span<unsigned char> into) {
        return static_cast<bool>(
            file.read(reinterpret_cast<char*>(into.data()), static_cast<std::streamsize>(into.size())));
    };
    std::array<unsigned char, end::length> last{};
    file.seekg(-static_cast<std::streamoff>(end::length), std::ios::end);
    if (!file || !read(last) || number(last, 0, 4) != end::signature) return held;
    file.seekg(number(last, end::offset, 4));
    std::array<unsigned char, entry::length> head{};
    for (std::uint32_t left = number(last, end::count, 2); left > 0; --left) {
        if (!read(head) || number(head, 0, 4) != entry::signature) return {};
        std::string name(number(head, entry::nameLength, 2), '\0');
        if (!file.read(name.data(), static_cast<std::streamsize>(name.size()))) return {};
        held[name] = number(head, entry::unpacked, 4);
        file.seekg(number(head, entry::extraLength, 2) + number(head, entry::commentLength, 2), std::ios::cur);
    }
    return held;
}

} // namespace sheets
