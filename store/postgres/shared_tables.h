#pragma once

#include "mill/names.h"
#include "store/jet/database/database.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What a file of a shared register has beside the mill's two tables, mill::Giden and mill::Durum. Both stand in the
/// file itself, so that they change in one transaction with the rows that they are about, and so that a copy that is
/// put back brings its own.
namespace postgres {

using mill::Durum, mill::Giden;

/// Where a file stands in the history of a register.
struct Place {
    std::string name;
    std::string identity;
    std::int64_t number = 0;
    std::string mark; ///< empty while the number is 0

    bool operator==(const Place&) const = default;
};

/// Nothing for a file that belongs to no shared register.
std::optional<Place> placeIn(jet::Database& database);

/// The file stands there now, and nothing waits. Makes the tables where they are missing. Inside the caller's
/// transaction.
void putPlace(jet::Database& database, const Place& place, jet::DateTime now);

/// A change that the file has noted for its register.
struct WaitingNote {
    double number = 0; ///< its place among the others
    std::string identity;
    std::string json; ///< as presva.islet takes it
    bool bringsPressing = false;
};

/// In their order.
std::vector<WaitingNote> notesIn(jet::Database& database);

/// What a file has done that its register has not confirmed.
struct Waiting {
    std::size_t changes = 0;
    std::size_t pressings = 0; ///< that came; of the changes

    void add(const WaitingNote& note);
};

Waiting waitingIn(jet::Database& database);

/// The file belongs to no register any more; its rows stay, and so do its notes: with them the file joins again without
/// making a slip a second one. Inside the caller's transaction.
void takePlaceAway(jet::Database& database);

} // namespace postgres
