#pragma once

#include "store/jet/format/doors.h"

#include <filesystem>
#include <memory>
#include <optional>

namespace jet {

/// The user who has that database open by the lock file beside it (format/session_layout.h), the first of them; his
/// names may be empty. A lock file that nobody holds is left over from a crash and says nothing.
std::optional<files::Person> personAtWork(Disk& disk, const std::filesystem::path& database);

/// Our own place in the lock file, for as long as this lives. Private to the Pager.
///
/// There is one writer, so all places are held, and a program that goes by this file finds none. Where the file cannot
/// be made the writer goes without it: the engine's own locks hold all the same.
class Session {
public:
    /// Throws inUse with the names of a user who is there.
    Session(Disk& disk, const std::filesystem::path& database);
    ~Session(); ///< removes the file
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

private:
    Disk& disk_;
    std::filesystem::path path_;
    std::unique_ptr<File> file_;
};

} // namespace jet
