#pragma once

#include <cstddef> // before <compare>: moc of Qt 6.4 stumbles otherwise

#include <compare>
#include <concepts>
#include <cstdint>
#include <functional>

namespace jet {

/// The number that one of many things of a kind bears, counted from 0: the compiler keeps it from being taken for a
/// count, an offset, a byte, or the number of a thing of another kind. What is said:
///
///     Ordinal(n)      the thing number n; a plain 0, 1, 17 in the text of the program needs no saying
///     number()        its number, for reckoning
///     a + n           the thing n further on
///     b - a           how many things from a to before b
///
template <class Kind, std::unsigned_integral Rep> class Ordinal {
public:
    constexpr Ordinal() = default;
    // NOLINTNEXTLINE(google-explicit-constructor) taken of literals alone, and of no named constant but an int
    consteval Ordinal(std::same_as<int> auto literal) : number_(static_cast<Rep>(literal)) {}
    template <std::integral Number>
    requires(!std::same_as<Number, int>) constexpr explicit Ordinal(Number number) : number_(static_cast<Rep>(number))
    {
    }

    constexpr Rep number() const { return number_; }

    constexpr Ordinal& operator++()
    {
        ++number_;
        return *this;
    }
    constexpr Ordinal& operator+=(std::uint32_t steps) { return *this = *this + steps; }
    friend constexpr Ordinal operator+(Ordinal from, std::uint32_t steps) { return Ordinal(from.number_ + steps); }
    friend constexpr std::uint32_t operator-(Ordinal to, Ordinal from)
    {
        return static_cast<std::uint32_t>(to.number_ - from.number_);
    }
    friend constexpr bool operator==(Ordinal, Ordinal) = default;
    friend constexpr auto operator<=>(Ordinal, Ordinal) = default; // NOLINT(modernize-use-nullptr) there is no pointer

private:
    Rep number_ = 0;
};

} // namespace jet

template <class Kind, class Rep> struct std::hash<jet::Ordinal<Kind, Rep>> {
    std::size_t operator()(jet::Ordinal<Kind, Rep> one) const noexcept { return std::hash<Rep>{}(one.number()); }
};
