#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace platform {

// The pages of a job for a print system whose printers are drawn on. All lengths are twips (1440 to the inch), from the
// top left of the sheet.

struct DrawnFont {
    std::u16string face;
    double points = 0;
    bool bold = false;
    bool italic = false;
    bool underline = false;
    int stretch = 100; ///< width of the letters in percent of their own
};

struct DrawnText {
    double x = 0;
    double y = 0;         ///< of the base line
    std::size_t font = 0; ///< index into Drawing::fonts
    std::u16string text;
    std::vector<double> ends; ///< of each code unit of the text: where it ends, from x on
};

struct DrawnLine {
    double x1 = 0;
    double y1 = 0;
    double x2 = 0;
    double y2 = 0;
};

struct DrawnPage {
    std::vector<DrawnText> texts;
    std::vector<DrawnLine> lines;
};

struct Drawing {
    std::vector<DrawnFont> fonts;
    std::vector<DrawnPage> pages;
    double lineWidth = 0;
};

} // namespace platform
