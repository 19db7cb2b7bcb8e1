#include "print/pdf.h"

#include "base/error.h"
#include "print/face.h"
#include <QBuffer>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QTransform>

using namespace Qt::StringLiterals;

namespace print {

namespace {

/// The writer stamps its own clock into the file. The stamp is replaced where it stands and filled up with blanks,
/// because the file's index counts bytes.
void stamp(QByteArray& pdf, const QDateTime& created)
{
    constexpr QByteArrayView key = "/CreationDate (";
    const qsizetype from = pdf.indexOf(key);
    const qsizetype end = pdf.indexOf(')', from);
    if (from < 0 || end < 0) return;
    const qsizetype room = end + 1 - (from + key.size());
    const QByteArray text = "D:" + created.toUTC().toString(u"yyyyMMddHHmmss"_s).toLatin1() + "Z)";
    if (text.size() <= room) pdf.replace(from + key.size(), room, text.leftJustified(room, ' '));
}

/// Narrowed letters are drawn through a narrowed painter: for a font that is narrow itself Qt's writer of PDFs sets,
/// with the fonts of Windows, letters of full width into the narrow places, one over the other.
void draw(QPainter& painter, const Page& page, const Layout& layout)
{
    const QTransform upright = painter.transform();
    // The font is handed over only when it changes: that is most of the time a page takes.
    std::size_t current = layout.fonts.size();
    double narrowing = 1;
    for (const PlacedText& placed : page.texts) {
        if (placed.font != current) {
            current = placed.font;
            QFont font = layout.fonts[current];
            narrowing = font.stretch() == QFont::AnyStretch ? 1 : font.stretch() / double(fullWidth);
            if (narrowing < 1) font.setStretch(QFont::AnyStretch);
            painter.setFont(font);
        }
        const QPointF place(placed.x, placed.y + placed.baseline);
        if (narrowing < 1) {
            painter.setTransform(QTransform(upright).translate(place.x(), place.y()).scale(narrowing, 1));
            painter.drawText(QPointF(), placed.text);
            painter.setTransform(upright);
        } else {
            painter.drawText(place, placed.text);
        }
    }
    painter.setPen(QPen(Qt::black, lineWidth, Qt::SolidLine, Qt::SquareCap));
    for (const PlacedLine& line : page.lines) painter.drawLine(QPointF(line.x1, line.y1), QPointF(line.x2, line.y2));
}

} // namespace

PageSize pageOf(const Layout& layout, const Paper& paper)
{
    return paper.pageFor(layout.pages.size() > 1 ? paper.printableHeight() : layout.height);
}

QByteArray renderPdf(const Layout& layout, const Paper& paper, const QString& title, const QDateTime& created)
{
    const PageSize size = pageOf(layout, paper);
    QByteArray pdf;
    QBuffer buffer(&pdf);
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setResolution(twipsPerInch);
        writer.setPageSize(
            QPageSize(QSizeF(size.width, size.height), QPageSize::Point, u"slip"_s, QPageSize::ExactMatch));
        writer.setPageMargins(QMarginsF());
        writer.setTitle(title);
        writer.setCreator(u"Mendrik Presva"_s);

        QPainter painter;
        if (!painter.begin(&writer)) throw base::runtimeError(base::errors::printer);
        bool first = true;
        for (const Page& page : layout.pages) {
            if (!first && !writer.newPage()) throw base::runtimeError(base::errors::printer);
            first = false;
            painter.resetTransform();
            painter.translate(paper.leftMargin, paper.topMargin);
            draw(painter, page, layout);
        }
        if (!painter.end()) throw base::runtimeError(base::errors::printer);
    }
    stamp(pdf, created);
    return pdf;
}

} // namespace print
