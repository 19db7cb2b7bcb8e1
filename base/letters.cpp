#include "base/letters.h"

namespace base {

namespace {

constexpr QChar dotlessSmall = u'\u0131';
constexpr QChar dottedCapital = u'\u0130';

bool beginsWordAfter(QChar c) { return c.isNull() || c == u' ' || (c >= u'\t' && c <= u'\r'); }

} // namespace

QChar upperCase(QChar letter) { return letter == dotlessSmall ? letter : letter.toUpper(); }
QChar lowerCase(QChar letter) { return letter == dottedCapital ? letter : letter.toLower(); }

QString upperCase(QStringView text)
{
    QString result = text.toString();
    for (QChar& c : result) c = upperCase(c);
    return result;
}

QString lowerCase(QStringView text)
{
    QString result = text.toString();
    for (QChar& c : result) c = lowerCase(c);
    return result;
}

QString properCase(QStringView text)
{
    QString result = text.toString();
    bool begins = true;
    for (QChar& c : result) {
        const bool next = beginsWordAfter(c);
        c = begins ? upperCase(c) : lowerCase(c);
        begins = next;
    }
    return result;
}

QString trimBlanks(QStringView text)
{
    while (text.startsWith(u' ')) text = text.sliced(1);
    while (text.endsWith(u' ')) text.chop(1);
    return text.toString();
}

} // namespace base
