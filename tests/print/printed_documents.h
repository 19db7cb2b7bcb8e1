#pragma once

#include "print/face.h"
#include "print/printer.h"
#include <QDateTime>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>
#include <QTemporaryDir>
#include <QtTest>

/// Text is measured and drawn without a screen.
#define PRINT_TEST_MAIN(TestClass)                                                                                     \
    int main(int argc, char** argv)                                                                                    \
    {                                                                                                                  \
        qputenv("QT_QPA_PLATFORM", "offscreen");                                                                       \
        QGuiApplication application(argc, argv);                                                                       \
        TestClass test;                                                                                                \
        return QTest::qExec(&test, argc, argv);                                                                        \
    }

inline bool hasPdfTools() { return !QStandardPaths::findExecutable("pdftotext").isEmpty(); }

#define NEEDS_PDF_TOOLS                                                                                                \
    if (!hasPdfTools()) QSKIP("poppler-utils (pdftotext, pdfinfo, pdffonts) is not installed")

/// What a poppler tool says of a document. "FILE" among the arguments stands for the document.
inline QString askPdf(const QByteArray& pdf, const QString& tool, QStringList arguments)
{
    QTemporaryDir folder;
    const QString path = folder.filePath("job.pdf");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(pdf) != pdf.size()) return {};
    file.close();
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

/// The texts that a job holds, in the order in which they were printed.
inline QStringList textsOf(const print::Layout& layout)
{
    QStringList texts;
    for (const print::Page& page : layout.pages)
        for (const print::PlacedText& placed : page.texts) texts.append(placed.text);
    return texts;
}

/// Where a placed text ends, in twips from the left: measured in the font that it is set in.
inline double endOf(const print::Layout& layout, const print::PlacedText& text)
{
    return text.x + print::metricsInTwips(layout.fonts[text.font]).horizontalAdvance(text.text);
}

/// The first text of that content; fails the test if there is none.
inline print::PlacedText placed(const print::Layout& layout, const QString& text)
{
    for (const print::Page& page : layout.pages)
        for (const print::PlacedText& placed : page.texts)
            if (placed.text == text) return placed;
    QTest::qFail(qPrintable("not printed: " + text), __FILE__, __LINE__);
    return {};
}
