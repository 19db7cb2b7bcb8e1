#pragma once

#include "seasons/report.h"

#include <filesystem>

namespace seasons {

/// The report's tables as a PDF on A4 pages, with bars beside the figures that the page draws. Of very many customers
/// it lists the largest, and says so. Throws files::Error: unsupported where the build has nothing that writes one, and
/// disk.
void writePaper(const Report& report, const std::filesystem::path& path);

/// False where the program was built without cairo.
bool writesPaper(); // for tests: elsewhere the failure says it

} // namespace seasons
