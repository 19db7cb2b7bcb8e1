#pragma once

#include "app/control.h"
#include <QAction>

class QWidget;

namespace app {

/// An entry of a menu; in a disabled menu it cannot be chosen. A check mark never changes by itself: the click rule
/// inverts it.
class MenuItem : public QAction {
    Q_OBJECT

public:
    /// `where` is the window that the entry's action belongs to.
    MenuItem(QWidget* where, const QString& name, const QString& caption);

    const QString& caption() const { return caption_; }
    void setCaption(const QString& caption);
    bool checked() const { return checked_; }
    void setChecked(bool checked);
    /// Shows the entry as one that can carry a check mark.
    void setHasCheckMark(bool has);
    void onClick(Action click) { click_ = std::move(click); }

private:
    void show();
    bool inDisabledMenu() const;

    QWidget* where_;
    QString caption_;
    bool checked_ = false;
    Action click_;
};

} // namespace app
