#pragma once

#include "files/error.h"

#include <optional>
#include <ostream>
#include <string>

namespace files {

/// How a report shows a fault: by its place among the others.
inline void PrintTo(Fault fault, std::ostream* out) { *out << "fault " << static_cast<int>(fault); }

} // namespace files

/// What an action was refused with.
struct Refusal {
    std::optional<files::Fault> fault; ///< nothing when it was not refused
    std::string sentence;
};

template <class Action> Refusal refusalOf(Action&& action)
{
    try {
        action();
    } catch (const files::Error& error) {
        return {error.fault(), error.what()};
    }
    return {};
}

/// The fault that an action throws; nothing when it throws none.
template <class Action> std::optional<files::Fault> faultOf(Action&& action) { return refusalOf(action).fault; }
