#pragma once

#include "store/postgres/server_settings.h"

#include <cstdint>
#include <string>

namespace postgres {

struct BroughtBack {
    std::uint64_t customers = 0; ///< 0 where the register has that customer again
    std::uint64_t pressings = 0;
    std::string when;    ///< the deletion, in the server's time zone UTC: "2026-11-23 04:30"
    std::string who;     ///< the counter that deleted
    std::string earlier; ///< when that customer was deleted before, the last times, each like `when`; empty: never
};

/// Brings back from the history what the last deletion of that customer in the shared register has taken: terms and
/// pressings, which all counters then take in. With `before`, a moment like BroughtBack::when, it is the last deletion
/// before that. Nothing is asked of any file. A deletion is brought back once only. Asks for a user who owns the
/// tables. Throws ServerError: no line, nobody of that name was deleted (by then), brought back already, a moment that
/// is none, or no shared register in the settings.
BroughtBack undelete(const ServerSettings& settings, const std::string& user, const std::string& customer,
                     const std::string& before);

} // namespace postgres
