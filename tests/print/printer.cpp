#include "tests/doors/fake_printer.h"
#include "tests/print/printed_documents.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"

#include "print/face.h"

using print::Paper;
using print::Printer;

/// The printer as the program sees it: current point, fonts, pages and jobs.
class PrinterTest : public QObject {
    Q_OBJECT

    std::optional<Printer> printer;

    FakePrinter target;
    static QDateTime clock() { return QDateTime(QDate(2024, 11, 5), QTime(14, 7), Qt::UTC); }

    void beginOnA4()
    {
        target.sheet = Paper::a4();
        printer.emplace(target, clock);
    }

    /// Where the next text of the line would begin.
    static double nextX(Printer& printer)
    {
        printer.printStay("mark");
        return placed(printer.layout(), "mark").x;
    }

    static QStringList manyLines(int count)
    {
        QStringList lines;
        for (int i = 0; i < count; ++i) lines.append(u"line %1"_s.arg(i));
        return lines;
    }

private slots:
    void cleanup() { printer.reset(); }

    void init()
    {
        target = FakePrinter();
        printer.emplace(target, clock);
    }

    void anEndedLineGoesBackToTheEdgeAndDownByItsHeight()
    {
        printer->setCurrentX(60);
        printer->setCurrentY(500);
        printer->print("Sayın");
        QCOMPARE(nextX(*printer), 0.0);
        QCOMPARE(printer->currentY(), 500 + printer->textHeight());
        printer->printLine();
        QCOMPARE(printer->currentY(), 500 + 2 * printer->textHeight());
    }

    void stayingOnTheLineMovesByTheTextsWidth()
    {
        printer->setCurrentX(60);
        printer->printStay("Sayın; ");
        QCOMPARE(nextX(*printer), 60 + printer->textWidth("Sayın; "));
        QCOMPARE(printer->currentY(), 0.0);
    }

    void theHeightOfALineIsThatOfTheFontInForceWhenItEnds()
    {
        printer->setFontSize(14);
        printer->printStay("large");
        printer->setFontSize(8);
        const double small = printer->textHeight();
        printer->printLine();
        QCOMPARE(printer->currentY(), small);
    }

    void aDrawnLineLeavesTheCurrentPointAlone()
    {
        printer->setCurrentX(60);
        printer->setCurrentY(100);
        printer->line(0, 130, 3000, 130);
        QCOMPARE(nextX(*printer), 60.0);
        QCOMPARE(printer->currentY(), 100.0);
        QCOMPARE(printer->layout().pages.front().lines.size(), std::size_t(1));
    }

    void anEightPointLineOfArialIsAsHighAsItsAscentDescentAndLeading()
    {
        if (print::availableFace("Arial") != "Liberation Sans" && print::availableFace("Arial") != "Arial")
            QSKIP("neither Arial nor Liberation Sans is installed");
        // 0.905 + 0.212 + 0.033 of 160 twips.
        QVERIFY(qAbs(printer->textHeight() - 184) < 0.5);
        // Arial's figures are 1139 of 2048 units wide.
        QVERIFY(qAbs(printer->textWidth("0000000000") - 10 * 160 * 1139 / 2048.0) < 0.5);
    }

    void thePageWidthIsThePrintableOneInWholeTwips()
    {
        QCOMPARE(printer->pageWidth(), 227 * 20 - 2 * 227);
        target.sheet = Paper::a4();
        printer->killDoc();
        QCOMPARE(printer->pageWidth(), 595 * 20 - 720);
    }

    void aSizeThatIsNoSizeIsRefused_data()
    {
        addCases<float>("size", {{"zero", 0.f},
                                 {"negative", -8.f},
                                 {"no number", std::numeric_limits<float>::quiet_NaN()},
                                 {"endless", std::numeric_limits<float>::infinity()},
                                 {"larger than any page", 2161.f}});
    }
    void aSizeThatIsNoSizeIsRefused()
    {
        QFETCH(float, size);
        QCOMPARE(errorOf([&] { printer->setFontSize(size); }), base::errors::invalidProperty);
        QCOMPARE(printer->fontSize(), 8.f);
    }

