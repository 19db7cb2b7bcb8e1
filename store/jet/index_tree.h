#pragma once

#include "store/jet/format.h"
#include "store/jet/pager.h"
#include "store/jet/usage_map.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace jet {

using Key = std::vector<std::uint8_t>;

/// One index on disk: a tree of pages under a root that never moves. Entries are key bytes with the row id of the
/// row's head, strictly increasing by unsigned byte comparison of both.
class IndexTree {
public:
    IndexTree(Pager& pager, PageNo root, PageNo tableDefinition, MapRef ownedPages);

    /// True when an entry with exactly these key bytes exists whose row id is not `except`.
    bool hasKey(std::span<const std::uint8_t> key, RowId except) const;
    /// Visits entries from the first one >= `from` (empty: the first of all) until `visit` returns false.
    void walk(std::span<const std::uint8_t> from,
              const std::function<bool(std::span<const std::uint8_t> key, RowId row)>& visit) const;
    /// In a transaction. Returns true when no neighbour had the same key bytes (the distinct counter goes up).
    bool insert(std::span<const std::uint8_t> key, RowId row);
    /// In a transaction. False when there is no such entry.
    bool erase(std::span<const std::uint8_t> key, RowId row);
    /// Replaces the whole tree by these entries (sorted by the caller). Returns the number of distinct keys.
    std::uint32_t rebuild(const std::vector<std::pair<Key, RowId>>& sorted);

    /// Faults of the tree's own shape: depth, links, order, node entries against children, free fields, owned map.
    /// Appends one sentence each to `faults`; `pages` receives every page of the tree.
    void check(std::vector<std::string>& faults, std::vector<PageNo>& pages) const;

private:
    Pager& pager_;
    PageNo root_;
    PageNo tableDefinition_;
    MapRef owned_;
};

/// Makes an empty leaf of `page` (zeroed, owned by the table at `tableDefinition`).
void initIndexLeaf(PageBytes page, PageNo tableDefinition);

} // namespace jet
