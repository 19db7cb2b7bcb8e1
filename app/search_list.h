#pragma once

#include "app/scroll_control.h"
#include <QElapsedTimer>
#include <QListView>
#include <functional>

namespace app {

class TextRows;

/// The list of matching customers. It asks for the texts of the rows that it paints and for nothing else, so a
/// register of any size costs the same. Dragging scrolls, a tap picks.
///
/// The rows are seen through two callbacks; they must answer until others are set. After the rows behind them have
/// changed, call refill(). A row that was deleted meanwhile makes `text` throw base::RuntimeError: it is shown empty,
/// and picking it ends in that error.
class SearchList : public ScrollControl<QListView> {
    Q_OBJECT

public:
    explicit SearchList(QWidget* parent);

    void setRows(std::function<int()> count, std::function<QString(int)> text);
    /// The rows are others now: back to the top, nothing picked in view. text() keeps the last pick.
    void refill();

    const QString& text() const { return text_; } ///< the entry picked last
    /// The operator picked an entry; text() is that entry. Called as an action of the screen.
    void onClick(Action click) { click_ = std::move(click); }
    /// Picks a row as a tap does. Does nothing for a row that is not there.
    void pick(int row);

    /// Marks a row as the chosen one and scrolls to it; runs no click. -1 for none.
    void choose(int row);

    int rowCount() const;
    QString rowText(int row) const; ///< as it is shown
    void setRowHeight(int pixels);
    int rowHeight() const { return rowHeight_; }
    /// The list reaches at most from its top to that line of its container, and is never taller than its rows need.
    void setRoom(int width, int bottom);

    bool isPressed(int row) const { return row == pressed_; } ///< a finger rests on that row
    bool isChosen(int row) const { return row == chosen_; }

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void showChosen();
    void fitHeight();
    void press(int row);

    TextRows* rows_;
    Action click_;
    QString text_;
    int chosen_ = -1;
    int pressed_ = -1;
    int rowHeight_ = 48;
    int bottom_ = -1;
    QElapsedTimer sinceDragged_; ///< since the finger last moved the rows
};

} // namespace app
