#pragma once

#include "store/jet/format/doors.h"
#include "store/jet/format/format.h"
#include "store/jet/pages/passing_buffer.h"
#include "store/jet/pages/protection.h"
#include "store/jet/pages/snapshot.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace jet {

/// The pages of one database file and their all-or-nothing changes.
///
/// What callers may rely on:
/// - Outside a transaction the pages in memory equal the pages in the file (on a medium that cannot be written, with a
///   journal left by a crash applied).
/// - A page in the file is overwritten only after its old content stands synced in the rollback journal
///   ("<file>-journal" beside the database); the journal is struck out only after the file is synced.
///   So a stop at any moment leaves the last committed state, put back by the next open.
/// - The journal is applied only to the file it was written for: the pages it does not contain must be the ones that
///   stood beside it. Beside a database that was replaced meanwhile it is renamed to "<file>-journal.old".
/// - Beside programs that know nothing of our locks: before a commit the file must be the one that the pages were read
///   from, or nothing is written (changedElsewhere). lookAround() reads everything anew where it is another now.
/// - The writer keeps others away by the lock file beside the database (Session). A reader sees one state of the file
///   and keeps no writer waiting (ReaderFile).
/// - commit() returns when the change would survive a power cut; when it throws, the transaction is over and the state
///   before begin() holds. Where even the old pages cannot be put back, the journal stays for the next open and every
///   further call on this Pager throws.
/// - Pages are loaded when first asked for and stay in memory while the file is open, so a view is valid until the
///   next rollback() or the end of the Pager; a transaction's writes show through existing views.
///
/// Its parts: LeftOverJournal repairs what a crash left behind, PageMemory holds the pages and what the transaction
/// has written over, Commit brings that to the file, SnapshotList serves those who read the state of a moment ago.
///
/// Invariants, asserted by Pager::State::assertState() after opening, begin(), write(), extendTo(), before and after
/// every step of a commit, after a rollback, before a snapshot and before closing:
///  1. Outside a transaction no page is marked as written and nothing is spoilt.
///  2. A transaction is open only on a file that may be written and could be put right so far; a commit is under way
///     only within one, and never of a spoilt one.
///  3. Every page that the transaction has written is in memory and marked once. It has an image of before exactly when
///     the file holds it; the pages behind the end of the file are all among them.
///  4. While the file may hold old and new pages, the journal counts and holds the image of every page that is to be
///     overwritten, and the length to go back to. Once the file is synced it holds what is in memory, and a journal
///     that was struck out does not count.
///  5. The digest that the next journal will carry is that of the file (looked at in small files).
///  6. The search for free pages begins inside the file.
class Pager {
public:
    enum class Mode { readOnly, readWrite };

    /// Opens the file, repairs it by a journal that a crash left, and takes the lock, for which it waits up to two
    /// seconds. Asked for readWrite on a file that is protected, or may only be read, it opens read-only (see
    /// whyNotWritable()). Checks size only; the header is Database's. Throws notFound, isFolder, noPermission,
    /// notADatabase, oldFormat, cutShort, inUse, disk.
    Pager(Disk& disk, std::filesystem::path path, Mode mode);
    ~Pager(); ///< rolls back an open transaction
    Pager(const Pager&) = delete;
    Pager& operator=(const Pager&) = delete;

    const std::filesystem::path& path() const;
    bool writable() const;
    /// Why not, as a Turkish clause; null where it is writable.
    const char* whyNotWritable() const;
    /// A protected file is read and not written.
    Protection protection() const;
    PageCount pageCount() const; ///< of the file, the pages appended by the open transaction included
    bool has(PageNo page) const { return page < PageNo(pageCount()); }

    /// Throws damaged when there is no such page.
    PageView read(PageNo page);
    /// The page for a look in passing, by those who read much and keep nothing: a page that is not in memory does not
    /// stay there. Valid until the next look with that buffer; no page may be written between two looks with one
    /// buffer. Throws as read().
    PageView look(PageNo page, PassingBuffer& buffer);
    /// The same for those who jump: no other page is read with it.
    PageView look(PageNo page, PageBuffer& buffer);
    /// The page for changing, in a transaction; its state before is kept. Throws readOnly or damaged.
    PageBytes write(PageNo page);
    /// Makes the file at least `count` pages long with zero pages at the end. Throws disk past maxPages.
    void extendTo(PageCount count);

