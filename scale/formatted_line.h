#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>
#include <chrono>
#include <memory>
#include <vector>

namespace scale {

struct LineFormat;
struct Heard;

/// How what arrives from the scale is read.
struct ReadingChoice {
    QString format;         ///< a name of the table of formats; empty: the line is taken as it is
    bool stillOnly = false; ///< with a format: only weights that stand still

    bool operator==(const ReadingChoice&) const = default;
};

/// The format of that name; nothing for none, and for a name that the table does not have.
const LineFormat* formatOf(const ReadingChoice& choice);

/// What an operator reads in a list: the format's title.
QString titleOf(const LineFormat& format);

/// A stream in some format, turned into lines of the shape that the counter knows: digits, the decimal mark, "kg", a
/// carriage return. Bytes that carry no weight that counts become no line; why() says what is wrong with them.
class FormattedLine {
public:
    /// The format must outlive the line. `decimalMark` is that of the user's settings.
    FormattedLine(const LineFormat& format, bool stillOnly, QChar decimalMark);
    ~FormattedLine();
    FormattedLine(const FormattedLine&) = delete;
    FormattedLine& operator=(const FormattedLine&) = delete;

    /// The newest weight that these bytes have brought, as a line; empty where they brought none.
    QByteArray read(const QByteArray& bytes);
    /// The same after no byte has come for so long, which is longer than a scale pauses inside a line.
    QByteArray silence(std::chrono::milliseconds length);
    /// Nobody has read the line that was given last: where only still weights count, the load has still to be taken.
    void notTaken();
    /// The line was away for a while: nothing is known of its bytes, and the load that was taken last stays taken.
    void beginAnew();

    const QByteArray& frame() const { return frame_; } ///< the scale's own bytes of the line that was given last
    /// Why what came last gave no weight, in Turkish; empty while weights come.
    const QString& why() const { return why_; }

private:
    struct Parts;
    QByteArray lineOf(const std::vector<Heard>& heard);
    bool isToBeTaken(const Heard& heard);

    std::unique_ptr<Parts> parts_;
    bool stillOnly_;
    char decimalMark_;
    QElapsedTimer clock_;
    QByteArray frame_;
    QString why_;
};

} // namespace scale