    void halfPointsAreKept()
    {
        printer->setFontSize(10);
        const double ten = printer->textWidth("Zeytin");
        printer->setFontSize(10.5f);
        QCOMPARE(printer->fontSize(), 10.5f);
        QVERIFY(qAbs(printer->textWidth("Zeytin") / ten - 1.05) < 0.001);
    }

    void withoutAPrinterTheFirstPropertyOrOutputFails_data()
    {
        QTest::addColumn<std::function<void(Printer&)>>("touch");
        using Touch = std::function<void(Printer&)>;
        QTest::newRow("font name") << Touch([](Printer& p) { p.setFontName("Arial"); });
        QTest::newRow("font size") << Touch([](Printer& p) { p.setFontSize(8); });
        QTest::newRow("bold") << Touch([](Printer& p) { p.setFontBold(true); });
        QTest::newRow("italic") << Touch([](Printer& p) { p.setFontItalic(true); });
        QTest::newRow("underline") << Touch([](Printer& p) { p.setFontUnderline(true); });
        QTest::newRow("character set") << Touch([](Printer& p) { p.setFontCharset(162); });
        QTest::newRow("text width") << Touch([](Printer& p) { p.textWidth("a"); });
        QTest::newRow("text height") << Touch([](Printer& p) { p.textHeight(); });
        QTest::newRow("page width") << Touch([](Printer& p) { p.pageWidth(); });
        QTest::newRow("page height") << Touch([](Printer& p) { p.pageHeight(); });
        QTest::newRow("x") << Touch([](Printer& p) { p.setCurrentX(60); });
        QTest::newRow("y") << Touch([](Printer& p) { p.setCurrentY(60); });
        QTest::newRow("text") << Touch([](Printer& p) { p.print("a"); });
        QTest::newRow("text without end") << Touch([](Printer& p) { p.printStay("a"); });
        QTest::newRow("empty line") << Touch([](Printer& p) { p.printLine(); });
        QTest::newRow("drawn line") << Touch([](Printer& p) { p.line(0, 0, 1, 1); });
        QTest::newRow("new page") << Touch([](Printer& p) { p.newPage(); });
    }
    void withoutAPrinterTheFirstPropertyOrOutputFails()
    {
        QFETCH(std::function<void(Printer&)>, touch);
        target.failAt = FakePrinter::Step::paper;
        printer.emplace(target, clock);
        QCOMPARE(errorOf([&] { touch(*printer); }), base::errors::printer);
        printer->killDoc();
        QVERIFY(target.printed.empty());
    }

    void aJobKeepsThePaperItBeganWith()
    {
        printer->print("a");
        target.sheet = Paper::a4();
        printer->print("b");
        QCOMPARE(target.asked, 1);
        printer->endDoc();
        printer->print("c");
        QCOMPARE(target.asked, 2);
        QCOMPARE(printer->pageWidth(), Paper::a4().printableWidth());
    }

    void aPageOfARollIsAsLongAsItsContent()
    {
        for (const QString& line : manyLines(40)) printer->print(line);
        const double end = printer->currentY();
        printer->endDoc();
        const print::PageSize page = target.printed.front().page;
        QCOMPARE(page.width, 227);
        QCOMPARE(page.height, int(std::ceil((2 * 227 + end + print::lineLead) / 20)));
    }

    void emptyLinesAtTheEndAreFedToo()
    {
        for (const QString& line : manyLines(40)) printer->print(line);
        const double before = printer->currentY();
        for (int i = 0; i < 10; ++i) printer->printLine();
        printer->endDoc();
        QVERIFY(target.printed.front().page.height * 20 >= before + 10 * 180);
    }

    void aRollsPageStaysBetweenTheQueuesLimits()
    {
        target.sheet.minHeight = 300;
        target.sheet.maxHeight = 400;
        printer.emplace(target, clock);
        printer->print("a");
        printer->endDoc();
        QCOMPARE(target.printed.back().page.height, 300);
        for (const QString& line : manyLines(100)) printer->print(line);
        const std::size_t pages = printer->layout().pages.size();
        QVERIFY(pages > 1);
        printer->endDoc();
        QCOMPARE(target.printed.back().page.height, 400);
    }

