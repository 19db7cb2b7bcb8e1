#include "store/jet/index/entry_sum.h"

#include <bit>
#include <cstddef>

namespace jet {

void EntrySum::add(std::span<const std::uint8_t> key, RowId row)
{
    constexpr std::uint64_t factor = 0x9FB21C651E98DF25U;
    std::uint64_t hash = std::uint64_t{row.packed()} + 1;
    const auto take = [&hash](std::uint64_t word) { hash = std::rotl((hash ^ word) * factor, 29); };
    take(key.size());
    constexpr std::size_t step = sizeof(std::uint64_t);
    std::size_t at = 0;
    for (; at + step <= key.size(); at += step) take(getU64(&key[at]));
    if (at < key.size()) {
        if (key.size() >= step) {
            take(getU64(&key[key.size() - step])); // some bytes once more: quicker than to gather the last ones
        } else {
            std::uint64_t word = 0;
            for (; at < key.size(); ++at) word = word << 8 | key[at];
            take(word);
        }
    }
    // Every bit of the key must reach every bit of the sum.
    hash ^= hash >> 32;
    hash *= factor;
    hash ^= hash >> 29;
    ++count_;
    sum_ += hash;
}

} // namespace jet
