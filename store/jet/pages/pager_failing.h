#pragma once

#include "store/jet/format/doors.h"

#include <exception>
#include <filesystem>
#include <string>

/// How the parts of the Pager fail.
namespace jet {

/// A path as the Pager's sentences name it: in single quotes, UTF-8.
std::string inQuotes(const std::filesystem::path& path);
/// Another program holds the file; `who` as far as that is known.
Error inUse(const std::filesystem::path& path, const files::Person& who = {});
/// Another program has written to the file since it was read.
Error changedElsewhere(const std::filesystem::path& path);

/// Takes a step that only tidies up, or that has an answer to its failing. False when it failed.
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
