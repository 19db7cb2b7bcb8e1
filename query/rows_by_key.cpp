#include "query/rows_by_key.h"

#include <algorithm>
#include <bit>
#include <functional>

namespace query {

std::uint64_t RowsByKey::hashOf(std::string_view bytes) { return std::hash<std::string_view>()(bytes); }

void RowsByKey::close()
{
    std::ranges::stable_sort(added_, {}, &std::pair<std::uint64_t, jet::RowId>::first);
    rows_.reserve(added_.size());
    // At most half of the places are taken: the next free one is near.
    places_.assign(std::bit_ceil(added_.size() * 2 + 2), {});
    for (std::size_t i = 0; i < added_.size();) {
        const std::uint64_t hash = added_[i].first;
        const auto begin = static_cast<std::uint32_t>(rows_.size());
        for (; i < added_.size() && added_[i].first == hash; ++i) rows_.push_back(added_[i].second);
        std::size_t at = hash & (places_.size() - 1);
        while (places_[at].end != 0) at = (at + 1) & (places_.size() - 1);
        places_[at] = {hash, begin, static_cast<std::uint32_t>(rows_.size())};
    }
    added_ = {};
}

std::span<const jet::RowId> RowsByKey::rowsOf(std::uint64_t hash) const
{
    for (std::size_t at = hash & (places_.size() - 1); places_[at].end != 0; at = (at + 1) & (places_.size() - 1))
        if (places_[at].hash == hash)
            return std::span(rows_).subspan(places_[at].begin, places_[at].end - places_[at].begin);
    return {};
}

} // namespace query
