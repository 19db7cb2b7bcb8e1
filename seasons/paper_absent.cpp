#include "seasons/paper.h"

#include "files/error.h"
#include "files/language.h"

namespace seasons {

bool writesPaper() { return false; }

std::string paper(const Report&)
{
    throw files::Error(
        files::Fault::unsupported,
        files::said("Bu kurulum .pdf yazamaz (cairo olmadan derlenmiş); sayfayı tarayıcıdan yazdırın.",
                    "This installation cannot write .pdf (it was built without cairo); print the page."));
}

} // namespace seasons
