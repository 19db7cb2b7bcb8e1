#pragma once

#include "weights/book_log.h"
#include "weights/weight_book.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace jet {
class Table;
}

namespace weights {

/// The first thing that is wrong with the chain.
struct ChainFault {
    enum class Kind {
        altered,    ///< the line is not the one that was written
        removed,    ///< a line is missing
        doubled,    ///< the line stands in the book already
        putBetween, ///< the lines around it belong together
        cutOff,     ///< the last line has no end
        rewritten,  ///< somewhere in these lines: the book holds together, and is not the one that presva.log saw
    };
    Kind kind{};
    std::uint64_t first = 0, last = 0; ///< numbers of the lines; the same unless rewritten or several are missing
    std::filesystem::path file;        ///< where the line stands; for a missing one, where it should
    std::size_t row = 0;
};

/// Walks the chain from the first line to the last.
std::optional<ChainFault> firstFault(const std::vector<PlacedLine>& lines);

/// Compares the ends that the log saw with the lines of the book.
std::optional<ChainFault> firstFault(const std::vector<PlacedLine>& lines, const std::vector<LoggedHead>& heads);

/// The fault in a sentence.
std::string sentence(const ChainFault& fault);

/// Sentences about what was found.
struct Findings {
    std::vector<std::string> faults;
    std::vector<std::string> remarks; ///< what somebody should know who looks after the mill; nothing is wrong with it
};

/// Whose pressings a journal has: those of the counter that keeps the book, or those of others as well, who have their
/// own books and delete, too. Then a pressing without a line and a line without its pressing are counted only.
enum class Journal { own, shared };

/// Compares every pressing of the journal with its line: a fault for each that differs, that has no line, or whose row
/// is gone though the program has neither deleted it nor put a copy without it in the database's place. Where there are
/// heads, the log must have seen those lines that say so.
Findings differences(const std::vector<PlacedLine>& lines, const std::vector<LoggedHead>& heads,
                     const jet::Table& journal, Journal whose = Journal::own);

/// Everything that can be found: chain, log and journal.
Findings verify(const std::vector<PlacedLine>& lines, const std::vector<LoggedHead>& heads, const jet::Table& journal,
                Journal whose = Journal::own);

/// From this day on every pressing that the program stores has its line.
constexpr int bookSince[] = {2026, 11, 23};

/// What a copy that is about to take the place of the database says of the book; nothing for a book without pressings.
std::optional<Restore> restoreOf(const std::vector<PlacedLine>& lines, const jet::Table& journalOfTheCopy,
                                 double moment, std::string copy);

} // namespace weights
