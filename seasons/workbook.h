#pragma once

#include "seasons/report.h"

#include <filesystem>

namespace seasons {

/// The report's tables as the sheets of a workbook, behind one with its words. Throws files::Error: unsupported where
/// the build has no writer of workbooks, and disk.
void writeWorkbook(const Report& report, const std::filesystem::path& path);

} // namespace seasons
