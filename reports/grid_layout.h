#pragma once

#include "files/disk.h"

#include <QString>
#include <functional>
#include <vector>

/// The columns of the grid: headings, number formats, and the widths that are kept between two starts of the program.
namespace reports {

/// Where a column's texts stand; the numbers are the grid's own.
enum class Alignment { left = 0, right = 1 };

struct GridColumn {
    QString caption; ///< the heading as painted, its padding blanks included
    QString field;   ///< the record's field that it shows
    float width = 0; ///< twips
    bool visible = true;
    Alignment alignment = Alignment::left;
    QString numberFormat; ///< a number pattern, "Standard", or empty

    bool operator==(const GridColumn&) const = default;
};
using GridColumns = std::vector<GridColumn>;

/// No column is wider than this many twips (16383 pixels).
inline constexpr float widestColumn = 245745;

/// A field of a listing, as far as a column wants to know.
struct GridField {
    QString name;
    enum class Kind { text, number, date } kind = Kind::text;
};

/// The columns of a grid that has just been bound: headings are the field names, texts stand left, numbers and dates
/// right, every column is visible. The default widths of the journal's seven columns fit side by side on an A4 page.
GridColumns defaultColumns(const std::vector<GridField>& fields);

/// Width of a text in twips, in the font that headings are painted with.
using TextWidth = std::function<double(const QString&)>;

/// The heading padded with as many blanks as bring it to the middle of its column: before it in a left-aligned column,
/// behind it in a right-aligned one. Where it does not fit and in a hidden column, the trimmed heading. Centring twice
/// is centring once.
QString centredHeading(const GridColumn& column, const TextWidth& textWidth);

/// Headings and number formats of a view: "0" is the customers', every other text the journal's. Columns are addressed
/// by position. Error 9 when the grid has fewer columns; those it has are done then.
void IzgaraDuzenle(GridColumns& columns, const QString& view);

/// Applies IzgaraDuzenle and then the widths kept for the view. Never fails: a file that is missing or cannot be read
/// changes nothing, a damaged line leaves its column as it was, lines beyond the last column do not count. With a file,
/// every column it does not mention is visible.
void IzgaraYukle(GridColumns& columns, const QString& view, const QString& directory, const TextWidth& textWidth);

/// The operator has given a column another width: centres its heading and keeps the widths of all columns for the view.
/// The file is replaced whole, or stays as it was; then error 75. Error 9 for a column that the grid does not have.
void IzgaraKaydet(GridColumns& columns, int column, const QString& view, files::Disk& disk, const QString& directory,
                  const TextWidth& textWidth);

/// "Grid0.txt", "Grid1.txt".
QString layoutFileName(const QString& view);

} // namespace reports
