#pragma once

#include <QString>
#include <QStringView>

namespace base {

// ---- Letter case ----------------------------------------------------------------------------------------------
//
// The ordinary mapping, also on a Turkish system: i and I belong together, and the two letters that other alphabets do
// not have, ı and İ, map to themselves. Neither Qt's plain mapping (which lengthens İ) nor its Turkish one does this.
// Every text keeps its length.

QChar upperCase(QChar letter);
QChar lowerCase(QChar letter);
QString upperCase(QStringView text);
QString lowerCase(QStringView text);

/// The first character of every word capital, all others small. A word begins at the start and after a blank, a tab,
/// NUL or one of the line control characters; apostrophe, hyphen, full stop and digits begin none.
QString properCase(QStringView text);

// ---- Pieces of texts ------------------------------------------------------------------------------------------
//
// Positions count from 1; lengths are UTF-16 units. A length beyond the end gives what there is; a negative length or a
// position below 1 is error 5. Searching and replacing are exact: letter by letter, no folding.

QString left(QStringView text, int length);
QString right(QStringView text, int length);
QString mid(QStringView text, int position, int length);
/// Position of the first occurrence, 0 if there is none.
int instr(QStringView text, QStringView wanted);
/// All occurrences, in one pass: what the replacement brings together is not looked at again.
QString replace(QStringView text, QStringView wanted, QStringView replacement);
/// Without the blanks (and only the blanks, not tabs or line ends) at both ends.
QString trimBlanks(QStringView text);

} // namespace base
