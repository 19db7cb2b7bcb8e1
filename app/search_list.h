#pragma once

#include "app/control.h"
#include <QAbstractScrollArea>
#include <QVariantAnimation>

namespace app {

/// The list of matching customers. It asks for the texts of the rows that it paints and for nothing else, so a
/// register of any size costs the same. Dragging scrolls, a tap picks.
///
/// The rows are seen through two callbacks; they must answer until others are set. After the rows behind them have
/// changed, call refill(). A row that was deleted meanwhile makes `text` throw base::RuntimeError: it is shown empty,
/// and picking it ends in that error.
class SearchList : public Control<QAbstractScrollArea> {
    Q_OBJECT

public:
    explicit SearchList(QWidget* parent);

    void setRows(std::function<int()> count, std::function<QString(int)> text);
    /// The rows are others now: back to the top, nothing picked in view. text() keeps the last pick.
    void refill();

    const QString& text() const { return text_; } ///< the entry picked last
    /// The operator picked an entry; text() is that entry. Called as an action of the screen.
    void onClick(std::function<void()> click) { click_ = std::move(click); }
    /// Picks a row as a tap does. Does nothing for a row that is not there.
    void pick(int row);

    /// Marks a row as the chosen one and scrolls to it; runs no click. -1 for none.
    void choose(int row);

    int rowCount() const { return count_; }
    QString rowText(int row) const; ///< as it is shown
    void setRowHeight(int pixels);
    int rowHeight() const { return rowHeight_; }
    /// The list reaches at most from its top to that line of its container, and is never taller than its rows need.
    void setRoom(int width, int bottom);

protected:
    bool event(QEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void mousePressed(const QMouseEvent& mouse);
    void mouseDragged(const QMouseEvent& mouse);
    void mouseReleased(const QMouseEvent& mouse);
    void showChosen();
    void fitHeight();
    void updateRange();
    int rowAt(int y) const;

    std::function<int()> countRows_;
    std::function<QString(int)> rowText_;
    std::function<void()> click_;
    QString text_;
    int count_ = 0;
    int chosen_ = -1;
    int rowHeight_ = 48;
    int bottom_ = -1;
    int downRow_ = -1;
    QPoint downAt_;
    int downScroll_ = 0;
    bool dragging_ = false;
    quint64 lastMove_ = 0; // the events' own time, in milliseconds
    int lastY_ = 0;
    double speed_ = 0; // pixels per millisecond, of the finger
    QVariantAnimation glide_;
};

} // namespace app
