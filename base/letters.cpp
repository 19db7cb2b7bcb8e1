#include "base/letters.h"

#include "base/error.h"

namespace base {

namespace {

constexpr QChar dotlessSmall = u'\u0131';
constexpr QChar dottedCapital = u'\u0130';

bool beginsWordAfter(QChar c) { return c.isNull() || c == u' ' || (c >= u'\t' && c <= u'\r'); }

qsizetype checkedLength(int length)
{
    if (length < 0) throw runtimeError(errors::invalidCall);
    return length;
}

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

QString left(QStringView text, int length) { return text.first(qMin(checkedLength(length), text.size())).toString(); }
QString right(QStringView text, int length) { return text.last(qMin(checkedLength(length), text.size())).toString(); }

QString mid(QStringView text, int position, int length)
{
    const qsizetype wanted = checkedLength(length);
    if (position < 1) throw runtimeError(errors::invalidCall);
    if (position > text.size()) return {};
    const QStringView rest = text.sliced(position - 1);
    return rest.first(qMin(wanted, rest.size())).toString();
}

int instr(QStringView text, QStringView wanted)
{
    return text.isEmpty() ? 0 : static_cast<int>(text.indexOf(wanted)) + 1;
}

QString replace(QStringView text, QStringView wanted, QStringView replacement)
{
    if (wanted.isEmpty()) return text.toString();
    QString result;
    for (qsizetype at = text.indexOf(wanted); at >= 0; at = text.indexOf(wanted)) {
        result += text.first(at);
        result += replacement;
        text = text.sliced(at + wanted.size());
    }
    result += text;
    return result;
}

QString trimBlanks(QStringView text)
{
    while (text.startsWith(u' ')) text = text.sliced(1);
    while (text.endsWith(u' ')) text.chop(1);
    return text.toString();
}

} // namespace base
