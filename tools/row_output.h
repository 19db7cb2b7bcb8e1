#pragma once

#include "exchange/row_writer.h"
#include "exchange/table_export.h"
#include "files/disk.h"
#include "tools/command_line.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>

/// Where commands of presva-mdb write rows to, and how: standard output or a new file, in one of several formats.
namespace tools {

enum class Format { csv, json, sheet };

/// "csv", "jsonl", "xlsx"
std::string_view endingOf(Format format);

/// The one that the option --format names, or that the name of --out ends in; CSV otherwise. Misused where it cannot go
/// to standard output, and no `toFolder`. Throws files::Error (unsupported) for one that this build does not write.
Format formatOf(const Parsed& parsed, bool toFolder);

/// Calls `produce` with a writer to a new file, which appears whole or not at all, or to standard output. What does not
/// fit a cell of a workbook is counted in `losses`.
void writeRows(files::Disk& disk, Format format, const std::optional<std::filesystem::path>& path,
               exchange::ExportLosses& losses, const std::function<void(exchange::RowWriter&)>& produce);

/// The exit code 0; throws files::Error (damaged) where something was lost.
int toldLosses(const exchange::ExportLosses& losses);

} // namespace tools
