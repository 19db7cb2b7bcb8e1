#pragma once

#include "store/jet/table/change_log.h"
#include "store/jet/table/table.h"
#include "store/jet/values/like_pattern.h"

#include <array>
#include <cstdint>
#include <future>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace jet {

/// The rows of a table in the order of one text column, kept in memory: what makes the search by first letters take
/// no longer than its result is. Built when first asked, afterwards it follows the table's change log; a saved row
/// costs a few moves, not a new reading. Null stands first, equal texts stand in row order.
///
/// Building takes as long as many searches together. Whoever cannot wait for it begins it with prepare(): that learns
/// the texts, and another thread, which has nothing but these, puts them in order. As long as it goes on, a search puts
/// only the texts that it finds in order.
///
/// About 100 bytes for each row. Not to be asked while Table::hasUncommittedChanges(): they may be taken back.
class TextOrder {
public:
    explicit TextOrder(std::size_t column) : column_(column) {}
    TextOrder(const TextOrder&) = delete; // the other thread knows where it is
    TextOrder& operator=(const TextOrder&) = delete;

    /// Begins to build, or sees whether that has come to its end: then it is true. Does nothing while there are
    /// uncommitted changes.
    bool prepare(const Table& table);

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

    /// Entries with their keys.
    struct Keyed {
        std::vector<Entry> entries;
        std::vector<std::uint8_t> keys;
    };
    /// Orders the entries of one store of keys.
    struct Before {
        const std::vector<std::uint8_t>& keys;
        bool operator()(const Entry& left, const Entry& right) const;
    };

    void follow(const Table& table);
    void build(const Table& table);
    void learnTexts(const Table& table);
    void take(Keyed order);
    std::vector<RowId> search(const Table& table, const LikePattern& pattern) const;
    std::vector<RowId> searchTable(const Table& table, const LikePattern& pattern) const;
    bool foldedText(const RowView& view);
    static std::vector<RowId> rowsOf(const std::vector<Entry>& entries);
    Entry entry(RowId row, const RowView& view);
    Entry textOf(RowId row);
    static void giveKey(Entry& entry, std::vector<std::uint8_t>& keys, std::u16string_view texts);
    static Keyed inOrder(std::vector<Entry> entries, std::u16string_view texts);
    static std::u16string_view folded(const Entry& entry, std::u16string_view texts)
    {
        return texts.substr(entry.textAt, entry.textLength);
    }

    std::size_t column_;
    bool built_ = false;
    ChangeLog::Position seen_ = 0;
    std::vector<Entry> entries_;
    std::vector<std::uint8_t> keys_;
    std::u16string texts_;
    std::size_t wasted_ = 0; ///< entries whose bytes still lie in the stores
    std::u16string buffer_;  ///< the text that was folded last

    /// Valid from prepare() on until what the other thread has made is taken. Meanwhile that one reads entries_ and
    /// texts_, which stay as they are. The last member, so that its end is waited for first.
    std::future<Keyed> building_;
};

} // namespace jet
