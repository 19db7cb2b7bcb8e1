#pragma once

#include "store/jet/format/format.h"
#include "store/jet/pages/pager.h"
#include "store/jet/pages/usage_map.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace jet {

using Key = std::vector<std::uint8_t>;
class IndexPage;
struct IndexPageImage;

/// One index on disk: a tree of pages under a root that never moves. Entries are key bytes with the row id of the
/// row's head, strictly increasing by unsigned comparison of the key bytes, then of the row id.
///
/// Invariants of a tree that is true:
///  1. The entries of a page ascend, and are less than those of the next page of the level.
///  2. A node's entry is not less than the last entry of that child's subtree: we write that entry, other writers may
///     leave a larger one. The last of several children has none.
///  3. All leaves are equally deep. A page's level is its height above them; other writers leave that of a node at 0.
///  4. Leaves are linked from left to right and back across the whole tree.
///  5. A page's number of free bytes is that of its entries, stored without the prefix that all of them share.
///  6. The owned map has the bit of every page of the tree.
/// A change to a tree that was verified is followed by assertPath() along the way from the root to it, a rebuilding by
/// the whole check().
///
/// Every call throws damaged where pages contradict that so much that it cannot go on; none of them loops or reads
/// outside a page on a damaged tree. A change that throws leaves half a change behind: it runs in a transaction.
class IndexTree {
public:
    /// Whether check() has found the tree true since the file was opened: only then is a contradiction our own bug.
    enum class Trust { none, verified };

    IndexTree(Pager& pager, PageNo root, PageNo tableDefinition, MapRef ownedPages, Trust trust = Trust::none);

    /// True when an entry with exactly these key bytes exists whose row id is not `except`.
    bool hasKey(std::span<const std::uint8_t> key, RowId except) const;
    /// Visits entries from the first one >= `from` (empty: the first of all) until `visit` returns false.
    /// The tree must not change meanwhile; `key` is valid during the call.
    void walk(std::span<const std::uint8_t> from,
              const std::function<bool(std::span<const std::uint8_t> key, RowId row)>& visit) const;
    /// In a transaction. Returns true when no neighbour had the same key bytes (the distinct counter goes up).
    /// Throws damaged when the very entry is there already.
    bool insert(std::span<const std::uint8_t> key, RowId row);
    /// In a transaction. False when there is no such entry.
    bool erase(std::span<const std::uint8_t> key, RowId row);
    /// In a transaction. Replaces the whole tree by these entries (sorted by the caller, none twice). Returns the
    /// number of distinct keys. Works on a damaged tree too; then its old pages are lost to the file.
    std::uint32_t rebuild(const std::vector<std::pair<Key, RowId>>& sorted);

    /// Looks at the tree's own shape: depth, links, order, node entries against children, free fields, owned map.
    /// Appends one Turkish sentence each to `faults` and, for what does no harm (pages in the map that are not in the
    /// tree, empty leaves), to `warnings`; `pages` receives every page of the tree that could be reached.
    /// `leafEntry` hears every entry of the leaves; what it heard is worth nothing where a fault was found.
    void check(std::vector<std::string>& faults, std::vector<std::string>& warnings, std::vector<PageNo>& pages,
               const std::function<void(std::span<const std::uint8_t> key, RowId row)>& leafEntry = {}) const;

private:
    struct Path;
    struct Branch;
    PageNo descend(std::span<const std::uint8_t> entry, Path& path) const;
    std::set<PageNo> reachablePages() const;
    void clear();
    void readLeaf(PageNo page, std::optional<IndexPage>& into) const;
    bool differsFromNeighbours(const IndexPage& leaf, std::size_t place, std::span<const std::uint8_t> key) const;
    std::vector<Branch> store(PageNo page, IndexPageImage& image, bool growing);
    std::vector<Branch> split(PageNo page, IndexPageImage& image, bool growing);
    void updateParents(const Path& path, std::size_t depth, std::vector<Branch> before, Key newLast, bool growing);
    void removeLeaf(const Path& path, PageNo leaf);
    Key lastEntryUnder(PageNo page) const;
    PageNo takePage();
    void dropPage(PageNo page);
    void setNext(PageNo page, PageNo next);
    void setPrevious(PageNo page, PageNo previous);
    void link(PageNo left, PageNo right);
    bool isNode(PageNo page) const;
    void assertPath(std::span<const std::uint8_t> entry) const;
    void assertPage(PageNo page, std::size_t height) const;
    void assertNeighbours(PageNo leaf) const;
    void assertWhole() const;

    Pager& pager_;
    PageNo root_;
    PageNo tableDefinition_;
    MapRef owned_;
    Trust trust_;
};

/// Makes an empty leaf of `page` (zeroed, owned by the table at `tableDefinition`).
void initIndexLeaf(PageBytes page, PageNo tableDefinition);

} // namespace jet
