#pragma once

#include "base/error.h"

#include <utility>

namespace app {

/// Runs exactly one statement and passes over its error, so that the next statement runs. True when it succeeded.
/// Never wrap two statements together: what follows a failing one must still run.
template <class Statement> bool resumeNext(Statement&& statement)
{
    try {
        std::forward<Statement>(statement)();
        return true;
    } catch (const base::RuntimeError&) {
        return false;
    }
}

} // namespace app
