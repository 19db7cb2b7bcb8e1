#pragma once

#include "files/disk.h"
#include "weights/weight_line.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace weights {

/// The last line of the book that holds.
struct Head {
    std::uint64_t number = 0; ///< 0: there is none
    std::string seal = noSeal;
    double moment = 0;
};

/// The files of the book in a program's folder, oldest first: Tartim-2024-2025.jsonl ... Tartim.jsonl.
std::vector<std::filesystem::path> bookFiles(files::Disk& disk, const std::filesystem::path& folder);

/// The year in which the olive season of that moment began. One runs from the first of July, when no mill presses.
int seasonOf(double moment);

/// The book as the counter writes it. Every call may throw files::Error.
///
/// What holds: a fact whose write() returned stands in the book exactly once and survives a power cut. Whoever notes
/// the fact and place() on the disk first may call write() with them as often as stops and restarts want it: the book
/// then holds the fact once, and a line that the power cut in two is whole again.
class WeightBook {
public:
    /// `folder` is the program's.
    WeightBook(files::Disk& disk, std::filesystem::path folder);

    /// The end of the book as it is now.
    Head head();
    /// Where the next line will begin, for a fact of that moment; the file of a season that is over gets a name of its
    /// own. Throws also where the book could not be written. What stands behind the last line end is taken out and
    /// handed to `cutOff`: an announced deletion that the power cut in two; it did not happen.
    std::uint64_t place(double moment, std::string& cutOff);
    /// Writes the fact behind the others, unless it stands at `place` or behind it already.
    void write(const Fact& fact, std::uint64_t place);

private:
    void beginSeason(double moment);
    Head headOf(files::File& file, std::uint64_t end) const;
    Head headOfEarlierSeasons();

    files::Disk& disk_;
    std::filesystem::path folder_;
    std::filesystem::path current_;
};

} // namespace weights
