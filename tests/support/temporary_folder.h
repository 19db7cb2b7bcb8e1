#pragma once

#include <filesystem>

/// An empty folder of the test's own, in the system's place for such. It goes with the object, with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder(); ///< throws std::system_error where none can be made
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};
