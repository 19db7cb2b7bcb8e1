#include "app/field_label.h"
#include "app/painting.h"
#include <algorithm>

namespace app {

FieldLabel::FieldLabel(QWidget* parent, Kind kind, const QString& title, const QString& caption)
    : CaptionLabel(parent, caption), kind_(kind), title_(title)
{
    setSpokenName(title.trimmed());
}

void FieldLabel::setTextSizes(int titlePixels, int valuePixels)
{
    titlePixels_ = titlePixels;
    valuePixels_ = valuePixels;
    update();
}

void FieldLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const bool active = backColor() == colour::cyan;
    const QColor ground = painted(backColor(), palette());
    painting::box(painter, rect(), ground, active ? painting::strongLine : painting::line, active ? 4 : 1);

    const int margin = std::max(titlePixels_ * 6 / 10, 6);
    const QRect inner = rect().adjusted(margin, margin / 2 + 2, -margin, -margin / 2);
    painter.setFont(painting::sized(font(), titlePixels_, active));
    painter.setPen(active ? painting::ink : painting::quietInk);
    const int titleHeight = painter.fontMetrics().height();
    painter.drawText(QRect(inner.left(), inner.top(), inner.width(), titleHeight), Qt::AlignLeft | Qt::AlignVCenter,
                     title_.trimmed());

    painter.setPen(painting::ink);
    const QFont full = painting::sized(font(), valuePixels_, true);
    // The line is that of the full size, so that neighbours stay level when one of them has to be drawn smaller. It
    // may rise beside the title: figures stand right, titles left.
    const int top = inner.bottom() - std::min(QFontMetrics(full).height(), inner.height()) + 1;
    // A name may lose its beginning; a figure that did would be another figure.
    const int least = valuePixels_ * (kind_ == Kind::name ? 2 : 1) / 3;
    painter.setFont(painting::fitted(full, caption(), valuePixels_, inner.width(), least));
    painting::lineOfText(painter, QRect(inner.left(), top, inner.width(), inner.bottom() - top + 1),
                         (kind_ == Kind::name ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignVCenter, caption());
}

} // namespace app
