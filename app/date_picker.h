#pragma once

#include "app/caption_label.h"
#include "base/regional.h"
#include <QDate>

namespace app {

/// A day, chosen from a calendar large enough for fingers. The change runs whenever the day becomes another one, by
/// hand or by code; an error of a change that code caused comes out of setValue().
class DatePicker : public CaptionLabel {
    Q_OBJECT

public:
    /// The day is shown as `regional` writes dates.
    DatePicker(QWidget* parent, const QString& title, const base::Regional& regional);

    QDate value() const { return value_; }
    void setValue(QDate day); ///< error 380 for an invalid date

    void onChange(Action change) { changed_ = std::move(change); }
    void setTextSizes(int titlePixels, int valuePixels);

protected:
    void pressed() override;
    void paintEvent(QPaintEvent* event) override;

private:
    void showDay();

    QString title_;
    base::Regional regional_;
    QDate value_;
    int titlePixels_ = 14;
    int valuePixels_ = 20;
    Action changed_;
};

} // namespace app
