#include "print/print_font.h"

#include "base/error.h"
#include "base/numbers.h"

using namespace Qt::StringLiterals;

namespace print {

bool storedFlag(const QString& text)
{
    if (text.compare("True"_L1, Qt::CaseInsensitive) == 0) return true;
    if (text.compare("False"_L1, Qt::CaseInsensitive) == 0) return false;
    throw base::runtimeError(base::errors::typeMismatch);
}

void applyPrintFont(Printer& printer, const PrintFont& font, const base::Regional& regional)
{
    printer.setFontName(font.font);
    printer.setFontSize(base::toSingle(font.size, regional));
    printer.setFontItalic(storedFlag(font.italic));
    printer.setFontCharset(turkishCharset);
    printer.setFontBold(true);
    // A job that failed in the middle of an underlined value leaves its font behind.
    printer.setFontUnderline(false);
}

void applyBold(Printer& printer, const PrintFont& font) { printer.setFontBold(storedFlag(font.bold)); }

} // namespace print
