#pragma once

#include "store/jet/rows/table_definition.h"

namespace jet {

/// Usage maps of new tables, on as many pages as they need: a page of maps is theirs alone.
class NewMaps {
public:
    explicit NewMaps(Pager& pager) : pager_(pager) {}

    /// Gives a new table its maps, and each index its root, an empty leaf. The definition's own page is there already.
    /// In a transaction.
    void give(TableDefinition& table);

private:
    MapRef add();

    Pager& pager_;
    PageNo page_ = 0;
    std::size_t used_ = 0; ///< rows of that page
};

} // namespace jet
