#include "store/copy_names.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string_view>

namespace store {
namespace {

constexpr std::string_view prefix = "Yag-";
constexpr std::string_view suffix = ".mdb";
constexpr std::string_view dayPattern = "dddd-dd-dd";
constexpr std::string_view momentPattern = "dddd-dd-dd-dddddd";

bool matches(std::string_view text, std::string_view pattern)
{
    return std::ranges::equal(text, pattern,
                              [](char c, char wanted) { return wanted == 'd' ? c >= '0' && c <= '9' : c == wanted; });
}

int number(std::string_view digits)
{
    int value = 0;
    for (const char digit : digits) value = value * 10 + (digit - '0');
    return value;
}

} // namespace

std::string copyName(const CopyTime& time)
{
    char name[64];
    if (time.ofDay)
        std::snprintf(name, sizeof name, "Yag-%04d-%02d-%02d.mdb", time.year, time.month, time.day);
    else
        std::snprintf(name, sizeof name, "Yag-%04d-%02d-%02d-%02d%02d%02d.mdb", time.year, time.month, time.day,
                      time.hour, time.minute, time.second);
    return name;
}

std::optional<CopyTime> copyTime(const std::filesystem::path& name)
{
    const std::u8string utf8 = name.u8string();
    std::string_view text(reinterpret_cast<const char*>(utf8.data()), utf8.size());
    if (!text.starts_with(prefix) || !text.ends_with(suffix)) return std::nullopt;
    if (text.size() < prefix.size() + suffix.size()) return std::nullopt;
    text = text.substr(prefix.size(), text.size() - prefix.size() - suffix.size());
    const bool ofDay = matches(text, dayPattern);
    if (!ofDay && !matches(text, momentPattern)) return std::nullopt;

    CopyTime time{number(text.substr(0, 4)), number(text.substr(5, 2)), number(text.substr(8, 2)), ofDay};
    const std::chrono::year_month_day date(std::chrono::year(time.year),
                                           std::chrono::month(static_cast<unsigned>(time.month)),
                                           std::chrono::day(static_cast<unsigned>(time.day)));
    if (!date.ok()) return std::nullopt;
    if (ofDay) return time;
    time.hour = number(text.substr(11, 2));
    time.minute = number(text.substr(13, 2));
    time.second = number(text.substr(15, 2));
    if (time.hour > 23 || time.minute > 59 || time.second > 59) return std::nullopt;
    return time;
}

std::vector<std::filesystem::path> copiesToRemove(const std::vector<std::filesystem::path>& names,
                                                  const std::filesystem::path& made)
{
    std::vector<std::filesystem::path> removed;
    for (const bool ofDay : {true, false}) {
        std::vector<std::pair<CopyTime, std::filesystem::path>> copies;
        for (const std::filesystem::path& name : names)
            if (const auto time = copyTime(name); time && time->ofDay == ofDay) copies.emplace_back(*time, name);
        std::ranges::sort(copies, std::greater<>());
        std::size_t kept = std::ranges::any_of(copies, [&](const auto& copy) { return copy.second == made; }) ? 1 : 0;
        for (const auto& [time, name] : copies) {
            if (name == made) continue;
            if (kept < copiesKept)
                ++kept;
            else
                removed.push_back(name);
        }
    }
    return removed;
}

} // namespace store
