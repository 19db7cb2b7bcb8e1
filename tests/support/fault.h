#pragma once

#include "files/error.h"

#include <optional>
#include <ostream>

namespace files {

/// How a report shows a fault: by its place among the others.
inline void PrintTo(Fault fault, std::ostream* out) { *out << "fault " << static_cast<int>(fault); }

} // namespace files

/// The fault that an action throws; nothing when it throws none.
template <class Action> std::optional<files::Fault> faultOf(Action&& action)
{
    try {
        action();
    } catch (const files::Error& error) {
        return error.fault();
    }
    return std::nullopt;
}
