#pragma once

#include <QString>
#include <QStringView>

namespace base {

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

/// Without the blanks (and only the blanks, not tabs or line ends) at both ends.
QString trimBlanks(QStringView text);

} // namespace base
