#pragma once

#include "files/disk.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace live {

/// Seconds since 1970, or since the machine was started.
using Clock = std::function<std::int64_t()>;

/// Who may look: whoever takes the invitation of the moment, once, and from then on the telephone that took it.
///
/// A file keeps the telephones: of each the digest of its key, never the key, and until when it counts. Several threads
/// may ask at once.
class Access {
public:
    static constexpr std::chrono::hours telephoneCounts{90 * 24}; ///< about a season

    /// Reads the telephones of earlier days; a line that makes no sense is nobody's. Throws files::Error.
    /// Telephones count by `clock`, which outlives the program; invitations by `running`, which nobody can put forward
    /// or back, and by `clock` too where there is no other.
    Access(files::Disk& disk, std::filesystem::path telephones, std::chrono::seconds invitationCounts, Clock clock,
           Clock running = {});

    /// What can be taken now: another one whenever the last was taken or has become too old.
    std::string invitation();
    /// A key for whoever brings the invitation of the moment, which nobody can take again. Throws files::Error where
    /// the telephone cannot be remembered; then the invitation is not taken.
    std::optional<std::string> take(std::string_view invitation);
    bool knows(std::string_view key);
    /// Why a telephone could not be remembered, told once; nothing where none was refused since.
    std::optional<std::string> trouble();

private:
    void renew();
    void write(const std::map<std::string, std::int64_t>& telephones);

    files::Disk& disk_;
    const std::filesystem::path file_;
    const std::chrono::seconds invitationCounts_;
    const Clock clock_, running_;
    std::mutex mutex_;
    std::string invitation_;
    std::int64_t invitationEnds_ = 0; ///< by running_
    std::optional<std::string> trouble_;
    std::map<std::string, std::int64_t> telephones_; ///< digest of the key: until when it counts
};

} // namespace live
