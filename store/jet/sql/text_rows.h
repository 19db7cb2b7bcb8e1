#pragma once

#include "store/jet/table/change_log.h"
#include "store/jet/table/table.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace jet {

/// Which rows of a table may hold a text in one column, for every text there is: who asks for one name after the other
/// need not read the table for each. It is learned part by part, by whoever has a moment for that, and follows the
/// table's change log from then on; until it is learned, and when that log has been left behind, it knows nothing.
///
/// Some 12 bytes for each row.
class TextRows {
public:
    explicit TextRows(std::size_t column) : column_(column) {}

    /// Learns one more part, some milliseconds of work; true when nothing is left to learn. Does nothing while there
    /// are uncommitted changes. Throws damaged, and for a column that holds no texts.
    bool learn(const Table& table);

    /// True when rows() can answer.
    bool knows(const Table& table) const;
    /// In storage order, each once: every row that holds that text now, and some that do not.
    std::vector<RowId> rows(const Table& table, std::u16string_view text);

private:
    static constexpr std::uint32_t none = 0;
    /// A row of a chain. Those that hold the same text are in one chain, with others.
    struct Link {
        RowId row;
        std::uint32_t next; ///< place in links_, from 1 on
    };

    void begin(const Table& table);
    void follow(const Table& table);
    void add(RowId row, std::u16string_view text);
    std::uint32_t& chain(std::u16string_view text);

    std::size_t column_;
    ChangeLog::Position seen_ = 0;
    PageList pages_;       ///< while it is learned: the pages to be read
    std::size_t read_ = 0; ///< of them
    bool learned_ = false;
    std::vector<std::uint32_t> chains_; ///< where each begins; a power of two of them
    std::vector<Link> links_;
    std::u16string buffer_;
};

} // namespace jet
