#include "store/jet/index/index_tree.h"

#include "store/jet/index/index_page.h"
#include "store/jet/pages/damage.h"

#include <algorithm>
#include <array>
#include <cassert>

namespace jet {
namespace {

/// A tree of the largest file with the longest keys is not half as high.
constexpr std::size_t maxDepth = 24;

constexpr const char* cycle = "dizin sayfaları bir döngü oluşturuyor";

bool hasKeyBytes(Entry entry, Entry key)
{
    return entry.size() == key.size() + rowIdBytes && std::equal(key.begin(), key.end(), entry.begin());
}

/// Where to cut the overfull entries [0, size) into runs that fit a page each; the ends of all runs but the last.
std::vector<std::size_t> cuts(const IndexPageImage& image, bool growing)
{
    const EntryList& entries = image.entries;
    const std::size_t count = entries.size();
    const auto fits = [&](std::size_t from, std::size_t to) {
        RunFit fit(image.suffixBytes());
        for (std::size_t i = from; i < to; ++i)
            if (!fit.add(entries[i])) return false;
        return true;
    };
    // Keys that arrive in order leave full pages behind them.
    if (growing && count > 1 && fits(0, count - 1)) return {count - 1};
    std::size_t half = 1;
    while (half + 1 < count && entries.byteCount(0, half) < entries.byteCount(half, count)) ++half;
    if (fits(0, half) && fits(half, count)) return {half};
    // One foreign key can spoil the common prefix of hundreds: then neither half fits.
    std::vector<std::size_t> ends;
    RunFit fit(image.suffixBytes());
    for (std::size_t i = 0; i < count; ++i) {
        if (fit.add(entries[i])) continue;
        ends.push_back(i);
        fit = RunFit(image.suffixBytes());
        fit.add(entries[i]);
    }
    return ends;
}

/// The last of several children stands in `tail`, without an entry. An only child keeps its entry.
void moveLastChildToTail(IndexPageImage& node)
{
    if (node.tail != 0 || node.entries.size() < 2) return;
    node.tail = node.child(node.entries.size() - 1);
    node.entries.erase(node.entries.size() - 1);
}

} // namespace

/// The way from the root to a leaf, and the leaf: a page is looked through once, which costs more than all else here.
struct IndexTree::Path {
    struct Step {
        PageNo page = 0;
        std::size_t child = 0;  ///< place that was followed
        bool lastChild = false; ///< nothing under this node lies further right
    };
    std::array<Step, maxDepth> steps;
    std::size_t depth = 0;
    std::optional<IndexPage> leaf;
};

/// A page that split off, for its parent to take up.
struct IndexTree::Branch {
    Key last; ///< last leaf entry under it
    PageNo page = 0;
};

IndexTree::IndexTree(Pager& pager, PageNo root, PageNo tableDefinition, MapRef ownedPages, Trust trust)
    : pager_(pager), root_(root), tableDefinition_(tableDefinition), owned_(ownedPages), trust_(trust)
{
}

PageNo IndexTree::descend(Entry entry, Path& path) const
{
    PageNo page = root_;
    for (path.depth = 0; path.depth < maxDepth; ++path.depth) {
        const IndexPage& view = path.leaf.emplace(pager_, page, tableDefinition_);
        if (view.isLeaf()) return page;
        if (view.children() == 0) throwDamaged(pager_, page, "dizin düğümünün altında sayfa yok");
        const std::size_t child = std::min(view.lowerBound(entry), view.children() - 1);
        path.steps[path.depth] = {page, child, child + 1 == view.children()};
        page = view.child(child);
    }
    throwDamaged(pager_, root_, cycle);
}

void IndexTree::walk(Entry from, const std::function<bool(Entry, RowId)>& visit) const
{
    Path path;
    const Key least = entryOf(from, RowId{});
    descend(least, path);
    const std::optional<IndexPage>& leaf = path.leaf;
    Key entry;
    std::size_t i = leaf->lowerBound(least);
    for (PageCount visited = 0;; ++visited, i = 0) {
        for (; i < leaf->count(); ++i) {
            leaf->copyEntry(i, entry);
            if (!visit(Entry(entry).first(entry.size() - rowIdBytes), rowOf(entry))) return;
        }
        const PageNo next = leaf->next();
        if (next == 0) return;
        if (visited > pager_.pageCount()) throwDamaged(pager_, next, cycle);
        readLeaf(next, path.leaf);
    }
}

void IndexTree::readLeaf(PageNo page, std::optional<IndexPage>& into) const
{
    if (!into.emplace(pager_, page, tableDefinition_).isLeaf())
        throwDamaged(pager_, page, "burada bir dizin yaprağı olmalıydı");
}

bool IndexTree::hasKey(Entry key, RowId except) const
{
    bool found = false;
    walk(key, [&](Entry at, RowId row) {
        const bool same = std::ranges::equal(at, key);
        found = same && row != except;
        return same && !found;
    });
    return found;
}

bool IndexTree::differsFromNeighbours(const IndexPage& leaf, std::size_t place, Entry key) const
{
    Key entry;
    const auto nearest = [&](bool toLeft) {
        entry.clear();
        std::optional<IndexPage> other;
        const IndexPage* view = &leaf;
        std::size_t from = place;
        for (PageCount visited = 0; toLeft ? from == 0 : from == view->count(); ++visited) {
            const PageNo page = toLeft ? view->previous() : view->next();
            if (page == 0) return;
            if (visited > pager_.pageCount()) throwDamaged(pager_, page, cycle);
            readLeaf(page, other);
            view = &*other;
            from = toLeft ? view->count() : 0;
        }
        view->copyEntry(toLeft ? from - 1 : from, entry);
    };
    nearest(true);
    if (hasKeyBytes(entry, key)) return false;
    nearest(false);
    return !hasKeyBytes(entry, key);
}

bool IndexTree::insert(std::span<const std::uint8_t> key, RowId row)
{
    const Key entry = entryOf(key, row);
    Path path;
    const PageNo page = descend(entry, path);
    const IndexPage& leaf = *path.leaf;
    const std::size_t place = leaf.lowerBound(entry);
    const bool atEnd = place == leaf.count();
    if (!atEnd && leaf.entryIs(place, entry)) throwDamaged(pager_, page, "kaydın dizin girişi zaten var");
    if (atEnd && leaf.next() != 0) {
        // Beyond all entries of its leaf, yet not of the tree: true only if the next leaf begins further right.
        const IndexPage next(pager_, leaf.next(), tableDefinition_);
        if (next.count() > 0 && next.lowerBound(entry) > 0) throwDamaged(pager_, page, "dizin girişleri sırasız");
    }
    const bool distinct = differsFromNeighbours(leaf, place, key);
    const bool growing = atEnd && leaf.next() == 0;

    std::vector<Branch> before;
    if (!leaf.insertInPlace(pager_.write(page), place, entry)) {
        IndexPageImage image = IndexPageImage::of(leaf);
        image.entries.insert(place, entry);
        before = store(page, image, growing);
    }
    updateParents(path, path.depth, std::move(before), atEnd ? entry : Key{}, growing);
    assertPath(entry);
    return distinct;
}

/// Writes the image; what has no room goes to new pages to the left of `page`. The upper part stays, so whatever
/// refers to `page` stays right.
std::vector<IndexTree::Branch> IndexTree::store(PageNo page, IndexPageImage& image, bool growing)
{
    if (!image.leaf) moveLastChildToTail(image);
    if (image.fits()) {
        image.writeTo(pager_.write(page), tableDefinition_);
        return {};
    }
    if (page != root_) return split(page, image, growing);

    // The root's place is for ever: its content moves down.
    const PageNo moved = takePage();
    IndexPageImage root;
    root.leaf = false;
    root.level = static_cast<std::uint8_t>(image.level + 1);
    root.tail = moved;
    for (const Branch& branch : split(moved, image, growing))
        root.insertChild(root.entries.size(), branch.last, branch.page);
    return store(root_, root, growing);
}

std::vector<IndexTree::Branch> IndexTree::split(PageNo page, IndexPageImage& image, bool growing)
{
    std::vector<Branch> branches;
    PageNo previous = image.previous;
    std::size_t from = 0;
    for (const std::size_t to : cuts(image, growing)) {
        const Entry last = image.ordered(to - 1);
        const PageNo cut = takePage();
        branches.push_back({Key(last.begin(), last.end()), cut});
        IndexPageImage part{image.leaf, image.level, previous, 0, 0, image.entries.part(from, to)};
        if (!image.leaf) {
            moveLastChildToTail(part);
            // Nodes are linked among children of one parent only.
            const PageNo left = image.child(to - 1), right = image.child(to);
            if (isNode(left)) {
                setNext(left, 0);
                setPrevious(right, 0);
            }
        }
        part.writeTo(pager_.write(cut), tableDefinition_);
        if (previous != 0) link(previous, cut);
        previous = cut;
        from = to;
    }
    image.entries = image.entries.part(from, image.entries.size());
    image.previous = previous;
    image.writeTo(pager_.write(page), tableDefinition_);
    if (previous != 0) link(previous, page);
    return branches;
}

/// Tells the `depth` nodes above a page that pages came before it and that its last entry is `newLast` now (empty:
/// as before).
void IndexTree::updateParents(const Path& path, std::size_t depth, std::vector<Branch> before, Key newLast,
                              bool growing)
{
    while (depth > 0 && (!before.empty() || !newLast.empty())) {
        const Path::Step& step = path.steps[--depth];
        const IndexPage view(pager_, step.page, tableDefinition_);
        const bool represented = step.child < view.count();
        if (!before.empty() || (represented && !newLast.empty())) {
            IndexPageImage node = IndexPageImage::of(view);
            if (represented && !newLast.empty()) {
                const PageNo child = node.child(step.child);
                node.entries.erase(step.child);
                node.insertChild(step.child, newLast, child);
            }
            std::size_t place = step.child;
            for (const Branch& branch : before) node.insertChild(place++, branch.last, branch.page);
            before = store(step.page, node, growing);
        }
        // A child in `tail` has no entry here. An ancestor may still have one for this subtree.
        if (!step.lastChild) newLast.clear();
    }
}

bool IndexTree::erase(std::span<const std::uint8_t> key, RowId row)
{
    const Key entry = entryOf(key, row);
    Path path;
    const PageNo page = descend(entry, path);
    const IndexPage& leaf = *path.leaf;
    const std::size_t place = leaf.lowerBound(entry);
    if (place == leaf.count() || !leaf.entryIs(place, entry)) return false;
    if (leaf.count() == 1 && page != root_) {
        removeLeaf(path, page);
        assertPath(entry);
        return true;
    }
    Key newLast;
    if (place + 1 == leaf.count() && place > 0) leaf.copyEntry(place - 1, newLast);
    if (!leaf.eraseInPlace(pager_.write(page), place)) {
        IndexPageImage image = IndexPageImage::of(leaf);
        image.entries.erase(place);
        image.writeTo(pager_.write(page), tableDefinition_);
    }
    updateParents(path, path.depth, {}, std::move(newLast), false);
    assertPath(entry);
    return true;
}

/// Takes an emptied leaf out of the tree, with every node above it that has no other child.
void IndexTree::removeLeaf(const Path& path, PageNo leaf)
{
    dropPage(leaf);
    for (std::size_t depth = path.depth; depth-- > 0;) {
        const Path::Step& step = path.steps[depth];
        IndexPageImage node = IndexPageImage::of(IndexPage(pager_, step.page, tableDefinition_));
        if (step.child < node.entries.size())
            node.entries.erase(step.child);
        else
            node.tail = 0;
        if (node.entries.empty() && node.tail == 0) {
            if (step.page == root_) {
                initIndexLeaf(pager_.write(root_), tableDefinition_);
                return;
            }
            dropPage(step.page);
            continue;
        }
        Key newLast;
        if (step.lastChild) {
            const Entry last = node.ordered(node.entries.size() - 1);
            newLast.assign(last.begin(), last.end());
        }
        if (node.entries.empty()) {
            node.insertChild(0, lastEntryUnder(node.tail), node.tail);
            node.tail = 0;
        }
        std::vector<Branch> before = store(step.page, node, false);
        updateParents(path, depth, std::move(before), std::move(newLast), false);
        return;
    }
}

Key IndexTree::lastEntryUnder(PageNo page) const
{
    for (std::size_t depth = 0; depth < maxDepth; ++depth) {
        const IndexPage view(pager_, page, tableDefinition_);
        if (view.isLeaf()) {
            if (view.count() == 0) throwDamaged(pager_, page, "dizin yaprağı boş");
            Key entry;
            view.copyEntry(view.count() - 1, entry);
            return entry;
        }
        if (view.children() == 0) throwDamaged(pager_, page, "dizin düğümünün altında sayfa yok");
        page = view.child(view.children() - 1);
    }
    throwDamaged(pager_, page, cycle);
}

PageNo IndexTree::takePage()
{
    const PageNo page = allocatePage(pager_);
    mapSet(pager_, owned_, page);
    return page;
}

/// Unlinks a page from its neighbours and gives it back.
void IndexTree::dropPage(PageNo page)
{
    const IndexPage view(pager_, page, tableDefinition_);
    const PageNo left = view.previous(), right = view.next();
    if (left != 0) setNext(left, right);
    if (right != 0) setPrevious(right, left);
    mapClear(pager_, owned_, page);
    freePage(pager_, page);
}

void IndexTree::setNext(PageNo page, PageNo next)
{
    isNode(page); // a link on a damaged page may lead anywhere: only pages of this table are written to
    index_layout::next.put(pager_.write(page), next);
}

void IndexTree::setPrevious(PageNo page, PageNo previous)
{
    isNode(page);
    index_layout::previous.put(pager_.write(page), previous);
}

void IndexTree::link(PageNo left, PageNo right)
{
    setNext(left, right);
    setPrevious(right, left);
}

/// Throws damaged when it is no page of this table's indexes.
bool IndexTree::isNode(PageNo page) const { return !IndexPage(pager_, page, tableDefinition_).isLeaf(); }

/// Every page of the tree. Throws damaged when a page is met twice or is no page of this table.
std::set<PageNo> IndexTree::reachablePages() const
{
    std::set<PageNo> seen{root_};
    std::vector<PageNo> waiting{root_};
    while (!waiting.empty()) {
        const IndexPage view(pager_, waiting.back(), tableDefinition_);
        waiting.pop_back();
        for (std::size_t i = 0; !view.isLeaf() && i < view.children(); ++i) {
            if (!seen.insert(view.child(i)).second) throwDamaged(pager_, view.child(i), cycle);
            waiting.push_back(view.child(i));
        }
    }
    return seen;
}

/// Gives all pages but the root back and leaves an empty tree.
void IndexTree::clear()
{
    std::set<PageNo> tree;
    try {
        tree = reachablePages();
    } catch (const Error& error) {
        // In a broken tree we cannot tell whose the pages are. Losing them is better than giving a page away twice.
        if (error.fault() != Fault::damaged) throw;
    }
    for (const PageNo page : mapPages(pager_, owned_)) {
        if (page == root_) continue;
        mapClear(pager_, owned_, page);
        // Only pages that are in the map and in the tree are ours: another writer may have freed others of the map.
        if (tree.contains(page)) freePage(pager_, page);
    }
    mapSet(pager_, owned_, root_);
    initIndexLeaf(pager_.write(root_), tableDefinition_);
}

std::uint32_t IndexTree::rebuild(const std::vector<std::pair<Key, RowId>>& sorted)
{
    clear();
    std::uint32_t distinct = 0;
    std::vector<Branch> level;
    IndexPageImage leaf;
    RunFit fit(rowIdBytes);
    PageNo previous = 0;
    const auto finishLeaf = [&] {
        const PageNo page = takePage();
        const Entry last = leaf.entries[leaf.entries.size() - 1];
        level.push_back({Key(last.begin(), last.end()), page});
        leaf.previous = previous;
        leaf.writeTo(pager_.write(page), tableDefinition_);
        if (previous != 0) index_layout::next.put(pager_.write(previous), page);
        previous = page;
        leaf = {};
        fit = RunFit(rowIdBytes);
    };
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        if (i == 0 || sorted[i].first != sorted[i - 1].first) ++distinct;
        const Key entry = entryOf(sorted[i].first, sorted[i].second);
        if (!fit.add(entry)) {
            finishLeaf();
            fit.add(entry);
        }
        leaf.entries.append(entry);
    }
    if (level.empty()) {
        leaf.writeTo(pager_.write(root_), tableDefinition_);
        assertWhole();
        return distinct;
    }
    finishLeaf();

