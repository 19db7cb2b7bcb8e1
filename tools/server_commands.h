#pragma once

#include "files/disk.h"
#include "tools/command_line.h"

/// The commands of presva-mdb that carry the mill's books to a server and back. They return the exit code.
namespace tools {

int toServer(files::Disk& disk, Arguments arguments);
int fromServer(files::Disk& disk, Arguments arguments);
int undelete(files::Disk& disk, Arguments arguments);
int leaveRegister(files::Disk& disk, Arguments arguments);

} // namespace tools
