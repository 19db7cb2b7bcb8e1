#include "app/caption_label.h"
#include "app/painting.h"
#include "base/error.h"
#include <QMouseEvent>
#include <QPointingDevice>
#include <QScopeGuard>
#include <QTouchEvent>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace app {

CaptionLabel::CaptionLabel(QWidget* parent, const QString& caption) : Control(parent), caption_(caption)
{
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_NoMousePropagation);
    setCursor(Qt::PointingHandCursor);
    refreshSpokenName();
    connect(this, &QAbstractButton::clicked, this, [this] {
        if (!inputBlocked(this)) pressed();
    });
}

void CaptionLabel::setCaption(const QString& caption)
{
    if (caption_ == caption) return;
    showCaption(caption);
    // A copy: the rule may set this very caption again, or replace the rule.
    if (const auto change = change_) {
        // The rules of a pressing nest 8 deep; names and fees of two customers can set one another off for ever.
        constexpr int deepest = 32;
        static int depth = 0; // of all labels together; they live on one thread
        if (depth == deepest) throw base::runtimeError(base::errors::outOfStack);
        ++depth;
        const auto ended = qScopeGuard([] { --depth; });
        change();
    }
}

void CaptionLabel::showCaption(const QString& caption)
{
    caption_ = caption;
    refreshSpokenName();
    fitCaption();
    update();
}

void CaptionLabel::setBackColor(Colour stored)
{
    if (backColor_ == stored) return;
    backColor_ = stored;
    update();
}

void CaptionLabel::onMouseMove(Action move)
{
    move_ = std::move(move);
    setMouseTracking(static_cast<bool>(move_));
}

void CaptionLabel::setSpokenName(const QString& name)
{
    spokenName_ = name;
    refreshSpokenName();
}

void CaptionLabel::refreshSpokenName()
{
    const QString text = caption_.trimmed();
    setAccessibleName(spokenName_.isEmpty() ? text : text.isEmpty() ? spokenName_ : spokenName_ + u": "_s + text);
}

void CaptionLabel::setAutoSize(bool on, int widest)
{
    autoSize_ = on;
    widest_ = widest;
    fitCaption();
}

void CaptionLabel::fitCaption()
{
    if (autoSize_) resize(std::min(fontMetrics().horizontalAdvance(caption_) + 8, widest_), height());
}

void CaptionLabel::pressed() { beginAction(this, click_); }

bool CaptionLabel::event(QEvent* event)
{
    if (isInput(event) && inputBlocked(this)) {
        setDown(false);
        return true;
    }
    switch (event->type()) {
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TouchCancel:
        if (testAttribute(Qt::WA_AcceptTouchEvents)) return touched(event);
        break;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        byFinger_ = static_cast<QMouseEvent*>(event)->pointingDevice()->type() == QInputDevice::DeviceType::TouchScreen;
        break;
    case QEvent::MouseMove:
        beginAction(this, move_);
        break;
    case QEvent::FontChange:
        fitCaption();
        break;
    default:
        break;
    }
    const bool handled = QAbstractButton::event(event);
    if (event->type() == QEvent::MouseButtonRelease && byFinger_) {
        byFinger_ = false;
        beginAction(this, fingerUp_);
    }
    return handled;
}

bool CaptionLabel::touched(QEvent* event)
{
    const auto* touch = static_cast<QTouchEvent*>(event);
    const bool inside = !touch->points().isEmpty() && rect().contains(touch->points().first().position().toPoint());
    switch (event->type()) {
    case QEvent::TouchBegin:
        setDown(true);
        beginAction(this, move_);
        break;
    case QEvent::TouchUpdate:
        setDown(inside);
        break;
    case QEvent::TouchEnd:
        setDown(false);
        if (inside && isEnabled()) pressed();
        beginAction(this, fingerUp_);
        break;
    default:
        setDown(false);
        beginAction(this, fingerUp_);
        break;
    }
    event->accept();
    return true;
}

void CaptionLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(inkOn(painted(backColor_, palette())));
    painter.setFont(painting::fitted(font(), caption_, QFontInfo(font()).pixelSize(), width()));
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, caption_);
}

} // namespace app
