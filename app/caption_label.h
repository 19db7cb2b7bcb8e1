#pragma once

#include "app/colour.h"
#include "app/control.h"
#include <QAbstractButton>

namespace app {

/// A label that the rules read and write: a caption, a ground colour, a change and a click.
///
/// The change callback runs inside setCaption(), and only when the text differs; what it throws comes out of
/// setCaption(). Changes that set one another off more than 32 deep are error 28. The caption is plain text: an
/// ampersand is an ampersand, a tag is a tag. Beneath it is a button, so that assistive tools can find and press it; it
/// never takes the keyboard focus.
class CaptionLabel : public Control<QAbstractButton> {
    Q_OBJECT

public:
    explicit CaptionLabel(QWidget* parent, const QString& caption = {});

    const QString& caption() const { return caption_; }
    void setCaption(const QString& caption);
    /// Shows a caption; its change does not run.
    void showCaption(const QString& caption);
    Colour backColor() const { return backColor_; }
    void setBackColor(Colour stored);

    void onChange(Action change) { change_ = std::move(change); }
    /// One call for each press, the second of a quick double tap included.
    void onClick(Action click) { click_ = std::move(click); }
    /// The pointer, or a finger, moves over the label.
    void onMouseMove(Action move);
    /// A finger (not the mouse) was lifted from the label.
    void onFingerUp(Action up) { fingerUp_ = std::move(up); }

    /// What assistive tools call the label. Without one, its caption.
    void setSpokenName(const QString& name);

    /// The label takes the width of its caption, at once when the caption is set and before its change runs. A caption
    /// wider than `widest` is drawn smaller.
    void setAutoSize(bool on, int widest = QWIDGETSIZE_MAX);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    /// The operator's press has ended over the label. Runs the click as an action of the screen.
    virtual void pressed();
    void runClick()
    {
        if (click_) click_();
    }

private:
    bool touched(QEvent* event);
    void refreshSpokenName();
    void fitCaption();

    QString caption_;
    QString spokenName_;
    Colour backColor_ = colour::white;
    bool autoSize_ = false;
    int widest_ = QWIDGETSIZE_MAX;
    bool byFinger_ = false;
    Action change_;
    Action click_;
    Action move_;
    Action fingerUp_;
};

} // namespace app
