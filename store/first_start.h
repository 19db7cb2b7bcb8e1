#pragma once

#include "files/disk.h"
#include "store/jet/values/value.h"
#include <filesystem>
#include <functional>
#include <optional>

namespace store {

/// What the mill says about its data when there are none yet.
struct FirstChoice {
    bool leave = false;                         ///< nothing is made, and the program does not start
    std::optional<std::filesystem::path> carry; ///< the Yag.mdb to copy; nothing: an empty one is made
};

/// Sees to it that the folder has its database. Where it has one, or `copyFrom`
/// names one to be copied, nobody is asked; otherwise `ask` is. A copy appears
/// whole and checked, or not at all, and nothing is ever replaced. With it come
/// the texts that the old program keeps beside it: the head of the slips and the
/// widths of the columns. True when the program may start. Throws files::Error.
bool ensureDatabase(files::Disk& disk, const std::filesystem::path& folder,
                    const std::optional<std::filesystem::path>& copyFrom, const std::function<FirstChoice()>& ask,
                    jet::DateTime now);

} // namespace store
