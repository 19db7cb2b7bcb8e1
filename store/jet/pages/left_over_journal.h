#pragma once

#include "store/jet/format/doors.h"
#include "store/jet/pages/journal.h"

#include <filesystem>
#include <memory>
#include <optional>

namespace jet {

/// The name of a database's rollback journal. Whoever opens the file by a link finds the same one.
std::filesystem::path journalPathOf(Disk& disk, const std::filesystem::path& database);

/// Tries until it succeeds or other programs have had two seconds to finish.
bool lockPatiently(File& file, File::Lock wanted);

/// Puts a database right whose last program stopped in the middle of a commit, before anything of it is read, and
/// takes the lock that its Pager keeps. Private to the Pager.
///
/// A journal is applied only to the file it was written for: the pages without a record must be those that stood
/// beside it. Then putting the old pages back gives the very state before the commit, whatever the pages with a record
/// look like now. A journal of another file is set aside by a writer and left alone by a reader.
class LeftOverJournal {
public:
    /// `database` is the path for opening and for sentences.
    LeftOverJournal(Disk& disk, const std::filesystem::path& database);

    /// With the writer lock held, which stays. Throws inUse where a reader does not leave, disk.
    void repairAsWriter(File& file);

    /// A journal that counts, beside a file that may not be written: whoever reads must put its pages in their places.
    struct Unapplied {
        std::unique_ptr<File> journal;
        JournalHeader header;
    };
    /// Takes the reader lock and keeps it. Repairs the file itself where that is allowed: a second reader must not find
    /// the journal again. Throws inUse, disk.
    std::optional<Unapplied> repairAsReader(File& file);

private:
    std::unique_ptr<File> openFound(Disk::Access access);
    bool belongs(File& file, File& journal, const JournalHeader& header);
    void setAside();

    Disk& disk_;
    const std::filesystem::path& database_;
    std::filesystem::path path_;
};

} // namespace jet
