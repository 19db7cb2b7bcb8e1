#pragma once

#include "store/postgres/connection.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The two tables on the server and in the file, and a row of either as one line of text.
///
/// A line is what COPY takes: fields between tabs, \N for Null, a number by the fewest digits that bring the same
/// double back. Two rows are the same when their lines are.
namespace postgres {

enum class Kind { text, number, moment };

struct FieldShape {
    std::u16string_view name; ///< in the file
    const char* column;       ///< on the server
    Kind kind;
    std::size_t longest; ///< letters of a text
};

struct TableShape {
    std::u16string_view name; ///< in the file
    const char* table;        ///< on the server
    const char* orderColumn;  ///< on the server, what the first field is ordered by; null: nothing
    std::span<const FieldShape> fields;
};

const TableShape& customers();
const TableShape& pressings();

/// "unvan, yuzde, kap, nakit"
std::string columnsOf(const TableShape& shape);

/// A field of a line, and what it says; nothing is Null.
std::string writtenField(const std::optional<std::string>& field);
std::string writtenNumber(double number);
std::vector<std::optional<std::string>> fieldsOf(std::string_view line);
double numberIn(const std::string& field);
/// The engine's own key by which a name is ordered.
std::string orderKeyInHex(const std::string& name);
/// What stands in the column by which the first field of a line is ordered: the engine's own key.
std::string writtenOrder(std::string_view line);

struct ServerLine {
    int row = 0; ///< `satir`
    std::string line;
};

/// All rows of the counter that the session's setting presva.sayac names, in the order in which they were stored.
std::vector<ServerLine> linesOn(Connection& connection, const TableShape& shape);

/// Rows under that name whose first field, a number, lies between the two.
std::vector<std::string> linesOfRegister(Connection& connection, const TableShape& shape, const std::string& name,
                                         double from, double to);

/// Throws ServerError where a register that counters share has the name of this counter: its rows are not one
/// counter's.
void requireNoRegisterOf(Connection& connection, const std::string& counter);

/// Rows of that counter as they were before they went or were changed, by the history.
std::vector<std::string> goneLinesOn(Connection& connection, const TableShape& shape);

} // namespace postgres
