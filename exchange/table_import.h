#pragma once

#include "exchange/text_source.h"
#include "store/jet/database/database.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace exchange {

/// What somebody has said about a file to be imported; the rest is found out.
struct ImportStyle {
    std::optional<char> delimiter;
    std::optional<char> decimalMark;
    std::optional<bool> dayFirst;
    std::optional<bool> emptyRows; ///< lines of empty fields at the end are rows of Nulls; false: they are no rows
};

/// Adds the rows of a CSV to a table, all of them or none: the first line names columns, the others are Null (or the
/// table's own). The text is read twice, so that memory grows with the pages that are written alone: first to find its
/// style, then to load it. Where the delimiter was not said it is the one by which every name of the first line is a
/// column. Returns how many rows. A line that cannot be read, or that the table refuses, is named by its number. Throws
/// syntax, badValue (also where the file leaves its style open, with the option that says it), noSuchTable, and as
/// Table::insert.
std::uint64_t importRows(jet::Database& database, const std::string& table, TextSource& text, const ImportStyle& style,
                         const std::function<void(int)>& progress);

} // namespace exchange
