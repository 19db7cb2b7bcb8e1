#pragma once

#include "store/jet/values/sort_key.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace jet {

/// The right side of Like, taken apart once.
///
///     *       any run of characters, none too        ?      any one character
///     #       one digit 0-9                          [abc]  one character of the set
///     [a-c]   one from a to c, in alphabetical order [!abc] one that is not of the set
///
/// Everything else stands for itself, % and _ too; so do *, ?, # and [ inside brackets, a "-" at either end of a set
/// and a lone "!" in it. [] stands for nothing. Letter case does not count, by the letters of the order (foldCase); a
/// character is one UTF-16 unit. A match costs the length of the pattern times that of the text at worst.
class LikePattern {
public:
    /// Throws Fault::syntax for a set that is not closed and for a range that runs backwards.
    /// An order without known weights has its sets read as the general one's.
    explicit LikePattern(std::u16string_view pattern, Collation order = turkish);

    bool matches(std::u16string_view text) const;
    /// The same for a text that has gone through the order's foldCase already.
    bool matchesFolded(std::u16string_view folded) const;

    /// What the folded form of every matching text begins with; may be empty.
    std::u16string_view prefix() const { return prefix_; }

private:
    enum class Kind : std::uint8_t { unit, any, digit, set, run };
    struct Element {
        Kind kind = Kind::unit;
        char16_t unit = 0;   ///< folded; Kind::unit
        std::size_t set = 0; ///< place in sets_; Kind::set
    };
    struct Range {
        std::vector<std::uint8_t> low, high; ///< sort keys of the two ends
    };
    struct Set {
        bool negated = false;
        std::u16string units; ///< folded
        std::vector<Range> ranges;
        bool holds(char16_t folded, Collation order) const;
    };

    std::size_t readSet(std::u16string_view pattern, std::size_t open);
    bool elementMatches(const Element& element, char16_t folded) const;
    template <class UnitAt> bool run(std::size_t length, UnitAt unitAt) const;

    Collation order_;
    std::vector<Element> elements_;
    std::vector<Set> sets_;
    std::u16string prefix_;
};

} // namespace jet
