#pragma once

#include "store/jet/format/format.h"
#include "store/jet/pages/usage_map.h"

#include <cstddef>
#include <string>
#include <vector>

namespace jet {

struct IndexColumn {
    std::size_t column = 0; ///< position in Table::columns()
    bool ascending = true;
};

/// One physical index with the names of the logical indexes that share it.
struct Index {
    std::vector<std::u16string> names;
    std::vector<IndexColumn> columns;
    bool unique = false;
    bool ignoreNulls = false;
    bool required = false;
    bool primaryKey = false;
    bool relationship = false; ///< backs a relationship
    PageNo root = 0;
    MapRef ownedPages;
    std::size_t number = 0; ///< physical number: place in the table definition
};

} // namespace jet
