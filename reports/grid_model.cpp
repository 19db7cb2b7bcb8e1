#include "reports/grid_model.h"

#include "base/error.h"
#include "base/patterns.h"
#include "mill/queries.h"

namespace reports {

namespace {

constexpr QStringView nameColumn(mill::Hareket::fields[mill::Hareket::CariHar]);

GridField gridField(const store::FieldInfo& field)
{
    using Kind = GridField::Kind;
    switch (field.kind) {
    case store::FieldKind::number:
    case store::FieldKind::money:
    case store::FieldKind::boolean:
        return {field.name, Kind::number};
    case store::FieldKind::date:
        return {field.name, Kind::date};
    case store::FieldKind::text:
    case store::FieldKind::other:
        break;
    }
    return {field.name, Kind::text};
}

Qt::Alignment painted(Alignment alignment)
{
    return (alignment == Alignment::right ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter;
}

} // namespace

GridModel::GridModel(store::DataSource& source, base::Regional regional, QObject* parent)
    : QAbstractTableModel(parent), source_(source), regional_(std::move(regional))
{
}

void GridModel::rebind()
{
    beginResetModel();
    std::vector<GridField> fields;
    rows_ = 0;
    nameField_ = -1;
    if (source_.hasRecordSet()) {
        const store::RecordSet& set = source_.recordSet();
        rows_ = set.size();
        for (const store::FieldInfo& field : set.fields()) {
            if (field.name.compare(nameColumn, Qt::CaseInsensitive) == 0) nameField_ = static_cast<int>(fields.size());
            fields.push_back(gridField(field));
        }
    }
    columns_ = defaultColumns(fields);
    endResetModel();
    emit layoutOfColumnsChanged();
}

void GridModel::rowsChanged()
{
    const int rows = source_.hasRecordSet() ? source_.recordSet().size() : 0;
    if (rows > rows_) {
        beginInsertRows({}, rows_, rows - 1);
        rows_ = rows;
        endInsertRows();
    } else if (rows < rows_) {
        beginRemoveRows({}, rows, rows_ - 1);
        rows_ = rows;
        endRemoveRows();
    }
    if (rows_ > 0 && !columns_.empty())
        emit dataChanged(index(0, 0), index(rows_ - 1, static_cast<int>(columns_.size()) - 1));
}

void GridModel::setColumns(const GridColumns& columns)
{
    if (columns == columns_ || columns.size() != columns_.size()) return;
    columns_ = columns;
    emit headerDataChanged(Qt::Horizontal, 0, static_cast<int>(columns_.size()) - 1);
    emit layoutOfColumnsChanged();
}

bool GridModel::isTotals(int row) const
{
    if (nameField_ < 0 || row < 0 || row >= rows_) return false;
    try {
        return source_.recordSet().fieldAt(row, nameField_).text() == mill::totalsName;
    } catch (const base::RuntimeError&) {
        return false;
    }
}

int GridModel::currentRow() const
{
    if (!source_.hasRecordSet()) return -1;
    const int row = source_.recordSet().position();
    return row < rows_ ? row : -1;
}

int GridModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : rows_; }

int GridModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(columns_.size());
}

QString GridModel::cell(int row, int column) const
{
    try {
        const store::FieldValue value = source_.recordSet().fieldAt(row, column);
        const QString& format = columns_[static_cast<std::size_t>(column)].numberFormat;
        if (format.isEmpty() || value.isNull() || value.isDate()) return value.toCell(regional_);
        if (value.isText()) return base::formatNumber(value.text(), format, regional_);
        const std::optional<double> number = value.number();
        return number ? base::formatNumber(*number, format, regional_) : value.toCell(regional_);
    } catch (const base::RuntimeError&) {
        return {};
    }
}

QVariant GridModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rows_ || index.column() >= columnCount()) return {};
    if (role == Qt::DisplayRole) return cell(index.row(), index.column());
    if (role == Qt::TextAlignmentRole) return headerData(index.column(), Qt::Horizontal, role);
    return {};
}

QVariant GridModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount()) return {};
    const GridColumn& column = columns_[static_cast<std::size_t>(section)];
    if (role == Qt::DisplayRole) return column.caption;
    if (role == Qt::TextAlignmentRole) return QVariant(painted(column.alignment));
    return {};
}

} // namespace reports
