#include "scale/formatted_line.h"

#include "scale/formats/line_reader.h"
#include "scale/formats/still_weight.h"
#include <optional>
#include <string>
#include <string_view>

using namespace Qt::StringLiterals;

namespace scale {

struct FormattedLine::Parts {
    explicit Parts(const LineFormat& format) : format(format), reader(format) {}

    const LineFormat& format;
    std::optional<LineReader> reader;
    StillWeight still;
};

namespace {

QString textOf(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

} // namespace

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
    return lineOf(parts_->reader->read({bytes.constData(), static_cast<std::size_t>(bytes.size())}));
}

QByteArray FormattedLine::silence(std::chrono::milliseconds length) { return lineOf(parts_->reader->silence(length)); }

void FormattedLine::notTaken() { parts_->still.notTaken(); }

void FormattedLine::beginAnew()
{
    parts_->reader.emplace(parts_->format);
    parts_->still.interrupt();
    why_.clear();
}

QByteArray FormattedLine::lineOf(const std::vector<Heard>& heard)
{
    const StillWeight::Time now(clock_.elapsed());
    QByteArray line;
    for (const Heard& one : heard) {
        // What a print says was heard when its frame came in.
        if (!one.alone && (one.reading || one.unconfirmed))
            parts_->still.hear(one.reading ? *one.reading : *one.unconfirmed, now);
        // A tare stands between the weights of a scale that is all right.
        if (one.refusal && *one.refusal != Refusal::tare) why_ = textOf(sentenceOf(*one.refusal));
        if (!one.reading) continue;
        const std::optional<std::string> shown = counterLine(*one.reading, decimalMark_);
        if (!shown) {
            why_ = u"ağırlık ekrana sığmıyor"_s;
            continue;
        }
        why_.clear();
        if (stillOnly_ && !isToBeTaken(one)) continue;
        line = QByteArray::fromStdString(*shown);
        frame_ = QByteArray::fromStdString(one.bytes);
    }
    return line;
}

bool FormattedLine::isToBeTaken(const Heard& heard)
{
    switch (parts_->still.judge(*heard.reading, heard.ofItsOwn)) {
    case StillWeight::Verdict::taken:
        return true;
    case StillWeight::Verdict::notStanding:
        if (heard.alone) why_ = u"tek satırdan durduğu bilinmez, aynı tartımı bir kez daha gönderin"_s;
        break;
    case StillWeight::Verdict::loadStays:
        why_ = u"yük değişti ve alınmadı: yeni tartım terazi boşalınca alınır"_s;
        break;
    case StillWeight::Verdict::sameLoad:
        if (heard.alone) why_ = u"bu tartım daha önce alındı, yeniden alınmadı: gerekiyorsa elle girin"_s;
        break;
    case StillWeight::Verdict::empty:
        break;
    }
    return false;
}

} // namespace scale
