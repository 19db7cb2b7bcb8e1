#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <system_error>

namespace platform {

/// A file that appears in its folder whole or not at all, and never in place of another.
/// Until publish() the content is in a hidden file beside it, which also keeps its name from being taken by a second
/// NewFile, in whatever process. Leaving without publish() removes that hidden file; a kill or a power cut leaves it
/// behind. Every failure is a std::system_error.
class NewFile {
public:
    /// Throws std::errc::file_exists if the file, or somebody's hidden file for it, is there.
    explicit NewFile(const std::filesystem::path& path);
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile();

    /// Where the content of such a file is until it is published.
    static std::filesystem::path hiddenPath(const std::filesystem::path& path);

    void write(std::span<const std::byte> bytes);
    /// Returns when file and folder are on the disk. Throws std::errc::file_exists if somebody else put a file there
    /// in the meantime; that file stays as it is.
    void publish();

private:
    void discard() noexcept;

    std::filesystem::path path_;
    std::filesystem::path hidden_; ///< empty when there is none to remove
    int file_ = -1;
};

} // namespace platform
