#pragma once

#include "seasons/report.h"

#include <string>

namespace seasons {

/// The report as one page for any browser: nothing in it is fetched from anywhere, and it says so to the browser. All
/// figures stand in its tables; the drawings are made of these, so a page without scripts still tells everything.
/// Of very many customers it lists the largest, and says so.
std::string page(const Report& report);

} // namespace seasons
