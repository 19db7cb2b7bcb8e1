#include "platform/data_folder.h"

namespace platform {

std::optional<std::filesystem::path> usersDataFolder(const std::filesystem::path& /*program*/) { return std::nullopt; }

} // namespace platform
