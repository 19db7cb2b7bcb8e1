#include "platform/data_folder.h"

#include <windows.h>

#include <shlobj.h>

namespace platform {

std::optional<std::filesystem::path> usersDataFolder(const std::filesystem::path& program)
{
    wchar_t folder[MAX_PATH];
    // Of this computer alone: a database must not travel with a roaming profile.
    if (::SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, folder) !=
        S_OK)
        return std::nullopt;
    return std::filesystem::path(folder) / program;
}

} // namespace platform
