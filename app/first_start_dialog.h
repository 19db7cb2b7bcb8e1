#pragma once

#include "counter/first_start.h"

namespace app {

/// Asks a mill that has no database yet: begin with an empty one, or bring
/// along the Yag.mdb that it has.
counter::FirstChoice askForDatabase();

} // namespace app
