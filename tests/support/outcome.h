#pragma once

#include "base/error.h"

#include <QString>
#include <type_traits>

using namespace Qt::StringLiterals;

/// The number of the run-time error that an action ends with; 0 if it ends well.
template <class Action> int errorOf(Action&& action)
{
    try {
        action();
        return 0;
    } catch (const base::RuntimeError& error) {
        return error.number();
    }
}

/// What an action gave, as one text: its result ("done" if it has none), or "E" and the number of the error it raised.
template <class Action> QString outcomeOf(Action&& action)
{
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Action>>) {
            action();
            return u"done"_s;
        } else {
            return action();
        }
    } catch (const base::RuntimeError& error) {
        return u"E%1"_s.arg(error.number());
    }
}
