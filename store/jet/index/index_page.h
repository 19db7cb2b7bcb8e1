#pragma once

#include "store/jet/format/index_layout.h"
#include "store/jet/index/index_tree.h"

#include <array>
#include <cstddef>
#include <span>
#include <vector>

/// Pages of an index tree (format/index_layout.h draws them). A node with several children keeps the last one in
/// `tail`, with no entry; its other entries are each the last entry of a child.
namespace jet {

using index_layout::childPageBytes;
using index_layout::rowIdBytes;
inline constexpr std::size_t indexArea = index_layout::area.size; ///< bytes for entries on a page
inline constexpr std::size_t maxIndexEntries = indexArea;         // one stored byte each, at the least

using Entry = std::span<const std::uint8_t>;

/// Key bytes and row id joined.
Key entryOf(std::span<const std::uint8_t> key, RowId row);
/// The order of entries: by key bytes, a key before all longer ones that begin with it, then by row id. Both are given
/// without a child page. No key is the beginning of another, except an empty Binary's: every key begins with it. So
/// keys are compared first and row ids after them, never the joined bytes.
int compareEntries(Entry a, Entry b);
RowId rowOf(Entry entry); ///< of a leaf entry, or of a node entry without its child page
/// A node's entry: the last entry under the child, and the child's page.
Key nodeEntryOf(Entry last, PageNo child);

/// A page of the tree, read where it lies. Made only of pages whose mask, prefix and lengths hold together, so nothing
/// read through it leaves the page. Valid until the page is changed.
class IndexPage {
public:
    /// Throws damaged: no index page, one of another table, or bytes that contradict each other.
    IndexPage(Pager& pager, PageNo page, PageNo tableDefinition)
        : IndexPage(pager, page, tableDefinition, pager.read(page))
    {
    }
    /// The same, looked at in passing: valid until the next look with that buffer.
    IndexPage(Pager& pager, PageNo page, PageNo tableDefinition, PageBuffer& buffer)
        : IndexPage(pager, page, tableDefinition, pager.look(page, buffer))
    {
    }

    bool isLeaf() const { return leaf_; }
    std::size_t count() const { return count_; }
    std::uint8_t level() const { return index_layout::level.get(page_); }
    PageNo previous() const { return index_layout::previous.get(page_); }
    PageNo next() const { return index_layout::next.get(page_); }
    PageNo tail() const { return index_layout::tail.get(page_); }
    /// On a page of one repeated key the shared prefix may reach into the row ids.
    bool prefixReachesRows() const { return prefixReachesRows_; }
    std::size_t usedBytes() const { return count_ == 0 ? 0 : ends_[count_ - 1]; }
    PageView bytes() const { return page_; }

    /// Key and row id of entry `i`, a node's child page left out.
    void copyEntry(std::size_t i, Key& into) const;
    bool entryIs(std::size_t i, Entry entry) const;
    bool ascends() const; ///< every entry is less than the next
    /// The first entry that is not less than `entry`; count() when there is none.
    std::size_t lowerBound(Entry entry) const;
    /// Children of a node from 0; number count() is the tail.
    PageNo child(std::size_t i) const;
    std::size_t children() const { return count_ + (tail() != 0 ? 1 : 0); }

    /// Inserts at place `i` of a leaf without a word to other entries. False when that needs another prefix or more
    /// room. Afterwards this object is out of date.
    bool insertInPlace(PageBytes page, std::size_t i, Entry entry) const;
    /// Removes from a leaf in the same way.
    bool eraseInPlace(PageBytes page, std::size_t i) const;

private:
    IndexPage(const Pager& pager, PageNo page, PageNo tableDefinition, PageView bytes);
    std::size_t begin(std::size_t i) const { return i == 0 ? 0 : ends_[i - 1]; }
    /// The bytes of entry `i` behind the prefix, without a node's child page.
    Entry rest(std::size_t i) const;

    PageView page_;
    std::array<std::uint16_t, maxIndexEntries> ends_;
    std::size_t count_ = 0;
    std::size_t prefix_ = 0;
    bool leaf_ = true;
    bool prefixReachesRows_ = false;
};

/// Entries in full length, child pages included, in memory.
class EntryList {
public:
    std::size_t size() const { return ends_.size(); }
    bool empty() const { return ends_.empty(); }
    Entry operator[](std::size_t i) const { return Entry(bytes_).subspan(begin(i), ends_[i] - begin(i)); }
    std::size_t byteCount(std::size_t from, std::size_t to) const { return begin(to) - begin(from); }

    void append(Entry entry) { insert(size(), entry); }
    void insert(std::size_t i, Entry entry);
    void erase(std::size_t i);
    EntryList part(std::size_t from, std::size_t to) const;

private:
    std::size_t begin(std::size_t i) const { return i == 0 ? 0 : ends_[i - 1]; }
    std::vector<std::uint8_t> bytes_;
    std::vector<std::uint32_t> ends_;
};

/// Tells how far a run of ascending entries may reach before a page overflows, prefix compression included.
class RunFit {
public:
    /// `unsharedBytes`: how many at the end of each entry the common prefix leaves alone.
    explicit RunFit(std::size_t unsharedBytes) : suffix_(unsharedBytes) {}
    /// Takes one more entry at the end; false (and not taken) when the run would not fit any more.
    bool add(Entry entry);
    std::size_t count() const { return count_; }
    /// Common prefix to store the run with: 0 when it fits as it is.
    std::size_t prefix() const { return total_ <= indexArea ? 0 : common_; }

private:
    std::size_t suffix_;
    std::vector<std::uint8_t> first_;
    std::size_t count_ = 0, total_ = 0, common_ = 0;
};

/// A page of the tree to be written.
struct IndexPageImage {
    bool leaf = true;
    std::uint8_t level = 0;
    PageNo previous = 0, next = 0, tail = 0;
    EntryList entries;
    bool sharesRows = false; ///< the page was stored with a prefix that reaches into the row ids

    static IndexPageImage of(const IndexPage& page);
    std::size_t suffixBytes() const { return rowIdBytes + (leaf ? 0 : childPageBytes); }
    /// What a prefix leaves alone: all behind the keys, or the last byte of the row ids and the child pages.
    std::size_t unsharedBytes() const { return sharesRows ? suffixBytes() - rowIdBytes + 1 : suffixBytes(); }
    /// Key and row id of an entry.
    Entry ordered(std::size_t i) const { return entries[i].first(entries[i].size() - (leaf ? 0 : childPageBytes)); }
    PageNo child(std::size_t i) const;
    void insertChild(std::size_t i, Entry last, PageNo child);
    bool fits() const;
    /// Writes every byte of the page. The entries must fit.
    void writeTo(PageBytes page, PageNo tableDefinition) const;
};

} // namespace jet
