#pragma once

#include "files/disk.h"
#include "store/postgres/carry.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace tools {

/// Keeps the server's copy of a mill's file up to date for as long as the program runs. How things stand is one line on
/// standard output whenever it changes, fit for a status line; why something failed goes to standard error, once.
class ServerFollower {
public:
    ServerFollower(files::Disk& disk, postgres::ServerSettings settings, std::filesystem::path file,
                   postgres::ToServer options);
    /// Looks whether the file has changed, carries it if so, and waits that long; again and again.
    [[noreturn]] void run(std::chrono::seconds pause);

private:
    void look();
    void tell(const std::string& state);
    std::string waiting();
    std::uint64_t carriedBefore() const;
    void rememberCarried(std::uint64_t pressings) const;

    files::Disk& disk_;
    postgres::ServerSettings settings_;
    std::filesystem::path file_;
    std::filesystem::path memory_; ///< a file: how many pressings were carried last
    postgres::ToServer options_;
    std::optional<files::FileStamp> carried_; ///< the file as the server has it
    std::optional<files::FileStamp> counted_; ///< the file as `waiting_` says of it
    std::string waiting_;
    std::string told_;
    std::string why_;
};

} // namespace tools
