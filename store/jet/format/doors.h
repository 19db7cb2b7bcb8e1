#pragma once

#include "files/disk.h"
#include "files/error.h"

/// What the engine is built on, under the engine's own name: a disk comes in, and every failure goes out as one kind of
/// exception, whether the disk or the engine met it.
namespace jet {

using files::Disk;
using files::Error;
using files::Fault;
using files::File;
using files::FileStamp;

} // namespace jet
