#pragma once

#include "store/jet/format/format.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace query {

/// The rows of a table by their values in a column, some 24 bytes each. A value is its hash here: whoever gets rows
/// looks whether they are those that he wants.
class RowsByKey {
public:
    static std::uint64_t hashOf(std::string_view bytes);

    void add(std::uint64_t hash, jet::RowId row) { added_.emplace_back(hash, row); }
    /// Behind the last add().
    void close();
    /// Those of that hash, in the order in which they were added. After close(); valid as long as this lives.
    std::span<const jet::RowId> rowsOf(std::uint64_t hash) const;

private:
    struct Place {
        std::uint64_t hash = 0;
        std::uint32_t begin = 0;
        std::uint32_t end = 0; ///< 0: nothing stands here
    };
    std::vector<std::pair<std::uint64_t, jet::RowId>> added_;
    std::vector<jet::RowId> rows_; ///< those of one hash side by side
    std::vector<Place> places_;    ///< a power of two of them; the first one is found by the hash
};

} // namespace query
