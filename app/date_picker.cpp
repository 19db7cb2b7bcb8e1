#include "app/date_picker.h"
#include "app/painting.h"
#include "base/error.h"
#include "base/patterns.h"
#include <QCalendarWidget>
#include <QFrame>
#include <QLocale>
#include <QScreen>
#include <QTextCharFormat>
#include <QToolButton>
#include <QVBoxLayout>

namespace app {

DatePicker::DatePicker(QWidget* parent, const QString& title, const base::Regional& regional)
    : CaptionLabel(parent), title_(title), regional_(regional)
{
    setFocusPolicy(Qt::TabFocus);
    setSpokenName(title);
    value_ = QDate::currentDate();
    showDay();
}

void DatePicker::setValue(QDate day)
{
    if (!day.isValid()) throw base::runtimeError(base::errors::invalidProperty);
    if (day == value_) return;
    value_ = day;
    showDay();
    if (const auto changed = changed_) changed();
}

void DatePicker::showDay()
{
    setCaption(base::dateToText(value_.startOfDay(), regional_) + u' ' +
               QLocale::system().dayName(value_.dayOfWeek(), QLocale::ShortFormat));
    update();
}

void DatePicker::setTextSizes(int titlePixels, int valuePixels)
{
    titlePixels_ = titlePixels;
    valuePixels_ = valuePixels;
    update();
}

void DatePicker::pressed()
{
    auto* popup = new QFrame(this, Qt::Popup);
    popup->setAttribute(Qt::WA_DeleteOnClose);
    popup->setFrameShape(QFrame::Box);
    auto* calendar = new QCalendarWidget(popup);
    calendar->setLocale(QLocale::system());
    calendar->setFirstDayOfWeek(Qt::Monday);
    calendar->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    calendar->setHorizontalHeaderFormat(QCalendarWidget::ShortDayNames);
    calendar->setSelectedDate(value_);
    calendar->setFont(painting::sized(font(), valuePixels_, false));
    QTextCharFormat everyDay;
    everyDay.setForeground(painting::ink); // the mill presses on Sundays too
    calendar->setWeekdayTextFormat(Qt::Saturday, everyDay);
    calendar->setWeekdayTextFormat(Qt::Sunday, everyDay);
    calendar->setMinimumSize(valuePixels_ * 24, valuePixels_ * 19);
    const auto buttons = calendar->findChildren<QToolButton*>();
    for (QToolButton* button : buttons) {
        button->setMinimumSize(valuePixels_ * 5 / 2, valuePixels_ * 5 / 2);
        button->setFont(painting::sized(font(), valuePixels_, true));
        button->setIconSize(QSize(valuePixels_ * 3 / 2, valuePixels_ * 3 / 2));
    }
    auto* layout = new QVBoxLayout(popup);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->addWidget(calendar);
    connect(calendar, &QCalendarWidget::clicked, this, [this, popup](QDate day) {
        popup->close();
        beginAction(this, [this, day] { setValue(day); });
    });
    popup->adjustSize();
    QPoint at = mapToGlobal(QPoint(0, height() + 2));
    const QRect room = screen()->availableGeometry();
    at.setX(std::clamp(at.x(), room.left(), std::max(room.left(), room.right() - popup->width())));
    at.setY(std::clamp(at.y(), room.top(), std::max(room.top(), room.bottom() - popup->height())));
    popup->move(at);
    popup->show();
}

void DatePicker::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painting::box(painter, rect(), isDown() ? QColor(0xE3, 0xEA, 0xEE) : QColor(Qt::white),
                  hasFocus() ? painting::strongLine : painting::line, hasFocus() ? 2 : 1);
    const int margin = std::max(titlePixels_ * 6 / 10, 6);
    const QRect inner = rect().adjusted(margin, margin / 2 + 2, -margin, -margin / 2);
    painter.setFont(painting::sized(font(), titlePixels_, false));
    painter.setPen(painting::quietInk);
    painter.drawText(inner, Qt::AlignLeft | Qt::AlignTop, title_);
    painter.setPen(painting::ink);
    const int icon = valuePixels_;
    const int room = inner.width() - icon - margin;
    painter.setFont(painting::fitted(painting::sized(font(), valuePixels_, true), caption(), valuePixels_, room));
    painter.drawText(inner.adjusted(0, 0, -icon - margin, 0), Qt::AlignLeft | Qt::AlignBottom, caption());

    // A small calendar leaf tells that a tap opens one.
    const QRectF leaf(inner.right() - icon, inner.bottom() - icon - 2, icon, icon);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(painting::quietInk, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(leaf, 3, 3);
    painter.fillRect(QRectF(leaf.left(), leaf.top(), leaf.width(), leaf.height() * 0.3), painting::quietInk);
    for (int row = 0; row < 2; ++row) {
        for (int column = 0; column < 3; ++column) {
            painter.fillRect(QRectF(leaf.left() + leaf.width() * (0.17 + 0.27 * column),
                                    leaf.top() + leaf.height() * (0.45 + 0.27 * row), leaf.width() * 0.13,
                                    leaf.height() * 0.13),
                             painting::quietInk);
        }
    }
}

} // namespace app
