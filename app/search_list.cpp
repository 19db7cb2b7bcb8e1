#include "app/search_list.h"
#include "app/colour.h"
#include "app/painting.h"
#include "app/search_list_access.h"
#include "base/error.h"
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace app {

namespace {

constexpr int borderWidth = 3;   // heavy: the list lies over other fields
constexpr int dragDistance = 10; // pixels; a finger trembles less than that in a tap

} // namespace

SearchList::SearchList(QWidget* parent) : Control(parent)
{
    describeSearchLists();
    setFocusPolicy(Qt::NoFocus);
    setFrameStyle(QFrame::Box | QFrame::Plain);
    setLineWidth(borderWidth);
    QPalette border = palette();
    border.setColor(QPalette::WindowText, painting::strongLine);
    setPalette(border);
    painting::widenScrollBars(*this);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setAttribute(Qt::WA_NoMousePropagation);
    setAccessibleName(u"Müşteri listesi"_s);
    verticalScrollBar()->setSingleStep(rowHeight_);
    glide_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&glide_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { verticalScrollBar()->setValue(value.toInt()); });
    connect(verticalScrollBar(), &QScrollBar::valueChanged, viewport(), qOverload<>(&QWidget::update));
}

void SearchList::setRows(std::function<int()> count, std::function<QString(int)> text)
{
    countRows_ = std::move(count);
    rowText_ = std::move(text);
    refill();
}

void SearchList::refill()
{
    glide_.stop();
    dragging_ = false;
    downRow_ = -1;
    chosen_ = -1;
    count_ = countRows_ ? countRows_() : 0;
    verticalScrollBar()->setValue(0);
    fitHeight();
    updateRange();
    viewport()->update();
}

QString SearchList::rowText(int row) const
{
    if (!rowText_) return {};
    try {
        return rowText_(row);
    } catch (const base::RuntimeError&) {
        // Asked while painting or by a reader for the blind: there is no action that could report it.
        return {};
    }
}

void SearchList::setRowHeight(int pixels)
{
    rowHeight_ = std::max(pixels, 1);
    verticalScrollBar()->setSingleStep(rowHeight_);
    fitHeight();
    updateRange();
}

void SearchList::setRoom(int width, int bottom)
{
    bottom_ = bottom;
    resize(width, height());
    fitHeight();
}

void SearchList::fitHeight()
{
    if (bottom_ < 0) return;
    const int room = std::max(bottom_ - y(), rowHeight_ + 2 * borderWidth);
    const qint64 needed = static_cast<qint64>(std::max(count_, 1)) * rowHeight_ + 2 * borderWidth;
    resize(width(), static_cast<int>(std::min<qint64>(room, needed)));
}

void SearchList::updateRange()
{
    const qint64 over = static_cast<qint64>(count_) * rowHeight_ - viewport()->height();
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setRange(0, static_cast<int>(std::clamp<qint64>(over, 0, std::numeric_limits<int>::max())));
}

int SearchList::rowAt(int y) const
{
    const int row = (y + verticalScrollBar()->value()) / rowHeight_;
    return y >= 0 && row < count_ ? row : -1;
}

void SearchList::choose(int row)
{
    chosen_ = row;
    if (row >= 0) text_ = rowText(row);
    showChosen();
    viewport()->update();
}

void SearchList::showChosen()
{
    if (chosen_ >= 0) verticalScrollBar()->setValue(chosen_ * rowHeight_ - (viewport()->height() - rowHeight_) / 2);
}

void SearchList::pick(int row)
{
    if (row < 0 || row >= count_ || !rowText_) return;
    if (chosen_ >= 0) chosen_ = row;
    beginAction(this, [this, row] {
        text_ = rowText_(row);
        if (const auto click = click_) click();
    });
}

bool SearchList::event(QEvent* event)
{
    if (isInput(event) && inputBlocked(this)) return true;
    return QAbstractScrollArea::event(event);
}