    for (std::uint8_t height = 1;; ++height) {
        // Every node takes as many entries as fit, and one child more as its tail.
        std::vector<std::pair<std::size_t, std::size_t>> runs;
        for (std::size_t from = 0; from < level.size();) {
            RunFit nodeFit(rowIdBytes + childPageBytes);
            std::size_t to = from;
            while (to + 1 < level.size() && nodeFit.add(nodeEntryOf(level[to].last, level[to].page))) ++to;
            runs.emplace_back(from, to + 1);
            from = to + 1;
        }
        // A node with one child is legal but a waste of a page: it gets company from its neighbour.
        if (runs.size() > 1 && runs.back().second - runs.back().first == 1) {
            --runs[runs.size() - 2].second;
            --runs.back().first;
        }
        std::vector<Branch> above;
        previous = 0;
        for (const auto& [from, to] : runs) {
            IndexPageImage node;
            node.leaf = false;
            node.level = height;
            for (std::size_t i = from; i + 1 < to; ++i) node.insertChild(i - from, level[i].last, level[i].page);
            if (to - from == 1)
                node.insertChild(0, level[from].last, level[from].page);
            else
                node.tail = level[to - 1].page;
            const PageNo page = runs.size() == 1 ? root_ : takePage();
            node.writeTo(pager_.write(page), tableDefinition_);
            // Children that are nodes are linked among themselves, not to their cousins.
            if (height > 1)
                for (std::size_t i = from; i + 1 < to; ++i) link(level[i].page, level[i + 1].page);
            above.push_back({level[to - 1].last, page});
        }
        if (runs.size() == 1) {
            assertWhole();
            return distinct;
        }
        level = std::move(above);
    }
}

