#include "store/jet/pages/pager_failing.h"

namespace jet {

std::string inQuotes(const std::filesystem::path& path)
{
    const auto utf8 = path.u8string();
    return "'" + std::string(utf8.begin(), utf8.end()) + "'";
}

Error inUse(const std::filesystem::path& path)
{
    return {Fault::inUse, inQuotes(path) + " başka bir program tarafından kullanılıyor; onu kapatıp yeniden deneyin."};
}

} // namespace jet
