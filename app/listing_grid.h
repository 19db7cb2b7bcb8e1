#pragma once

#include "app/listing_header.h"
#include "app/scroll_control.h"
#include "reports/grid_model.h"
#include <QTableView>

namespace app {

/// The grid of the report panel: read-only, whole rows, tall enough for fingers; dragging scrolls, the edges of the
/// headings drag columns. It forms only the rows that are on the screen, and knows their height without asking them.
class ListingGrid : public ScrollControl<QTableView> {
    Q_OBJECT

public:
    /// How the current row is marked. The numbers are those of the grid's property.
    enum class Marquee { wholeRow = 3, none = 5 };

    explicit ListingGrid(QWidget* parent);

    void setTextSizes(int headingPixels, int valuePixels, int rowPixels);

    /// Shows the model's rows and keeps to its columns. The model outlives the grid's use of it.
    void setRows(reports::GridModel* rows);

    void setMarquee(Marquee marquee);
    /// Marks the row that is current in the source, and scrolls to it.
    void markCurrentRow();

    /// Of a text in the headings' font, in twips.
    double headingWidth(const QString& text) const;

    /// The operator dragged a column to another width, which the model already has. Not called for widths set by code.
    void onColumnResize(std::function<void(int column)> resized) { resized_ = std::move(resized); }
    /// The operator went to another row.
    void onRowChange(std::function<void(int row)> changed) { rowChanged_ = std::move(changed); }

protected:
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

private:
    void applyColumns();
    void columnDragged(int column);

    ListingHeader* headings_;
    reports::GridModel* rows_ = nullptr;
    Marquee marquee_ = Marquee::none;
    std::function<void(int)> resized_;
    std::function<void(int)> rowChanged_;
    bool marking_ = false;
};

} // namespace app
