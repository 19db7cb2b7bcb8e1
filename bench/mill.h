#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

/// A mill with a long life: invented customers and pressings, the same ones in every run.
namespace long_mill {

struct Customer {
    std::u16string name; ///< no two alike
    float share = 0;     ///< percent
    std::u16string container;
    std::int64_t fee = 0; ///< ten-thousandths of a lira
};

struct Pressing {
    double moment = 0; ///< days since 1899-12-30; ascending from one pressing to the next
    double olives = 0; ///< kg
    double oil = 0;    ///< kg
    float share = 0;   ///< percent
    double entitlement = 0;
    std::int64_t fee = 0; ///< ten-thousandths of a lira
    std::size_t customer = 0;
};

inline constexpr std::size_t customerCount = 100'000;
inline constexpr std::size_t pressingCount = 1'000'000;

/// In the order of their first visit, which is no order at all.
std::vector<Customer> customers();
/// Journal of ten seasons, October to January.
void pressings(const std::function<void(const Pressing&)>& visit);
/// One more pressing of the same kind, for appending.
Pressing nextPressing(std::mt19937& random, double moment);

/// What is asked of every engine. The month lies in the middle of a season, somewhere in the middle of the journal.
inline constexpr double monthBegin = 43040;                 ///< 2017-11-01 00:00:00
inline constexpr double monthEnd = 43069 + 86399.0 / 86400; ///< 2017-11-30 23:59:59
inline const std::u16string twoLetters = u"Ay";
inline const std::u16string sixLetters = u"Ayşe Ö";
inline constexpr const char* totalsName = "Toplamlar";

std::string utf8(const std::u16string& text);

/// The number of the customer that is asked for next, from 1 on: all over the register.
inline std::size_t keyAfter(std::size_t key) { return (key + 61'803) % customerCount + 1; }

} // namespace long_mill
