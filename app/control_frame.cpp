#include "app/control_frame.h"
#include "app/painting.h"
#include <QMouseEvent>

namespace app {

ControlFrame::ControlFrame(QWidget* parent, Look look, const QString& caption)
    : Control(parent), look_(look), caption_(caption)
{
    setAccessibleName(caption.trimmed());
    // What happens on a frame stays on it: only the form's own bare surface answers to the form's mouse rules.
    setAttribute(Qt::WA_NoMousePropagation);
    setMouseTracking(true);
}

void ControlFrame::setBackColor(Colour stored)
{
    if (backColor_ == stored) return;
    backColor_ = stored;
    update();
}

void ControlFrame::setEnabled(bool enabled)
{
    if (enabled_ == enabled) return;
    enabled_ = enabled;
    update();
}

void ControlFrame::setHeadline(int height)
{
    headline_ = height;
    update();
}

bool ControlFrame::event(QEvent* event)
{
    if (isInput(event) && (!enabled_ || inputBlocked(this))) return true;
    if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick) return true;
    if (event->type() == QEvent::MouseButtonRelease) {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::LeftButton && rect().contains(mouse->position().toPoint()))
            beginAction(this, click_);
        return true;
    }
    return QGroupBox::event(event);
}

void ControlFrame::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    // A group inside a station has no ground of its own.
    const auto* around = look_ == Look::group ? qobject_cast<const ControlFrame*>(parentWidget()) : nullptr;
    const QColor ground = painted(around ? around->backColor() : backColor_, palette());
    const QColor ink = inkOn(ground);
    switch (look_) {
    case Look::station: {
        // The working station also has the heavier border: the green alone would not tell it from the other one to
        // every eye.
        const bool working = backColor_ == colour::green;
        painting::box(painter, rect(), ground, working ? QColor(0x00, 0x60, 0x00) : painting::line, working ? 4 : 1,
                      10);
        painter.setPen(ink);
        const int edge = headline_ / 4;
        QRect line(edge, headline_ / 10, width() - 2 * edge, headline_);
        painter.setFont(painting::sized(font(), headline_ * 45 / 100, true));
        painter.drawText(line, Qt::AlignRight | Qt::AlignVCenter, caption_);
        break;
    }
    case Look::group: {
        const int lineHeight = fontMetrics().height();
        QRect border = rect().adjusted(0, lineHeight / 2, 0, 0);
        painting::box(painter, border, ground, ink, 1, 8);
        const QRect caption(12, 0, fontMetrics().horizontalAdvance(caption_) + 10, lineHeight);
        painter.fillRect(caption, ground);
        painter.setPen(ink);
        painter.drawText(caption, Qt::AlignCenter, caption_);
        break;
    }
    case Look::panel:
        painting::box(painter, rect(), ground, painting::line, 1, 10);
        break;
    case Look::strip:
        painter.fillRect(rect(), Qt::white);
        painter.setPen(painting::softLine);
        painter.drawLine(rect().bottomLeft(), rect().bottomRight());
        break;
    }
}

} // namespace app
