#pragma once

#include "files/disk.h"

namespace platform {

/// The real file system. Lives as long as the program.
///
/// Locks are byte ranges past the largest possible database (2 GiB): one byte for the writer, one that readers share
/// and a commit takes for itself. They belong to the open file, so that two handles in one process exclude each other
/// like two programs, and the system drops them when the process ends, however it ends.
files::Disk& systemDisk();

} // namespace platform
