#pragma once

#include "files/disk.h"
#include "weights/weight_line.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace weights {

/// The file of the running season.
extern const std::filesystem::path currentName;

/// The last line of the book that holds.
struct Head {
    std::uint64_t number = 0; ///< 0: there is none
    std::string seal = noSeal;
    double moment = 0;
};

/// The files of the book in a program's folder, oldest first: Tartim-2024-2025.jsonl ... Tartim.jsonl.
std::vector<std::filesystem::path> bookFiles(files::Disk& disk, const std::filesystem::path& folder);

/// A line as it stands in a file of the book.
struct PlacedLine {
    std::filesystem::path file;
    std::size_t row = 0; ///< of that file, from 1
    std::string text;
    std::optional<Line> line; ///< nothing where it does not hold
    bool isCutOff = false;    ///< it has no line end
};

/// Every line of the book, oldest first. Throws files::Error.
std::vector<PlacedLine> allLines(files::Disk& disk, const std::filesystem::path& folder);

/// Where a line begins: behind which byte of the season's file, and behind which line.
struct Place {
    std::uint64_t offset = 0;
    std::string seal; ///< of the line before; empty where that is not known
};

/// What place() found.
struct NextLine {
    Place place;
    Head head; ///< the line before
    /// What stood behind the last line end and was taken out; as a rule an announcement that the power cut in two, of
    /// something that did not happen.
    std::string cutOff;
};

/// What write() found.
struct WrittenLine {
    Head head; ///< the end of the book now
    /// The book is not the one of the place: somebody has put another one there, or taken it away. Nothing of what
    /// stands there was touched; the line follows behind it.
    bool isAnotherBook = false;
    std::string replaced; ///< what stood in the line's place and was no part of it
};

/// The book as the counter writes it. Every call may throw files::Error.
///
/// What holds: a fact whose write() returned stands in the book exactly once and survives a power cut. Whoever notes
/// the fact and its place on the disk first may call write() with them as often as stops and restarts want it, also
/// when the season's file has changed meanwhile: the book then holds the fact once, and a line that the power cut in
/// two is whole again. Nothing is lost that somebody else has written: it stays, or is handed out.
class WeightBook {
public:
    /// `folder` is the program's.
    WeightBook(files::Disk& disk, std::filesystem::path folder);

    /// The end of the book as it is now.
    Head head();
    /// Whether a line with that seal stands in the book.
    bool holds(const std::string& seal);
    /// Where the next line will begin, for a fact of that moment; the file of a season that is over gets a name of its
    /// own, and a whole last line its line end where that is missing. Throws also where the book could not be written.
    NextLine place(double moment);
    /// Writes the fact behind the others, unless it stands at its place or behind it already.
    WrittenLine write(const Fact& fact, const Place& place);

    files::Disk& disk() const { return disk_; }
    const std::filesystem::path& folder() const { return folder_; }

private:
    void mendEnd(files::File& file, std::string& cutOff);
    void beginSeason(const Head& head, double moment);
    Head headOf(files::File& file, std::uint64_t end) const;
    Head headOfEarlierSeasons();
    Head headBefore(files::File& file, std::uint64_t end);
    bool isPlace(files::File& file, const Place& place);

    files::Disk& disk_;
    std::filesystem::path folder_;
    std::filesystem::path current_;
};

} // namespace weights
