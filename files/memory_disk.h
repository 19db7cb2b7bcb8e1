#pragma once

#include "files/disk.h"

#include <filesystem>
#include <map>
#include <memory>
#include <vector>

namespace files {

/// A file system in memory, without folders. New databases are built on it, so that the real disk sees them whole.
/// Files opened from it live as long as somebody holds them, whatever becomes of their names.
class MemoryDisk : public Disk {
public:
    using Content = std::vector<std::uint8_t>;

    std::unique_ptr<File> open(const std::filesystem::path& path, Access access) override;
    bool exists(const std::filesystem::path& path) override { return files_.contains(path); }
    void remove(const std::filesystem::path& path) override { files_.erase(path); }
    void rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
    void syncFolder(const std::filesystem::path& /*folder*/) override {}
    void makeFolder(const std::filesystem::path& /*folder*/) override {}
    std::vector<std::filesystem::path> names(const std::filesystem::path& folder) override;
    std::unique_ptr<File> scratch() override;

    /// The bytes of a file, made empty where there is none.
    Content& content(const std::filesystem::path& path);

private:
    std::map<std::filesystem::path, std::shared_ptr<Content>> files_;
};

} // namespace files
