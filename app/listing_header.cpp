#include "app/listing_header.h"

#include "app/painting.h"
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cstdlib>

namespace app {

namespace {

const QColor ground(0xDD, 0xE5, 0xE9);

} // namespace

ListingHeader::ListingHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent)
{
    // The edges are dragged by this class: the grip of the base class is four pixels wide.
    setSectionResizeMode(QHeaderView::Fixed);
    setMinimumSectionSize(0); // a width from a layout file is applied as it is
    setSectionsClickable(false);
    setHighlightSections(false);
    setStretchLastSection(false);
    viewport()->setMouseTracking(true);
}

int ListingHeader::edgeAt(int x) const
{
    int nearest = -1;
    int distance = grip + 1;
    for (int place = 0; place < count(); ++place) {
        const int column = logicalIndex(place);
        if (isSectionHidden(column)) continue;
        const int away = x - (sectionViewportPosition(column) + sectionSize(column));
        // Inside a narrow column its left half belongs to the edge before it. Where several edges fall together, the
        // last column is meant: it is the one without a width.
        if (away < 0 && -away > std::min(grip, sectionSize(column) / 2)) continue;
        if (std::abs(away) > distance || std::abs(away) > grip) continue;
        nearest = column;
        distance = std::abs(away);
    }
    return nearest;
}

void ListingHeader::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return;
    pressedAt_ = event->position().toPoint().x();
    column_ = edgeAt(pressedAt_);
    if (column_ >= 0) widthBefore_ = sectionSize(column_);
    viewport()->update();
}

void ListingHeader::mouseMoveEvent(QMouseEvent* event)
{
    const int x = event->position().toPoint().x();
    if (column_ < 0 || !(event->buttons() & Qt::LeftButton)) {
        viewport()->setCursor(edgeAt(x) >= 0 ? Qt::SplitHCursor : Qt::ArrowCursor);
        return;
    }
    const int floor = std::min(narrowest, widthBefore_);
    const int width = std::clamp(widthBefore_ + x - pressedAt_, floor, maximumSectionSize());
    if (width != sectionSize(column_)) resizeSection(column_, width);
}

void ListingHeader::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) letGo();
}

void ListingHeader::mouseDoubleClickEvent(QMouseEvent* event) { mousePressEvent(event); }

void ListingHeader::letGo()
{
    const int column = std::exchange(column_, -1);
    viewport()->update();
    if (column >= 0 && column < count() && sectionSize(column) != widthBefore_ && dragged_) dragged_(column);
}

void ListingHeader::paintEvent(QPaintEvent* event)
{
    QHeaderView::paintEvent(event);
    // The style has its own idea of the room behind the last column.
    QPainter painter(viewport());
    const int end = length() - offset();
    painter.fillRect(end, 0, width() - end, height(), ground);
    painter.fillRect(end, height() - 1, width() - end, 1, painting::line);
}

void ListingHeader::paintSection(QPainter* painter, const QRect& area, int column) const
{
    if (!area.isValid()) return;
    painter->save();
    painter->setClipRect(area);
    painter->fillRect(area, ground);
    painter->fillRect(area.left(), area.bottom(), area.width(), 1, painting::line);
    const bool dragging = column == column_;
    const int edge = dragging ? 3 : 1;
    painter->fillRect(area.right() + 1 - edge, area.top(), edge, area.height(),
                      dragging ? painting::strongLine : painting::line);

    const QRect inner = area.adjusted(padding, 0, -padding, 0);
    const QFontMetricsF metrics(font());
    QString heading = model()->headerData(column, Qt::Horizontal).toString();
    const auto alignment = model()->headerData(column, Qt::Horizontal, Qt::TextAlignmentRole).value<Qt::Alignment>();
    if (metrics.horizontalAdvance(heading) > area.width())
        heading = metrics.elidedText(heading.trimmed(), Qt::ElideRight, inner.width());
    // Measured here: text drawing would drop the blanks at the end, which are half of what is aligned.
    const double width = metrics.horizontalAdvance(heading);
    double left = inner.left();
    if (alignment & Qt::AlignRight) left = inner.right() + 1 - width;
    if (alignment & Qt::AlignHCenter) left = inner.left() + (inner.width() - width) / 2;
    painter->setFont(font());
    painter->setPen(painting::ink);
    painter->drawText(QPointF(left, area.top() + (area.height() - metrics.height()) / 2 + metrics.ascent()), heading);
    painter->restore();
}

} // namespace app
