#pragma once

#include "store/jet/values/sort_key.h"

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>

/// Texts as rules compare them: without letter case, in the order of the table's texts. What that order does with a
/// letter is not known for all; the functions throw unsupported where the answer would hang on such a one.
namespace jet {

/// Unordered: not equal, and which of them comes first is not known.
std::partial_ordering orderOfTexts(std::u16string_view a, std::u16string_view b, Collation order);
bool isLike(std::u16string_view text, std::u16string_view pattern, Collation order);
/// The place where the second text begins in the first one; npos where it does not stand there.
std::size_t placeIn(std::u16string_view text, std::u16string_view wanted, Collation order);
std::u16string smallLetters(std::u16string_view text, Collation order);

} // namespace jet
