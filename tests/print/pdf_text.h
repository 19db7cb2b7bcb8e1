#pragma once

#include "tests/support/qt_files.h"
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

inline bool hasPdfTools() { return !QStandardPaths::findExecutable("pdftotext").isEmpty(); }

#define NEEDS_PDF_TOOLS                                                                                                \
    if (!hasPdfTools()) QSKIP("poppler-utils (pdftotext, pdfinfo, pdffonts) is not installed")

/// What a poppler tool says of a document. "FILE" among the arguments stands for the document.
inline QString askPdf(const QByteArray& pdf, const QString& tool, QStringList arguments)
{
    QTemporaryDir folder;
    const QString path = folder.filePath("job.pdf");
    putFile(path, pdf);
    for (QString& argument : arguments)
        if (argument == "FILE") argument = path;
    QProcess process;
    process.start(tool, arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput());
}

/// The text lines of a document from top to bottom, blanks at both ends dropped, empty lines left out.
inline QStringList linesOf(const QByteArray& pdf)
{
    QStringList lines;
    for (const QString& line : askPdf(pdf, "pdftotext", {"-layout", "FILE", "-"}).split(u'\n')) {
        const QString text = line.simplified();
        if (!text.isEmpty()) lines.append(text);
    }
    return lines;
}
