#pragma once

#include "tests/support/qt_files.h"
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#ifdef _WIN32
#include "tools/scenario_host.h"
#endif

#define NEEDS_PDF_TOOLS                                                                                                \
    if (!hasPdfTools()) QSKIP("poppler-utils (pdftotext, pdfinfo, pdffonts) is not installed")

#ifdef _WIN32
// poppler's tools are not of this system: whoever has started the test asks them.
inline bool hasPdfTools() { return qEnvironmentVariableIsSet("PRESVA_SCENARIO_HOST"); }
inline QString askPdf(const QByteArray& pdf, const QString& tool, const QStringList& arguments)
{
    const QByteArray question = "pdf " + (QStringList(tool) + arguments).join(u',').toUtf8() + ' ' + pdf.toHex();
    return QString::fromUtf8(QByteArray::fromHex(scenario::askHost(question).value_or(QByteArray())));
}
#else
inline bool hasPdfTools() { return !QStandardPaths::findExecutable("pdftotext").isEmpty(); }
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
#endif

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
