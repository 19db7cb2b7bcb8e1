#pragma once

#include "exchange/row_writer.h"

#include <cstdint>
#include <functional>
#include <string>

namespace exchange {

/// What of a table could not be written.
struct ExportLosses {
    std::uint64_t places = 0;               ///< rows and fields
    std::string first;                      ///< what is wrong with the first of them
    jet::Fault fault = jet::Fault::damaged; ///< of the first of them

    void add(const jet::Error& error);
};

/// The rows that can be read; what cannot, and what the definition or the map says of more, goes into `losses`.
std::uint64_t countRows(const jet::Table& table, ExportLosses& losses);

/// What the list of objects may have lost: a table that it does not list is neither shown nor written.
void checkCatalogue(jet::Database& database, ExportLosses& losses);

/// Writes all rows of a table, in storage order and in passing: memory does not grow with the table. What can be read
/// of a damaged one is worth having; what cannot is counted in `losses`. `progress` hears percentages. Throws disk.
void exportTable(const jet::Table& table, RowWriter& writer, ExportLosses& losses,
                 const std::function<void(int)>& progress);

} // namespace exchange
