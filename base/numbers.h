#pragma once

#include "base/regional.h"
#include <QString>
#include <QStringView>
#include <cstdint>

namespace base {

// ---- Text to number -------------------------------------------------------------------------------------------
//
// One language for every text that is meant as a number: captions, fields, settings, the scale's line.
//
//   prefix    white space, one sign, one currency symbol, one "(", in any order
//   digits    0-9, at most one decimal mark, group marks anywhere (simply skipped); at least one digit
//   exponent  e E d D, optional sign, digits
//   suffix    white space, the sign, the currency symbol or ")", whichever the prefix left open
//   or        &H and hexadecimal digits, &O and octal digits
//
// White space is blank, tab, line feed, vertical tab, form feed and carriage return: the scale's line ends in one.
// Parentheses mean negative and exclude a sign. Anything left over, and a text without a digit (the empty one too),
// is error 13 (errors::typeMismatch); a number too large for its target is error 6 (errors::overflow).

double toDouble(QStringView text, const Regional& regional);
float toSingle(QStringView text, const Regional& regional);
/// Rounded half to even, then checked against the range.
std::int16_t toInt16(QStringView text, const Regional& regional);
std::int32_t toInt32(QStringView text, const Regional& regional);
std::int16_t toInt16(double value);
std::int32_t toInt32(double value);

/// Exactly "toDouble would succeed".
bool isNumeric(QStringView text, const Regional& regional);

/// True and False in any letter case, otherwise a number that is not 0; otherwise error 13. Words of other languages
/// are not accepted.
bool toBool(QStringView text, const Regional& regional);

/// A stored "True" or "False", in any letter case; every other text is error 13, numbers too.
bool flagOf(QStringView text);

/// A quantity on the screen: an empty display counts as 0, everything else as in toDouble.
double displayValue(QStringView text, const Regional& regional);

// ---- Number to text -------------------------------------------------------------------------------------------
//
// Never grouped, no leading blank, the decimal mark of the settings, no trailing zeros: at most 15 significant digits
// for a double and 7 for a single. From 1E+15 (double) and 1E+07 (single) on, and for equally small fractions, with
// an exponent of at least two digits.

QString numberToText(double value, const Regional& regional);
QString numberToText(float value, const Regional& regional);
QString numberToText(int value, const Regional& regional);

// ---- Arithmetic -----------------------------------------------------------------------------------------------

double truncate(double value);   ///< toward zero: -3.7 gives -3
bool isFractional(double value); ///< above the whole number below it

} // namespace base
