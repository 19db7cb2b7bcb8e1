#pragma once

#include "app/caption_label.h"

namespace app {

/// One key of the keypad. Fingers press it directly, each on its own, so that two thumbs can type at once.
class KeyLabel : public CaptionLabel {
    Q_OBJECT

public:
    KeyLabel(QWidget* parent, const QString& caption);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace app