// ---- what must hold ----

/// Along the way to where the entry stands, or stood: every page, what its parent says about it, the leaf's neighbours.
void IndexTree::assertPath([[maybe_unused]] Entry entry) const
{
#ifndef NDEBUG
    if (trust_ != Trust::verified) return;
    Path path;
    const PageNo leaf = descend(entry, path);
    assertPage(leaf, 0);
    assertNeighbours(leaf);
    Key promised;
    for (std::size_t depth = 0; depth < path.depth; ++depth) {
        const Path::Step& step = path.steps[depth];
        assertPage(step.page, path.depth - depth);
        const IndexPage node(pager_, step.page, tableDefinition_);
        if (step.child == node.count()) continue;
        node.copyEntry(step.child, promised);
        assert(compareEntries(promised, lastEntryUnder(node.child(step.child))) >= 0); // 2
    }
#endif
}

void IndexTree::assertPage([[maybe_unused]] PageNo page, [[maybe_unused]] std::size_t height) const
{
#ifndef NDEBUG
    const IndexPage view(pager_, page, tableDefinition_);
    assert(view.isLeaf() == (height == 0));
    assert(view.ascends());                                                            // 1
    assert(view.isLeaf() || view.children() > 0);                                      // 2
    assert(view.level() == height || (height > 0 && view.level() == 0));               // 3
    assert(index_layout::freeBytes.get(view.bytes()) == indexArea - view.usedBytes()); // 5
    assert(mapHas(pager_, owned_, page));                                              // 6
#endif
}

void IndexTree::assertNeighbours([[maybe_unused]] PageNo leaf) const
{
#ifndef NDEBUG
    const auto assertPair = [this](PageNo left, PageNo right) {
        const IndexPage before(pager_, left, tableDefinition_), behind(pager_, right, tableDefinition_);
        assert(before.isLeaf() && behind.isLeaf() && before.next() == right && behind.previous() == left); // 4
        if (before.count() == 0 || behind.count() == 0) return;
        Key last, first;
        before.copyEntry(before.count() - 1, last);
        behind.copyEntry(0, first);
        assert(compareEntries(last, first) < 0); // 1
    };
    const IndexPage view(pager_, leaf, tableDefinition_);
    if (view.previous() != 0) assertPair(view.previous(), leaf);
    if (view.next() != 0) assertPair(leaf, view.next());
#endif
}

void IndexTree::assertWhole() const
{
#ifndef NDEBUG
    if (trust_ != Trust::verified) return;
    std::vector<std::string> faults, warnings;
    std::vector<PageNo> pages;
    check(faults, warnings, pages);
    assert(faults.empty());
#endif
}

} // namespace jet
