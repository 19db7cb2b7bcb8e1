#pragma once

#include <QString>
#include <QStringList>
#include <vector>

/// A scenario file: what an operator does and what must be seen, one command a line.
/// docs/scenario.md lists the commands for people.
namespace scenario {

struct Command {
    QString file;
    int line = 0; ///< from 1
    QString word; ///< "click", "expect" ...
    QStringList arguments;
};

/// A line that is not a command of the language, with its file and line.
struct ScriptError {
    QString sentence;
};

/// Splits a text into commands; blank lines and lines that begin with # are left out. The last argument of a command
/// runs to the end of the line; a text between double quotes loses them, so that blanks and the empty text can be
/// given. Throws ScriptError for an unknown command or a missing argument.
std::vector<Command> parse(const QString& text, const QString& file);

/// \r \n \t \\ and \xNN of `scale` and `send`, as bytes. Throws ScriptError for another escape.
QByteArray unescape(const QString& text);

} // namespace scenario
