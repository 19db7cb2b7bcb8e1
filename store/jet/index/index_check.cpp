#include "store/jet/format/doors.h"
#include "store/jet/index/index_page.h"
#include "store/jet/index/index_tree.h"

#include <algorithm>
#include <optional>

namespace jet {
namespace {

/// A page of one level of the tree, as its parent sees it.
struct Place {
    PageNo page = 0;
    std::size_t parent = 0;      ///< place of the parent in the level above
    std::optional<Key> promised; ///< last entry under the page, by the parent's entry; a tail has none
};

/// Looks at one page at a time, so that a check takes no more memory for a larger index.
class Checker {
public:
    Checker(Pager& pager, PageNo tableDefinition, std::vector<std::string>& faults, std::vector<std::string>& warnings,
            std::vector<PageNo>& pages)
        : pager_(pager), tableDefinition_(tableDefinition), faults_(faults), warnings_(warnings), pages_(pages)
    {
    }

    using LeafEntry = std::function<void(std::span<const std::uint8_t> key, RowId row)>;

    void run(PageNo root, const LeafEntry& leafEntry)
    {
        std::vector<std::vector<Place>> levels{{Place{root, 0, {}}}};
        while (!levels.back().empty()) {
            std::vector<Place> below;
            if (!checkLevel(levels.back(), below)) return;
            levels.push_back(std::move(below));
        }
        levels.pop_back();
        for (std::size_t depth = 0; depth < levels.size(); ++depth)
            checkLevelBytes(levels[depth], levels.size() - 1 - depth, leafEntry);
        checkPromises(levels);
    }

    void checkMap(MapRef owned, PageNo root)
    {
        const std::vector<PageNo> mapped = mapPages(pager_, owned);
        std::vector<PageNo> tree(pages_.begin() + static_cast<std::ptrdiff_t>(firstPage_), pages_.end());
        std::ranges::sort(tree);
        for (const PageNo page : tree)
            if (!std::ranges::binary_search(mapped, page)) fault(page, "dizinin sayfa haritasında yok");
        for (const PageNo page : mapped)
            if (!std::ranges::binary_search(tree, page))
                warnings_.push_back(sentence(page, "haritada var, ama kökü " + std::to_string(root.number()) +
                                                       " olan dizinin ağacında yok"));
    }

private:
    static std::string sentence(PageNo page, const std::string& what)
    {
        return "Dizin sayfası " + std::to_string(page.number()) + ": " + what + ".";
    }
    void fault(PageNo page, const std::string& what) { faults_.push_back(sentence(page, what)); }

    /// Notes the pages of one level and finds the level below. False when there is no sense in going on.
    bool checkLevel(const std::vector<Place>& level, std::vector<Place>& below)
    {
        const bool leaves = IndexPage(pager_, level.front().page, tableDefinition_, buffer_).isLeaf();
        for (std::size_t at = 0; at < level.size(); ++at) {
            const PageNo page = level[at].page;
            if (!seen_.insert(page).second) {
                fault(page, "ağaçta iki kez geçiyor");
                return false;
            }
            pages_.push_back(page);
            const IndexPage view(pager_, page, tableDefinition_, buffer_);
            if (view.isLeaf() != leaves) {
                fault(page, "yapraklar aynı derinlikte değil");
                return false;
            }
            if (leaves) continue;
            if (view.children() == 0) fault(page, "düğümün altında sayfa yok");
            if (view.tail() == 0 && view.count() > 1)
                warnings_.push_back(sentence(page, "son alt sayfa kuyrukta değil"));
            for (std::size_t i = 0; i < view.children(); ++i) {
                Place place{view.child(i), at, {}};
                if (i < view.count()) view.copyEntry(i, place.promised.emplace());
                below.push_back(std::move(place));
            }
        }
        return true;
    }

    void checkLevelBytes(const std::vector<Place>& level, std::size_t height, const LeafEntry& leafEntry)
    {
        Key previous, entry;
        for (std::size_t at = 0; at < level.size(); ++at) {
            const PageNo page = level[at].page;
            const IndexPage view(pager_, page, tableDefinition_, buffer_);
            if (index_layout::mark.get(view.bytes()) != page_layout::markInUse) fault(page, "ikinci baytı 1 değil");
            if (index_layout::freeBytes.get(view.bytes()) != indexArea - view.usedBytes())
                fault(page, "boş alan sayısı yanlış");
            if (view.isLeaf() && view.tail() != 0) fault(page, "yaprağın kuyruğu var");
            if (view.isLeaf() && view.count() == 0 && level.size() > 1)
                warnings_.push_back(sentence(page, "yaprak boş"));
            // Other writers leave the level of a node at 0.
            if (view.level() != height && (view.isLeaf() || view.level() != 0)) fault(page, "düzeyi yanlış");
            for (std::size_t i = 0; i < view.count(); ++i) {
                view.copyEntry(i, entry);
                if (!previous.empty() && compareEntries(previous, entry) >= 0) fault(page, "girişler sırasız");
                if (height == 0 && leafEntry) leafEntry(Entry(entry).first(entry.size() - rowIdBytes), rowOf(entry));
                std::swap(previous, entry);
            }
            checkLinks(level, at, view);
        }
    }

