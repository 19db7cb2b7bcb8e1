#pragma once

#include <compare>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// How the copies of a mill's database are named, and which of them are kept. Standard library only: the counter makes
/// the copies and the tools list them.
///
///     Yedek/Yag-2025-11-20.mdb          the day's copy, of the first stored pressing
///     Yedek/Yag-2025-11-20-140501.mdb   made before a deletion, when the day had its copy already
namespace store {

inline constexpr const char* copyFolder = "Yedek"; ///< in the program's directory
/// The newest of each kind that are kept: a morning of deletions does not push the copies of a month out.
inline constexpr std::size_t copiesKept = 30;

struct CopyTime {
    int year = 0, month = 0, day = 0;
    bool ofDay = true; ///< no time of day in the name
    int hour = 0, minute = 0, second = 0;
    auto operator<=>(const CopyTime&) const = default; // NOLINT(modernize-use-nullptr) there is no pointer here
};

std::string copyName(const CopyTime& time);
/// When the copy of that name was made; nothing for a name that is not exactly one of ours.
std::optional<CopyTime> copyTime(const std::filesystem::path& name);

/// What goes once `made` is there: of each kind all but the newest, never `made` itself (the clock may have been put
/// back) and never a file of another name.
std::vector<std::filesystem::path> copiesToRemove(const std::vector<std::filesystem::path>& names,
                                                  const std::filesystem::path& made);

} // namespace store
