#pragma once

#include <filesystem>
#include <optional>

namespace platform {

/// Where a program of that name keeps this user's data, whether it is there or not. Nothing where the program's
/// launcher sees to that.
std::optional<std::filesystem::path> usersDataFolder(const std::filesystem::path& program);

} // namespace platform
