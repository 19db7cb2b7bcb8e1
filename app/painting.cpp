#include "app/painting.h"

#include <QFontMetrics>
#include <algorithm>

namespace app::painting {

void box(QPainter& painter, const QRect& area, const QColor& fill, const QColor& border, int borderWidth,
         int cornerRadius)
{
    const qreal half = borderWidth / 2.0;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(borderWidth > 0 ? QPen(border, borderWidth) : QPen(Qt::NoPen));
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(area).adjusted(half, half, -half, -half), cornerRadius, cornerRadius);
}

QFont sized(QFont font, int pixels, bool bold)
{
    font.setPixelSize(std::max(pixels, 1));
    font.setBold(bold);
    return font;
}

QFont fitted(QFont font, const QString& text, int pixels, int width)
{
    font.setPixelSize(std::max(pixels, 1));
    const int needed = QFontMetrics(font).horizontalAdvance(text);
    if (needed > width && needed > 0) font.setPixelSize(std::max(pixels * width / needed, pixels * 2 / 3));
    return font;
}

void lineOfText(QPainter& painter, const QRect& area, int flags, const QString& text)
{
    const QString shown = painter.fontMetrics().elidedText(text, Qt::ElideLeft, area.width());
    painter.drawText(area, flags | Qt::TextSingleLine, shown);
}

} // namespace app::painting
