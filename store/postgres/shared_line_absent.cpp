#include "store/postgres/shared_line.h"

#include "files/language.h"

namespace postgres {

/// A line that never comes: what is changed here waits in the file.
struct SharedLine::State {};

SharedLine::SharedLine(ServerSettings, Place, std::vector<WaitingChange>, std::function<void()>) {}
SharedLine::~SharedLine() = default;
void SharedLine::bring(const std::vector<WaitingChange>&) {}
News SharedLine::take()
{
    return {{},
            false,
            files::said("Bu kurulum bir sunucuya bağlanamaz (libpq olmadan derlenmiş).",
                        "This installation reaches no server (it was built without libpq)."),
            {}};
}

} // namespace postgres
