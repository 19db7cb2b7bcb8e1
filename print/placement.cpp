#include "print/placement.h"

namespace print {

double centred(int pageWidth, double textWidth) { return (pageWidth - textWidth) / 2; }

double flushRight(int pageWidth, double textWidth) { return pageWidth - textWidth - rightMargin; }

void printLeft(Printer& printer, const QString& text)
{
    printer.setCurrentX(leftMargin);
    printer.print(text);
}

void printCentred(Printer& printer, const QString& text)
{
    printer.setCurrentX(centred(printer.pageWidth(), printer.textWidth(text)));
    printer.print(text);
}

void printRight(Printer& printer, const QString& text)
{
    printer.setCurrentX(flushRight(printer.pageWidth(), printer.textWidth(text)));
    printer.print(text);
}

void printLabelAndValue(Printer& printer, const QString& label, const QString& value)
{
    printer.setCurrentX(leftMargin);
    printer.printStay(label);
    printRight(printer, value);
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
