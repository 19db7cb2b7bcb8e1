#pragma once

#include "app/caption_label.h"

namespace app {

/// A field of the form: a label with a small title above its value. The active one (cyan) also has a thick border,
/// for eyes that do not tell the colours apart.
class FieldLabel : public CaptionLabel {
    Q_OBJECT

public:
    enum class Kind { name, figure };

    FieldLabel(QWidget* parent, Kind kind, const QString& title, const QString& caption = {});

    const QString& title() const { return title_; }
    /// Sizes of the title and of the value, in pixels. A value too long for the field is drawn smaller.
    void setTextSizes(int titlePixels, int valuePixels);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Kind kind_;
    QString title_;
    int titlePixels_ = 14;
    int valuePixels_ = 24;
};

} // namespace app
