#pragma once

#include <QFont>
#include <QString>
#include <cstddef>
#include <vector>

namespace print {

/// A text with the top left of its line at (x, y), in twips from the top left of the printable area.
struct PlacedText {
    double x = 0;
    double y = 0;
    double baseline = 0;  ///< below y
    std::size_t font = 0; ///< index into Layout::fonts
    QString text;
};

/// A straight line between two points, in twips.
struct PlacedLine {
    double x1 = 0;
    double y1 = 0;
    double x2 = 0;
    double y2 = 0;
};

struct Page {
    std::vector<PlacedText> texts;
    std::vector<PlacedLine> lines;
};

/// All that a job prints, in the order in which it was printed. It has at least one page.
struct Layout {
    std::vector<QFont> fonts;
    std::vector<Page> pages = std::vector<Page>(1);
    double height = 0; ///< end of the lowest thing on any page, ended lines without text included
};

} // namespace print
