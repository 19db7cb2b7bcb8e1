#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <optional>

namespace base {

// Text files of comma-separated values in the program's directory: the header of the slip, the grid layouts.
// A line end is CR LF, CR or LF; byte 26 ends the text wherever it stands.

/// Reads one item after the other, across lines.
/// A quoted item is what stands between the quotes (a line end closes it as well), and what follows the closing quote
/// up to the comma is dropped; any other item loses its leading blanks and keeps its trailing ones. A line end at the
/// end of the text begins no item.
class SeqReader {
public:
    explicit SeqReader(QString text);

    bool atEnd() const { return at_ >= text_.size(); }
    QString next(); ///< error 62 (errors::inputPastEnd) when nothing is left

private:
    void skipSeparator(); ///< the comma or the line end behind an item

    QString text_;
    qsizetype at_ = 0;
};

/// The lines of such a text, without their ends.
QStringList seqLines(QStringView text);

/// A line of exactly a number, a comma and #TRUE# or #FALSE# (in any letter case, blanks before an item allowed).
/// The number is a plain one with a full stop whatever the regional settings say, and not negative.
struct NumberAndFlag {
    double number = 0;
    bool flag = false;
};
/// Nothing for a line of any other shape: a damaged line is an answer, not a fault.
std::optional<NumberAndFlag> parseNumberAndFlag(QStringView line);

/// The same line written, with CR LF at its end. The number has a full stop whatever the regional settings say, no zero
/// before it and no blank.
QString numberAndFlagLine(float number, bool flag);

/// The path of an ordinary file of that name in the directory, ignoring letter case; nothing if there is none. Folders,
/// hidden and special files do not count. A leading separator is ignored. A name that is the same letter for letter is
/// preferred.
std::optional<QString> findFile(const QString& directory, QStringView name);

} // namespace base
