#pragma once

#include "files/disk.h"

#include <filesystem>
#include <memory>

namespace live {

/// The folder of what is kept for telephones: its owner's alone, and used by one program at a time, so that none writes
/// over what another one knows.
class OwnFolder {
public:
    /// Makes it where there is none. Throws files::Error: inUse, with a sentence that says what to do, where another
    /// program uses it, and what making it throws.
    OwnFolder(files::Disk& disk, std::filesystem::path path);

    const std::filesystem::path& path() const { return path_; }

    /// Makes it anew where somebody has removed it meanwhile; true when it did. Throws as the constructor.
    bool restore();

private:
    void take();

    files::Disk& disk_;
    const std::filesystem::path path_;
    std::unique_ptr<files::File> mark_; ///< held as long as the program runs, however it ends
};

} // namespace live
