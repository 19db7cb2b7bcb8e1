#pragma once

#include "store/jet/database/database.h"

#include <filesystem>
#include <functional>

/// Whole-file work: copies and rewrites. The result appears under its name only when it is complete, synced and
/// checked; until then it is "<to>.part", which is removed when anything fails. An existing file is never replaced.
namespace jet {

/// Copies the last committed state to `to`. The database may be open for writing, but not in a transaction.
/// Throws exists, disk, and whatever opening the copy throws. `progress` is called with 0..100.
void backup(Disk& disk, Database& database, const std::filesystem::path& to,
            const std::function<void(int)>& progress = {});

/// Copies a snapshot to `to` while the database is being changed by another thread. The copy is synced bit by bit, so
/// that the other thread's own syncs never wait for much of it, and every page, row and index of it is checked.
/// It is made under the name `part`, which may hold the remains of an earlier one. What `progress` throws ends it.
/// Throws exists, disk, cutShort, damaged.
void backup(Disk& disk, Snapshot& snapshot, const std::filesystem::path& to, const std::filesystem::path& part,
            const std::function<void(int)>& progress = {});

/// Writes the database anew (care/rewrite.h): everything that is in it, the rows of each table in the order of the
/// primary key (else in storage order), without the room that deletions left behind. The new file is checked and
/// compared row by row before it gets its name.
/// Throws exists, disk, damaged (the old file, or a row lost on the way), and unsupported where something could not be
/// carried; that is known before anything is written.
void compact(Disk& disk, Database& database, const std::filesystem::path& to,
             const std::function<void(int)>& progress = {});

} // namespace jet
