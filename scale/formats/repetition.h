#pragma once

#include "scale/formats/reading.h"

#include <deque>
#include <string>

namespace scale {

/// What the last frames of a line said, and whether it was said often enough to vouch for itself: one changed byte
/// makes another digit, but hardly the same other digit again and again.
///
/// Where one bit in a hundred is changed, a line of eight bare digits says one certain wrong weight about once in eight
/// hundred lines. The numbers below make that less than one weight in a million lines.
class Repetition {
public:
    void hear(const Reading& reading);

    /// The last three said the same. Enough on a line that has shown no noise.
    bool cameInARow() const;
    /// The last one came four times among 16 frames or six times among 64; with a checksum behind it, which misses
    /// some pairs of changed bytes, twice or three times. Enough on any line.
    bool cameOften(bool checked) const;
    /// Of the last five the one in the middle is another than the rest.
    bool oneStandsAlone() const;

    static constexpr std::size_t remembered = 64;

private:
    std::deque<std::string> said_; ///< weight and rest, the newest last
};

/// Weight and rest of a reading: what must come again.
std::string saidBy(const Reading& reading);

} // namespace scale
