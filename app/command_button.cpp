#include "app/command_button.h"
#include "app/painting.h"
#include <QCoreApplication>
#include <QPainterPath>
#include <utility>

namespace app {

namespace {

/// An arrow leaving through an open door.
void drawExit(QPainter& painter, const QRect& area, const QColor& ink)
{
    const qreal side = std::min(area.width(), area.height()) * 0.56;
    const QRectF at(area.center().x() - side / 2 + 0.5, area.center().y() - side / 2 + 0.5, side, side);
    QPen pen(ink, std::max(side / 10, 2.0), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    QPainterPath door;
    door.moveTo(at.left() + side * 0.52, at.top() + side * 0.24);
    door.lineTo(at.left() + side * 0.52, at.top());
    door.lineTo(at.left(), at.top());
    door.lineTo(at.left(), at.bottom());
    door.lineTo(at.left() + side * 0.52, at.bottom());
    door.lineTo(at.left() + side * 0.52, at.bottom() - side * 0.24);
    painter.drawPath(door);
    const qreal middle = at.center().y();
    painter.drawLine(QPointF(at.left() + side * 0.34, middle), QPointF(at.right(), middle));
    painter.drawLine(QPointF(at.right(), middle), QPointF(at.right() - side * 0.2, middle - side * 0.2));
    painter.drawLine(QPointF(at.right(), middle), QPointF(at.right() - side * 0.2, middle + side * 0.2));
}

void drawCross(QPainter& painter, const QRect& area, const QColor& ink)
{
    const qreal arm = std::min(area.width(), area.height()) * 0.2;
    const QPointF centre = QRectF(area).center();
    painter.setPen(QPen(ink, std::max(arm / 3, 2.0), Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(centre - QPointF(arm, arm), centre + QPointF(arm, arm));
    painter.drawLine(centre - QPointF(arm, -arm), centre + QPointF(arm, -arm));
}

void drawFocus(QPainter& painter, const QRect& area, const QColor& ink)
{
    painter.setPen(QPen(ink, 2, Qt::DotLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(area.adjusted(4, 4, -4, -4), 4, 4);
}

} // namespace

CommandButton::CommandButton(QWidget* parent, const QString& caption, Picture picture)
    : CaptionLabel(parent, caption), picture_(picture)
{
    setBackColor(colour::buttonFace);
    setFocusPolicy(Qt::TabFocus);
}

void CommandButton::setMain(bool main)
{
    main_ = main;
    update();
}

void CommandButton::setEnabled(bool enabled)
{
    if (enabledAfterWork_)
        enabledAfterWork_ = enabled;
    else
        QWidget::setEnabled(enabled);
}

void CommandButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    QColor ground = painted(backColor(), palette());
    if (main_ && isEnabled()) ground = QColor(0x1B, 0x4D, 0x1F);
    if (isChosen() && isEnabled()) ground = painting::chosen;
    QColor border = ground.darker(main_ || isChosen() ? 140 : 170);
    QColor ink = inkOn(ground);
    if (!isEnabled()) {
        ground = QColor(0xDD, 0xE1, 0xE3);
        border = QColor(0xB0, 0xBA, 0xBF);
        ink = QColor(0x5A, 0x64, 0x69);
    }
    const int depth = isEnabled() ? std::max(height() / 24, 2) : 0;
    if (depth && !isDown()) painting::box(painter, rect(), border, border, 1);
    const QRect face = rect().adjusted(0, isDown() ? depth : 0, 0, isDown() ? 0 : -depth);
    painting::box(painter, face, isDown() ? ground.darker(115) : ground, border, 1);
    if (hasFocus()) drawFocus(painter, face, ink);
    switch (picture_) {
    case Picture::exit:
        drawExit(painter, face, ink);
        break;
    case Picture::cross:
        drawCross(painter, face, ink);
        break;
    case Picture::none:
        painter.setPen(ink);
        painter.setFont(painting::fitted(font(), caption(), QFontInfo(font()).pixelSize(), face.width() - 12));
        painter.drawText(face, Qt::AlignCenter | Qt::TextSingleLine, caption());
        break;
    }
}

ButtonAtWork::ButtonAtWork(CommandButton& button) : button_(button)
{
    button_.enabledAfterWork_.reset();
    button_.setEnabled(false);
    button_.enabledAfterWork_ = true;
}

ButtonAtWork::~ButtonAtWork()
{
    QCoreApplication::processEvents();
    button_.setEnabled(std::exchange(button_.enabledAfterWork_, std::nullopt).value_or(true));
}

void CheckButton::showValue(bool on)
{
    value_ = on;
    update();
}

void CheckButton::pressed()
{
    value_ = !value_;
    update();
    CommandButton::pressed();
}

void OptionButton::turnOn()
{
    if (value_) return;
    const auto others = parentWidget()->findChildren<OptionButton*>(QString(), Qt::FindDirectChildrenOnly);
    for (OptionButton* other : others) {
        other->value_ = false;
        other->update();
    }
    value_ = true;
    update();
}

void OptionButton::choose()
{
    turnOn();
    runClick();
}

void OptionButton::pressed()
{
    turnOn();
    CommandButton::pressed();
}

void OptionButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QColor ground = value_ ? painting::chosen : painted(backColor(), palette());
    const QColor ink = inkOn(ground);
    painting::box(painter, rect(), isDown() ? ground.darker(110) : ground, painting::strongLine, value_ ? 2 : 1);
    const int dot = height() / 3;
    const QRect ring(height() / 3, (height() - dot) / 2, dot, dot);
    painter.setPen(QPen(ink, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(ring);
    if (value_) {
        painter.setBrush(ink);
        painter.drawEllipse(ring.adjusted(dot / 4, dot / 4, -dot / 4, -dot / 4));
    }
    const QRect text(ring.right() + dot / 2, 0, width() - ring.right() - dot, height());
    painter.setPen(ink);
    painter.setFont(painting::fitted(font(), caption(), QFontInfo(font()).pixelSize(), text.width()));
    painter.drawText(text, Qt::AlignCenter | Qt::TextSingleLine, caption());
    if (hasFocus()) drawFocus(painter, rect(), ink);
}

} // namespace app
