#include "print/placement.h"

#include <algorithm>

namespace print {

double centred(int pageWidth, double textWidth) { return (pageWidth - textWidth) / 2; }

double flushRight(int pageWidth, double textWidth) { return pageWidth - textWidth - rightMargin; }

NarrowLetters::NarrowLetters(Printer& printer, const QString& text, double room)
    : printer_(printer), before_(printer.fontStretch())
{
    const double width = printer.textWidth(text);
    if (width <= room) return;
    int percent = std::clamp(static_cast<int>(before_ * std::max(room, 0.0) / width), 1, before_);
    printer.setFontStretch(percent);
    // Widths do not shrink quite evenly.
    while (percent > 1 && printer.textWidth(text) > room) printer.setFontStretch(--percent);
}

NarrowLetters::~NarrowLetters()
{
    if (printer_.fontStretch() != before_) printer_.setFontStretch(before_);
}

void printLeft(Printer& printer, const QString& text)
{
    const NarrowLetters narrow(printer, text, printer.pageWidth() - leftMargin);
    printer.setCurrentX(leftMargin);
    printer.print(text);
}

void printCentred(Printer& printer, const QString& text)
{
    const NarrowLetters narrow(printer, text, printer.pageWidth());
    printer.setCurrentX(centred(printer.pageWidth(), printer.textWidth(text)));
    printer.print(text);
}

void printRight(Printer& printer, const QString& text)
{
    const NarrowLetters narrow(printer, text, printer.pageWidth() - rightMargin);
    printer.setCurrentX(flushRight(printer.pageWidth(), printer.textWidth(text)));
    printer.print(text);
}

void printLabelAndValue(Printer& printer, const QString& label, const QString& value, bool underlined)
{
    const NarrowLetters narrow(printer, label + u' ' + value, printer.pageWidth() - leftMargin - rightMargin);
    printer.setCurrentX(leftMargin);
    printer.printStay(label);
    if (underlined) printer.setFontUnderline(true);
    printRight(printer, value);
    if (underlined) printer.setFontUnderline(false);
}

QString ruleOf(QChar character, int pageWidth, const std::function<double(const QString&)>& textWidth)
{
    QString rule(character);
    double width = textWidth(rule);
    while (width + ruleSlack < pageWidth) {
        const double before = width;
        width = textWidth(rule + character);
        // A font without that character's width would go on for ever.
        if (width <= before) break;
        rule += character;
    }
    return rule;
}

QString ruleOf(Printer& printer, QChar character)
{
    return ruleOf(character, printer.pageWidth(), [&printer](const QString& text) { return printer.textWidth(text); });
}

void gap(Printer& printer, double distance) { printer.setCurrentY(printer.currentY() + distance); }

} // namespace print
