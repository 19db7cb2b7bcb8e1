#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace scenario {

/// The text of a PDF as one line, blanks folded; asks pdftotext, on Windows whoever has started the program
/// (scenario_host.h). Nothing when there is nobody to be asked.
std::optional<QString> textOfPdf(const QByteArray& pdf);

} // namespace scenario
