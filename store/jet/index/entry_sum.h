#pragma once

#include "store/jet/format/format.h"

#include <cstdint>
#include <span>

namespace jet {

/// Count and sum of hashes of index entries, the same in whatever order they are added: tells whether the entries of a
/// tree are those that the rows should have, without looking a row up for each of them. Not meant to resist forgery.
class EntrySum {
public:
    void add(std::span<const std::uint8_t> key, RowId row);
    bool operator==(const EntrySum&) const = default;

private:
    std::uint64_t count_ = 0;
    std::uint64_t sum_ = 0;
};

} // namespace jet
