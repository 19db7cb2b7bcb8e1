#pragma once

#include "exchange/csv.h"
#include "store/jet/rows/column.h"
#include "store/jet/values/value.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Numbers and dates as people and other programs write them: 1.250,5 or 1,250.5, 20.11.2025, 11/20/2025 2:05 PM,
/// 2025-11-20T14:05:00. How one text is meant may only show in others beside it.
namespace exchange {

/// How the numbers and dates of a file are written.
struct WrittenStyle {
    char decimalMark = '.'; ///< or ','; the other one may part the thousands
    bool dayFirst = true;   ///< of dates with slashes or dashes and the year behind
    bool saidOrder =
        false; ///< somebody has said it: then it holds for points too, with which the day is first otherwise
};

/// What a text tells of the style, if it is a number or a date at all.
enum class Hint {
    nothing, ///< it reads the same in every style
    first,   ///< a decimal point; the day before the month
    second,  ///< a decimal comma; the month before the day
    either,  ///< it reads in both, as different values: 1.234, 03/04/2025
};
Hint numberHint(std::string_view text);
Hint dateHint(std::string_view text);

/// Learns the style of a file from its fields.
class StyleFinder {
public:
    /// A field that stands in this line of the file.
    void see(const CsvField& field, const jet::Column& column, std::size_t line);

    /// `decimalMark` and `dayFirst` where somebody has said them. Throws files::Error (badValue), with the lines and
    /// the option that says it, for what the file leaves open or contradicts itself about.
    WrittenStyle style(std::optional<char> decimalMark, std::optional<bool> dayFirst) const;

private:
    struct Seen {
        std::size_t line = 0; ///< 0: none
        std::string text;
    };
    using Hints = std::array<Seen, 4>; ///< by Hint, the first of each
    static void note(Hints& hints, Hint hint, std::string_view text, std::size_t line);

    Hints numbers_, dates_;
    bool machineDates_ = false; ///< dates with a T in them, which programs write, with decimal points
};

/// The value of a field in that style: an empty field without quotes is Null. Throws files::Error (badValue), with a
/// sentence about the field alone.
jet::Value writtenValue(const CsvField& field, const jet::Column& column, const WrittenStyle& style);

} // namespace exchange
