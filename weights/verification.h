#pragma once

#include "files/disk.h"
#include "weights/weight_line.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace jet {
class Table;
}

namespace weights {

/// A line as it stands in a file of the book.
struct PlacedLine {
    std::filesystem::path file;
    std::size_t row = 0; ///< of that file, from 1
    std::string text;
    std::optional<Line> line; ///< nothing where it does not hold
};

/// Every line of the book, oldest first. Throws files::Error.
std::vector<PlacedLine> allLines(files::Disk& disk, const std::filesystem::path& folder);

/// The first thing that is wrong with the chain.
struct ChainFault {
    enum class Kind {
        altered,    ///< the line is not the one that was written
        removed,    ///< a line is missing
        doubled,    ///< the line stands in the book already
        putBetween, ///< the lines around it belong together
        rewritten,  ///< somewhere in these lines: the book holds together, and is not the one that presva.log saw
    };
    Kind kind{};
    std::uint64_t first = 0, last = 0; ///< numbers of the lines; the same unless rewritten or several are missing
    std::filesystem::path file;        ///< where the line stands; for a missing one, where it should
    std::size_t row = 0;
};

/// Walks the chain from the first line to the last.
std::optional<ChainFault> firstFault(const std::vector<PlacedLine>& lines);

/// What the log says of the book's end on a day.
struct LoggedHead {
    std::string moment; ///< as it stands in the log
    std::uint64_t number = 0;
    std::string seal;
};

/// The line that presva.log gets about the book's end, without its moment, and all such lines of a log.
std::string logLine(std::uint64_t number, const std::string& seal);
std::vector<LoggedHead> loggedHeads(std::string_view log);

/// Compares the ends that the log saw with the lines of the book.
std::optional<ChainFault> firstFault(const std::vector<PlacedLine>& lines, const std::vector<LoggedHead>& heads);

/// Compares every pressing of the journal with its line: a sentence for each that differs, that has no line, or whose
/// row is gone though the program has not deleted it.
std::vector<std::string> differences(const std::vector<PlacedLine>& lines, const jet::Table& journal);

/// The fault in a sentence.
std::string sentence(const ChainFault& fault);

} // namespace weights
