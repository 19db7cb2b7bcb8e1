#include "platform/paperless.h"
#include "platform/sheet.h"

#include <gtest/gtest.h>

using platform::PrinterKind;

namespace {

TEST(PrinterKind, whatMakesFilesIsNoPrinter)
{
    const PrinterKind table[] = {
        {.ports = "PORTPROMPT:", .driver = "Microsoft Print To PDF"},
        {.ports = "portprompt:"},
        {.ports = "FILE:", .driver = "Generic / Text Only"},
        {.ports = "XPSPort:"},
        {.ports = "nul:", .driver = "Send to Microsoft OneNote 16 Driver"},
        {.ports = "Microsoft.Office.OneNote_16001.14326.21452.0_x64__8wekyb3d8bbwe_microsoft.onenoteim_S-1-5-21"},
        {.ports = "USB001", .driver = "OneNote for Windows 10"},
        {.ports = "SHRFAX:"},
        {.ports = "USB001", .fax = true},
        {.ports = "Documents\\*.pdf", .driver = "Adobe PDF Converter"},
        {.ports = "C:\\Users\\kasa\\Desktop\\*.PDF"},
        {.ports = "FILE:,nul:"},
    };
    for (const PrinterKind& printer : table) {
        SCOPED_TRACE(printer.ports);
        EXPECT_TRUE(platform::isPaperless(printer));
    }
}

TEST(PrinterKind, whatMayPrintOnPaperIsOne)
{
    const PrinterKind table[] = {
        {.ports = "USB001", .driver = "EPSON TM-T20III Receipt6"},
        {.ports = "LPT1:,FILE:", .driver = "Generic / Text Only"},
        {.ports = "COM1:", .driver = "POS-80C"},
        {.ports = "192.168.1.40", .driver = "Xerox Global Print Driver PDF"},
        {.ports = "WSD-3f0c", .driver = "Microsoft IPP Class Driver"},
        {.ports = "\\\\KASA2\\Fis", .driver = "POS-80C"},
        {.ports = "CUPS:Kasa", .driver = ""},
        {.ports = "", .driver = ""},
    };
    for (const PrinterKind& printer : table) {
        SCOPED_TRACE(printer.ports);
        EXPECT_FALSE(platform::isPaperless(printer));
    }
}

TEST(Sheet, itsWidthIsThePrintersOwnWhereThePageMeansThat)
{
    EXPECT_EQ(platform::widthToAsk(7973, 8000), 8000); // 226 points of a roll of 80 mm
    EXPECT_EQ(platform::widthToAsk(7973, 7995), 7995); // the same by dots
    EXPECT_EQ(platform::widthToAsk(5800, 8000), 5800);
    EXPECT_EQ(platform::widthToAsk(7973, 0), 7973); // a driver that does not say
}

TEST(Sheet, aPageNeedsASheetOfItsSizeAtLeast)
{
    const platform::SheetSize page{7973, 35000};
    EXPECT_TRUE(platform::holdsPage({8000, 35000}, page));
    EXPECT_TRUE(platform::holdsPage({7973, 34950}, page)); // dots and points
    EXPECT_TRUE(platform::holdsPage({21000, 100000}, page));
    EXPECT_FALSE(platform::holdsPage({8000, 29700}, page));
    EXPECT_FALSE(platform::holdsPage({5800, 35000}, page));
    EXPECT_FALSE(platform::holdsPage({35000, 8000}, page)); // laid across
}

} // namespace
