#pragma once

#include "exchange/text_encoding.h"
#include "store/jet/database/database.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace exchange {

/// What somebody has said about a file to be imported; the rest is found out.
struct ImportStyle {
    std::optional<char> delimiter;
    std::optional<char> decimalMark;
    std::optional<bool> dayFirst;
};

/// Adds the rows of a CSV (UTF-8) to a table, all of them or none: the first line names columns, the others are Null
/// (or the table's own). Where the delimiter was not said it is the one by which every name of the first line is a
/// column. Returns how many rows. A line that cannot be read, or that the table refuses, is named by its number. Throws
/// syntax, badValue (also where the file leaves its style open, with the option that says it), noSuchTable, and as
/// Table::insert.
std::uint64_t importRows(jet::Database& database, const std::string& table, std::string_view text,
                         const ImportStyle& style, const std::function<void(int)>& progress);

} // namespace exchange
