#pragma once

#include "store/jet/format/doors.h"
#include "store/jet/format/format.h"

#include <memory>
#include <span>

namespace jet {

class KeptPages;

/// The committed state of a database at one moment, for another thread to read while its Pager goes on changing the
/// file.
///
/// How it stays true: before a commit writes the first changed page to the file, it leaves the old content of every
/// page that is still to be read with the snapshot. The reader reads from the file first and asks for the old pages
/// afterwards, so that a page which a commit had touched by then is always among them.
///
/// One thread reads. Neither side waits for the other longer than it takes to copy a few pages in memory.
class Snapshot {
public:
    Snapshot(std::unique_ptr<File> file, std::shared_ptr<KeptPages> kept);
    ~Snapshot();
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

    PageCount pageCount() const;
    /// Reads the next pages in order, whole pages only, as many as fit; returns how many, 0 behind the last one.
    /// Throws disk when the database was closed meanwhile or its old pages could not be kept, cutShort.
    PageCount readNext(std::span<std::uint8_t> into);

private:
    std::unique_ptr<File> file_;
    std::shared_ptr<KeptPages> kept_;
    PageNo next_ = 0;
};

} // namespace jet
