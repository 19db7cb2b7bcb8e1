#pragma once

namespace platform {

/// For a program that runs for a season: a large block comes from the system and goes back to it, always. Otherwise the
/// allocator, having seen a few of them freed, puts them between the small ones that stay; every longer list of
/// pressings then finds the holes of the shorter ones too small, and the heap grows by several times what is kept.
/// Call it first, before there are other threads.
void keepLargeBlocksApart();

} // namespace platform
