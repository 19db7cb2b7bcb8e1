#include "store/jet/table/page_owners.h"

#include "store/jet/table/catalogue.h"

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

std::vector<MapRef> mapsOf(const TableDefinition& table)
{
    std::vector<MapRef> maps{table.owned, table.freeSpace};
    for (const Index& index : table.indexes) maps.push_back(index.ownedPages);
    for (const LongValueMaps& each : table.longValues) maps.insert(maps.end(), {each.owned, each.freeSpace});
    std::erase_if(maps, [](const MapRef& map) { return map.none(); });
    return maps;
}

/// Pages that hold the maps themselves. Several maps share one, those of different tables too.
void addMapHolders(const TableDefinition& table, std::vector<PageNo>& pages)
{
    for (const MapRef& map : mapsOf(table)) pages.push_back(map.page);
}

/// The page that a map stands on which lists pages behind the end of the file: they would have another owner, too, as
/// soon as it grows.
std::optional<PageNo> mapPastTheEnd(Pager& pager, const TableDefinition& table)
{
    for (const MapRef& map : mapsOf(table))
        if (mapLeadsPastTheEnd(pager, map)) return map.page;
    return std::nullopt;
}

std::string twoOwners(PageNo page) { return std::to_string(page.number()) + " numaralı sayfanın iki sahibi var"; }

std::string leadsPastTheEnd(PageNo page)
{
    return std::to_string(page.number()) + " numaralı sayfadaki bir harita dosyada olmayan sayfaları gösteriyor";
}

} // namespace

std::optional<std::string> contestedPage(const Table::State& table, const std::vector<PageNo>& indexPages)
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
            if (const auto page = mapPastTheEnd(pager, other)) return leadsPastTheEnd(*page);
            for (const PageNo page : pagesOf(pager, other)) owners[page.number()] = Owner::other;
            addMapHolders(other, holders);
        } catch (const Error& error) {
            if (error.fault() != Fault::damaged && error.fault() != Fault::cutShort) throw;
        }
    }
    for (const PageNo page : holders) {
        if (owners[page.number()] == Owner::nobody) owners[page.number()] = Owner::mapHolder;
    }
    if (const auto page = mapPastTheEnd(pager, table.definition)) return leadsPastTheEnd(*page);
    holders.clear();
    addMapHolders(table.definition, holders);
    for (const PageNo page : holders) {
        if (owners[page.number()] == Owner::other) return twoOwners(page);
        owners[page.number()] = Owner::mapHolder;
    }

    std::vector<PageNo> mine = pagesOf(pager, table.definition);
    mine.insert(mine.end(), indexPages.begin(), indexPages.end());
    for (const PageNo page : mine) {
        if (owners[page.number()] != Owner::nobody) return twoOwners(page);
        owners[page.number()] = Owner::thisTable;
    }
    return std::nullopt;
}

} // namespace jet