bool SearchList::viewportEvent(QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        mousePressed(*static_cast<QMouseEvent*>(event));
        return true;
    case QEvent::MouseMove:
        mouseDragged(*static_cast<QMouseEvent*>(event));
        return true;
    case QEvent::MouseButtonRelease:
        mouseReleased(*static_cast<QMouseEvent*>(event));
        return true;
    default:
        return QAbstractScrollArea::viewportEvent(event);
    }
}

void SearchList::mousePressed(const QMouseEvent& mouse)
{
    const QPoint at = mouse.position().toPoint();
    // A touch on a gliding list only stops it, as on every telephone.
    const bool stopping = glide_.state() == QAbstractAnimation::Running;
    glide_.stop();
    downAt_ = at;
    downScroll_ = verticalScrollBar()->value();
    downRow_ = stopping ? -1 : rowAt(at.y());
    dragging_ = false;
    speed_ = 0;
    lastY_ = at.y();
    lastMove_ = mouse.timestamp();
    viewport()->update();
}

void SearchList::mouseDragged(const QMouseEvent& mouse)
{
    const QPoint at = mouse.position().toPoint();
    if (!dragging_ && std::abs(at.y() - downAt_.y()) > dragDistance) {
        dragging_ = true;
        downRow_ = -1;
        viewport()->update();
    }
    if (!dragging_) return;
    const quint64 now = mouse.timestamp();
    if (now > lastMove_) {
        speed_ = 0.6 * speed_ + 0.4 * (at.y() - lastY_) / static_cast<double>(now - lastMove_);
        lastMove_ = now;
        lastY_ = at.y();
    }
    verticalScrollBar()->setValue(downScroll_ - (at.y() - downAt_.y()));
}

void SearchList::mouseReleased(const QMouseEvent& mouse)
{
    const QPoint at = mouse.position().toPoint();
    const int row = downRow_;
    downRow_ = -1;
    viewport()->update();
    if (dragging_) {
        dragging_ = false;
        const bool flung = mouse.timestamp() - lastMove_ < 80 && std::abs(speed_) > 0.3;
        if (flung) {
            glide_.setStartValue(verticalScrollBar()->value());
            glide_.setEndValue(std::clamp(verticalScrollBar()->value() - static_cast<int>(speed_ * 400),
                                          verticalScrollBar()->minimum(), verticalScrollBar()->maximum()));
            glide_.setDuration(700);
            glide_.start();
        }
        return;
    }
    if (row >= 0 && row == rowAt(at.y())) pick(row);
}

void SearchList::keyPressEvent(QKeyEvent* event) { event->ignore(); }

void SearchList::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    updateRange();
    showChosen();
}

void SearchList::moveEvent(QMoveEvent* event)
{
    QAbstractScrollArea::moveEvent(event);
    fitHeight();
}

void SearchList::paintEvent(QPaintEvent*)
{
    QPainter painter(viewport());
    painter.fillRect(viewport()->rect(), Qt::white);
    if (!rowText_) return;
    const int scroll = verticalScrollBar()->value();
    const int first = scroll / rowHeight_;
    for (int row = first; row < count_; ++row) {
        const QRect line(0, row * rowHeight_ - scroll, viewport()->width(), rowHeight_);
        if (line.top() > viewport()->height()) break;
        const bool chosen = row == chosen_;
        if (row == downRow_)
            painter.fillRect(line, painted(colour::yellow, palette()));
        else if (chosen)
            painter.fillRect(line, painting::chosen);
        painter.setPen(chosen && row != downRow_ ? QColor(Qt::white) : painting::ink);
        painter.drawText(line.adjusted(14, 0, -8, 0), Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
                         painter.fontMetrics().elidedText(rowText(row), Qt::ElideRight, line.width() - 22));
        painter.setPen(QColor(0xCF, 0xD8, 0xDC));
        painter.drawLine(line.bottomLeft(), line.bottomRight());
    }
}

} // namespace app
