#pragma once

#include "files/disk.h"
#include "files/error.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace files {

/// The name "<to>.part" for a file in the making, and the step that gives it its own: whoever sees `to` sees it whole.
/// Leaving without publish() removes what was made. A file that is there already is replaced only where that was said.
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
    /// Runs what makes the file. Whoever asked for it knows the name in the making from nowhere: a failure that names
    /// it is told with the one that was asked for.
    template <class Action> void make(Action&& action) const
    {
        try {
            action();
        } catch (const Error& failure) {
            throw Error(failure.fault(), withItsName(failure.what()));
        }
    }
    /// Makes the file of a content that is at hand as a whole. Throws disk.
    void write(std::string_view content) const;
    /// The content must be synced and the file closed. Returns when the name would survive a power cut.
    /// Where a file is replaced, either of the two bears the name at every moment; else throws exists when somebody
    /// made one of that name meanwhile. Throws disk.
    void publish();
    /// The same over a file that we have for ourselves alone. Throws inUse, too.
    void publish(LoneFile& over);

private:
    enum class Target { absent, any };
    PartFile(Disk& disk, std::filesystem::path to, std::filesystem::path part, Target target);

    std::string withItsName(std::string sentence) const;
    void refuseToReplace(); ///< where there must be no file of the name
    void removePart();      ///< with the journal of its changes

    Disk& disk_;
    std::filesystem::path to_;
    std::filesystem::path part_;
    Target target_;
    bool published_ = false;
};

} // namespace files
