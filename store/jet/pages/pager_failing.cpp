#include "store/jet/pages/pager_failing.h"

namespace jet {

Error inUse(const std::filesystem::path& path, const files::Person& who)
{
    std::string whose;
    if (!who.machine.empty()) whose = who.machine + " bilgisayarında";
    if (!who.user.empty()) whose += (whose.empty() ? "" : " ") + who.user;
    if (!whose.empty()) whose = " (" + whose + ')';
    return {Fault::inUse,
            inQuotes(path) + " başka bir program tarafından kullanılıyor" + whose + "; onu kapatıp yeniden deneyin."};
}

Error changedElsewhere(const std::filesystem::path& path)
{
    return {Fault::changedElsewhere,
            inQuotes(path) + " bu sırada başka bir program tarafından değiştirildi; işlemi yineleyin."};
}

} // namespace jet
