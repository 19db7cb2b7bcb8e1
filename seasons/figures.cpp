#include "seasons/figures.h"

#include "mill/season.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/order_key.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace seasons {
namespace {

constexpr std::int64_t perHour = 3'600'000; ///< milliseconds
constexpr std::int64_t perDay = 24 * perHour;

/// The day of a moment, and the milliseconds since it began.
struct Clock {
    int day;
    std::int64_t time;
};

Clock clockOf(double moment)
{
    const std::int64_t all = jet::milliseconds(jet::DateTime{moment});
    const std::int64_t time = (all % perDay + perDay) % perDay;
    return {static_cast<int>((all - time) / perDay), time};
}

/// The Monday on that day or before it.
int mondayOf(int day)
{
    constexpr int knownMonday = 2; // 1900-01-01
    return day - ((day - knownMonday) % 7 + 7) % 7;
}

} // namespace

void Amounts::add(const Pressing& pressing)
{
    ++pressings;
    olives += pressing.olives.value_or(0);
    oil += pressing.oil.value_or(0);
    share += pressing.share.value_or(0);
    fee += pressing.fee.value_or(0);
}

void Amounts::add(const Amounts& others)
{
    pressings += others.pressings;
    olives += others.olives;
    oil += others.oil;
    share += others.share;
    fee += others.fee;
}

std::optional<double> Amounts::yield() const
{
    if (!(olives > 0)) return std::nullopt;
    return oil / olives;
}

Sums::Sums(int year, ContainerKinds kinds)
    : kinds_(std::move(kinds)), firstDay_(mill::firstDayOfSeason(year)),
      days_(static_cast<std::size_t>(mill::firstDayOfSeason(year + 1) - firstDay_))
{
    figures_.year = year;
}

void Sums::add(const Pressing& pressing)
{
    const int year = mill::seasonOf(pressing.moment);
    figures_.seasons[year].add(pressing);
    if (year != figures_.year) return;

    const Clock clock = clockOf(pressing.moment);
    figures_.total.add(pressing);
    days_[static_cast<std::size_t>(clock.day - firstDay_)].add(pressing);
    figures_.hours[static_cast<std::size_t>(clock.time / perHour)].add(pressing);

    Customer& customer = customerNamed(pressing.customer);
    customer.amounts.add(pressing);
    customer.lastDay = std::max(customer.lastDay, clock.day);

    const double olives = pressing.olives.value_or(0);
    const double oil = pressing.oil.value_or(0);
    if (olives > 0 && oil > 0) {
        const double percent = oil * 100 / olives;
        constexpr auto last = YieldCounts::bins - 1;
        ++figures_.yields.pressings[percent < last ? static_cast<std::size_t>(percent) : last];
        if (percent < last) figures_.yields.weighed.add(pressing);
    } else {
        ++figures_.yields.unknown;
    }
    if (!customer.kind)
        ++figures_.containers.unknown;
    else if (oil > 0)
        figures_.containers.filled[*customer.kind] += std::floor(oil / mill::containers[*customer.kind].litres);
}

Sums::Customer& Sums::customerNamed(std::u16string_view name)
{
    const auto found = customers_.find(name);
    if (found != customers_.end()) return found->second;
    Customer& customer = customers_[std::u16string(name)];
    customer.lastDay = firstDay_;
    const auto kind = kinds_.find(std::u16string(name));
    if (kind != kinds_.end()) customer.kind = kind->second;
    return customer;
}

Figures Sums::figures() const
{
    Figures figures = figures_;
    for (std::size_t i = 0; i < days_.size(); ++i) {
        if (days_[i].pressings > 0) figures.days.push_back({firstDay_ + static_cast<int>(i), days_[i]});
    }

    struct Ordered {
        CustomerAmounts customer;
        std::vector<std::uint8_t> key;
    };
    std::vector<Ordered> ordered;
    ordered.reserve(customers_.size());
    for (const auto& [name, customer] : customers_) {
        ordered.push_back({{name, customer.amounts, customer.lastDay}, {}});
        jet::appendOrderKey(ordered.back().key, name);
    }
    std::ranges::sort(ordered, [](const Ordered& one, const Ordered& other) {
        if (one.customer.amounts.olives != other.customer.amounts.olives)
            return one.customer.amounts.olives > other.customer.amounts.olives;
        // Names that differ in their capitals alone have one key.
        return std::tie(one.key, one.customer.name) < std::tie(other.key, other.customer.name);
    });
    figures.customers.reserve(ordered.size());
    for (Ordered& each : ordered) figures.customers.push_back(std::move(each.customer));
    return figures;
}

std::vector<DayAmounts> weeksOf(const std::vector<DayAmounts>& days)
{
    std::vector<DayAmounts> weeks;
    for (const DayAmounts& day : days) {
        const int monday = mondayOf(day.day);
        if (weeks.empty()) weeks.push_back({monday, {}});
        while (weeks.back().day < monday) weeks.push_back({weeks.back().day + 7, {}});
        weeks.back().amounts.add(day.amounts);
    }
    return weeks;
}

std::vector<std::optional<double>> yieldsOfSevenDays(const std::vector<DayAmounts>& days)
{
    std::vector<std::optional<double>> yields;
    yields.reserve(days.size());
    for (std::size_t last = 0; last < days.size(); ++last) {
        Amounts sum;
        for (std::size_t i = last + 1; i-- > 0 && days[i].day > days[last].day - 7;) sum.add(days[i].amounts);
        yields.push_back(sum.yield());
    }
    return yields;
}

} // namespace seasons
