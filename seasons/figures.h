#pragma once

#include "mill/containers.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// What a season comes to: sums over its pressings, and how they are shown.
namespace seasons {

/// A pressing as the journal has it. What its row does not say is missing.
struct Pressing {
    double moment = 0;            ///< days since 1899-12-30 by the mill's clock, a day of the years 100 to 9999
    std::optional<double> olives; ///< kg
    std::optional<double> oil;    ///< kg
    std::optional<double> share;  ///< the mill's, kg of oil
    std::optional<double> fee;    ///< TL
    std::u16string_view customer;
};

/// What some pressings come to. A number that is missing adds nothing.
struct Amounts {
    std::uint64_t pressings = 0;
    double olives = 0; ///< kg
    double oil = 0;    ///< kg
    double share = 0;  ///< kg of oil
    double fee = 0;    ///< TL

    void add(const Pressing& pressing);
    void add(const Amounts& others);
    /// Oil for each kilogram of olives; nothing without olives.
    std::optional<double> yield() const;
    bool operator==(const Amounts&) const = default;
};

struct DayAmounts {
    int day = 0; ///< days since 1899-12-30; of a week its Monday
    Amounts amounts;
    bool operator==(const DayAmounts&) const = default;
};

struct CustomerAmounts {
    std::u16string name;
    Amounts amounts;
    int lastDay = 0;
};

/// Pressings whose yield lies in one percent.
struct YieldCounts {
    static constexpr std::size_t bins = 61; ///< the last one: 60 % and more
    std::array<std::uint64_t, bins> pressings{};
    std::uint64_t unknown = 0; ///< without olives, or without oil
    Amounts weighed = {};      ///< of all but the unknown ones and the last bin
};

/// Whole containers that the oil fills, by the customers' kinds.
struct ContainerCounts {
    std::array<double, mill::containers.size()> filled{}; ///< in the order of mill::containers
    std::uint64_t unknown = 0;                            ///< pressings of customers without a kind
};

struct Figures {
    int year = 0; ///< in which the season began
    Amounts total;
    std::vector<DayAmounts> days;    ///< those with pressings, in their order
    std::array<Amounts, 24> hours{}; ///< by the hour in which a pressing was booked
    YieldCounts yields;
    std::vector<CustomerAmounts> customers; ///< most olives first; of as many, in the order of the alphabet
    ContainerCounts containers;
    std::map<int, Amounts> seasons; ///< all of the journal, by the year in which they began
};

/// The position in mill::containers of each customer's kind.
using ContainerKinds = std::unordered_map<std::u16string, std::size_t>;

/// Adds up the pressings of one season; those of others count in Figures::seasons alone.
class Sums {
public:
    Sums(int year, ContainerKinds kinds);
    void add(const Pressing& pressing);
    Figures figures() const;

private:
    struct Customer {
        Amounts amounts;
        int lastDay = 0;
        std::optional<std::size_t> kind;
    };
    struct NameHash {
        using is_transparent = void;
        std::size_t operator()(std::u16string_view name) const { return std::hash<std::u16string_view>()(name); }
    };

    Customer& customerNamed(std::u16string_view name);

    ContainerKinds kinds_;
    int firstDay_;
    std::vector<Amounts> days_; ///< from the first of July on
    std::unordered_map<std::u16string, Customer, NameHash, std::equal_to<>> customers_;
    Figures figures_;
};

/// The weeks from the first of these days to the last, also those without a pressing.
std::vector<DayAmounts> weeksOf(const std::vector<DayAmounts>& days);

/// For each of these days the yield of the seven days that end with it.
std::vector<std::optional<double>> yieldsOfSevenDays(const std::vector<DayAmounts>& days);

} // namespace seasons
