#include "app/drag_scroll.h"

#include <QAbstractScrollArea>
#include <QScroller>

namespace app {

void dragToScroll(QAbstractScrollArea& area)
{
    QWidget* surface = area.viewport();
    QScroller::grabGesture(surface, QScroller::LeftMouseButtonGesture);
    QScroller* scroller = QScroller::scroller(surface);
    QScrollerProperties feel = scroller->scrollerProperties();
    for (const auto metric :
         {QScrollerProperties::HorizontalOvershootPolicy, QScrollerProperties::VerticalOvershootPolicy})
        feel.setScrollMetric(metric, QScrollerProperties::OvershootAlwaysOff);
    scroller->setScrollerProperties(feel);
}

} // namespace app
