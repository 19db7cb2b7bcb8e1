#include "scale/formatted_line.h"

#include "scale/formats/line_reader.h"
#include "scale/formats/still_weight.h"
#include <string>

using namespace Qt::StringLiterals;

namespace scale {

struct FormattedLine::Parts {
    explicit Parts(const LineFormat& format) : reader(format) {}

    LineReader reader;
    StillWeight still;
};

const LineFormat* formatOf(const ReadingChoice& choice)
{
    return choice.format.isEmpty() ? nullptr : lineFormatNamed(choice.format.toStdString());
}

QString titleOf(const LineFormat& format) { return QString::fromStdString(format.title); }

FormattedLine::FormattedLine(const LineFormat& format, bool stillOnly, QChar decimalMark)
    : parts_(std::make_unique<Parts>(format)), stillOnly_(stillOnly), decimalMark_(decimalMark.toLatin1())
{
    clock_.start();
}

FormattedLine::~FormattedLine() = default;

QByteArray FormattedLine::read(const QByteArray& bytes)
{
    return lineOf(parts_->reader.read({bytes.constData(), static_cast<std::size_t>(bytes.size())}));
}

QByteArray FormattedLine::silence() { return lineOf(parts_->reader.silence()); }

void FormattedLine::notTaken() { parts_->still.reset(); }

template <class HeardList> QByteArray FormattedLine::lineOf(const HeardList& heard)
{
    QByteArray line;
    for (const auto& one : heard) {
        if (!one.reading) {
            // A tare stands between the weights of a scale that is all right.
            if (one.refusal && *one.refusal != Refusal::tare) {
                const std::string_view sentence = sentenceOf(*one.refusal);
                why_ = QString::fromUtf8(sentence.data(), static_cast<qsizetype>(sentence.size()));
            }
            continue;
        }
        const std::optional<std::string> shown = counterLine(*one.reading, decimalMark_);
        if (!shown) {
            why_ = u"ağırlık ekrana sığmıyor"_s;
            continue;
        }
        why_.clear();
        if (stillOnly_ && !parts_->still.takes(*one.reading, StillWeight::Time(clock_.elapsed()))) continue;
        line = QByteArray::fromStdString(*shown);
        frame_ = QByteArray::fromStdString(one.bytes);
    }
    return line;
}

} // namespace scale