    /// Leaves are linked throughout. Nodes are linked within a parent at least; a link must never lead elsewhere.
    void checkLinks(const std::vector<Place>& level, std::size_t at, const IndexPage& view)
    {
        const auto linked = [&](PageNo to, bool hasNeighbour, std::size_t neighbour) {
            const PageNo expected = hasNeighbour ? level[neighbour].page : 0;
            return to == expected || (to == 0 && !view.isLeaf());
        };
        if (!linked(view.previous(), at > 0, at - 1)) fault(level[at].page, "önceki sayfaya bağı yanlış");
        if (!linked(view.next(), at + 1 < level.size(), at + 1)) fault(level[at].page, "sonraki sayfaya bağı yanlış");
    }

    /// The least and the greatest entry under a page; empty when there is none.
    struct Below {
        Key first, last;
    };

    /// From the leaves upwards: every entry of a node is not less than the last one under its child (the rows it was
    /// made for may be gone) and less than the first one under the next.
    void checkPromises(const std::vector<std::vector<Place>>& levels)
    {
        std::vector<Below> below = underLeaves(levels.back());
        for (std::size_t depth = levels.size(); depth-- > 0;) {
            checkPromises(levels[depth], below);
            if (depth > 0) below = underNodes(levels[depth], below, levels[depth - 1].size());
        }
    }

    void checkPromises(const std::vector<Place>& level, const std::vector<Below>& below)
    {
        const Key* firstBehind = nullptr;
        for (std::size_t at = level.size(); at-- > 0;) {
            if (below[at].first.empty()) continue;
            if (const std::optional<Key>& promised = level[at].promised) {
                if (compareEntries(*promised, below[at].last) < 0)
                    fault(level[at].page, "üstündeki düğümün girişi, altındaki son girişten küçük");
                if (firstBehind != nullptr && compareEntries(*promised, *firstBehind) >= 0)
                    fault(level[at].page, "üstündeki düğümün girişi, sonraki sayfanın ilk girişinden küçük değil");
            }
            firstBehind = &below[at].first;
        }
    }

    std::vector<Below> underLeaves(const std::vector<Place>& leaves)
    {
        std::vector<Below> below(leaves.size());
        for (std::size_t at = 0; at < leaves.size(); ++at) {
            const IndexPage view(pager_, leaves[at].page, tableDefinition_, buffer_);
            if (view.count() == 0) continue;
            view.copyEntry(0, below[at].first);
            view.copyEntry(view.count() - 1, below[at].last);
        }
        return below;
    }

    /// From the first and last entries below each page of @p level, those of the @p parents pages of the level above.
    static std::vector<Below> underNodes(const std::vector<Place>& level, const std::vector<Below>& below,
                                         std::size_t parents)
    {
        std::vector<Below> above(parents);
        for (std::size_t at = 0; at < level.size(); ++at) {
            if (below[at].first.empty()) continue;
            Below& parent = above[level[at].parent];
            if (parent.first.empty()) parent.first = below[at].first;
            parent.last = below[at].last;
        }
        return above;
    }

    Pager& pager_;
    PageNo tableDefinition_;
    std::vector<std::string>& faults_;
    std::vector<std::string>& warnings_;
    std::vector<PageNo>& pages_;
    std::size_t firstPage_ = pages_.size();
    std::set<PageNo> seen_;
    PageBuffer buffer_; ///< of the page that is looked at
};

} // namespace

void IndexTree::check(std::vector<std::string>& faults, std::vector<std::string>& warnings, std::vector<PageNo>& pages,
                      const std::function<void(std::span<const std::uint8_t> key, RowId row)>& leafEntry) const
{
    Checker checker(pager_, tableDefinition_, faults, warnings, pages);
    try {
        checker.run(root_, leafEntry);
        checker.checkMap(owned_, root_);
    } catch (const Error& error) {
        if (error.fault() != Fault::damaged && error.fault() != Fault::cutShort) throw;
        faults.emplace_back(error.what());
    }
}

} // namespace jet
