#pragma once

#include "store/jet/disk.h"
#include "store/jet/format.h"

#include <filesystem>
#include <memory>

namespace jet {

/// The pages of one database file and their all-or-nothing changes.
///
/// What always holds:
/// - Outside a transaction the pages in memory equal the pages in the file.
/// - A page in the file is overwritten only after its old content stands synced in the rollback journal
///   ("<file>-journal" beside the database); the journal is struck out only after the file is synced.
///   So a stop at any moment leaves the last committed state, put back by the next open.
/// - commit() returns when the change would survive a power cut; when it throws, the state before begin() holds.
/// - Pages are loaded when first asked for and stay in memory while the file is open, so a view is valid until the
///   next rollback() or the end of the Pager; a transaction's writes show through existing views.
class Pager {
public:
    enum class Mode { readOnly, readWrite };

    /// Opens the file, settles a journal left by a crash, and takes the lock. Asked for readWrite on a file that may
    /// only be read, it opens read-only (see writable()). Checks size only; the header is Database's.
    /// Throws notFound, isFolder, noPermission, notADatabase, cutShort, inUse, disk.
    Pager(Disk& disk, std::filesystem::path path, Mode mode);
    ~Pager(); ///< rolls back an open transaction
    Pager(const Pager&) = delete;
    Pager& operator=(const Pager&) = delete;

    const std::filesystem::path& path() const;
    bool writable() const;
    PageNo pageCount() const; ///< pages in the file, those appended by the open transaction included

    /// Throws damaged when there is no such page.
    PageView read(PageNo page);
    /// The page for changing; its state before the transaction is kept. Throws readOnly or damaged.
    PageBytes write(PageNo page);
    /// Makes the file at least `count` pages long with zero pages at the end. Throws disk past maxPages.
    void extendTo(PageNo count);

    void begin();
    void commit();
    void rollback() noexcept;
    bool inTransaction() const;

    /// Counts up with every committed change: callers' caches compare it.
    std::uint64_t changeCount() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// All page writes of one action. Leaving the scope without commit() takes every one of them back.
/// A transaction inside a transaction joins it: only the outermost one commits.
class Transaction {
public:
    explicit Transaction(Pager& pager) : pager_(pager), outermost_(!pager.inTransaction())
    {
        if (outermost_) pager_.begin();
    }
    ~Transaction()
    {
        if (outermost_ && !committed_) pager_.rollback();
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit()
    {
        if (outermost_) pager_.commit();
        committed_ = true;
    }

private:
    Pager& pager_;
    bool outermost_;
    bool committed_ = false;
};

} // namespace jet
