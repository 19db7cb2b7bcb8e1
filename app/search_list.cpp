#include "app/search_list.h"
#include "app/colour.h"
#include "app/drag_scroll.h"
#include "app/painting.h"
#include "app/search_list_access.h"
#include "base/error.h"
#include <QAbstractListModel>
#include <QKeyEvent>
#include <QScrollBar>
#include <QScroller>
#include <QStyledItemDelegate>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace app {

/// The rows as the view knows them: how many there are, and the text of one when it is asked for.
class TextRows : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    void setSource(std::function<int()> count, std::function<QString(int)> text)
    {
        countRows_ = std::move(count);
        rowText_ = std::move(text);
    }
    void refill()
    {
        beginResetModel();
        count_ = countRows_ ? countRows_() : 0;
        endResetModel();
    }
    QString text(int row) const { return rowText_ ? rowText_(row) : QString(); } ///< throws for a row that is gone

    int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : count_; }
    QVariant data(const QModelIndex& index, int role) const override
    {
        if (role != Qt::DisplayRole || !index.isValid()) return {};
        try {
            return text(index.row());
        } catch (const base::RuntimeError&) {
            // Asked while painting or by a reader for the blind: there is no action that could report it.
            return {};
        }
    }

private:
    std::function<int()> countRows_;
    std::function<QString(int)> rowText_;
    int count_ = 0;
};

namespace {

constexpr int borderWidth = 3;     // heavy: the list lies over other fields
constexpr int dragDistance = 10;   // pixels; a finger trembles less than that in a tap
constexpr int restBeforeLift = 80; // ms; a finger that has lain still for as long throws nothing when it lifts
const QColor lineBetween(0xCF, 0xD8, 0xDC);

/// A row: one line of text above a thin line, on the ground of what it is: pressed, chosen or neither.
class RowPainter : public QStyledItemDelegate {
public:
    explicit RowPainter(SearchList* list) : QStyledItemDelegate(list), list_(list) {}

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override { return {0, list_->rowHeight()}; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const QRect line(0, option.rect.top(), list_->viewport()->width(), option.rect.height());
        const bool pressed = list_->isPressed(index.row());
        const bool chosen = list_->isChosen(index.row()) && !pressed;
        if (pressed)
            painter->fillRect(line, painted(colour::yellow, list_->palette()));
        else if (chosen)
            painter->fillRect(line, painting::chosen);
        painter->setFont(option.font);
        painter->setPen(chosen ? QColor(Qt::white) : painting::ink);
        painter->drawText(
            line.adjusted(14, 0, -8, 0), Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
            painter->fontMetrics().elidedText(index.data().toString(), Qt::ElideRight, line.width() - 22));
        painter->setPen(lineBetween);
        painter->drawLine(line.bottomLeft(), line.bottomRight());
    }

private:
    SearchList* list_;
};

} // namespace

SearchList::SearchList(QWidget* parent) : ScrollControl(parent), rows_(new TextRows(this))
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
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setUniformItemSizes(true);
    setAttribute(Qt::WA_NoMousePropagation);
    setAccessibleName(u"Müşteri listesi"_s);
    setItemDelegate(new RowPainter(this));
    setModel(rows_);
    dragToScroll(*this);
    QScroller* scroller = QScroller::scroller(viewport());
    QScrollerProperties feel = scroller->scrollerProperties();
    feel.setScrollMetric(QScrollerProperties::DragStartDistance, dragDistance / scroller->pixelPerMeter().y());
    feel.setScrollMetric(QScrollerProperties::MousePressEventDelay, 0); // a touched row shows it at once
    feel.setScrollMetric(QScrollerProperties::MaximumClickThroughVelocity, 0);
    scroller->setScrollerProperties(feel);
    connect(scroller, &QScroller::stateChanged, this, [this, scroller](QScroller::State state) {
        if (state != QScroller::Pressed) press(-1);
        if (state == QScroller::Dragging) sinceDragged_.start();
        // QScroller goes on with the speed of the last move, however long ago that was.
        if (state == QScroller::Scrolling && sinceDragged_.isValid() && sinceDragged_.elapsed() >= restBeforeLift)
            QMetaObject::invokeMethod(
                scroller,
                [this, scroller, lifted = verticalScrollBar()->value()] {
                    scroller->stop();
                    verticalScrollBar()->setValue(lifted); // a step of the throw may have come first
                },
                Qt::QueuedConnection);
    });
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, [this, scroller] {
        if (scroller->state() == QScroller::Dragging) sinceDragged_.start();
    });
    connect(this, &QListView::clicked, this, [this](const QModelIndex& index) { pick(index.row()); });
}

void SearchList::setRows(std::function<int()> count, std::function<QString(int)> text)
{
    rows_->setSource(std::move(count), std::move(text));
    refill();
}

void SearchList::refill()
{
    QScroller::scroller(viewport())->stop();
    pressed_ = -1;
    chosen_ = -1;
    rows_->refill();
    verticalScrollBar()->setValue(0);
    fitHeight();
}

int SearchList::rowCount() const { return rows_->rowCount(); }
QString SearchList::rowText(int row) const { return rows_->index(row).data().toString(); }

void SearchList::setRowHeight(int pixels)
{
    rowHeight_ = std::max(pixels, 1);
    scheduleDelayedItemsLayout();
    fitHeight();
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
    const qint64 needed = static_cast<qint64>(std::max(rowCount(), 1)) * rowHeight_ + qint64{2} * borderWidth;
    resize(width(), static_cast<int>(std::min<qint64>(room, needed)));
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
    if (chosen_ >= 0) scrollTo(rows_->index(chosen_), PositionAtCenter);
}

void SearchList::pick(int row)
{
    if (row < 0 || row >= rowCount()) return;
    if (chosen_ >= 0) chosen_ = row;
    viewport()->update();
    beginAction(this, [this, row] {
        text_ = rows_->text(row);
        if (const auto click = click_) click();
    });
}

void SearchList::press(int row)
{
    if (pressed_ == row) return;
    pressed_ = row;
    viewport()->update();
}

void SearchList::mousePressEvent(QMouseEvent* event)
{
    press(indexAt(event->position().toPoint()).row());
    Control::mousePressEvent(event);
}

void SearchList::mouseDoubleClickEvent(QMouseEvent* event) { mousePressEvent(event); }

void SearchList::mouseReleaseEvent(QMouseEvent* event)
{
    press(-1);
    Control::mouseReleaseEvent(event);
}

void SearchList::keyPressEvent(QKeyEvent* event) { event->ignore(); }

void SearchList::resizeEvent(QResizeEvent* event)
{
    Control::resizeEvent(event);
    showChosen();
}

void SearchList::moveEvent(QMoveEvent* event)
{
    Control::moveEvent(event);
    fitHeight();
}

} // namespace app
