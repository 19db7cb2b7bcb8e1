#pragma once

#include "exchange/row_writer.h"
#include "store/jet/database/database.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

/// SQL as Access writes it, over the tables of a file: read by SQLite, which sees them as virtual tables, and written
/// through the engine's own road. What is understood stands in the help of presva-mdb sql.
namespace query {

/// False where the program was built without SQLite: then only what store/jet/sql/sql.h says is understood.
bool available();

/// The statement writes: the file must be open for that.
bool writes(std::string_view sql);

/// What a query asks for when it is opened: an expression for each name that stands in its text and is no field.
using Parameters = std::map<std::string, std::string>;

/// Runs a select; its rows go to the writer one after the other. Throws files::Error: syntax, noSuchTable, unsupported,
/// badValue, damaged.
void select(jet::Database& database, std::string_view sql, bool english, exchange::RowWriter& rows,
            const Parameters& parameters = {});

/// Runs an Insert, Update or Delete as one change, on what the file holds now. Returns the number of rows. Throws as
/// select, and as Table::insert, update and erase; nothing is changed then.
std::uint64_t execute(jet::Database& database, std::string_view sql, bool english, const Parameters& parameters = {});

} // namespace query
