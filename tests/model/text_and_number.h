#pragma once

#include <optional>
#include <string>

/// The texts and numbers of a Turkish counter, written a second time: nothing here comes from the program.
namespace model {

using Text = std::u16string;

/// Not a number where one is needed (13), a number too large (6), or another error of an action.
struct Error {
    int number;
};

/// What a caption says as a number: digits with "." between groups and "," before decimals, perhaps signed, in
/// brackets, with an exponent or in TL, blanks and line ends around it.
std::optional<double> numberIn(const Text& text);
/// The same of a display, where nothing counts as 0; error 13 for what is no number.
double valueOf(const Text& display);

/// At least `fewest` and at most `most` decimals, half away from zero by the 15 digits that a double is worth; groups
/// of three where asked for. No mark without a decimal behind it.
Text written(double value, int fewest, int most, bool groups);
/// A number from the database in a caption, without groups; a count has 7 digits.
Text plain(double value, int digits = 15);

Text whole(double value);           ///< "#,##0"
double product(double a, double b); ///< error 6 for one that no number can be

// Letters. i and I belong together, ı and İ stand alone, as the keypad and the title case see them.
Text properCase(const Text& text);
/// What typing on small letters makes of a text.
Text titled(const Text& text);
char16_t upper(char16_t letter);
char16_t lower(char16_t letter);
Text trimmed(const Text& text);

// Names, as the register compares them: Turkish letters, capital and small alike.
/// Negative, 0 or positive. An apostrophe does not count.
int compareNames(Text a, Text b);
/// `pattern` begins the name; "*" in it stands for anything, "#" for a digit.
bool beginsWith(const Text& name, const Text& pattern);

std::string utf8(const Text& text);

} // namespace model
