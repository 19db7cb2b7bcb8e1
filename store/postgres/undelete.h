#pragma once

#include "store/postgres/server_settings.h"

#include <cstdint>
#include <string>

namespace postgres {

struct BroughtBack {
    std::uint64_t customers = 0; ///< 0 where the register has that customer again
    std::uint64_t pressings = 0;
    std::uint64_t there = 0; ///< pressings of the deletion that the register has again by another road
    std::string when;        ///< the deletion, in the server's time zone UTC: "2026-11-23 04:30:20"
    std::string who;         ///< the counter that deleted
    std::string earlier;     ///< the deletions before it, the last ones first, each like `when` and with its pressings
};

/// Brings back from the history what the last deletion of that customer in the shared register has taken, terms and
/// pressings, which all counters then take in; with `moment`, like BroughtBack::when, what the deletion of that moment
/// has. A pressing that stands there again since, brought by a file that joined, is not brought a second time; equal
/// ones are counted. Nothing is asked of any file. A deletion is brought back once only. Asks for a user who owns the
/// tables. Throws ServerError: no line, nobody of that name was deleted, no deletion or several of that moment, brought
/// back already, all of it there again, or no shared register in the settings.
BroughtBack undelete(const ServerSettings& settings, const std::string& user, const std::string& customer,
                     const std::string& moment);

} // namespace postgres
