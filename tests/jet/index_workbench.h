#pragma once

#include "tests/doors/power_cut_disk.h"
#include "tests/jet/blank_file.h"

#include "store/jet/index/index_page.h"
#include "store/jet/index/index_tree.h"
#include "store/jet/pages/row_page.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// One index tree in a file of its own, beside a model of what it must hold.
namespace index_bench {

using jet::Key;
using jet::PageCount;
using jet::PageNo;
using jet::RowId;
using jet::SlotNo;

inline constexpr PageNo table = 2; ///< no definition there, only its number counts
inline constexpr PageNo mapPage = 3;
inline constexpr PageNo root = 4;
inline constexpr PageCount pagesBefore = 16;

/// A file with one empty index, kept in memory.
struct Workbench {
    PowerCutDisk disk;
    std::unique_ptr<jet::Pager> pager;
    std::unique_ptr<jet::IndexTree> tree;

    explicit Workbench(jet::IndexTree::Trust trust = jet::IndexTree::Trust::none)
    {
        disk.put("a.mdb", blankFile(pagesBefore));
        pager = std::make_unique<jet::Pager>(disk, "a.mdb", jet::Pager::Mode::readWrite);
        tree = std::make_unique<jet::IndexTree>(*pager, root, table, jet::MapRef{0, mapPage}, trust);
        jet::Transaction setUp(*pager);
        jet::initRowPage(pager->write(mapPage), 0);
        jet::appendRow(pager->write(mapPage), std::vector<std::uint8_t>(69), jet::RowKind::ordinary);
        jet::mapSet(*pager, {0, mapPage}, root);
        jet::initIndexLeaf(pager->write(root), table);
        setUp.commit();
    }
};

/// What the tree must hold.
using Model = std::set<std::pair<Key, RowId>>;

inline Model contentOf(const jet::IndexTree& tree)
{
    Model content;
    std::size_t entries = 0;
    std::pair<Key, RowId> previous;
    tree.walk({}, [&](std::span<const std::uint8_t> key, RowId row) {
        std::pair<Key, RowId> entry{Key(key.begin(), key.end()), row};
        if (entries > 0 && !(previous < entry)) throw std::logic_error("entries out of order");
        content.insert(entry);
        previous = std::move(entry);
        ++entries;
        return true;
    });
    if (entries != content.size()) throw std::logic_error("an entry is there twice");
    return content;
}

/// Everything that must be true of a sound tree; the first thing that is not, or nothing.
inline std::string firstFault(Workbench& bench, const Model& model)
{
    std::vector<std::string> faults, warnings;
    std::vector<PageNo> pages;
    bench.tree->check(faults, warnings, pages);
    if (!faults.empty()) return faults.front();
    if (!warnings.empty()) return warnings.front();
    if (contentOf(*bench.tree) != model) return "the entries are not those that were put in";
    // Nothing lost, nothing owned twice: the pages that are not in the tree are free.
    std::vector<PageNo> free = jet::mapPages(*bench.pager, jet::freeMap);
    std::ranges::sort(pages);
    std::vector<PageNo> both;
    std::ranges::set_intersection(pages, free, std::back_inserter(both));
    if (!both.empty()) return "a page of the tree is free";
    if (pages.size() - 1 + free.size() + pagesBefore != bench.pager->pageCount()) return "pages are lost";
    return {};
}

inline Key longKey(std::int64_t value)
{
    const auto bits = std::uint32_t(value) ^ 0x80000000U;
    return {0x7F, std::uint8_t(bits >> 24), std::uint8_t(bits >> 16), std::uint8_t(bits >> 8), std::uint8_t(bits)};
}

} // namespace index_bench
