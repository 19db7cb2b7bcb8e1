#pragma once

#include "app/control.h"
#include <QTableView>

namespace app {

/// The grid of the report panel: tall rows, headings to drag columns wider by, dragging scrolls.
class ListingGrid : public Control<QTableView> {
    Q_OBJECT

public:
    explicit ListingGrid(QWidget* parent);

    void setTextSizes(int headingPixels, int valuePixels, int rowPixels);
};

} // namespace app
