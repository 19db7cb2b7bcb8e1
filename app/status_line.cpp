#include "app/status_line.h"
#include "app/painting.h"
#include <QMouseEvent>
#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace app {

using namespace std::chrono_literals;

namespace {

constexpr int margin = 12; ///< pixels at the left and the right
const QString gap = u"   ·   "_s;

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

void StatusLine::set(QString& fact, const QString& text)
{
    if (fact == text) return;
    fact = text;
    refresh();
}

void StatusLine::keepUntilSeen(const QString& sentence)
{
    if (!unseen_.contains(sentence)) unseen_ << sentence;
    refresh();
}

QStringList StatusLine::takeUnseen()
{
    QStringList taken = std::exchange(unseen_, {});
    refresh();
    return taken;
}

void StatusLine::mousePressEvent(QMouseEvent*) {} // so that the release comes here too

void StatusLine::mouseReleaseEvent(QMouseEvent*) { beginAction(this, click_); }

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

QStringList StatusLine::facts() const
{
    QStringList facts{scaleFact(), marks_};
    if (port_ && !betterFormat_.isEmpty())
        facts << u"satırlar “%1” biçiminde, Port Ayarları'ndan seçin"_s.arg(betterFormat_);
    facts << printer_ << dataFile_ << server_;
    facts.removeAll(QString()); // what nobody has said
    return facts;
}

QString StatusLine::unseen() const { return u"⚠ Okumak için dokunun: "_s + unseen_.join(u" · "_s); }

QStringList StatusLine::cutShort() const
{
    if (fontMetrics().horizontalAdvance(text()) <= room()) return {};
    QStringList sentences = facts();
    if (!notice_.isEmpty()) sentences.prepend(notice_);
    return sentences;
}

QString StatusLine::text() const
{
    QStringList all = facts();
    if (!notice_.isEmpty()) all.prepend(notice_);
    if (!unseen_.isEmpty()) all.prepend(unseen());
    return all.join(gap);
}

int StatusLine::room() const { return width() - 2 * margin; }

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
    // A long sentence gives way, not the facts behind it. Its middle goes: what was refused, or the file, stands at its
    // beginning, and the thing to do at its end. What must be seen and what is said of the last slip share the room.
    const auto widthOf = [this](const QString& text) { return fontMetrics().horizontalAdvance(text); };
    QStringList sentences;
    if (!unseen_.isEmpty()) sentences << unseen();
    if (!notice_.isEmpty()) sentences << notice_;
    QString shown;
    int left = room() - widthOf(facts().join(gap));
    for (qsizetype more = sentences.size(); more > 0; --more) {
        const QString sentence = sentences[sentences.size() - more];
        const int share = left / static_cast<int>(more) - widthOf(gap);
        const QString fitting = fontMetrics().elidedText(sentence, Qt::ElideMiddle, share) + gap;
        left -= widthOf(fitting);
        shown += fitting;
    }
    shown += facts().join(gap);
    QPainter painter(this);
    painter.setPen(painting::softLine);
    painter.drawLine(0, 0, width(), 0);
    painter.setPen(painting::ink);
    painter.drawText(rect().adjusted(margin, 1, -margin, 0), Qt::AlignVCenter | Qt::AlignLeft,
                     painter.fontMetrics().elidedText(shown, Qt::ElideRight, room()));
}

} // namespace app
