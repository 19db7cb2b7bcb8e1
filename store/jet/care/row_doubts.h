#pragma once

#include "store/jet/care/report.h"
#include "store/jet/pages/pager.h"
#include "store/jet/rows/row_walk.h"

#include <memory>
#include <string>
#include <vector>

/// What speaks against rows that could be read: a rescue writes them all the same, and says it. Private to rescue().
namespace jet {

struct FoundTable;

/// Where the rows of a table were found.
struct FoundPages {
    std::shared_ptr<std::vector<PageNo>> list;
    std::vector<bool> byMap; ///< by page number
    bool someLost = false;
    bool mapRead = false;              ///< whole
    bool mapSuffices = false;          ///< and it names all rows that the definition promises
    std::vector<PageNo> copies = {};   ///< outside of the map, equal to a page in it: left out
    std::vector<PageNo> copiesOf = {}; ///< the pages in the map, one for each of them
};

/// Finds out whether the map suffices. Where it does, takes the pages out of the list that stand outside of it and hold
/// nothing but what a page in it holds.
void leaveCopiesOut(Pager& pager, FoundPages& pages, std::uint32_t rowsPromised);

/// Tells of a table: pages that were left out as copies, rows outside of its map, pages that stand twice, indexes
/// that do not fit the rows, and more rows than the definition promises. Where every index that can be asked fits every
/// row, and there is one, it has the last word: equal pages and a wrong count are then the table's own. `rows` is how
/// many were found.
void tellDoubts(const RowReader& reader, const FoundTable& table, const FoundPages& pages, const std::string& title,
                std::uint64_t rows, Sentences& losses);

} // namespace jet
