#pragma once

#include "files/disk.h"
#include "store/postgres/shared_tables.h"

#include <filesystem>
#include <string>

namespace postgres {

/// What a file would take along if it left the mill's place.
struct Unheard {
    bool readable = true;    ///< false: whatever it has, nobody can say
    bool inRegister = false; ///< a file that belongs to no shared register now may have left one
    Waiting waiting;         ///< that its register has not confirmed, and that `next` does not bring by itself
};

/// Looks at the file and, unless it is empty, at `next`, which is to take its place; changes neither, and the program
/// may be running. A file that is not there has nothing. Throws what opening `next` throws.
Unheard unheardIn(files::Disk& disk, const std::filesystem::path& file, const std::filesystem::path& next);

std::string counted(const Waiting& waiting);        ///< "2 değişiklik (1 sıkım)"
std::string howItIsBrought(const Unheard& unheard); ///< a sentence: what lets the server hear of it

} // namespace postgres
