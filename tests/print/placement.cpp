#include "tests/doors/fake_printer.h"
#include "tests/print/printed_documents.h"
#include "tests/support/columns.h"

#include "print/placement.h"

/// Where slip and statement put their texts.
class Placement : public QObject {
    Q_OBJECT

    FakePrinter target;

private slots:
    void init() { target = FakePrinter(); }

    void aCentredTextHasEqualRoomOnBothSidesAndAFlushRightOneTheMargin_data()
    {
        addColumns<int, double, double, double>("page", "text", "centred", "right");
        QTest::newRow("even") << 4000 << 1000.0 << 1500.0 << 2880.0;
        QTest::newRow("odd: halves are kept") << 4000 << 1001.0 << 1499.5 << 2879.0;
        QTest::newRow("wider than the page") << 4000 << 4400.0 << -200.0 << -520.0;
        QTest::newRow("no room at the right") << 4000 << 3950.0 << 25.0 << -70.0;
        QTest::newRow("A4") << 11222 << 1222.0 << 5000.0 << 9880.0;
    }
    void aCentredTextHasEqualRoomOnBothSidesAndAFlushRightOneTheMargin()
    {
        QFETCH(int, page);
        QFETCH(double, text);
        QTEST(print::centred(page, text), "centred");
        QTEST(print::flushRight(page, text), "right");
    }

    void aRuleIsTheShortestThatReachesThePageWithItsSlack_data()
    {
        addColumns<double, int, int>("character", "page", "length");
        QTest::newRow("not quite") << 100.0 << 4000 << 39;
        QTest::newRow("just reached") << 100.0 << 4050 << 39;
        QTest::newRow("one twip short") << 100.0 << 4051 << 40;
        QTest::newRow("narrow paper") << 120.0 << 2800 << 23;
        QTest::newRow("one is enough") << 5000.0 << 4000 << 1;
        QTest::newRow("a character without width") << 0.0 << 4000 << 1;
        QTest::newRow("paper narrower than the slack") << 100.0 << 100 << 1;
    }
    void aRuleIsTheShortestThatReachesThePageWithItsSlack()
    {
        QFETCH(double, character);
        QFETCH(int, page);
        QFETCH(int, length);
        const auto width = [character](const QString& text) { return character * double(text.size()); };
        QCOMPARE(print::ruleOf(u'-', page, width), QString(length, u'-'));
    }

    void aRuleFollowsFontAndPaper()
    {
        print::Printer printer(target);
        const QString narrow = print::ruleOf(printer, u'-');
        QVERIFY(printer.textWidth(narrow) + 150 >= printer.pageWidth());
        QVERIFY(printer.textWidth(narrow.chopped(1)) + 150 < printer.pageWidth());
        printer.setFontSize(16);
        QVERIFY(print::ruleOf(printer, u'-').size() < narrow.size());
        printer.killDoc();
        printer.setFontSize(8);
        target.sheet = print::Paper::a4();
        printer.killDoc();
        QVERIFY(print::ruleOf(printer, u'-').size() > narrow.size());
    }

    void labelAndValueShareALine()
    {
        print::Printer printer(target);
        printer.setCurrentY(300);
        print::printLabelAndValue(printer, "DOLDURULAN KAP", "75 AD");
        const print::PlacedText label = placed(printer.layout(), "DOLDURULAN KAP");
        const print::PlacedText value = placed(printer.layout(), "75 AD");
        QCOMPARE(label.x, 60.0);
        QCOMPARE(value.x, printer.pageWidth() - printer.textWidth("75 AD") - 120);
        QCOMPARE(label.y, 300.0);
        QCOMPARE(value.y, 300.0);
        QCOMPARE(printer.currentY(), 300 + printer.textHeight());
    }

    void aLineWiderThanThePaperIsSetInNarrowerLetters_data()
    {
        addColumns<int, int>("kind", "letters");
        for (const int letters : {60, 100, 255}) {
            QTest::addRow("left, %d letters", letters) << 0 << letters;
            QTest::addRow("centred, %d letters", letters) << 1 << letters;
            QTest::addRow("right, %d letters", letters) << 2 << letters;
            QTest::addRow("label and value, %d letters", letters) << 3 << letters;
        }
    }
    void aLineWiderThanThePaperIsSetInNarrowerLetters()
    {
        QFETCH(int, kind);
        QFETCH(int, letters);
        const QString text(letters, u'm');
        print::Printer printer(target);
        switch (kind) {
        case 0:
            print::printLeft(printer, text);
            break;
        case 1:
            print::printCentred(printer, text);
            break;
        case 2:
            print::printRight(printer, text);
            break;
        default:
            print::printLabelAndValue(printer, text, "75 AD");
            break;
        }
        const print::PlacedText line = placed(printer.layout(), text);
        QVERIFY(printer.layout().fonts[line.font].stretch() < 100);
        QVERIFY(line.x >= 0);
        QVERIFY(endOf(printer.layout(), line) <= printer.pageWidth());
        if (kind == 3) QVERIFY(endOf(printer.layout(), line) <= placed(printer.layout(), "75 AD").x);
        // The next line has its usual letters again.
        print::printLeft(printer, "b");
        QCOMPARE(printer.fontStretch(), 100);
        QCOMPARE(placed(printer.layout(), "b").font, std::size_t(1));
    }

    void aLineThatFitsKeepsItsLetters()
    {
        print::Printer printer(target);
        print::printCentred(printer, "TEŞEKKÜR EDERİZ");
        print::printLabelAndValue(printer, "DOLDURULAN KAP", "75 AD");
        QCOMPARE(printer.layout().fonts.size(), std::size_t(1));
    }

    void gapsComeOnTopOfTheLine()
    {
        print::Printer printer(target);
        const double line = printer.textHeight();
        print::printLeft(printer, "a");
        print::gap(printer);
        print::printCentred(printer, "b");
        QCOMPARE(placed(printer.layout(), "a").y, 0.0);
        QCOMPARE(placed(printer.layout(), "b").y, line + 120);
        QCOMPARE(printer.currentY(), 120 + 2 * line);
    }
};

PRINT_TEST_MAIN(Placement)
#include "placement.moc"
