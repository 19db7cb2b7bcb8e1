#pragma once

#include "store/jet/format/limits.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace jet {

/// Collating order of a text column, as its table definition stores it.
struct Collation {
    std::uint16_t lcid = 0;
    std::uint8_t version = 0;
    bool operator==(const Collation&) const = default;
};
inline constexpr Collation general{0x0409, 0};
inline constexpr Collation turkish{0x041F, 0};

/// How sure a key is. Only certain keys may be written into a file.
enum class Certainty {
    certain,   ///< every weight is measured, or firmly inferred
    uncertain, ///< a character's weight is a guess: good for comparing, not for writing
};

struct TextKey {
    std::vector<std::uint8_t> bytes; ///< payload after the flag byte, the final 00 included
    Certainty certainty = Certainty::certain;
};

/// True for the two orders whose weights are known.
bool hasWeights(Collation collation);

/// Keys are equal exactly when the two texts are equal to a unique index: letter case, trailing spaces, characters
/// without weight and everything behind textKeyUnits code units do not count. Unsigned byte comparison of keys is the
/// collating order.
inline constexpr std::size_t textKeyUnits = limits::text;

/// The ascending payload of an index key on that text. Without weights for the collation: nothing.
std::optional<TextKey> textKey(std::u16string_view text, Collation collation);

/// The same appended to `key`, without any allocation but the growth of `key`; for keys by the hundred thousand.
/// Without weights for the collation: nothing, and `key` stays as it was.
std::optional<Certainty> appendTextKey(std::vector<std::uint8_t>& key, std::u16string_view text, Collation collation);

/// The first character that makes the text's key uncertain, for messages. Nothing when the key is certain.
std::optional<char16_t> firstUncertain(std::u16string_view text, Collation collation);

/// Folds text so that two texts that differ only in letter case become equal, by Turkish letters (I = ı, İ = i)
/// whatever the file's collation: the folding of Like and of the customer search. One code unit for each code unit:
/// Latin, Greek, Cyrillic and Armenian letters become small, all else stays.
std::u16string foldTurkish(std::u16string_view text);
char16_t foldTurkish(char16_t unit);

/// The same by the letters of that order: in a Turkish one as foldTurkish, in every other one I is i, and İ and ı are
/// letters of their own.
std::u16string foldCase(std::u16string_view text, Collation collation);
char16_t foldCase(char16_t unit, Collation collation);

} // namespace jet
