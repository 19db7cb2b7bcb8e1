#include "app/listing_grid.h"
#include "app/painting.h"
#include <QHeaderView>
#include <QScroller>

namespace app {

ListingGrid::ListingGrid(QWidget* parent) : Control(parent)
{
    setAttribute(Qt::WA_NoMousePropagation);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setFrameShape(QFrame::StyledPanel);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSectionsClickable(false);
    horizontalHeader()->setStretchLastSection(false);
    setAccessibleName(QStringLiteral("Liste"));
    painting::widenScrollBars(*this);
    QScroller::grabGesture(viewport(), QScroller::LeftMouseButtonGesture);
}

void ListingGrid::setTextSizes(int headingPixels, int valuePixels, int rowPixels)
{
    setFont(painting::sized(font(), valuePixels, false));
    horizontalHeader()->setFont(painting::sized(font(), headingPixels, true));
    horizontalHeader()->setMinimumHeight(rowPixels);
    verticalHeader()->setDefaultSectionSize(rowPixels);
}

} // namespace app
