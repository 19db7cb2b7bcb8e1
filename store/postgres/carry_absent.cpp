#include "store/postgres/carry.h"
#include "store/postgres/join.h"
#include "store/postgres/undelete.h"

#include "files/error.h"
#include "files/language.h"

namespace postgres {
namespace {

[[noreturn]] void refuse()
{
    throw files::Error(files::Fault::unsupported,
                       files::said("Bu kurulum bir sunucuya bağlanamaz (libpq olmadan derlenmiş).",
                                   "This installation reaches no server (it was built without libpq)."));
}

} // namespace

Carried toServer(files::Disk&, const ServerSettings&, const std::filesystem::path&, const ToServer&,
                 const CarryProgress&)
{
    refuse();
}

Carried fromServer(files::Disk&, const ServerSettings&, const std::filesystem::path&, const std::string&, jet::DateTime,
                   const CarryProgress&)
{
    refuse();
}

Carried joinRegister(files::Disk&, const ServerSettings&, const std::filesystem::path&, const Join&, jet::DateTime,
                     const CarryProgress&)
{
    refuse();
}

BroughtBack undelete(const ServerSettings&, const std::string&, const std::string&, const std::string&) { refuse(); }

} // namespace postgres
