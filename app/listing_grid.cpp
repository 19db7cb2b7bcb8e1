#include "app/listing_grid.h"

#include "app/drag_scroll.h"
#include "app/painting.h"
#include <QPainter>
#include <QStyledItemDelegate>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace app {

namespace {

const QColor totalsGround(0xFF, 0xF1, 0xC9);

const QColor lineBetween(0xD0, 0xD9, 0xDE);

/// A cell of the grid: one line of text between thin lines, the row of sums set apart. A row is painted up to the edge
/// of the grid, so that the eye can follow it, and in the last column a text may go on there: a name is cut only where
/// it must be.
class CellPainter : public QStyledItemDelegate {
public:
    CellPainter(QHeaderView* headings, QWidget* viewport)
        : QStyledItemDelegate(headings), headings_(headings), viewport_(viewport)
    {
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const auto* rows = qobject_cast<const reports::GridModel*>(index.model());
        const bool totals = rows && rows->isTotals(index.row());
        const bool selected = option.state & QStyle::State_Selected;
        const auto alignment = index.data(Qt::TextAlignmentRole).value<Qt::Alignment>();

        QRect area = option.rect;
        const bool last = area.right() + 1 >= headings_->length() - headings_->offset();
        if (last) area.setRight(std::max(area.right(), viewport_->width() - 1));
        // Always the colours of an active window: a row does not fade because a key of the keypad was touched.
        const auto colour = [&](QPalette::ColorRole role) { return option.palette.color(QPalette::Active, role); };
        QColor ground = colour(index.row() % 2 == 0 ? QPalette::Base : QPalette::AlternateBase);
        if (totals) ground = totalsGround;
        if (selected) ground = colour(QPalette::Highlight);
        painter->fillRect(area, ground);
        const QColor line = selected ? ground : lineBetween;
        painter->fillRect(area.left(), area.bottom(), area.width(), 1, line);
        if (!last) painter->fillRect(area.right(), area.top(), 1, area.height(), line);

        QFont font = option.font;
        font.setBold(totals);
        painter->setFont(font);
        painter->setPen(colour(selected ? QPalette::HighlightedText : QPalette::Text));
        const QRect& room = alignment & Qt::AlignLeft ? area : option.rect;
        const QRect inner = room.adjusted(padding, 0, -padding, 0);
        const QString text = painter->fontMetrics().elidedText(index.data().toString(), Qt::ElideRight, inner.width());
        painter->drawText(inner, static_cast<int>(alignment) | Qt::TextSingleLine, text);
    }

private:
    static constexpr int padding = 6;

    QHeaderView* headings_;
    QWidget* viewport_;
};

} // namespace

ListingGrid::ListingGrid(QWidget* parent) : ScrollControl(parent), headings_(new ListingHeader(this))
{
    setAttribute(Qt::WA_NoMousePropagation);
    setHorizontalHeader(headings_);
    setItemDelegate(new CellPainter(headings_, viewport()));
    setShowGrid(false);
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
    setAccessibleName(u"Liste"_s);
    painting::widenScrollBars(*this);
    headings_->onDragged([this](int column) { columnDragged(column); });

    dragToScroll(*this);
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

} // namespace app