    void aSheetKeepsItsSizeAndGoesOnOverleaf()
    {
        beginOnA4();
        const int perPage = int(printer->pageHeight() / printer->textHeight());
        for (const QString& line : manyLines(perPage + 3)) printer->print(line);
        const print::Layout layout = printer->layout();
        QCOMPARE(layout.pages.size(), std::size_t(2));
        QCOMPARE(int(layout.pages[0].texts.size()), perPage);
        QCOMPARE(layout.pages[1].texts.front().y, 0.0);
        QCOMPARE(printer->currentY(), 3 * printer->textHeight());
        printer->endDoc();
        QCOMPARE(target.printed.front().page, (print::PageSize{595, 842}));
        NEEDS_PDF_TOOLS;
        QVERIFY(askPdf(target.printed.front().pdf, "pdfinfo", {"FILE"}).contains(QRegularExpression("Pages: +2\n")));
        QCOMPARE(linesOf(target.printed.front().pdf), manyLines(perPage + 3));
    }

    void theLastLineThatFitsStaysOnThePage()
    {
        beginOnA4();
        printer->setCurrentY(printer->pageHeight() - printer->textHeight());
        printer->print("fits");
        QCOMPARE(printer->layout().pages.size(), std::size_t(1));
        printer->setCurrentY(printer->pageHeight() - printer->textHeight() + 1);
        printer->print("does not");
        QCOMPARE(printer->layout().pages.size(), std::size_t(2));
    }

    void drawnAndEmptyLinesNeverBeginAPage()
    {
        beginOnA4();
        printer->setCurrentY(20000);
        printer->line(0, 21000, 100, 21000);
        printer->printLine();
        printer->print({});
        QCOMPARE(printer->layout().pages.size(), std::size_t(1));
    }

    void aTextTallerThanThePageLeavesNoEmptyPageBefore()
    {
        beginOnA4();
        printer->setFontSize(2000);
        printer->print("A");
        QCOMPARE(printer->layout().pages.size(), std::size_t(1));
    }

    void fontsStayAfterAJobAndThePointGoesHome_data() { addCases<bool>("killed", {{"sent", false}, {"killed", true}}); }
    void fontsStayAfterAJobAndThePointGoesHome()
    {
        QFETCH(bool, killed);
        printer->setFontName("Liberation Serif");
        printer->setFontSize(11);
        printer->setFontBold(true);
        printer->print("a");
        if (killed)
            printer->killDoc();
        else
            printer->endDoc();
        QCOMPARE(target.printed.empty(), killed);
        QCOMPARE(printer->fontSize(), 11.f);
        QCOMPARE(printer->currentY(), 0.0);
        QVERIFY(textsOf(printer->layout()).isEmpty());
        printer->print("b");
        const QFont& font = printer->layout().fonts[placed(printer->layout(), "b").font];
        QCOMPARE(font.family(), "Liberation Serif");
        QVERIFY(font.bold());
    }

    void endingAJobThatPrintedNothingSendsNothing()
    {
        printer->endDoc();
        printer->setFontSize(9);
        printer->endDoc();
        printer->killDoc();
        QVERIFY(target.printed.empty());
    }

    void aKilledJobLeavesNothingInTheNextOne()
    {
        printer->print("first");
        printer->killDoc();
        printer->print("second");
        QCOMPARE(textsOf(printer->layout()), QStringList{"second"});
    }

    void aJobThatIsNotTakenOverIsAnError_data()
    {
        addCases<FakePrinter::Step>("step", {{"create", FakePrinter::Step::create}, {"send", FakePrinter::Step::send}});
    }
    void aJobThatIsNotTakenOverIsAnError()
    {
        QFETCH(FakePrinter::Step, step);
        printer->print("a");
        target.failAt = step;
        QCOMPARE(errorOf([&] { printer->endDoc(); }), base::errors::printer);
        QVERIFY(target.printed.empty());
        QVERIFY(target.waiting.empty());
        // The failed job does not come back with the next one.
        target.failAt.reset();
        printer->endDoc();
        QVERIFY(target.printed.empty());
    }

