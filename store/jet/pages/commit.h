#pragma once

#include "store/jet/pages/journal.h"
#include "store/jet/pages/page_memory.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace jet {

/// Brings the pages of a transaction to the file, all or none, over a rollback journal. Private to the Pager, which
/// takes the steps one after the other:
///
///     prepare()    what is to be written, the commit lock, and a look    nothing has reached the disk
///                  whether the file is still the one that was read
///     arm()        the old pages into the journal, synced                the database is as it was
///     writeFile()  the new pages into the file, synced                   the journal leads back
///     disarm()     the journal struck out, synced: the change holds
///
/// When one of them throws, takeBack() restores the file. Where even that fails, the journal stays for the next open
/// and nothing may be done with the file any more.
class Commit {
public:
    enum class Stage {
        idle,     ///< no commit is under way
        prepared, ///< the commit lock is held, and the journal may be half written; the file is as it was
        armed,    ///< the journal counts, the file may hold old and new pages
        inFile,   ///< the file holds the new state for certain, the journal may or may not count
        broken,   ///< the journal counts and the file could not be put right
    };

    /// `database` is the path for opening and for sentences.
    Commit(Disk& disk, const std::filesystem::path& database, File& file, PageMemory& memory);
    ~Commit(); ///< removes a journal that counts for nothing
    Commit(const Commit&) = delete;
    Commit& operator=(const Commit&) = delete;

    Stage stage() const { return stage_; }
    /// Throws disk when the stage is broken.
    void refuseIfBroken() const
    {
        if (broken_) throwBroken();
    }

    /// False when the transaction has changed nothing. Throws inUse, and changedElsewhere when another program has
    /// written to the file since it was read.
    bool prepare();
    void arm();
    /// What writeFile() is about to overwrite.
    std::span<const TouchedPage> changed() const { return changed_; }
    void writeFile();
    void disarm();
    void takeBack() noexcept;
    /// The sum of all pages of the file, outside a transaction. The first commit would work it out, and later ones keep
    /// it. Throws changedElsewhere.
    std::uint64_t digest();
    /// Somebody else has worked it out.
    void knowDigest(std::uint64_t digest)
    {
        digest_ = digest;
        apart_.clear();
    }
    /// The file is another now: what was summed up of its pages is void.
    void forgetDigest()
    {
        digest_.reset();
        apart_.clear();
    }

    /// Asserts what the stage promises about journal, file and digest.
    void assertState() const;

private:
    [[noreturn]] void throwBroken() const;
    void refuseIfChangedElsewhere() const;
    void openJournal();
    std::uint64_t digestWithout(std::span<const OldPage> pages);
    std::uint64_t digestWithThoseApart() const;
    std::uint64_t digestOfFile() const;
    void writeRuns(std::span<const TouchedPage> sorted);
    bool putBack() noexcept;
    void strikeOut();
    void shortenJournal() noexcept;
    void backToWriter() noexcept;
    bool journalLeadsBack() const;
    bool fileHolds(std::span<const TouchedPage> pages) const;

    Disk& disk_;
    const std::filesystem::path& database_;
    std::filesystem::path journalPath_;
    File& file_;
    PageMemory& memory_;
    std::unique_ptr<File> journal_;  ///< from the first commit on
    std::uint64_t journalReach_ = 0; ///< bytes that it may have by what was written to it
    bool struckOut_ = false;         ///< for certain
    bool reachedFile_ = false;       ///< a page of this commit may stand in the file

    Stage stage_ = Stage::idle;
    std::optional<std::string> broken_; ///< why nothing may be done any more
    JournalHeader header_;
    std::vector<TouchedPage> changed_;
    std::vector<TouchedPage> appended_;
    std::vector<OldPage> old_;            ///< images of changed_
    std::optional<std::uint64_t> digest_; ///< sum of pageHash over the pages of the file but apart_, once it was needed
    std::vector<PageNo> apart_; ///< what the last commit wrote, ascending: the next one mostly writes it again
    std::uint64_t salt_ = 0;
};

} // namespace jet
