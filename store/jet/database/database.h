#pragma once

#include "store/jet/format/doors.h"
#include "store/jet/pages/pager.h"
#include "store/jet/table/catalogue.h"
#include "store/jet/table/table.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// The engine for Access 2000-2003 database files (.mdb, Jet 4). Standard library only.
///
///     auto db = jet::Database::open(disk, "Yag.mdb");
///     jet::Table& journal = db->table(u"Hareket");
///     jet::Transaction change(db->pager());
///     journal.insert({{{0, jet::DateTime{45000.5}}, {6, u"Ali Veli"}}});
///     change.commit();                       // on disk when this returns; not called: nothing happened
///
/// One thread at a time per Database. Failures are jet::Error.
namespace jet {

struct NewColumn {
    std::u16string name;
    ColumnType type = ColumnType::text;
    std::uint16_t size = 0;      ///< Text: characters 1..255; Binary: bytes 1..510; else ignored
    std::uint8_t precision = 18; ///< Numeric
    std::uint8_t scale = 0;      ///< Numeric
    bool autoNumber = false;     ///< one Long at most; GUIDs
};

struct NewIndex {
    std::u16string name;
    std::vector<std::pair<std::u16string, bool>> columns; ///< name, ascending
    bool unique = false;
    bool primaryKey = false;
    bool required = false;
    bool ignoreNulls = false;
};

class Database {
public:
    /// Opens an existing file; see Pager for what happens to journals and locks.
    /// Throws any of the first ten faults, or damaged when the catalogue cannot be read.
    static std::unique_ptr<Database> open(Disk& disk, const std::filesystem::path& path,
                                          Pager::Mode mode = Pager::Mode::readWrite);
    /// Makes a database of the system tables and what `furnish` puts in, whole or not at all. Throws exists when the
    /// path is taken.
    static void create(Disk& disk, const std::filesystem::path& path, Collation collation, DateTime now,
                       const std::function<void(Database&)>& furnish = {});
    ~Database();

    Pager& pager();
    Collation collation() const;
    std::uint16_t codePage() const;

    std::vector<std::u16string> tableNames() const; ///< user tables, in catalogue order
    bool hasTable(std::u16string_view name) const;  ///< ignoring case
    /// Tables whose rows stand elsewhere. They are named and not followed.
    std::vector<LinkedTable> linkedTables() const;
    /// Throws noSuchTable, for a linked table with where its rows are. The reference lives as long as the database.
    Table& table(std::u16string_view name);
    /// System tables too; for checks and tools.
    std::vector<std::pair<std::u16string, PageNo>> allTables() const;

    /// The first call has these tables verified on a thread of its own, as their first change would have it done
    /// (Table::whyReadOnly), and done what else the first commit takes long for, on the file as it is committed now.
    /// Whoever needs the answer earlier waits for that thread; where something was written meanwhile, or the disk is
    /// not for several threads, tables are verified when they are asked, as without it. True when that thread has
    /// nothing left to do.
    bool verifyAhead(const std::vector<std::u16string>& tables);

    /// Transactions of their own unless one is open.
    Table& createTable(const std::u16string& name, const std::vector<NewColumn>& columns,
                       const std::vector<NewIndex>& indexes, DateTime now);
    /// Removes an index (not one that backs a relationship) and gives its pages back.
    void dropIndex(std::u16string_view table, std::u16string_view index);

    struct State; ///< for the engine's own files

private:
    friend class VerificationAhead;
    Database();
    static std::unique_ptr<Database> open(std::unique_ptr<Pager> pager);
    std::unique_ptr<State> state_;
};

} // namespace jet
