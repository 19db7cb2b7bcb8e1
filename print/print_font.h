#pragma once

#include "base/regional.h"
#include "print/printer.h"
#include <QString>

namespace print {

using namespace Qt::StringLiterals;

/// The print font as the settings store keeps it: four texts of the section "Properties". They are converted when a job
/// uses them, never before, so that a damaged one fails that job and nothing else.
struct PrintFont {
    QString font = u"Arial"_s;
    QString size = u"8"_s;
    QString bold = u"False"_s;
    QString italic = u"False"_s;
};

/// The Turkish character set, which every job asks for.
inline constexpr int turkishCharset = 162;

/// Sets the font for the head of a job, in this order: face, size, italic, character set, and bold whatever the setting
/// says. Error 13 for a size that is no number or a flag other than True or False, 380 for a size of 0 or below.
void applyPrintFont(Printer& printer, const PrintFont& font, const base::Regional& regional);

/// After the head: bold as the setting says.
void applyBold(Printer& printer, const PrintFont& font);

} // namespace print
