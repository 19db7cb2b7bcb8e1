#pragma once

#include "app/prompt.h"
#include <QDialog>

namespace app {

class CheckButton;
class CommandButton;
class SearchList;

/// The dialog for the print font: a face from a list, a size in half points, bold, italic, and how it looks. Made for
/// fingers; a face that this machine lacks (the printer may have it) is offered all the same.
class FontDialog : public QDialog {
    Q_OBJECT

public:
    FontDialog(const FontChoice& preset, QWidget* owner);

    const FontChoice& choice() const { return choice_; }

    // For tests: what the operator touches.
    SearchList* faces = nullptr;
    CommandButton *smaller = nullptr, *larger = nullptr, *ok = nullptr, *cancel = nullptr;
    CheckButton *bold = nullptr, *italic = nullptr;

private:
    void arrange();
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void changeSize(double points);

    FontChoice choice_;
    QStringList names_;
    QRect sizeArea_, sampleArea_;
};

} // namespace app