    void aJobCanBeTakenAndSentLater()
    {
        printer->setTitle("Bilgi Fişi");
        printer->print("a");
        const auto document = printer->takeDoc();
        QVERIFY(document && target.printed.empty());
        QCOMPARE(document->title, "Bilgi Fişi");
        const int job = target.createJob(*document);
        QVERIFY(target.waiting.contains(job));
        target.sendAndFinish(job, *document);
        QCOMPARE(target.printed.size(), std::size_t(1));
        QVERIFY(!printer->takeDoc());
    }

    void turkishLettersCanBeReadBackFromThePaper()
    {
        NEEDS_PDF_TOOLS;
        printer.emplace(target, clock);
        const QString text = "Sıkılan Zeytin Yağı ĞÜŞİÖÇ ğüşıöç Ofis fıstık filiz";
        printer->setFontSize(6);
        printer->print(text);
        printer->endDoc();
        const QByteArray pdf = target.printed.front().pdf;
        QCOMPARE(linesOf(pdf), QStringList{text});
        QVERIFY2(!askPdf(pdf, "pdfimages", {"-list", "FILE"}).contains("image"), "text was drawn as an image");
    }

    void everyFontIsEmbeddedAsASubset()
    {
        NEEDS_PDF_TOOLS;
        printer.emplace(target, clock);
        printer->print("Zeytin");
        printer->setFontBold(true);
        printer->print("Yağ");
        printer->endDoc();
        const QStringList fonts = askPdf(target.printed.front().pdf, "pdffonts", {"FILE"}).split(u'\n').mid(2);
        int count = 0;
        for (const QString& font : fonts)
            if (!font.isEmpty()) {
                ++count;
                QVERIFY2(font.contains(QRegularExpression("Identity-H +yes (yes|no) +yes")), qPrintable(font));
            }
        QCOMPARE(count, 2);
        QVERIFY2(target.printed.front().pdf.size() < 60000, "whole font files instead of the letters used");
    }

    void aFaceThatIsMissingOrHasNoTurkishLettersIsReplaced_data()
    {
        addColumns<QString, QString>("asked", "used");
        QTest::newRow("missing") << u"No Such Face"_s << u"Liberation Sans"_s;
        QTest::newRow("Arial's widths") << u"Arial"_s << u"Liberation Sans"_s;
        QTest::newRow("Times' widths") << u"times new roman"_s << u"Liberation Serif"_s;
        QTest::newRow("Courier's widths") << u"Courier New"_s << u"Liberation Mono"_s;
        QTest::newRow("signs only") << u"Standard Symbols PS"_s << u"Liberation Sans"_s;
        QTest::newRow("empty name") << QString() << u"Liberation Sans"_s;
        QTest::newRow("there") << u"Liberation Mono"_s << u"Liberation Mono"_s;
    }
    void aFaceThatIsMissingOrHasNoTurkishLettersIsReplaced()
    {
        QFETCH(QString, asked);
        QFETCH(QString, used);
        if (print::availableFace("Liberation Sans") != "Liberation Sans")
            QSKIP("the Liberation fonts are not installed");
        if (print::availableFace(asked).compare(asked, Qt::CaseInsensitive) == 0 && asked != used)
            QSKIP("the face itself is installed here");
        QCOMPARE(print::availableFace(asked), used);
    }

    void theSameJobAtTheSameMomentIsTheSameFile()
    {
        const auto job = [this](const QDateTime& moment) {
            Printer printer(target, [moment] { return moment; });
            printer.setTitle("Bilgi Fişi");
            printer.print("Sayın; Ahmet Yılmaz");
            printer.setFontUnderline(true);
            printer.print("102 KG");
            printer.line(0, 500, 1000, 500);
            return printer.takeDoc()->pdf;
        };
        const QByteArray first = job(clock());
        QTest::qWait(1100); // into the next second of the machine's own clock
        QCOMPARE(job(clock()), first);
        QVERIFY(job(clock().addSecs(60)) != first);
        NEEDS_PDF_TOOLS;
        QVERIFY(askPdf(first, "pdfinfo", {"-isodates", "FILE"}).contains("2024-11-05T14:07:00"));
    }
};

PRINT_TEST_MAIN(PrinterTest)
#include "printer.moc"