    /// When it is looked whether another program has the file open for writing, for the first time: a transaction that
    /// is committed at once need not look before its commit does.
    enum class LookForOthers { atBegin, atCommit };
    /// Throws readOnly when the file may not be written; inUse when another program has had it open for writing for two
    /// seconds.
    void begin(LookForOthers when = LookForOthers::atBegin);
    /// Waits up to two seconds for other programs to leave, then throws inUse. Throws changedElsewhere.
    void commit();
    /// Nothing outside a transaction.
    void rollback() noexcept;
    bool inTransaction() const;

    /// The last committed state, for another thread; outside a transaction. Reads the file through a handle of its own
    /// that takes no lock: the Pager's keeps other programs away. Throws readOnly where this Pager may not write,
    /// because then others may; disk.
    std::unique_ptr<Snapshot> snapshot();

    /// A Pager of its own on what is committed now, for another thread, which only reads: through a handle that takes
    /// no lock. It asks `goOn` before it reads from the file, and throws disk once that says no; it throws
    /// changedElsewhere once the file is another. Null where this Pager may not write, because then others may, or has
    /// a transaction open, or its disk is not for several threads. Throws disk, changedElsewhere.
    std::unique_ptr<Pager> beside(std::function<bool()> goOn);
    /// The sum of all pages, which the journal of the first commit waits for: for a Pager beside another one, which is
    /// told with knowDigest(), where nothing was committed meanwhile.
    std::uint64_t digest();
    void knowDigest(std::uint64_t digest);

    /// Looks whether another program has changed the file, outside a transaction; then every page is forgotten, views
    /// of pages are void, and the answer is true. Throws changedElsewhere where the file's name is another's now; what
    /// a file of that length cannot be.
    bool lookAround();
    /// How often lookAround() has found that.
    std::uint64_t foreignChanges() const { return foreignChanges_; } // asked for each row, so without a call
    /// Keeps other programs out of the file, as far as the system can, until the end of the next commit or until
    /// letOthersIn(): what lookAround() finds then stays. Throws inUse as commit() does.
    void keepOthersOut();
    void letOthersIn() noexcept;

    /// Lets go of every page in memory, outside a transaction, for who writes much and looks back little: views of
    /// pages are void. A file that may not be written keeps its pages.
    void forgetPages();

    /// Counts up with every committed change and with every rollback that took something back: callers' caches
    /// compare it.
    std::uint64_t changeCount() const;
    /// Counts up with every write() and extendTo().
    std::uint64_t writeCount() const;
    /// A step of the open transaction stopped half-way: commit() will take everything back and throw.
    void spoil() noexcept;

    /// No page below this one is in the free map. Kept for allocatePage(); 0 after a rollback.
    PageNo freeSearchStart() const;
    void setFreeSearchStart(PageNo page);

private:
    struct State;
    explicit Pager(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
    std::uint64_t foreignChanges_ = 0;
};

/// Runs an action on what the file holds now. Where another program changed the file before the action was written, the
/// action runs once more; a second time it throws changedElsewhere. Inside a transaction, which was begun on pages that
/// are read, it runs as it is.
template <class Action> auto onWhatIsThere(Pager& pager, Action&& action)
{
    if (pager.inTransaction()) return action();
    pager.lookAround();
    try {
        return action();
    } catch (const Error& error) {
        if (error.fault() != Fault::changedElsewhere || pager.inTransaction() || !pager.writable()) throw;
    }
    // A program that goes on and on must not be in the way again.
    struct Alone {
        explicit Alone(Pager& which) : pager(which) { pager.keepOthersOut(); }
        ~Alone() { pager.letOthersIn(); }
        Alone(const Alone&) = delete;
        Alone& operator=(const Alone&) = delete;
        Pager& pager;
    };
    const Alone alone(pager);
    pager.lookAround();
    return action();
}

/// All page writes of one action. Leaving the scope without commit() takes every one of them back.
/// A transaction inside a transaction joins it: only the outermost one commits. An inner one that is left without
/// commit() after it wrote something spoils the outer one, so that a half step can never be committed; one that wrote
/// nothing (a refused value) leaves the outer one as it was.
class Transaction {
public:
    explicit Transaction(Pager& pager, Pager::LookForOthers when = Pager::LookForOthers::atBegin)
        : pager_(pager), outermost_(!pager.inTransaction())
    {
        if (outermost_) pager_.begin(when);
        writesBefore_ = pager_.writeCount();
    }
    ~Transaction()
    {
        if (committed_) return;
        if (outermost_)
            pager_.rollback();
        else if (pager_.inTransaction() && pager_.writeCount() != writesBefore_)
            pager_.spoil();
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
    std::uint64_t writesBefore_ = 0;
};

} // namespace jet
