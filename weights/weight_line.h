#pragma once

#include "mill/weighing.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

/// The book of weights, `Tartim.jsonl`: one line for every stored pressing, each tied to the one before it.
namespace weights {

/// A pressing as it was stored. Texts are UTF-8, moments days since 1899-12-30 in whole seconds by the clock on the
/// wall.
struct Pressing {
    double moment = 0; ///< `Tarih`
    int station = 0;   ///< 1 or 2
    std::string customer;
    double olives = 0; ///< kg
    mill::Weighing olivesFrom;
    double oil = 0; ///< kg
    mill::Weighing oilFrom;
    double percentage = 0;
    double entitlement = 0; ///< kg of oil
    double fee = 0;         ///< TL
    int job = 0;            ///< the print job of its slip
    /// Pressings that the journal held already when the book began; on the first line only.
    std::optional<std::uint64_t> before;

    bool operator==(const Pressing&) const = default;
};

/// The program is about to delete pressings from the journal: those of one customer, or all.
struct Deletion {
    double moment = 0;
    std::optional<std::string> customer;
    std::uint64_t pressings = 0; ///< that it deletes
    std::uint64_t before = 0;    ///< pressings older than the book that stay

    bool operator==(const Deletion&) const = default;
};

/// A copy is about to take the place of the database.
struct Restore {
    double moment = 0;
    std::string copy;         ///< its file name
    std::uint64_t upTo = 0;   ///< the last line whose pressing the copy holds; 0: none
    std::uint64_t before = 0; ///< pressings older than the book that the copy holds

    bool operator==(const Restore&) const = default;
};

using Fact = std::variant<Pressing, Deletion, Restore>;

double momentOf(const Fact& fact);

/// One line of the book. Its seal is the SHA-256 of everything before it in the line, in which the seal of the line
/// before stands: whoever changes a line breaks the next one too.
struct Line {
    std::uint64_t number = 0; ///< from 1, through all seasons
    Fact fact;
    std::string previous; ///< the seal of the line before, 64 hexadecimal digits; 64 zeros on the first line
    std::string seal;
};

/// The seal before the first line.
extern const std::string noSeal;

/// The text of a line, sealed, without its line end.
std::string written(std::uint64_t number, const Fact& fact, const std::string& previous);

/// The line of that text; nothing for one that is not exactly as written() makes it, its seal included.
std::optional<Line> read(std::string_view text);

/// "2025-11-20T14:05:00".
std::string isoMoment(double moment);
/// "20.11.2025 14:05:00".
std::string shownMoment(double moment);

} // namespace weights
