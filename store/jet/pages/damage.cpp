#include "store/jet/pages/damage.h"

#include <string>

namespace jet {

void throwDamaged(const Pager& pager, PageNo page, std::string_view what)
{
    throw Error(Fault::damaged, files::quotedPath(pager.path()) + " dosyası bozuk, sayfa " +
                                    std::to_string(page.number()) + ": " + std::string(what) +
                                    ". Dosyanın yedeğini kullanın ya da dosyayı Access ile onarın.");
}

} // namespace jet
