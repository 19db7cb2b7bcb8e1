#pragma once

#include "store/jet/table/change_log.h"
#include "store/jet/table/table.h"

#include <string>
#include <string_view>
#include <vector>

namespace jet {

/// Remembers, for texts that are asked for again and again, which rows of a table hold exactly that text in one
/// column: the totals row of the journal is looked for at every report. The first question reads the table, later ones
/// follow its change log. The texts asked for longest ago are forgotten.
class EqualRows {
public:
    explicit EqualRows(std::size_t column) : column_(column) {}

    /// True when rows() can answer without reading the table.
    bool knows(const Table& table, std::u16string_view text) const;
    /// In storage order.
    std::vector<RowId> rows(const Table& table, std::u16string_view text);

private:
    struct Known {
        std::u16string text;
        std::vector<RowId> rows;
        ChangeLog::Position seen = 0;
    };
    static constexpr std::size_t most = 16;

    void follow(const Table& table, Known& known) const;
    void read(const Table& table, Known& known) const;

    std::size_t column_;
    std::vector<Known> known_; ///< the one asked for last stands last
};

} // namespace jet
