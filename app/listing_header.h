#pragma once

#include <QHeaderView>
#include <functional>

namespace app {

/// The headings of the grid. A heading is painted exactly as it is given, blanks at both ends included: they are what
/// centres it. A column is dragged wider or narrower by its right edge, which a finger can hit.
class ListingHeader : public QHeaderView {
    Q_OBJECT

public:
    explicit ListingHeader(QWidget* parent);

    /// Called once when the operator lets go of an edge and the column's width has become another one.
    void onDragged(std::function<void(int column)> dragged) { dragged_ = std::move(dragged); }

    /// The column whose right edge is meant by a press there; -1 for none.
    int edgeAt(int x) const;

    /// No column is dragged narrower than this many pixels: it could not be found again.
    static constexpr int narrowest = 24;
    /// How far from an edge a press may be.
    static constexpr int grip = 20;
    /// Between a heading and the edge it stands at.
    static constexpr int padding = 6;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void paintSection(QPainter* painter, const QRect& area, int column) const override;

private:
    void letGo();

    std::function<void(int)> dragged_;
    int column_ = -1; ///< being dragged
    int pressedAt_ = 0;
    int widthBefore_ = 0;
};

} // namespace app
