#include "app/drop_down_list.h"
#include "app/painting.h"
#include "base/error.h"
#include <QEvent>
#include <QListView>
#include <QStyledItemDelegate>
#include <QWheelEvent>

namespace app {

namespace {

class TallRows : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    int rowPixels = 48;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const bool chosen = option.state & QStyle::State_Selected;
        painter->fillRect(option.rect, chosen ? painting::chosen : QColor(Qt::white));
        painter->setPen(chosen ? QColor(Qt::white) : painting::ink);
        painter->setFont(option.font);
        painter->drawText(option.rect.adjusted(rowPixels / 4, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft,
                          index.data().toString());
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        return {QStyledItemDelegate::sizeHint(option, index).width(), rowPixels};
    }
};

} // namespace

DropDownList::DropDownList(QWidget* parent, const QStringList& entries) : Control(parent)
{
    setView(new QListView(this));
    setItemDelegate(new TallRows(this));
    addItems(entries);
    setCurrentIndex(-1);
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_NoMousePropagation);
}

void DropDownList::setListIndex(int index)
{
    if (index < -1 || index >= count()) throw base::runtimeError(base::errors::invalidProperty);
    setCurrentIndex(index);
}

void DropDownList::setText(const QString& entry)
{
    const int index = findText(entry, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (index < 0) throw base::runtimeError(base::errors::readOnlyText);
    setCurrentIndex(index);
}

void DropDownList::setTitle(const QString& title)
{
    title_ = title;
    setAccessibleName(title.trimmed());
}

void DropDownList::setTextSizes(int titlePixels, int valuePixels, int rowPixels)
{
    titlePixels_ = titlePixels;
    valuePixels_ = valuePixels;
    static_cast<TallRows*>(itemDelegate())->rowPixels = rowPixels;
    view()->setFont(painting::sized(font(), valuePixels, false));
    update();
}

bool DropDownList::event(QEvent* event)
{
    if (isInput(event) && inputBlocked(this)) return true;
    return QComboBox::event(event);
}

void DropDownList::wheelEvent(QWheelEvent* event)
{
    // A wheel that passes over the closed list must not change the container size unseen.
    event->ignore();
}

void DropDownList::showPopup()
{
    if (inputBlocked(this)) return;
    QComboBox::showPopup();
}

void DropDownList::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painting::box(painter, rect(), Qt::white, hasFocus() ? painting::strongLine : painting::line, hasFocus() ? 2 : 1);
    const int margin = std::max(titlePixels_ * 6 / 10, 6);
    const QRect inner = rect().adjusted(margin, margin / 2 + 2, -margin, -margin / 2);
    if (!title_.isEmpty()) {
        painter.setFont(painting::sized(font(), titlePixels_, false));
        painter.setPen(painting::quietInk);
        painter.drawText(inner, Qt::AlignLeft | Qt::AlignTop, title_.trimmed());
    }
    const int arrow = valuePixels_ * 3 / 4;
    QRect text = inner.adjusted(0, 0, -arrow - margin, 0);
    painter.setPen(painting::ink);
    painter.setFont(
        painting::fitted(painting::sized(font(), valuePixels_, true), currentText(), valuePixels_, text.width()));
    const Qt::Alignment place = (title_.isEmpty() ? Qt::AlignVCenter : Qt::AlignBottom) | Qt::AlignLeft;
    painter.drawText(text, static_cast<int>(place), currentText());

    const QPointF tip(inner.right() - arrow / 2.0,
                      title_.isEmpty() ? rect().center().y() + arrow / 4.0 : inner.bottom() - valuePixels_ * 0.3);
    painter.setPen(QPen(painting::ink, std::max(valuePixels_ / 8.0, 2.0), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(
        QPolygonF({tip - QPointF(arrow / 2.0, arrow / 2.0), tip, tip + QPointF(arrow / 2.0, -arrow / 2.0)}));
}

} // namespace app
