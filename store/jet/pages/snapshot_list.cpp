#include "store/jet/pages/snapshot_list.h"

#include "store/jet/pages/kept_pages.h"

namespace jet {

SnapshotList::~SnapshotList() { close(); }

void SnapshotList::close() noexcept
{
    for (const auto& each : readers_)
        if (const auto kept = each.lock()) kept->close();
    readers_.clear();
}

std::unique_ptr<Snapshot> SnapshotList::take(Disk& disk, const std::filesystem::path& database, PageCount pages)
{
    auto kept = std::make_shared<KeptPages>(pages);
    auto snapshot = std::make_unique<Snapshot>(disk.open(database, Disk::Access::readOnly), kept);
    readers_.push_back(kept);
    return snapshot;
}

void SnapshotList::keep(std::span<const TouchedPage> changed) noexcept
{
    std::erase_if(readers_, [](const auto& each) { return each.expired(); });
    for (const auto& each : readers_) {
        if (const auto kept = each.lock())
            for (const TouchedPage& one : changed) kept->keep(one.page, one.image);
    }
}

} // namespace jet
