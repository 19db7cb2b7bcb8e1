#pragma once

#include "store/jet/database/database.h"

#include <sqlite3.h>

#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace query {

/// The tables of a file as SQLite sees them. Fields become numbers and texts; moments are texts (moments.h), True is
/// -1. Money and decimals are numbers under their name, and with all their digits, where these are too many for a
/// number as a text, in a hidden column (exactName()).
///
/// A read table is walked in passing, so that memory does not grow with it. An index of the table finds rows by one
/// value, or between two numbers or dates. For a join on another column the rows of the inner table are remembered by
/// that column when they are looked for a second time: some 40 bytes each.
class VirtualTables {
public:
    /// The connection lives as long as this. `order`: that of the connection's texts. `writing`: rows are found before
    /// any is changed.
    VirtualTables(sqlite3* connection, jet::Collation order, bool writing);
    VirtualTables(const VirtualTables&) = delete;
    VirtualTables& operator=(const VirtualTables&) = delete;

    /// SQLite knows the table by its own name from here on; a second time does nothing.
    void add(jet::Table& table);

    /// The fields that an Insert gives, whatever their values: Null is a value too.
    void naming(std::set<std::u16string> fields) { named_ = std::move(fields); }
    /// Ends a statement that writes: the rows of a Delete go together, as rows may that only each other's going allows.
    void finish();

    std::uint64_t changedRows() const { return changed_; }
    /// What was thrown while SQLite worked, if anything was; SQLite itself only hears that something failed.
    std::exception_ptr failure() const { return failure_; }

    struct Shared; ///< of one table
    struct Hooks;  ///< what SQLite calls

private:
    bool assigns(const jet::Column& column, sqlite3_value* given) const;

    sqlite3* connection_;
    jet::Collation order_;
    bool writing_;
    std::set<std::u16string> named_;
    std::uint64_t changed_ = 0;
    std::exception_ptr failure_;
    std::vector<std::unique_ptr<Shared>> tables_;

public:
    ~VirtualTables();
};

} // namespace query
