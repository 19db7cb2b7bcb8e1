#include "store/jet/database/new_maps.h"

#include "store/jet/format/usage_map_layout.h"
#include "store/jet/index/index_tree.h"
#include "store/jet/pages/row_page.h"

#include <array>

namespace jet {
MapRef NewMaps::add()
{
    if (page_ == 0 || used_ == usage_map_layout::newRowsPerPage) {
        page_ = allocatePage(pager_);
        used_ = 0;
        initRowPage(pager_.write(page_), row_page_layout::mapOwner);
    }
    ++used_;
    const std::array<std::uint8_t, usage_map_layout::newRow> empty{};
    return {appendRow(pager_.write(page_), empty, RowKind::ordinary), page_};
}

void NewMaps::give(TableDefinition& table)
{
    table.owned = add();
    table.freeSpace = add();
    for (Index& index : table.indexes) {
        index.root = allocatePage(pager_);
        initIndexLeaf(pager_.write(index.root), table.page);
        index.ownedPages = add();
        mapSet(pager_, index.ownedPages, index.root);
    }
    for (LongValueMaps& each : table.longValues) {
        each.owned = add();
        each.freeSpace = add();
    }
}

} // namespace jet
