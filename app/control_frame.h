#pragma once

#include "app/colour.h"
#include "app/control.h"
#include <QGroupBox>

namespace app {

/// A frame with a caption and a ground colour. Disabled, it keeps input away from itself and all controls in it,
/// without changing their own Enabled values and without greying anything: a station that rests stays readable.
class ControlFrame : public Control<QGroupBox> {
    Q_OBJECT

public:
    /// How the frame is drawn. A station carries its caption as a headline, a group on its border line; a
    /// strip continues the menu bar.
    enum class Look { station, group, panel, strip };

    ControlFrame(QWidget* parent, Look look, const QString& caption = {});

    const QString& caption() const { return caption_; }
    Colour backColor() const { return backColor_; }
    void setBackColor(Colour stored);

    bool enabled() const { return enabled_; }
    /// Replaces QWidget's own: that one would grey the controls.
    void setEnabled(bool enabled);

    /// Called once for each press that the operator ends over the frame's bare surface.
    void onClick(Action click) { click_ = std::move(click); }

    /// Height of the headline of a station, set by the layout; the controls start below it.
    void setHeadline(int height);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    Look look_;
    QString caption_;
    Colour backColor_ = colour::buttonFace;
    bool enabled_ = true;
    int headline_ = 0;
    Action click_;
};

} // namespace app
