#pragma once

#include "store/jet/format/accounts.h"
#include "store/jet/format/format.h"
#include "store/jet/pages/page_code.h"
#include "store/jet/pages/pager.h"
#include "store/jet/values/sort_key.h"

#include <cstdint>

/// Page 0 (format/header_layout.h draws it).
namespace jet {

struct Header {
    MapRef freePages;     ///< map of the pages that nobody owns
    PageNo catalogue = 0; ///< definition of MSysObjects
    std::uint16_t codePage = 0;
    Collation collation{};
};

/// Throws notADatabase, oldFormat, newFormat or damaged, each with the path.
Header readHeader(Pager& pager);

/// Page 0 of a copy of that file: all that it says but what protects it. The pages of the copy are plain.
void copyHeader(PageBytes page, PageView old);

/// The set for new files of that collation.
const AccountSet& accountSet(Collation collation);

/// Fills page 0 of a new file.
void buildHeader(PageBytes page, Collation collation);

} // namespace jet
