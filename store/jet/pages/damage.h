#pragma once

#include "files/quoted_path.h"
#include "store/jet/pages/pager.h"

#include <string_view>

namespace jet {

/// Throws Fault::damaged for bytes on a page that contradict the format. `what` is a Turkish clause.
[[noreturn]] void throwDamaged(const Pager& pager, PageNo page, std::string_view what);

} // namespace jet
