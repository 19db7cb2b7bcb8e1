#pragma once

#include "print/printer.h"
#include <QChar>
#include <QString>
#include <functional>

namespace print {

/// The distances of slip and statement, in twips.
inline constexpr double leftMargin = 60;
inline constexpr double rightMargin = 120;
inline constexpr double lineGap = 120;
inline constexpr double dateGap = 60;
inline constexpr double ruleSlack = 150;

/// Where a text starts that is centred or flush right on a page of that width.
double centred(int pageWidth, double textWidth);
double flushRight(int pageWidth, double textWidth);

/// While it lives, the letters are as narrow as `text` needs to be no wider than `room` twips; the printer's own width
/// where it fits. In steps of one percent.
class NarrowLetters {
public:
    NarrowLetters(Printer& printer, const QString& text, double room);
    ~NarrowLetters();
    NarrowLetters(const NarrowLetters&) = delete;
    NarrowLetters& operator=(const NarrowLetters&) = delete;

private:
    Printer& printer_;
    int before_;
};

// Each of these prints in the printer's current font. A line that is wider than the paper is set in narrower letters:
// nothing ever stands beyond the edge.

void printLeft(Printer& printer, const QString& text);
void printCentred(Printer& printer, const QString& text);
void printRight(Printer& printer, const QString& text);
/// The label at the left and the value at the right of one line.
void printLabelAndValue(Printer& printer, const QString& label, const QString& value, bool underlined = false);

/// As many of that character as the page takes: the shortest row whose width and the slack reach the page width. One
/// character where the font gives it no width.
QString ruleOf(QChar character, int pageWidth, const std::function<double(const QString&)>& textWidth);
QString ruleOf(Printer& printer, QChar character);

void gap(Printer& printer, double distance = lineGap);

} // namespace print
