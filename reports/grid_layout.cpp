#include "reports/grid_layout.h"

#include "base/error.h"
#include "base/letters.h"
#include "base/path_text.h"
#include "base/sequential.h"
#include "files/error.h"
#include "files/part_file.h"
#include "mill/names.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace reports {

namespace {

using mill::Cari, mill::Hareket;

/// What a view does to one column; nothing for what it leaves as it is.
struct ColumnDress {
    std::size_t column;
    std::optional<QString> heading;
    std::optional<QString> numberFormat;
    std::optional<Alignment> alignment;
};

const std::vector<ColumnDress>& dresses(const QString& view)
{
    static const QString amount = u"Standard"_s;
    static const std::vector<ColumnDress> customers = {
        {Cari::Unvan, u"Ünvan"_s, {}, {}},
        {Cari::Yuzde, u"Yüzde"_s, {}, {}},
        {Cari::Kap, u"Kap"_s, {}, {}},
    };
    static const std::vector<ColumnDress> journal = {
        {Hareket::Tarih, {}, {}, Alignment::left},  {Hareket::Zeytin, u"Giren Zeytin"_s, amount, {}},
        {Hareket::Yağ, u"Çıkan Yağ"_s, amount, {}}, {Hareket::HakTut, u"Hak Ediş"_s, amount, {}},
        {Hareket::Nakit, {}, amount, {}},           {Hareket::CariHar, u"Cari"_s, {}, {}},
    };
    return view == "0"_L1 ? customers : journal;
}

float defaultWidth(const GridField& field)
{
    static constexpr std::pair<QStringView, float> known[] = {
        {Hareket::fields[Hareket::Tarih], 2445.0F},   {Hareket::fields[Hareket::Zeytin], 1620.0F},
        {Hareket::fields[Hareket::Yağ], 1470.0F},     {Hareket::fields[Hareket::Yuzde], 900.0F},
        {Hareket::fields[Hareket::HakTut], 1290.0F},  {Hareket::fields[Hareket::Nakit], 1470.0F},
        {Hareket::fields[Hareket::CariHar], 1980.0F}, {Cari::fields[Cari::Unvan], 4500.0F},
        {Cari::fields[Cari::Kap], 2400.0F},
    };
    for (const auto& [name, width] : known)
        if (field.name.compare(name, Qt::CaseInsensitive) == 0) return width;
    return field.kind == GridField::Kind::number ? 1500.0F : 2400.0F;
}

/// Of an ordinary file that can be read.
std::optional<QString> layoutText(const QString& directory, const QString& view)
{
    const std::optional<QString> path = base::findFile(directory, layoutFileName(view));
    if (!path) return std::nullopt;
    QFile file(*path);
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    // A layout is a few lines; a file longer than this is not one of ours, whatever follows.
    constexpr qint64 longest = 1 << 20;
    const QByteArray bytes = file.read(longest);
    if (file.error() != QFileDevice::NoError) return std::nullopt;
    return QString::fromLatin1(bytes);
}

GridColumn& columnAt(GridColumns& columns, std::size_t column)
{
    if (column >= columns.size()) throw base::runtimeError(base::errors::subscript);
    return columns[column];
}

} // namespace

GridColumns defaultColumns(const std::vector<GridField>& fields)
{
    GridColumns columns;
    for (const GridField& field : fields) {
        const Alignment alignment = field.kind == GridField::Kind::text ? Alignment::left : Alignment::right;
        columns.push_back({field.name, field.name, defaultWidth(field), true, alignment, {}});
    }
    return columns;
}

QString centredHeading(const GridColumn& column, const TextWidth& textWidth)
{
    QString heading = base::trimBlanks(column.caption);
    const double blank = textWidth(u" "_s);
    const auto half = static_cast<float>((static_cast<double>(column.width) - textWidth(heading)) / 2);
    if (!column.visible || !(blank > 0) || !(half > 0)) return heading;
    const QString padding(static_cast<qsizetype>(static_cast<double>(half) / blank), u' ');
    return column.alignment == Alignment::left ? padding + heading : heading + padding;
}

void IzgaraDuzenle(GridColumns& columns, const QString& view)
{
    for (const ColumnDress& dress : dresses(view)) {
        GridColumn& column = columnAt(columns, dress.column);
        if (dress.heading) column.caption = *dress.heading;
        if (dress.numberFormat) column.numberFormat = *dress.numberFormat;
        if (dress.alignment) column.alignment = *dress.alignment;
    }
}

void IzgaraYukle(GridColumns& columns, const QString& view, const QString& directory, const TextWidth& textWidth)
{
    try {
        IzgaraDuzenle(columns, view);
    } catch (const base::RuntimeError&) {
        // A listing with fewer columns than the view expects still gets the widths kept for it.
    }
    const std::optional<QString> text = layoutText(directory, view);
    if (!text) return;

    for (GridColumn& column : columns) column.visible = true;
    const QStringList lines = base::seqLines(*text);
    const std::size_t count = std::min(columns.size(), static_cast<std::size_t>(lines.size()));
    for (std::size_t i = 0; i < count; ++i) {
        const std::optional<base::NumberAndFlag> kept = base::parseNumberAndFlag(lines[static_cast<qsizetype>(i)]);
        if (!kept) continue;
        GridColumn& column = columns[i];
        column.visible = kept->flag;
        if (!column.visible) continue;
        // A width that no grid can have does not take the heading's place in the middle with it.
        if (kept->number <= static_cast<double>(widestColumn)) column.width = static_cast<float>(kept->number);
        column.caption = centredHeading(column, textWidth);
    }
}

void IzgaraKaydet(GridColumns& columns, int column, const QString& view, files::Disk& disk, const QString& directory,
                  const TextWidth& textWidth)
{
    if (column < 0) throw base::runtimeError(base::errors::subscript);
    GridColumn& resized = columnAt(columns, static_cast<std::size_t>(column));
    resized.caption = centredHeading(resized, textWidth);

    QString text;
    for (const GridColumn& each : columns) text += base::numberAndFlagLine(each.width, each.visible);

    const QDir folder(directory);
    const QString name = layoutFileName(view);
    const std::optional<QString> earlier = base::findFile(directory, name);
    try {
        files::PartFile file = files::PartFile::replacing(disk, disk.realPath(base::pathOf(folder.filePath(name))));
        file.write(text.toStdString());
        file.publish();
    } catch (const files::Error&) {
        throw base::runtimeError(base::errors::pathAccess);
    }

    // The layout may have lain there under the same name in other letters: that file goes, unless the file system takes
    // both names for one.
    if (!earlier) return;
    const QStringList names = folder.entryList(QDir::Files);
    const QString earlierName = QFileInfo(*earlier).fileName();
    if (earlierName != name && names.contains(name) && names.contains(earlierName)) QFile::remove(*earlier);
}

QString layoutFileName(const QString& view) { return u"Grid"_s + view + u".txt"_s; }

} // namespace reports
