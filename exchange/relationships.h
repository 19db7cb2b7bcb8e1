#pragma once

#include "store/jet/database/database.h"

#include <string>
#include <vector>

namespace exchange {

/// A relationship as MSysRelationships lists it. Names are UTF-16 as stored.
struct Relationship {
    std::u16string name;
    std::u16string table; ///< the one that refers
    std::u16string referencedTable;
    std::vector<std::u16string> columns;    ///< of `table`
    std::vector<std::u16string> referenced; ///< the same columns of the other
    bool enforced = true;
    bool cascadeUpdates = false;
    bool cascadeDeletes = false;
};

/// In the order of their rows; none where the file has no such table.
std::vector<Relationship> relationshipsOf(jet::Database& database);

} // namespace exchange
