#pragma once

#include "store/jet/care/check.h"

#include <gmock/gmock.h>

#include <ostream>

namespace jet {

/// How a report shows what a check has found.
inline void PrintTo(const CheckResult& result, std::ostream* out)
{
    *out << "faults " << testing::PrintToString(result.faults) << ", warnings "
         << testing::PrintToString(result.warnings);
}

} // namespace jet

MATCHER(findsNoFault, "finds the database whole") { return arg.ok(); }
MATCHER(findsNothing, "finds nothing to tell of the database") { return arg.ok() && arg.warnings.empty(); }
