#include "print/head.h"

#include "print/placement.h"

namespace print {

void printHead(Printer& printer, const PrintFont& font, const QStringList& headerItems, const base::Regional& regional)
{
    applyPrintFont(printer, font, regional);
    printer.printLine();
    for (const QString& item : headerItems)
        if (!item.isEmpty()) printCentred(printer, item);
}

} // namespace print
