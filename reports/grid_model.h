#pragma once

#include "base/regional.h"
#include "reports/grid_layout.h"
#include "store/data_source.h"
#include <QAbstractTableModel>

namespace reports {

/// A data source as the grid shows it: the rows of its record set under columns with headings and number formats.
///
/// A cell's text is formed when the view asks for it, so a journal of any length costs what is on the screen.
/// The source does not announce what happens to its rows: call rebind() after every refresh of it and rowsChanged()
/// after rows were added or taken away. It must outlive the model.
class GridModel : public QAbstractTableModel {
    Q_OBJECT

public:
    GridModel(store::DataSource& source, base::Regional regional, QObject* parent = nullptr);

    /// The record set is another one: new columns with field names for headings and default widths.
    void rebind();
    /// Rows of the record set have come or gone; the columns stay.
    void rowsChanged();

    const GridColumns& columns() const { return columns_; }
    /// As many as there are; announced by layoutOfColumnsChanged().
    void setColumns(const GridColumns& columns);

    /// The row that holds the sums of the last report. False where there is no such field.
    bool isTotals(int row) const;
    /// The place of the source's current row, -1 without one.
    int currentRow() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    /// Texts and alignments. What cannot be read, a row deleted meanwhile, is an empty cell.
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

signals:
    void layoutOfColumnsChanged();

private:
    QString cell(int row, int column) const;

    store::DataSource& source_;
    base::Regional regional_;
    GridColumns columns_;
    int rows_ = 0;
    int nameField_ = -1; ///< of the journal, where the reserved name stands
};

} // namespace reports
