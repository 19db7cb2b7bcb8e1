#pragma once

#include "app/control.h"
#include <QComboBox>

namespace app {

/// A drop-down list: one of its entries or none. Entries are as tall as a finger needs.
class DropDownList : public Control<QComboBox> {
    Q_OBJECT

public:
    DropDownList(QWidget* parent, const QStringList& entries);

    int listIndex() const { return currentIndex(); } ///< -1 when nothing is chosen
    void setListIndex(int index);                    ///< error 380 below -1 or past the last entry
    QString text() const { return currentText(); }   ///< empty when nothing is chosen
    /// Chooses the entry with exactly that text, blanks included; error 383 when there is none, the choice unchanged.
    void setText(const QString& entry);

    const QString& title() const { return title_; }
    void setTitle(const QString& title);
    void setTextSizes(int titlePixels, int valuePixels, int rowPixels);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void showPopup() override;
    void wheelEvent(QWheelEvent* event) override;

private:
    QString title_;
    int titlePixels_ = 14;
    int valuePixels_ = 20;
};

} // namespace app
