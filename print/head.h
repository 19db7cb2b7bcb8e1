#pragma once

#include "base/regional.h"
#include "print/print_font.h"
#include "print/printer.h"
#include <QStringList>

namespace print {

/// What slip and statement begin with: the print font, bold, an empty line and the mill's own lines, centred. Bold
/// stays on: the caller prints its own title, if it has one, and then calls applyBold().
void printHead(Printer& printer, const PrintFont& font, const QStringList& headerItems, const base::Regional& regional);

} // namespace print
