#pragma once

#include "store/jet/table/change_log.h"
#include "store/jet/table/table.h"
#include "store/jet/values/like_pattern.h"

#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace jet {

/// The rows of a table in the order of one text column, kept in memory: what makes the search by first letters take
/// no longer than its result is. Built when first asked, afterwards it follows the table's change log; a saved row
/// costs a few moves, not a new reading. Null stands first, equal texts stand in row order.
///
/// Building takes as long as many searches together. Whoever cannot wait for it has it built in parts with prepare();
/// its first part learns the texts. As long as it goes on, a search puts only the texts that it finds in order.
///
/// About 100 bytes for each row. Not to be asked while Table::hasUncommittedChanges(): they may be taken back.
class TextOrder {
public:
    explicit TextOrder(std::size_t column) : column_(column) {}

    /// Does a part of the building: reads all texts, or gives at most that many rows their keys, or merges four times
    /// as many. True when nothing is left of it. Does nothing while there are uncommitted changes.
    bool prepare(const Table& table, std::size_t rows);

    std::vector<RowId> rows(const Table& table);
    /// The rows whose text matches, in order.
    std::vector<RowId> rows(const Table& table, const LikePattern& pattern);

private:
    static constexpr std::uint32_t null = std::numeric_limits<std::uint32_t>::max();
    /// Key and folded text lie in the two stores. The first bytes of the key stand in `head`: they decide most
    /// comparisons without a look into the store.
    struct Entry {
        std::array<std::uint64_t, 2> head{};
        RowId row{};
        std::uint32_t keyAt = 0;
        std::uint32_t keyLength = 0;
        std::uint32_t textAt = null;
        std::uint32_t textLength = 0;
    };

    void follow(const Table& table);
    void build(const Table& table);
    void clear();
    void sortRun(std::size_t rows);
    void mergeRuns(std::size_t rows);
    std::vector<RowId> search(const Table& table, const LikePattern& pattern);
    std::vector<RowId> searchTable(const Table& table, const LikePattern& pattern) const;
    bool foldedText(const RowView& view);
    void learnTexts(const Table& table);
    static std::vector<RowId> rowsOf(const std::vector<Entry>& entries);
    Entry entry(RowId row, const RowView& view);
    Entry entryOfText(RowId row);
    Entry textOf(RowId row);
    void giveKey(Entry& entry);
    bool before(const Entry& left, const Entry& right) const;
    auto placed(std::size_t place) { return entries_.begin() + static_cast<std::ptrdiff_t>(place); }
    auto inOrder() const { return std::bind_front(&TextOrder::before, this); }
    std::u16string_view folded(const Entry& entry) const;

    std::size_t column_;
    bool built_ = false;
    ChangeLog::Position seen_ = 0;
    std::vector<Entry> entries_;
    std::vector<std::uint8_t> keys_;
    std::u16string texts_;
    std::size_t wasted_ = 0; ///< entries whose bytes still lie in the stores
    std::u16string buffer_;  ///< the text that was folded last

    /// Entries in order that are not merged yet.
    struct Run {
        std::size_t next = 0;
        std::size_t end = 0;
    };
    // While it is being prepared: how many of the entries have their key and lie in runs, and those merged already.
    bool preparing_ = false;
    std::size_t keyed_ = 0;
    std::vector<Run> runs_;
    std::vector<Entry> merged_;
};

} // namespace jet
