#include "scale/formats/repetition.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace scale {

namespace {

constexpr std::ptrdiff_t inARow = 3;
constexpr std::ptrdiff_t shortWhile = 16;
constexpr std::ptrdiff_t oftenInShort = 4;
constexpr std::ptrdiff_t oftenInShortChecked = 2;
constexpr std::ptrdiff_t oftenInAll = 6;
constexpr std::ptrdiff_t oftenInAllChecked = 3;

} // namespace

std::string saidBy(const Reading& reading)
{
    constexpr std::string_view rests = "?sm";
    return toText(reading.kilograms) + rests[static_cast<std::size_t>(reading.rest)];
}

void Repetition::hear(const Reading& reading)
{
    said_.push_back(saidBy(reading));
    if (said_.size() > remembered) said_.pop_front();
}

bool Repetition::cameInARow() const
{
    return std::ssize(said_) >= inARow &&
           std::all_of(said_.end() - inARow, said_.end(), [&](const std::string& one) { return one == said_.back(); });
}

bool Repetition::cameOften(bool checked) const
{
    if (said_.empty()) return false;
    const auto recent = said_.end() - std::min(shortWhile, std::ssize(said_));
    return std::count(recent, said_.end(), said_.back()) >= (checked ? oftenInShortChecked : oftenInShort) ||
           std::ranges::count(said_, said_.back()) >= (checked ? oftenInAllChecked : oftenInAll);
}

bool Repetition::oneStandsAlone() const
{
    if (said_.size() < 5) return false;
    const auto last = said_.rbegin();
    return last[0] == last[1] && last[0] == last[3] && last[0] == last[4] && last[0] != last[2];
}

} // namespace scale
