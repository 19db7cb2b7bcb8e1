#include "print/drawing.h"

#include "print/face.h"
#include <QFontMetricsF>
#include <utility>

namespace print {

namespace {

platform::DrawnFont drawn(const QFont& font)
{
    return {.face = font.family().toStdU16String(),
            .points = font.pointSizeF(),
            .bold = font.bold(),
            .italic = font.italic(),
            .underline = font.underline(),
            .stretch = font.stretch() == QFont::AnyStretch ? fullWidth : font.stretch()};
}

platform::DrawnText drawn(const PlacedText& placed, const QFontMetricsF& metrics, const Paper& paper)
{
    platform::DrawnText text{.x = paper.leftMargin + placed.x,
                             .y = paper.topMargin + placed.y + placed.baseline,
                             .font = placed.font,
                             .text = placed.text.toStdU16String(),
                             .ends = {}};
    for (qsizetype end = 1; end <= placed.text.size(); ++end)
        text.ends.push_back(metrics.horizontalAdvance(placed.text.left(end)));
    return text;
}

} // namespace

platform::Drawing drawingOf(const Layout& layout, const Paper& paper)
{
    platform::Drawing drawing;
    drawing.lineWidth = lineWidth;
    std::vector<QFontMetricsF> metrics;
    for (const QFont& font : layout.fonts) {
        drawing.fonts.push_back(drawn(font));
        metrics.push_back(metricsInTwips(font));
    }
    for (const Page& page : layout.pages) {
        platform::DrawnPage drawnPage;
        for (const PlacedText& text : page.texts) drawnPage.texts.push_back(drawn(text, metrics[text.font], paper));
        for (const PlacedLine& line : page.lines)
            drawnPage.lines.push_back({paper.leftMargin + line.x1, paper.topMargin + line.y1,
                                       paper.leftMargin + line.x2, paper.topMargin + line.y2});
        drawing.pages.push_back(std::move(drawnPage));
    }
    return drawing;
}

} // namespace print
