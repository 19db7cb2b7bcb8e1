#pragma once

#include "weights/weight_book.h"

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace weights {

/// Who pressed and when. Two pressings may share it.
struct JournalKey {
    std::int64_t milliseconds = 0;
    std::string customer;
    auto operator<=>(const JournalKey&) const = default;
};
JournalKey keyOf(double moment, std::string customer);

/// Rows of the journal that are older than the book: before its first pressing, and without a line of their own.
std::uint64_t olderThanTheBook(const std::vector<PlacedLine>& lines, const std::vector<JournalKey>& rows);

/// What the book says of itself from its first line to its last: which pressings must have their row in the journal,
/// and what took the others away. A line that stands in it twice counts once, one that does not hold not at all.
class BookHistory {
public:
    /// `everyStep`: lineOf() will be asked, which looks at the book behind each of its lines.
    explicit BookHistory(const std::vector<PlacedLine>& lines, bool everyStep = false);

    struct Entry {
        const Line* line = nullptr;
        std::optional<std::size_t> takenBy; ///< the entry, a deletion or a restored copy, that took its row away
    };
    const std::vector<Entry>& entries() const { return entries_; }
    /// The entries that took a pressing away of which the journal had already lost some, and how many it had lost.
    const std::map<std::size_t, std::uint64_t>& lostBefore() const { return lostBefore_; }

    /// The line behind which the journal was most like one that holds just these pressings; 0: before the first.
    std::uint64_t lineOf(const std::vector<JournalKey>& rows) const;

private:
    /// By entry, of those so far: one more than the entry that took its row away; 0: it has its row.
    using Taken = std::vector<std::uint32_t>;
    void take(std::size_t at, const Deletion& deletion, Taken& taken);
    void take(std::size_t at, const Restore& restore, Taken& taken);

    std::vector<Entry> entries_;
    bool everyStep_;
    std::map<std::size_t, Taken> after_; ///< each entry that took something away; only where it will be asked for
    std::map<std::size_t, std::uint64_t> lostBefore_;
    std::uint64_t before_ = 0; ///< pressings older than the book, by what was said last
};

/// The pressing of an entry, where it is one.
const Pressing* pressingOf(const BookHistory::Entry& entry);
/// Whether a deletion is meant for that customer's pressings.
bool concerns(const Deletion& deletion, const std::string& customer);

} // namespace weights
