#include "app/painting.h"

#include <QAbstractScrollArea>
#include <QFontMetrics>
#include <QScrollBar>
#include <algorithm>

using namespace Qt::StringLiterals;

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

QFont fitted(QFont font, const QString& text, int pixels, int width, int least)
{
    font.setPixelSize(std::max(pixels, 1));
    const int needed = QFontMetrics(font).horizontalAdvance(text);
    if (needed > width) font.setPixelSize(std::max({pixels * width / needed, least, 1}));
    // Letters do not shrink as evenly as their size, and a fraction of a pixel too wide is too wide for lineOfText().
    const auto fits = [&] { return QFontMetrics(font).elidedText(text, Qt::ElideLeft, width) == text; };
    while (!fits() && font.pixelSize() > std::max(least, 1)) font.setPixelSize(font.pixelSize() - 1);
    return font;
}

QFont fitted(const QFont& font, const QString& text, int pixels, int width)
{
    return fitted(font, text, pixels, width, pixels * 2 / 3);
}

void lineOfText(QPainter& painter, const QRect& area, Qt::Alignment place, const QString& text)
{
    const QString shown = painter.fontMetrics().elidedText(text, Qt::ElideLeft, area.width());
    painter.drawText(area, static_cast<int>(place) | Qt::TextSingleLine, shown);
}

void widenScrollBars(QAbstractScrollArea& area)
{
    const QString look = u"QScrollBar{background:#DDE4E8;border:none;}"
                         "QScrollBar:vertical{width:28px;}QScrollBar:horizontal{height:28px;}"
                         "QScrollBar::handle{background:#546E7A;border-radius:6px;margin:4px;}"
                         "QScrollBar::handle:vertical{min-height:56px;}QScrollBar::handle:horizontal{min-width:56px;}"
                         "QScrollBar::add-line,QScrollBar::sub-line{width:0;height:0;}"_s;
    area.verticalScrollBar()->setStyleSheet(look);
    area.horizontalScrollBar()->setStyleSheet(look);
}

} // namespace app::painting
