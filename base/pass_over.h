#pragma once

#include "base/error.h"

#include <optional>
#include <utility>

namespace base {

/// Runs one statement. When it fails, the program goes on with the next one; the error comes back, for those who want
/// to know.
///
/// Give it one statement at a time: of two in one call, a failing first would take the second with it. Error 28, rules
/// that set one another off without end, is not passed over: it ends the whole action.
template <class Statement> std::optional<RuntimeError> passOver(Statement&& statement)
{
    try {
        std::forward<Statement>(statement)();
        return std::nullopt;
    } catch (const RuntimeError& error) {
        if (error.number() == errors::outOfStack) throw;
        return error;
    }
}

} // namespace base
