#include "store/jet/damage.h"

#include "store/jet/value.h"

namespace jet {

std::string quotedPath(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return '"' + std::string(text.begin(), text.end()) + '"';
}

std::string quotedName(std::u16string_view name) { return '"' + toUtf8(name) + '"'; }

void throwDamaged(const Pager& pager, PageNo page, std::string_view what)
{
    throw Error(Fault::damaged, quotedPath(pager.path()) + " dosyası bozuk, sayfa " + std::to_string(page) + ": " +
                                    std::string(what) +
                                    ". Dosyanın yedeğini kullanın ya da dosyayı Access ile onarın.");
}

} // namespace jet
