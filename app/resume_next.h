#pragma once

#include "base/error.h"

#include <utility>

namespace app {

/// Runs exactly one statement and passes over its error, so that the next statement runs. True when it succeeded.
/// Never wrap two statements together: what follows a failing one must still run.
/// Rules that set one another off without end are no error of one statement: that one goes on to whoever began.
template <class Statement> bool resumeNext(Statement&& statement)
{
    try {
        std::forward<Statement>(statement)();
        return true;
    } catch (const base::RuntimeError& error) {
        if (error.number() == base::errors::outOfStack) throw;
        return false;
    }
}

} // namespace app
