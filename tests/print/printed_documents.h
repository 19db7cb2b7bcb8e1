#pragma once

#include "print/face.h"
#include "print/printer.h"
#include "tests/print/pdf_text.h"
#include "tests/support/no_screen.h"
#include <QGuiApplication>
#include <QStringList>
#include <QtTest>

/// Text is measured and drawn without a screen.
#define PRINT_TEST_MAIN(TestClass)                                                                                     \
    int main(int argc, char** argv)                                                                                    \
    {                                                                                                                  \
        leaveTheScreen();                                                                                              \
        QGuiApplication application(argc, argv);                                                                       \
        TestClass test;                                                                                                \
        return QTest::qExec(&test, argc, argv);                                                                        \
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
