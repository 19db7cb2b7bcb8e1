#pragma once

#include "base/regional.h"
#include "print/print_font.h"
#include "print/printer.h"
#include <QDate>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>
#include <vector>

namespace print {

/// A column of the grid that is printed. Lengths in twips.
struct StatementColumn {
    bool visible = true;
    QString caption;
    double left = 0; ///< of the column in its grid
    double width = 0;
    QString field;        ///< the record's field that it shows
    int alignment = 0;    ///< 1: at the right, with the number format; anything else at the left, as plain text
    QString numberFormat; ///< a number pattern, "Standard", or empty
};

/// The listing that the grid shows, as a ruled table.
struct Statement {
    std::vector<StatementColumn> columns;
    QString listingKind; ///< "1" prints title and customer, "0" does not; an empty text is error 13
    QString customer;
    QDate firstDay;
    QStringList headerItems; ///< the mill's own lines
    PrintFont font;

    /// Goes to the first record, at the next call to the second ...; false after the last.
    std::function<bool()> nextRecord;
    /// Of the present record: nothing for Null, a text, an int, a float or a double, a QDateTime. Throws if the listing
    /// has no such field.
    std::function<QVariant(const QString& field)> value;
    /// Whether the present record is the sums of a listing. Empty: the listing has none.
    std::function<bool()> onSums;
};

/// In points: what can still be read on paper.
inline constexpr float smallestLetters = 5;

/// Composes the statement into a job that the caller ends or kills, and returns the captions of the columns that are
/// not on it because the paper is too narrow for them. Throws base::RuntimeError at the first thing that fails; what
/// nextRecord and value throw passes through.
///
/// A listing longer than a page goes on at the top of the next one: a record is never cut by a page edge, and on every
/// page the part of the table that stands there is closed by rules and column lines. Captions are printed once.
///
/// A table wider than the paper is printed smaller as a whole, letters and columns by one factor, down to letters of
/// `smallestLetters` points. Where even that is too wide, the columns at the right that do not fit as a whole are left
/// out: nothing is cut through. Where that is all of them, no table is printed.
///
/// Sums whose name's column is not printed are named in the first printed column that is not aligned to the right,
/// instead of what it would show.
QStringList composeStatement(Printer& printer, const Statement& statement, const base::Regional& regional);

/// The text as far as it fits: last characters are dropped while it is wider than the width.
QString cutToFit(Printer& printer, const QString& text, double width);

} // namespace print
