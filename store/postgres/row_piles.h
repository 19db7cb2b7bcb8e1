#pragma once

#include "store/postgres/carry.h"
#include "store/postgres/connection.h"
#include "store/postgres/server_rows.h"
#include "store/postgres/shared_tables.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// The rows of a file and of a server as two piles of lines, counted: what both ways of carrying do with them.
namespace postgres {

/// Lines to take from, equal ones as often as they are there. The lines outlive the pile.
class RowPile {
public:
    explicit RowPile(const std::vector<std::string>& lines);
    /// Takes one such line; false when there is none left.
    bool take(const std::string& line);

private:
    std::unordered_map<std::string_view, std::size_t> counts_;
};

/// Those of the wanted lines that are not there, equal ones as many as are missing.
std::vector<std::string> missingFrom(const std::vector<std::string>& there, const std::vector<std::string>& wanted);
std::vector<std::string> textsOf(const std::vector<ServerLine>& lines);
/// Throws damaged unless both have the same rows.
void requireSame(const std::vector<std::string>& one, const std::vector<std::string>& other, const TableShape& shape);
/// The first field of a line as it is written: a customer's name.
std::string nameIn(const std::string& line);
std::string plural(std::size_t rows); ///< "5 satır"

/// Rows in one change: what a stop in between makes us carry again.
inline constexpr std::size_t rowsAtOnce = 2000;

/// Tells how far the rows have come, all tables together.
class Count {
public:
    Count(const CarryProgress& progress, std::size_t all);
    void step();
    std::uint64_t done() const { return done_; }

private:
    const CarryProgress& progress_;
    std::size_t all_;
    std::size_t done_ = 0;
};

/// The session reads and writes the rows of these settings from here on, and the history says so. Two programs at once
/// would carry every row twice: the second one waits. The lock goes with the session, and one that was cut off ends
/// soon.
void writeRowsOf(Connection& connection, const ServerSettings& settings);
/// The server knows that name from here on; not before it is certain that something is to stand under it.
void makeNameKnown(Connection& connection, const std::string& owner);

/// Adds rows, each with a number of its own: none is given twice, also when the row is gone again.
void addRows(Connection& connection, const std::vector<std::string>& lines, const TableShape& shape,
             const std::string& owner, Count& count);

/// The end of a register's history now.
Place placeOn(Connection& connection, const std::string& name);

} // namespace postgres
