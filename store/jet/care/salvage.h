#pragma once

#include "files/memory_disk.h"
#include "store/jet/care/report.h"
#include "store/jet/care/row_doubts.h"
#include "store/jet/pages/pager.h"
#include "store/jet/rows/table_definition.h"
#include "store/jet/rules/table_properties.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// Reading a database that is too damaged to be opened: whatever of it still makes sense. Private to rescue().
namespace jet {

/// A table as far as it is known.
struct FoundTable {
    std::u16string name; ///< empty when the catalogue does not tell
    TableDefinition definition;
    std::uint32_t rowsPromised = 0; ///< by its definition
    TableProperties properties;     ///< as far as the catalogue tells
};

/// A copy of a damaged file in memory, and the tables found in it. The file itself is never changed.
class Salvage {
public:
    /// Reads all of the file that the disk gives; `losses` hears what could not be read, now and later; a page that
    /// cannot be read counts as lost. A journal that a crash left beside it is applied to the copy. Throws notFound,
    /// isFolder, noPermission, inUse; oldFormat and newFormat for files that are not damaged but
    /// another kind; notADatabase when nothing of a table is in it.
    Salvage(Disk& disk, const std::filesystem::path& file, Sentences& losses);

    Collation collation() const { return collation_; }
    const std::vector<FoundTable>& tables() const { return tables_; }

    /// Calls `visit` with the bytes of every sound row of a table, moved rows where they stand now.
    void forEachRow(const FoundTable& table, const std::string& title,
                    const std::function<void(RowId, const RowLayout&, std::span<const std::uint8_t>)>& visit);
    /// Tells what speaks against the rows of a table that forEachRow() visited, so many of them.
    void tellDoubts(const FoundTable& table, const std::string& title, std::uint64_t rows);
    Pager& pager() const { return *pager_; }

private:
    void readFile(Disk& disk, const std::filesystem::path& file);
    void readJournalBeside(Disk& disk, const std::filesystem::path& file);
    void readFreePages();
    void findTables();
    void readCatalogue(PageNo page);
    void addTable(PageNo page, std::u16string name, TableProperties properties);
    /// The pages of a table by its map, and behind them those that only say so themselves: where one is damaged the
    /// other helps.
    FoundPages pagesOf(const FoundTable& table, const std::string& title, Sentences& losses);

    Sentences& losses_;
    std::filesystem::path inMemory_; ///< the file's own name: sentences name it
    files::MemoryDisk memory_;
    std::unique_ptr<Pager> pager_;
    Collation collation_;
    PageNo catalogue_ = 2;
    std::vector<bool> free_;
    std::set<PageNo> definitions_; ///< every page that belongs to a definition
    std::vector<FoundTable> tables_;
};

} // namespace jet
