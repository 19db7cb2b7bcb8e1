#include "app/listing_grid.h"

#include "app/painting.h"
#include <QPainter>
#include <QScroller>
#include <QStyledItemDelegate>

namespace app {

namespace {

const QColor totalsGround(0xFF, 0xF1, 0xC9);

/// A cell as the grid paints it: no focus frame, the row of sums set apart.
class CellPainter : public QStyledItemDelegate {
public:
    explicit CellPainter(QObject* parent) : QStyledItemDelegate(parent) {}

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        option->state &= ~QStyle::State_HasFocus;
        // The window is the operator's whole world: a row does not fade because a key of the keypad was touched.
        option->state |= QStyle::State_Active;
        const auto* rows = qobject_cast<const reports::GridModel*>(index.model());
        if (rows && rows->isTotals(index.row())) {
            option->font.setBold(true);
            option->fontMetrics = QFontMetrics(option->font);
            option->backgroundBrush = totalsGround;
        }
    }
};

} // namespace

ListingGrid::ListingGrid(QWidget* parent) : Control(parent), headings_(new ListingHeader(this))
{
    setAttribute(Qt::WA_NoMousePropagation);
    setHorizontalHeader(headings_);
    setItemDelegate(new CellPainter(this));
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setCornerButtonEnabled(false);
    setFrameShape(QFrame::StyledPanel);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    setAccessibleName(QStringLiteral("Liste"));
    painting::widenScrollBars(*this);
    headings_->onDragged([this](int column) { columnDragged(column); });

    QScroller::grabGesture(viewport(), QScroller::LeftMouseButtonGesture);
    QScrollerProperties feel = QScroller::scroller(viewport())->scrollerProperties();
    for (const auto metric :
         {QScrollerProperties::HorizontalOvershootPolicy, QScrollerProperties::VerticalOvershootPolicy})
        feel.setScrollMetric(metric, QScrollerProperties::OvershootAlwaysOff);
    QScroller::scroller(viewport())->setScrollerProperties(feel);
}

void ListingGrid::setTextSizes(int headingPixels, int valuePixels, int rowPixels)
{
    setFont(painting::sized(font(), valuePixels, false));
    headings_->setFont(painting::sized(font(), headingPixels, true));
    headings_->setMinimumHeight(rowPixels);
    // Each call visits every row of the journal.
    if (verticalHeader()->defaultSectionSize() != rowPixels) verticalHeader()->setDefaultSectionSize(rowPixels);
}

void ListingGrid::setRows(reports::GridModel* rows)
{
    rows_ = rows;
    setModel(rows);
    connect(rows, &reports::GridModel::layoutOfColumnsChanged, this, &ListingGrid::applyColumns);
    applyColumns();
}

void ListingGrid::applyColumns()
{
    for (std::size_t i = 0; i < rows_->columns().size(); ++i) {
        const reports::GridColumn& column = rows_->columns()[i];
        const int place = static_cast<int>(i);
        if (headings_->isSectionHidden(place) == column.visible) headings_->setSectionHidden(place, !column.visible);
        if (!column.visible) continue;
        const int pixels = twips::toPixels(static_cast<double>(column.width));
        if (headings_->sectionSize(place) != pixels) headings_->resizeSection(place, pixels);
    }
}

void ListingGrid::columnDragged(int column)
{
    reports::GridColumns columns = rows_->columns();
    columns.at(static_cast<std::size_t>(column)).width =
        static_cast<float>(twips::fromPixels(headings_->sectionSize(column)));
    rows_->setColumns(columns);
    if (!resized_) return;
    beginAction(this, [this, column] { resized_(column); });
}

double ListingGrid::headingWidth(const QString& text) const
{
    return QFontMetricsF(headings_->font()).horizontalAdvance(text) * twips::perPixel;
}

void ListingGrid::setMarquee(Marquee marquee)
{
    marquee_ = marquee;
    const auto mode = marquee == Marquee::wholeRow ? SingleSelection : NoSelection;
    if (selectionMode() != mode) setSelectionMode(mode);
    if (marquee == Marquee::none) clearSelection();
}

void ListingGrid::markCurrentRow()
{
    const int row = rows_ ? rows_->currentRow() : -1;
    if (row < 0 || marquee_ == Marquee::none || row == currentIndex().row()) return;
    int column = 0;
    while (column < rows_->columnCount() - 1 && isColumnHidden(column)) ++column;
    marking_ = true;
    setCurrentIndex(rows_->index(row, column));
    marking_ = false;
}

void ListingGrid::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    Control::currentChanged(current, previous);
    if (marking_ || !rowChanged_ || !current.isValid() || current.row() == previous.row()) return;
    const int row = current.row();
    beginAction(this, [this, row] { rowChanged_(row); });
}

bool ListingGrid::event(QEvent* event)
{
    if (isInput(event) && inputBlocked(this)) return true;
    return Control::event(event);
}

bool ListingGrid::viewportEvent(QEvent* event)
{
    if (isInput(event) && inputBlocked(this)) return true;
    return Control::viewportEvent(event);
}

void ListingGrid::paintEvent(QPaintEvent* event)
{
    Control::paintEvent(event);
    // The rows go on to the right of the last column, so that the eye can follow them.
    const int right = headings_->length() - headings_->offset();
    if (!rows_ || right >= viewport()->width() || rows_->rowCount() == 0) return;
    QPainter painter(viewport());
    const QColor gridColor =
        QColor::fromRgba(static_cast<QRgb>(style()->styleHint(QStyle::SH_Table_GridLineColor, nullptr, this)));
    for (int row = rowAt(0); row >= 0 && row < rows_->rowCount(); ++row) {
        const int top = rowViewportPosition(row);
        if (top >= viewport()->height()) break;
        const QRect rest(right, top, viewport()->width() - right, rowHeight(row));
        QColor ground = palette().color(row % 2 == 0 ? QPalette::Base : QPalette::AlternateBase);
        if (rows_->isTotals(row)) ground = totalsGround;
        if (selectionModel()->isRowSelected(row)) ground = palette().color(QPalette::Highlight);
        painter.fillRect(rest, ground);
        painter.fillRect(rest.left(), rest.bottom(), rest.width(), 1, gridColor);
    }
}

} // namespace app
