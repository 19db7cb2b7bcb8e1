#include "print/queue_target.h"

#include "base/error.h"
#include "print/drawing.h"
#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

using namespace Qt::StringLiterals;
using platform::QueueCondition;

namespace print {

namespace {

constexpr int longestSheet =
    100000; ///< hundredths of a millimetre; no label and no sheet is as long: a metre of paper comes from a roll

/// The print system turns a size into hundredths of a millimetre and back and cuts both times: 227 points would come
/// out as 226, and the page with its edges cut off. With this much more, the same whole points come back.
constexpr double pointSlack = 0.05;

base::RuntimeError printerError(const QString& reason)
{
    return {base::errors::printer, u"Printer error: "_s + reason};
}

double points(int hundredths) { return hundredths * 72.0 / 2540; }

/// Never smaller than the device says.
int twipsOfMargin(int hundredths) { return static_cast<int>(std::ceil(hundredths * double(twipsPerInch) / 2540)); }

QString describe(QueueCondition condition, const QString& queue)
{
    const std::pair<QueueCondition, QString> sentences[] = {
        {QueueCondition::noScheduler, u"Yazıcı: yazdırma servisi yanıt vermiyor"_s},
        {QueueCondition::schedulerStopped, u"Yazıcı: yazdırma servisi yanıt vermiyor"_s},
        {QueueCondition::noQueue, u"Yazıcı: varsayılan yazıcı yok"_s},
        {QueueCondition::paperless,
         u"Yazıcı: varsayılan yazıcı %1 kâğıda basmıyor; fiş yazıcısını varsayılan yapın"_s.arg(queue)},
        {QueueCondition::unknownQueue, u"Yazıcı: %1 bulunamadı"_s.arg(queue)},
        {QueueCondition::rejecting, u"Yazıcı: %1 iş kabul etmiyor"_s.arg(queue)},
        {QueueCondition::stopped, u"Yazıcı: %1 durduruldu"_s.arg(queue)},
        {QueueCondition::mediaEmpty, u"Yazıcı: %1 kâğıt bitti"_s.arg(queue)},
        {QueueCondition::coverOpen, u"Yazıcı: %1 kapağı açık"_s.arg(queue)},
        {QueueCondition::attention, u"Yazıcı: %1 bekliyor; kâğıdına, kapağına ve ekranına bakın"_s.arg(queue)},
        {QueueCondition::offline, u"Yazıcı: %1 bağlı değil"_s.arg(queue)},
    };
    for (const auto& [known, sentence] : sentences)
        if (known == condition) return sentence;
    return u"Yazıcı: %1"_s.arg(queue);
}

std::string mediaOf(const Document& document)
{
    if (!document.paper.roll && !document.paper.media.isEmpty()) return document.paper.media.toStdString();
    for (const Paper::Cut& cut : document.paper.cuts)
        if (cut.height == document.page.height) return cut.media.toStdString();
    // Never by a locale: the decimal mark is part of the queue's language.
    return u"Custom.%1x%2"_s.arg(document.page.width + pointSlack, 0, 'f', 2)
        .arg(document.page.height + pointSlack, 0, 'f', 2)
        .toStdString();
}

} // namespace

Paper paperOf(const platform::QueuePaper& paper)
{
    if (paper.width <= 0 || paper.length <= 0) return Paper::a4();
    Paper result;
    result.width = static_cast<int>(std::lround(points(paper.width)));
    result.height = static_cast<int>(std::lround(points(paper.length)));
    result.leftMargin = twipsOfMargin(paper.left);
    result.topMargin = twipsOfMargin(paper.top);
    result.rightMargin = twipsOfMargin(paper.right);
    result.bottomMargin = twipsOfMargin(paper.bottom);
    result.media = QString::fromStdString(paper.media);
    if (paper.width > platform::widestRoll) return result;

    if (paper.maxLength > 0) {
        result.roll = true;
        // Rounded up, a page would be a hair wider than the widest sheet, and be refused or scaled.
        if (paper.maxWidth > 0)
            result.width = std::min(result.width, static_cast<int>(points(paper.maxWidth) - pointSlack));
        result.minHeight = static_cast<int>(std::ceil(points(paper.minLength)));
        result.maxHeight = static_cast<int>(points(paper.maxLength) - pointSlack);
    } else if (!paper.sheets.empty() && paper.sheets.back().length >= longestSheet) {
        result.roll = true;
        for (const auto& sheet : paper.sheets)
            result.cuts.push_back(
                {static_cast<int>(std::lround(points(sheet.length))), QString::fromStdString(sheet.media)});
        result.minHeight = result.cuts.front().height;
        result.maxHeight = result.cuts.back().height;
    }
    return result;
}

QueueTarget::QueueTarget(std::unique_ptr<platform::PrintQueue> queue) : queue_(std::move(queue)) {}

Paper QueueTarget::paper()
{
    const platform::QueueState state = queue_->state();
    if (state.condition != QueueCondition::ready)
        throw printerError(describe(state.condition, QString::fromStdString(state.queue)));
    name_ = state.queue;
    return paperOf(state.paper);
}

int QueueTarget::createJob(const Document& document)
{
    try {
        const auto hundredths = [](int points) { return static_cast<int>(std::lround(points * 2540.0 / 72)); };
        return queue_->createJob({.queue = name_,
                                  .title = document.title.toStdString(),
                                  .media = mediaOf(document),
                                  .width = hundredths(document.page.width),
                                  .length = hundredths(document.page.height)});
    } catch (const platform::PrintError& error) {
        throw printerError(QString::fromUtf8(error.what()));
    }
}

void QueueTarget::sendAndFinish(int job, const Document& document)
{
    try {
        queue_->startDocument();
        if (queue_->drawsPages())
            queue_->draw(drawingOf(document.layout, document.paper));
        else
            write(document.pdf);
        queue_->finishDocument();
    } catch (const platform::PrintError& error) {
        throw printerError(QString::fromUtf8(error.what()));
    } catch (...) {
        queue_->cancelJob(job); // our own bug, and told as such; half a document is not printed for it
        throw;
    }
}

/// In pieces: a print system that fails in the middle of a long listing is noticed there.
void QueueTarget::write(const QByteArray& pdf)
{
    constexpr std::size_t piece = 65536;
    auto left = std::as_bytes(std::span(pdf.constData(), static_cast<std::size_t>(pdf.size())));
    while (!left.empty()) {
        const auto now = left.first(std::min(piece, left.size()));
        queue_->write(now);
        left = left.subspan(now.size());
    }
}

void QueueTarget::cancel(int job) noexcept { queue_->cancelJob(job); }

Taken QueueTarget::taken(int job)
{
    switch (queue_->documentState(job)) {
    case platform::DocumentState::taken:
        return Taken::yes;
    case platform::DocumentState::notTaken:
        return Taken::no;
    case platform::DocumentState::unknown:
        return Taken::unknown;
    case platform::DocumentState::noAnswer:
        break;
    }
    throw printerError(u"yazıcı sistemi yanıt vermiyor"_s);
}

QString QueueTarget::markOf(int job) const { return QString::fromStdString(queue_->markOf(job)); }

QString QueueTarget::printerOf(int job) const { return QString::fromStdString(queue_->queueOf(job)); }

void QueueTarget::recall(int job, const QString& mark) { queue_->recall(job, mark.toStdString()); }

void QueueTarget::settle(int job) noexcept { queue_->settle(job); }

QString QueueTarget::stateText() noexcept
{
    const platform::QueueState state = queue_->state();
    const QString text = describe(state.condition, QString::fromStdString(state.queue));
    return state.printing && state.condition == QueueCondition::ready ? text + u" (yazdırıyor)"_s : text;
}

} // namespace print
