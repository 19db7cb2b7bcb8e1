#include "print/print_font.h"

#include "base/numbers.h"

namespace print {

void applyPrintFont(Printer& printer, const PrintFont& font, const base::Regional& regional)
{
    printer.setFontName(font.font);
    printer.setFontSize(base::toSingle(font.size, regional));
    printer.setFontItalic(base::flagOf(font.italic));
    printer.setFontCharset(turkishCharset);
    printer.setFontBold(true);
    // A job that failed in the middle of an underlined value leaves its font behind.
    printer.setFontUnderline(false);
}

void applyBold(Printer& printer, const PrintFont& font) { printer.setFontBold(base::flagOf(font.bold)); }

} // namespace print
