#pragma once

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

/// The ascending payload of an index key on that text. Without weights for the collation: nothing.
std::optional<TextKey> textKey(std::u16string_view text, Collation collation);

/// Folds text so that two texts that differ only in letter case become equal, by Turkish letters (I = ı, İ = i)
/// whatever the file's collation: the folding of Like and of the customer search.
std::u16string foldTurkish(std::u16string_view text);

} // namespace jet
