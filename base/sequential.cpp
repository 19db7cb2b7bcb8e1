#include "base/sequential.h"

#include "base/error.h"
#include "base/numbers.h"
#include <QDir>
#include <charconv>
#include <string>
#include <system_error>
#include <utility>

using namespace Qt::StringLiterals;

namespace base {

namespace {

constexpr QChar endOfFile = u'\x1A';

bool isLineEnd(QChar c) { return c == u'\r' || c == u'\n'; }

QStringView untilEndOfFile(QStringView text)
{
    const qsizetype end = text.indexOf(endOfFile);
    return end < 0 ? text : text.first(end);
}

QStringView withoutLeadingBlanks(QStringView text)
{
    while (text.startsWith(u' ')) text = text.sliced(1);
    return text;
}

/// Digits, one full stop, exponent; nothing else, and nothing below zero.
std::optional<double> plainNumber(QStringView text)
{
    const std::string digits = text.toLatin1().toStdString();
    if (digits.empty() || digits.find_first_not_of("0123456789.eE+-") != std::string::npos) return std::nullopt;
    const char* from = digits.data() + (digits.front() == '+' ? 1 : 0);
    const char* const end = digits.data() + digits.size();
    double value = 0;
    const auto result = std::from_chars(from, end, value);
    if (result.ec != std::errc() || result.ptr != end || value < 0) return std::nullopt;
    return value;
}

} // namespace

SeqReader::SeqReader(QString text) : text_(std::move(text)) { text_.truncate(untilEndOfFile(text_).size()); }

QString SeqReader::next()
{
    if (atEnd()) throw runtimeError(errors::inputPastEnd);
    while (!atEnd() && text_[at_] == u' ') ++at_;
    const bool quoted = !atEnd() && text_[at_] == u'"';
    if (quoted) ++at_;

    const qsizetype from = at_;
    const auto closes = [quoted](QChar c) { return isLineEnd(c) || c == (quoted ? u'"' : u','); };
    while (!atEnd() && !closes(text_[at_])) ++at_;
    QString item = text_.mid(from, at_ - from);

    while (!atEnd() && text_[at_] != u',' && !isLineEnd(text_[at_])) ++at_;
    skipSeparator();
    return item;
}

void SeqReader::skipSeparator()
{
    if (atEnd()) return;
    const bool carriageReturn = text_[at_++] == u'\r';
    if (carriageReturn && !atEnd() && text_[at_] == u'\n') ++at_;
}

QStringList seqLines(QStringView text)
{
    text = untilEndOfFile(text);
    QStringList lines;
    while (!text.isEmpty()) {
        qsizetype end = 0;
        while (end < text.size() && !isLineEnd(text[end])) ++end;
        lines += text.first(end).toString();
        if (text.sliced(end).startsWith("\r\n"_L1)) ++end;
        text = text.sliced(qMin(end + 1, text.size()));
    }
    return lines;
}

std::optional<NumberAndFlag> parseNumberAndFlag(QStringView line)
{
    const QList<QStringView> items = line.split(u',');
    if (items.size() != 2) return std::nullopt;
    const std::optional<double> number = plainNumber(withoutLeadingBlanks(items[0]));
    const QStringView flag = withoutLeadingBlanks(items[1]);
    const bool shown = flag.compare(u"#TRUE#", Qt::CaseInsensitive) == 0;
    if (!number || (!shown && flag.compare(u"#FALSE#", Qt::CaseInsensitive) != 0)) return std::nullopt;
    return NumberAndFlag{*number, shown};
}

QString numberAndFlagLine(float number, bool flag)
{
    Regional marks;
    marks.decimal = u'.';
    QString text = numberToText(number, marks);
    if (text.startsWith("0."_L1)) text.remove(0, 1);
    if (text.startsWith("-0."_L1)) text.remove(1, 1);
    return text + (flag ? ",#TRUE#\r\n"_L1 : ",#FALSE#\r\n"_L1);
}

std::optional<QString> findFile(const QString& directory, QStringView name)
{
    while (name.startsWith(u'\\') || name.startsWith(u'/')) name = name.sliced(1);
    if (name.isEmpty()) return std::nullopt;
    const QDir folder(directory);
    std::optional<QString> found;
    for (const QString& entry : folder.entryList(QDir::Files, QDir::Name)) {
        if (entry == name) return folder.filePath(entry);
        if (!found && name.compare(entry, Qt::CaseInsensitive) == 0) found = folder.filePath(entry);
    }
    return found;
}

} // namespace base
