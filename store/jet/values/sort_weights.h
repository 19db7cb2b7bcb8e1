#pragma once

#include <cstdint>
#include <vector>

/// The weights of characters in text keys, as sort_weights.txt says them. Only sort_key.cpp reads them.
namespace jet::weights {

enum class Kind : std::uint8_t {
    letter,      ///< primary bytes, with a diacritic byte for each weight
    ignored,     ///< nothing, and known to be nothing; code units in no run are ignored by default
    unprintable, ///< a record of code (in `primary`) and position behind the text
    combining,   ///< adds its code (in `primary`) to the diacritic byte before it
};

/// Neighbouring code units alike in everything but their weight, which stays or goes up one place at a time.
/// Places of two-byte weights: the second byte runs from 02 to FF, then the first one goes up.
struct Run {
    char16_t first = 0;
    std::uint16_t count = 0;
    std::uint32_t primary = 0;  ///< weights of `first`, 1 to 4 bytes, the first byte highest; none of them is 00
    std::uint8_t step = 0;      ///< places from one code unit to the next: 0 or 1
    std::uint8_t diacritic = 2; ///< of the first weight; 2 is none
    std::uint8_t second = 2;    ///< diacritic of the second weight; a third one has none
    std::uint8_t kana = 0;      ///< kana flag 2 or 3, or none
    std::uint8_t weights = 1;   ///< positions that the character takes
    Kind kind = Kind::letter;
    bool certain = true;
};

/// Each ascending by `first`. Only first and count are said of what is certain.
struct Table {
    std::vector<Run> general;
    std::vector<Run> turkishChanges; ///< what Turkish order changes
    std::vector<Run> turkishCertain; ///< code units whose Turkish weight is sure
};

const Table& table();

} // namespace jet::weights
