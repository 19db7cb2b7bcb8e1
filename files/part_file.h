#pragma once

#include "files/disk.h"

#include <filesystem>

namespace files {

/// The name "<to>.part" for a file in the making, and the step that gives it its own: whoever sees `to` sees it whole.
/// Leaving without publish() or replace() removes what was made. A file that is there already is replaced by nothing
/// but replace().
class PartFile {
public:
    /// Throws exists. What a power cut left of an earlier attempt is removed.
    PartFile(Disk& disk, const std::filesystem::path& to);
    /// The same under another name than "<to>.part", in the same folder.
    PartFile(Disk& disk, std::filesystem::path to, std::filesystem::path part);
    ~PartFile();
    /// For a file that may be there already and is to be replaced.
    static PartFile replacing(Disk& disk, const std::filesystem::path& to);
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    const std::filesystem::path& path() const { return part_; }
    /// The content must be synced and the file closed. Returns when the name would survive a power cut.
    /// Throws exists when somebody made a file of that name meanwhile, disk.
    void publish();
    /// The same for a file that takes the place of the one that is there: at every moment either of them bears the
    /// name.
    void replace();

private:
    enum class Target { absent, any };
    PartFile(Disk& disk, std::filesystem::path to, std::filesystem::path part, Target target);

    void refuseToReplace();
    void removePart(); ///< with the journal of its changes

    Disk& disk_;
    std::filesystem::path to_;
    std::filesystem::path part_;
    bool published_ = false;
};

} // namespace files
