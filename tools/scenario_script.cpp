#include "tools/scenario_script.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace scenario {
namespace {

/// How many arguments a command takes; the last one runs to the end of the line.
const QHash<QString, int>& arity()
{
    static const QHash<QString, int> counts = {
        {"click", 1},     {"keys", 1},    {"key", 1},      {"scale", 1},  {"pick", 1},   {"choose", 2}, {"menu", 1},
        {"date", 2},      {"answer", 1},  {"message", 1},  {"expect", 3}, {"cell", 3},   {"table", 2},  {"printed", 1},
        {"print-has", 1}, {"setting", 3}, {"activate", 0}, {"close", 0},  {"start", 0},  {"shot", 1},   {"wait", 1},
        {"await", 1},     {"report", 3},  {"status", 1},   {"send", 1},   {"unplug", 0}, {"plug", 0},   {"line", 1},
    };
    return counts;
}

QString unquoted(const QString& text)
{
    if (text.size() >= 2 && text.startsWith(u'"') && text.endsWith(u'"')) return text.mid(1, text.size() - 2);
    return text;
}

/// Cuts the next word off the front; a quoted one may hold blanks.
QString takeWord(QString& rest)
{
    qsizetype end = rest.startsWith(u'"') ? rest.indexOf(u'"', 1) + 1 : 0;
    if (end <= 0) end = rest.indexOf(u' ');
    if (end < 0) end = rest.size();
    const QString word = rest.left(end);
    rest = rest.mid(end);
    while (rest.startsWith(u' ')) rest.remove(0, 1);
    return unquoted(word);
}

} // namespace

std::vector<Command> parse(const QString& text, const QString& file)
{
    std::vector<Command> commands;
    int number = 0;
    for (QString line : text.split(u'\n')) {
        ++number;
        if (line.endsWith(u'\r')) line.chop(1);
        QString rest = line.trimmed();
        if (rest.isEmpty() || rest.startsWith(u'#')) continue;

        Command command{file, number, takeWord(rest), {}};
        const auto known = arity().find(command.word);
        if (known == arity().end())
            throw ScriptError{u"%1:%2: unknown command '%3'"_s.arg(file).arg(number).arg(command.word)};
        for (int i = 0; i < *known; ++i) {
            if (rest.isEmpty())
                throw ScriptError{
                    u"%1:%2: '%3' needs %4 argument(s)"_s.arg(file).arg(number).arg(command.word).arg(*known)};
            if (i + 1 == *known) {
                command.arguments << unquoted(rest);
                rest.clear();
            } else {
                command.arguments << takeWord(rest);
            }
        }
        if (!rest.isEmpty())
            throw ScriptError{
                u"%1:%2: '%3' takes no more than %4 argument(s)"_s.arg(file).arg(number).arg(command.word).arg(*known)};
        commands.push_back(std::move(command));
    }
    return commands;
}

QByteArray unescape(const QString& text)
{
    QByteArray bytes;
    const QByteArray utf8 = text.toUtf8();
    for (qsizetype i = 0; i < utf8.size(); ++i) {
        if (utf8[i] != '\\') {
            bytes += utf8[i];
            continue;
        }
        const char escape = ++i < utf8.size() ? utf8[i] : '\0';
        if (escape == 'r')
            bytes += '\r';
        else if (escape == 'n')
            bytes += '\n';
        else if (escape == 't')
            bytes += '\t';
        else if (escape == '\\')
            bytes += '\\';
        else if (escape == 'x' && i + 2 < utf8.size()) {
            bool ok = false;
            const int value = utf8.mid(i + 1, 2).toInt(&ok, 16);
            if (!ok) throw ScriptError{u"'\\x%1' is not a byte"_s.arg(QString::fromUtf8(utf8.mid(i + 1, 2)))};
            bytes += static_cast<char>(value);
            i += 2;
        } else {
            throw ScriptError{u"unknown escape '\\%1'"_s.arg(QLatin1Char(escape))};
        }
    }
    return bytes;
}

} // namespace scenario
