#pragma once

#include "print/layout.h"
#include "print/paper.h"
#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace print {

/// The size of all pages of the job: a job names one paper, so a roll's pages are as long as the longest of them.
PageSize pageOf(const Layout& layout, const Paper& paper);

/// The pages as a PDF: text stays text (letters can be selected and read back), drawn in embedded subsets of its fonts;
/// there are no images. The same layout, title and moment give the same bytes. Throws error 482 if it cannot be drawn.
QByteArray renderPdf(const Layout& layout, const Paper& paper, const QString& title, const QDateTime& created);

} // namespace print
