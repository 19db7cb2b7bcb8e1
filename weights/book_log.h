#pragma once

#include "files/disk.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// What presva.log, in the program's folder, tells of the book: the digest of its last line, now and then. Whoever
/// writes the book anew must know of every one of them.
namespace weights {

/// What the log says of the book's end at some moment.
struct LoggedHead {
    std::string moment; ///< as it stands in the log
    std::uint64_t number = 0;
    std::string seal;
};

/// Besides the first line, and the end at every start and end of the program and on every day, the log hears of each
/// line whose number is divisible by this.
constexpr std::uint64_t linesToALoggedHead = 10;
/// More lines than these never stand between two heads of the log, power cuts included: a start tells the end.
constexpr std::uint64_t linesUnseenAtMost = 2 * linesToALoggedHead;

/// The line about the book's end, without its moment, and all such lines of a log.
std::string logLine(std::uint64_t number, const std::string& seal);
std::vector<LoggedHead> loggedHeads(std::string_view log);

/// The heads in that file; none where there is no such file. Throws files::Error.
std::vector<LoggedHead> loggedHeads(files::Disk& disk, const std::filesystem::path& log);
/// Where the program keeps its log.
std::filesystem::path logIn(const std::filesystem::path& folder);

enum class Keeping {
    untilThePowerGoes, ///< costs nothing
    synced,            ///< returns when the line would survive a power cut
};
/// Writes a line with that moment into presva.log. Throws files::Error.
void tellLog(files::Disk& disk, const std::filesystem::path& folder, double moment, const std::string& text,
             Keeping keeping);

} // namespace weights
