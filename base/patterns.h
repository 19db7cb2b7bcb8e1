#pragma once

#include "base/regional.h"
#include <QDate>
#include <QDateTime>
#include <QString>
#include <QStringView>

namespace base {

// ---- Numbers --------------------------------------------------------------------------------------------------
//
// A number pattern is: digits wanted before the mark, "." and digits wanted after it, and a literal tail that is
// copied, as in "#,##0.00 KG". "0" always shows a digit, "#" only a needed one; a "," among them groups by threes.
// "Standard" is "#,##0.00", the empty pattern the plain conversion of numberToText().
//
// The value is taken with 15 significant digits and rounded half away from zero. The decimal mark is written whenever
// the pattern has one, even if no decimal follows ("850," for 850 with "#,##0.###"), and the minus sign whenever the
// value is below zero, even if every shown digit is 0 ("-0").

inline constexpr QStringView wholePattern = u"#,##0"; ///< of amounts without a fraction

QString formatNumber(double value, QStringView pattern, const Regional& regional);

/// A caption: a numeric text is formatted, any other text (the empty one too) comes back unchanged, without the tail.
QString formatNumber(QStringView text, QStringView pattern, const Regional& regional);

/// Where a number is needed on paper: an empty text counts as 0, and a text that is not a number is error 13.
QString formatQuantity(QStringView text, QStringView pattern, const Regional& regional);

// ---- Dates ----------------------------------------------------------------------------------------------------
//
// d dd day, dddd day name, m mm month, mmmm month name, yy yyyy year, h hh hour (00-23), n nn minute, s ss second.
// m and mm are minutes when the token before them is the hour. ":" is the time separator and "/" the date separator of
// the settings. Every other character is copied: "yyyy 00:00:00" is a year followed by a literal midnight.

QString formatDate(const QDateTime& value, QStringView pattern, const Regional& regional);

/// A date value as plain text: short date, and the time unless it is midnight.
QString dateToText(const QDateTime& value, const Regional& regional);

/// A date literal of a query: between number signs, month first, whatever the settings say. `timeOfDay` is copied as it
/// stands: dateLiteral(day, u"23:59:59") gives #11/06/2024 23:59:59#.
QString dateLiteral(QDate day, QStringView timeOfDay);

} // namespace base
