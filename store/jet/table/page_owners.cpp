#include "store/jet/table/page_owners.h"

#include "store/jet/table/catalogue.h"

#include <algorithm>

namespace jet {
namespace {

void addMapPages(Pager& pager, MapRef map, std::vector<PageNo>& pages)
{
    if (map.none()) return;
    const std::vector<PageNo> owned = mapPages(pager, map);
    pages.insert(pages.end(), owned.begin(), owned.end());
}

void addBitmapPages(Pager& pager, MapRef map, std::vector<PageNo>& pages)
{
    if (map.none()) return;
    const std::vector<PageNo> bitmaps = mapBitmapPages(pager, map);
    pages.insert(pages.end(), bitmaps.begin(), bitmaps.end());
}

/// Everything that belongs to one table alone, but for the trees of its indexes: an index's map may list pages that
/// were given back, only the tree itself tells.
std::vector<PageNo> pagesOf(Pager& pager, const TableDefinition& table)
{
    std::vector<PageNo> pages = table.chain;
    addMapPages(pager, table.owned, pages);
    addBitmapPages(pager, table.owned, pages);
    addBitmapPages(pager, table.freeSpace, pages);
    for (const LongValueMaps& maps : table.longValues) {
        addMapPages(pager, maps.owned, pages);
        addBitmapPages(pager, maps.owned, pages);
        addBitmapPages(pager, maps.freeSpace, pages);
    }
    for (const Index& index : table.indexes) addBitmapPages(pager, index.ownedPages, pages);
    return pages;
}

/// Pages that hold the maps themselves. Several maps share one, those of different tables too.
void addMapHolders(const TableDefinition& table, std::vector<PageNo>& pages)
{
    pages.push_back(table.owned.page);
    pages.push_back(table.freeSpace.page);
    for (const Index& index : table.indexes) pages.push_back(index.ownedPages.page);
    for (const LongValueMaps& maps : table.longValues) {
        pages.push_back(maps.owned.page);
        pages.push_back(maps.freeSpace.page);
    }
}

} // namespace

std::optional<PageNo> contestedPage(const Table::State& table, const std::vector<PageNo>& indexPages)
{
    Pager& pager = table.pager;
    enum class Owner : std::uint8_t { nobody, mapHolder, other, thisTable };
    std::vector<Owner> owners(pager.pageCount(), Owner::nobody);
    owners[0] = Owner::other;
    owners[1] = Owner::other;
    for (const PageNo page : mapPages(pager, freeMap)) owners[page.number()] = Owner::other;

    std::vector<PageNo> holders;
    for (const CatalogueEntry& entry : readCatalogue(*table.systemObjects)) {
        if (entry.definition == table.definition.page) continue;
        try {
            const TableDefinition other = readTableDefinition(pager, entry.definition);
            for (const PageNo page : pagesOf(pager, other)) owners[page.number()] = Owner::other;
            addMapHolders(other, holders);
        } catch (const Error& error) {
            if (error.fault() != Fault::damaged && error.fault() != Fault::cutShort) throw;
        }
    }
    for (const PageNo page : holders) {
        if (page != 0 && owners[page.number()] == Owner::nobody) owners[page.number()] = Owner::mapHolder;
    }
    holders.clear();
    addMapHolders(table.definition, holders);
    for (const PageNo page : holders) {
        if (page == 0) continue;
        if (owners[page.number()] == Owner::other) return page;
        owners[page.number()] = Owner::mapHolder;
    }

    std::vector<PageNo> mine = pagesOf(pager, table.definition);
    mine.insert(mine.end(), indexPages.begin(), indexPages.end());
    for (const PageNo page : mine) {
        if (owners[page.number()] != Owner::nobody) return page;
        owners[page.number()] = Owner::thisTable;
    }
    return std::nullopt;
}

} // namespace jet
