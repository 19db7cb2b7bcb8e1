#pragma once

#include "seasons/report.h"

#include <string>

namespace seasons {

/// The report's tables as a PDF on A4 pages, with bars beside the figures that the page draws. Of very many customers
/// it lists the largest, and says so. The bytes of the file. Throws files::Error: unsupported where the build has
/// nothing that draws one, or where it could not be drawn whole.
std::string paper(const Report& report);

/// False where the program was built without cairo.
bool writesPaper(); // for tests: elsewhere the failure says it

} // namespace seasons
