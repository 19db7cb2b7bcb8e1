#pragma once

#include "store/jet/pages/page_memory.h"
#include "store/jet/pages/snapshot.h"

#include <filesystem>
#include <memory>
#include <span>
#include <vector>

namespace jet {

class KeptPages;

/// The snapshots of a database that are still being read. Private to the Pager.
class SnapshotList {
public:
    SnapshotList() = default;
    ~SnapshotList(); ///< closes them
    SnapshotList(const SnapshotList&) = delete;
    SnapshotList& operator=(const SnapshotList&) = delete;

    /// One of the file as it is now, `pages` long. Throws disk.
    std::unique_ptr<Snapshot> take(Disk& disk, const std::filesystem::path& database, PageCount pages);
    /// Leaves the images with the readers. Before the first of these pages is overwritten in the file.
    void keep(std::span<const TouchedPage> changed) noexcept;
    /// Nobody's pages can be kept any more: their readers hear of it.
    void close() noexcept;

private:
    std::vector<std::weak_ptr<KeptPages>> readers_;
};

} // namespace jet
