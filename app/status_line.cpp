#include "app/status_line.h"
#include "app/painting.h"
#include <chrono>

using namespace Qt::StringLiterals;

namespace app {

using namespace std::chrono_literals;

namespace {

constexpr int margin = 12; ///< pixels at the left and the right

} // namespace

StatusLine::StatusLine(QWidget* parent) : QWidget(parent), ageing_(this)
{
    ageing_.setSingleShot(true);
    connect(&ageing_, &QTimer::timeout, this, &StatusLine::tick);
    refresh();
}

void StatusLine::portOpened(int port)
{
    port_ = port;
    understood_ = true;
    sinceWeight_.invalidate();
    refresh();
}

void StatusLine::portClosed(const QString& why)
{
    port_ = 0;
    whyClosed_ = why;
    ageing_.stop();
    refresh();
}

void StatusLine::weightArrived()
{
    sinceWeight_.start();
    understood_ = true;
    refresh();
    if (isVisible() && !ageing_.isActive()) tick();
}

void StatusLine::lineNotUnderstood()
{
    understood_ = false;
    refresh();
}

void StatusLine::setWhyNoWeight(const QString& why)
{
    whyNoWeight_ = why;
    refresh();
}

void StatusLine::setBetterFormat(const QString& title)
{
    betterFormat_ = title;
    refresh();
}

void StatusLine::setNotice(const QString& sentence)
{
    notice_ = sentence;
    refresh();
}

void StatusLine::setTypedWeights(const QString& mark)
{
    if (typedWeights_ == mark) return;
    typedWeights_ = mark;
    refresh();
}

void StatusLine::setPrinter(const QString& fact)
{
    printer_ = fact;
    refresh();
}

void StatusLine::setDataFile(const QString& fact)
{
    dataFile_ = fact;
    refresh();
}

void StatusLine::tick()
{
    refresh();
    if (!port_ || !sinceWeight_.isValid() || !isVisible()) return;
    const auto age = std::chrono::milliseconds(sinceWeight_.elapsed());
    // Seconds are worth a wake-up while weighing goes on, later only minutes are.
    ageing_.start(age < 10s ? 1s : age < 1min ? 5s : 1min);
}

QString StatusLine::scaleFact() const
{
    if (!port_) return whyClosed_.isEmpty() ? u"Terazi: bağlı değil"_s : u"Terazi: "_s + whyClosed_;
    const QString port = u"Com%1: "_s.arg(port_);
    if (!whyNoWeight_.isEmpty()) return port + whyNoWeight_;
    if (!understood_) return port + u"tanınmayan satır"_s;
    if (!sinceWeight_.isValid()) return port + u"bağlı, tartım bekleniyor"_s;
    const qint64 seconds = sinceWeight_.elapsed() / 1000;
    if (seconds < 1) return port + u"tartım geliyor"_s;
    if (seconds < 60) return port + u"son tartım %1 sn önce"_s.arg(seconds);
    return port + u"son tartım %1 dk önce"_s.arg(seconds / 60);
}

QString StatusLine::text() const
{
    QStringList facts;
    if (!notice_.isEmpty()) facts << notice_;
    facts << scaleFact();
    if (!typedWeights_.isEmpty()) facts << typedWeights_;
    if (port_ && !betterFormat_.isEmpty())
        facts << u"satırlar “%1” biçiminde, Port Ayarları'ndan seçin"_s.arg(betterFormat_);
    if (!printer_.isEmpty()) facts << printer_;
    if (!dataFile_.isEmpty()) facts << dataFile_;
    return facts.join(u"   ·   "_s);
}

void StatusLine::refresh()
{
    const QString now = text();
    if (now == accessibleName()) return;
    setAccessibleName(now);
    update();
}

void StatusLine::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    tick();
}

void StatusLine::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    ageing_.stop();
}

void StatusLine::paintEvent(QPaintEvent*)
{
    // A long notice gives way, not the facts behind it. Its middle goes: what was refused, or the file, stands at its
    // beginning, and the thing to do at its end.
    QString shown = text();
    const int room = width() - 2 * margin;
    if (!notice_.isEmpty()) {
        const QString facts = shown.sliced(notice_.size());
        const int left = room - fontMetrics().horizontalAdvance(facts);
        shown = fontMetrics().elidedText(notice_, Qt::ElideMiddle, left) + facts;
    }
    QPainter painter(this);
    painter.setPen(painting::softLine);
    painter.drawLine(0, 0, width(), 0);
    painter.setPen(painting::ink);
    painter.drawText(rect().adjusted(margin, 1, -margin, 0), Qt::AlignVCenter | Qt::AlignLeft,
                     painter.fontMetrics().elidedText(shown, Qt::ElideRight, room));
}

} // namespace app
