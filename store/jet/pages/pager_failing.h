#pragma once

#include "files/quoted_path.h"
#include "store/jet/format/doors.h"

#include <filesystem>

/// How the parts of the Pager fail.
namespace jet {

using files::inQuotes;

/// Another program holds the file; `who` as far as that is known.
Error inUse(const std::filesystem::path& path, const files::Person& who = {});
/// Another program has written to the file since it was read.
Error changedElsewhere(const std::filesystem::path& path);

/// Runs a step whose failure the caller can live with. False when it failed.
template <class Step> bool succeeds(Step&& step) noexcept
{
    try {
        step();
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace jet
