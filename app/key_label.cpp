#include "app/key_label.h"
#include "app/painting.h"

namespace app {

KeyLabel::KeyLabel(QWidget* parent, const QString& caption) : CaptionLabel(parent, caption)
{
    setAttribute(Qt::WA_AcceptTouchEvents);
    setBackColor(colour::cyan);
}

void KeyLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QColor ground = painted(backColor(), palette());
    const QColor edge(0x00, 0x6B, 0x78);
    const bool down = isDown();
    // A key stands on a darker edge and sinks into it while it is held.
    const int depth = std::max(height() / 20, 2);
    if (!down) painting::box(painter, rect(), edge, edge, 1);
    const QRect face = rect().adjusted(0, down ? depth : 0, 0, down ? 0 : -depth);
    painting::box(painter, face, ground, down ? painting::strongLine : edge, down ? 3 : 1);
    painter.setPen(painting::ink);
    painter.drawText(face.adjusted(4, 0, -4, 0), Qt::AlignCenter | Qt::TextWordWrap, caption().trimmed());
}

} // namespace app
