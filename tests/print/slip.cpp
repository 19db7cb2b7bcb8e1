#include "tests/doors/fake_printer.h"
#include "tests/print/printed_documents.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"

#include "print/face.h"
#include "print/header_file.h"
#include "print/slip.h"
#include <optional>

using base::Regional;
using print::Printer;
using print::Slip;

namespace {

Slip shareSlip()
{
    Slip slip;
    slip.pressing = {"Ahmet Yılmaz", "1.000", "850", "12", "102", "1.250", {}};
    slip.handedOver = "748";
    slip.shareInOil = true;
    slip.countContainers = [] { return mill::Litre{20}; };
    slip.now = QDateTime(QDate(2024, 11, 5), QTime(14, 7));
    return slip;
}

Slip cashSlip()
{
    Slip slip = shareSlip();
    slip.shareInOil = false;
    slip.pressing.oil = "23,5";
    slip.countContainers = [] { return mill::Litre{10}; };
    return slip;
}

} // namespace

/// The information slip, line by line.
class SlipTest : public QObject {
    Q_OBJECT

    FakePrinter target;
    std::optional<Printer> last; ///< with what was composed
    const Regional turkish = Regional::turkish();

    static bool isRule(const QString& text) { return text.size() > 20 && text.count(text.front()) == text.size(); }

    Printer& composed(const Slip& slip, const Regional& regional = Regional::turkish())
    {
        print::composeSlip(last.emplace(target), slip, regional);
        return *last;
    }
    /// What was printed, rules shortened to one character.
    QStringList textsOfSlip(const Slip& slip)
    {
        QStringList texts = textsOf(composed(slip).layout());
        for (QString& text : texts)
            if (isRule(text)) text.truncate(1);
        return texts;
    }

    /// Composes as the screen does: a job that fails is killed.
    int printSlip(const Slip& slip)
    {
        Printer printer(target);
        const int error = errorOf([&] {
            print::composeSlip(printer, slip, turkish);
            printer.endDoc();
        });
        if (error != 0) printer.killDoc();
        return error;
    }

    static constexpr auto vendorAndEnd =
        "-|TEŞEKKÜR EDERİZ|YİNE BEKLERİZ|Bilgi Fişidir Mali Değer Taşımaz|Mendrik Presva|"
        "Tel: 0 850 000 00 00 - 0 850 000 00 01|Zeytin Sokak No: 1";

private slots:
    void init()
    {
        last.reset();
        target = FakePrinter();
    }

    void shareInOilPrintsThePercentageTheEntitlementAndWhatIsHandedOver()
    {
        Slip slip = shareSlip();
        slip.headerItems = {"Mendrik Yağ Fabrikası", "Ayvalık"};
        QCOMPARE(textsOfSlip(slip).join(u'|'),
                 u"Mendrik Yağ Fabrikası|Ayvalık|05 Kasım 2024 Salı 14:07|Sayın; |Ahmet Yılmaz|=|SIKIM AŞAMASI|-|"
                 "Sıkılacak Zeytin KG|1.000,00 KG|Sıkılan Zeytin Yağı KG|850,00 LT|-|HAK EDİŞ|-|"
                 "%12 Sıkılan Zeytin Yağı Miktarı|102 KG|-|TESLİMAT|-|Dolan Kap Boyutu|20 LT|"
                 "Yaklaşık Dolum Miktarı|748 LT|DOLDURULAN KAP|37 AD|"_s +
                     vendorAndEnd);
    }

    void cashPrintsTheFeeAndFillsAllTheOil()
    {
        QCOMPARE(textsOfSlip(cashSlip()).join(u'|'),
                 u"05 Kasım 2024 Salı 14:07|Sayın; |Ahmet Yılmaz|=|SIKIM AŞAMASI|-|Sıkılacak Zeytin KG|1.000,00 KG|"
                 "Sıkılan Zeytin Yağı KG|23,50 LT|-|HAK EDİŞ|-|Sıkılan Zetin Yağı Bedeli|1.250 TL|-|TESLİMAT|-|"
                 "Dolan Kap Boyutu|10 LT|Yaklaşık Dolum Miktarı|24 LT|DOLDURULAN KAP|2 AD|"_s +
                     vendorAndEnd);
    }

    void thePaperCarriesWhatWasComposed()
    {
        NEEDS_PDF_TOOLS;
        QCOMPARE(printSlip(cashSlip()), 0);
        QStringList lines = linesOf(target.printed.front().pdf);
        for (QString& line : lines)
            if (isRule(line)) line.truncate(1);
        QCOMPARE(lines.join(u'|'),
                 u"05 Kasım 2024 Salı 14:07|Sayın; Ahmet Yılmaz|=|SIKIM AŞAMASI|-|Sıkılacak Zeytin KG 1.000,00 KG|"
                 "Sıkılan Zeytin Yağı KG 23,50 LT|-|HAK EDİŞ|-|Sıkılan Zetin Yağı Bedeli|1.250 TL|-|TESLİMAT|-|"
                 "Dolan Kap Boyutu 10 LT|Yaklaşık Dolum Miktarı 24 LT|DOLDURULAN KAP 2 AD|"_s +
                     vendorAndEnd);
        QCOMPARE(target.printed.front().title, "Bilgi Fişi");
    }

    void otherRegionalSettingsGiveTheirOwnMarksAndNames()
    {
        Slip slip = cashSlip();
        slip.pressing.olives = "1,234.5";
        slip.pressing.oil = "23.5";
        slip.pressing.fee = "1,250";
        const QStringList texts = textsOf(composed(slip, Regional::english()).layout());
        for (const QString text : {"1,234.50 KG", "23.50 LT", "1,250 TL", "05 November 2024 Tuesday 14:07"})
            QVERIFY2(texts.contains(text), qPrintable(texts.join(" | ")));
    }

    void everyLineStandsWhereTheRulesPutIt()
    {
        Slip slip = shareSlip();
        slip.headerItems = {"Mendrik Yağ Fabrikası"};
        Printer& printer = composed(slip);
        const print::Layout& layout = printer.layout();
        const int width = printer.pageWidth();

        // Line heights of the four fonts in use.
        const auto height = [&](float size, bool bold) {
            Printer other(target);
            other.setFontSize(size);
            other.setFontBold(bold);
            return other.textHeight();
        };
        const double head = height(8, true);
        const double h = height(8, false);
        const double amount = height(14, false);
        const double small = height(3, false);

        constexpr double gap = 120;

        struct Line {
            QString text; ///< "=" and "-" are rules
            double height, before;
        };
        const QList<Line> lines = {
            {"Mendrik Yağ Fabrikası", head, 0},
            {"05 Kasım 2024 Salı 14:07", h, 60},
            {"Ahmet Yılmaz", h, 0},
            {"=", h, gap},
            {"SIKIM AŞAMASI", h, gap},
            {"-", h, gap},
            {"Sıkılacak Zeytin KG", h, 0},
            {"Sıkılan Zeytin Yağı KG", h, gap},
            {"-", h, gap},
            {"HAK EDİŞ", h, gap},
            {"-", h, gap},
            {"%12 Sıkılan Zeytin Yağı Miktarı", h, gap},
            {"102 KG", amount, 0},
            {"-", h, gap},
            {"TESLİMAT", h, gap},
            {"-", h, gap},
            {"Dolan Kap Boyutu", h, gap},
            {"Yaklaşık Dolum Miktarı", h, gap},
            {"DOLDURULAN KAP", h, gap},
            {"-", h, gap},
            {"TEŞEKKÜR EDERİZ", h, gap},
            {"YİNE BEKLERİZ", h, 0},
            {"Bilgi Fişidir Mali Değer Taşımaz", small, 2 * h},
            {"Mendrik Presva", small, small},
            {"Tel: 0 850 000 00 00 - 0 850 000 00 01", small, 0},
            {"Zeytin Sokak No: 1", small, 0},
        };
        // The rules between the sections are all alike; each is the next of its kind.
        std::vector<print::PlacedText> rules;
        for (const auto& text : layout.pages[0].texts)
            if (isRule(text.text)) rules.push_back(text);
        std::size_t nextRule = 0;
        double y = head; // the empty line at the top, ended in bold
        for (const Line& line : lines) {
            y += line.before;
            if (line.text.size() == 1) {
                QVERIFY(nextRule < rules.size());
                const print::PlacedText& rule = rules[nextRule++];
                QCOMPARE(rule.text.front(), line.text.front());
                QCOMPARE(rule.x, 60.0);
                QCOMPARE(rule.y, y);
            } else {
                QCOMPARE(placed(layout, line.text).y, y);
            }
            y += line.height;
        }
        QCOMPARE(placed(layout, "Sayın; ").y, placed(layout, "Ahmet Yılmaz").y);
        QCOMPARE(placed(layout, "1.000,00 KG").y, placed(layout, "Sıkılacak Zeytin KG").y);
        QCOMPARE(placed(layout, "850,00 LT").y, placed(layout, "Sıkılan Zeytin Yağı KG").y);
        QCOMPARE(nextRule, rules.size());
        QCOMPARE(printer.currentY(), y);

        // Across: left 60, centred, right less 120.
        const auto widthOf = [&](const print::PlacedText& text) {
            return print::metricsInTwips(layout.fonts[text.font]).horizontalAdvance(text.text);
        };
        for (const QString text : {"Sayın; ", "Sıkılacak Zeytin KG", "Dolan Kap Boyutu", "DOLDURULAN KAP"})
            QCOMPARE(placed(layout, text).x, 60.0);
        QCOMPARE(placed(layout, "Ahmet Yılmaz").x, 60 + widthOf(placed(layout, "Sayın; ")));
        for (const QString text : {"Mendrik Yağ Fabrikası", "05 Kasım 2024 Salı 14:07", "SIKIM AŞAMASI", "102 KG",
                                   "Bilgi Fişidir Mali Değer Taşımaz", "Zeytin Sokak No: 1"}) {
            const print::PlacedText line = placed(layout, text);
            QCOMPARE(line.x, (width - widthOf(line)) / 2);
        }
        for (const QString text : {"1.000,00 KG", "850,00 LT", "20 LT", "748 LT", "37 AD"}) {
            const print::PlacedText value = placed(layout, text);
            QCOMPARE(value.x, width - widthOf(value) - 120);
        }
    }

    void onlyTheOilAndTheAmountAreUnderlined()
    {
        Printer& printer = composed(shareSlip());
        QStringList underlined;
        for (const auto& text : printer.layout().pages[0].texts)
            if (printer.layout().fonts[text.font].underline()) underlined.append(text.text);
        QCOMPARE(underlined, QStringList({"850,00 LT", "102 KG"}));
        printer.print("behind the slip");
        QVERIFY(!printer.layout().fonts[placed(printer.layout(), "behind the slip").font].underline());
    }

    void sizesGrowForTheAmountAndShrinkForTheEnd_data()
    {
        addColumns<QString, double, double, double>("size", "text", "amount", "end");
        QTest::newRow("eight") << "8" << 8.0 << 14.0 << 3.0;
        QTest::newRow("half points") << "10,5" << 10.5 << 16.5 << 5.5;
        QTest::newRow("end of at least one point") << "5" << 5.0 << 11.0 << 1.0;
        QTest::newRow("smaller still") << "2" << 2.0 << 8.0 << 1.0;
    }
    void sizesGrowForTheAmountAndShrinkForTheEnd()
    {
        QFETCH(QString, size);
        Slip slip = shareSlip();
        slip.font.size = size;
        Printer& printer = composed(slip);
        const auto sizeOf = [&](const QString& text) {
            return printer.layout().fonts[placed(printer.layout(), text).font].pointSizeF();
        };
        QTEST(sizeOf("Sayın; "), "text");
        QTEST(sizeOf("102 KG"), "amount");
        QTEST(sizeOf("TESLİMAT"), "text");
        QTEST(sizeOf("Bilgi Fişidir Mali Değer Taşımaz"), "end");
        QTEST(sizeOf("Zeytin Sokak No: 1"), "end");
    }

    void theMillsLinesAreBoldWhateverTheSettingSays_data()
    {
        addColumns<QString, bool>("setting", "rest");
        QTest::newRow("off") << "False" << false;
        QTest::newRow("on") << "True" << true;
    }
    void theMillsLinesAreBoldWhateverTheSettingSays()
    {
        QFETCH(QString, setting);
        QFETCH(bool, rest);
        Slip slip = shareSlip();
        slip.font.bold = setting;
        slip.headerItems = {"Mendrik Yağ Fabrikası"};
        Printer& printer = composed(slip);
        for (const auto& text : printer.layout().pages[0].texts)
            QCOMPARE(printer.layout().fonts[text.font].bold(), rest || text.text == "Mendrik Yağ Fabrikası");
    }

    void widerPaperOnlyLengthensRulesAndMovesTexts()
    {
        Printer& printer = composed(shareSlip());
        const print::Layout narrow = printer.layout();
        printer.killDoc();
        target.sheet = print::Paper::a4();
        print::composeSlip(printer, shareSlip(), turkish);
        const auto& before = narrow.pages[0].texts;
        const auto& after = printer.layout().pages[0].texts;
        QCOMPARE(after.size(), before.size());
        for (std::size_t i = 0; i < before.size(); ++i) {
            QCOMPARE(after[i].y, before[i].y);
            if (isRule(before[i].text))
                QVERIFY(after[i].text.size() > before[i].text.size());
            else
                QCOMPARE(after[i].text, before[i].text);
        }
    }

    void nothingStandsBeyondTheEdge_data()
    {
        addColumns<int, QString>("millimetres", "size");
        for (const int millimetres : {44, 58, 80, 210})
            for (const char* size : {"8", "12", "20"})
                QTest::addRow("%d mm, %s points", millimetres, size) << millimetres << size;
    }
    void nothingStandsBeyondTheEdge()
    {
        QFETCH(int, millimetres);
        QFETCH(QString, size);
        target.sheet.width = millimetres * 72 * 10 / 254;
        Slip slip = shareSlip();
        slip.font.size = size;
        slip.pressing.customer =
            "Şükrü Çağlayangilzadeoğlu İbrahim Ağa ve Kardeşleri Zeytincilik Kooperatifi Başkanlığı";
        slip.headerItems = {"Mendrik Zeytinyağı Fabrikası Üretim ve Pazarlama Limited Şirketi Ayvalık Şubesi"};
        slip.pressing.olives = "123.456.789,00";
        Printer& printer = composed(slip);
        for (const print::PlacedText& text : printer.layout().pages.front().texts) {
            QVERIFY2(text.x >= 0, qPrintable(text.text));
            QVERIFY2(endOf(printer.layout(), text) <= printer.pageWidth() + 0.5, qPrintable(text.text));
        }
        const print::PlacedText label = placed(printer.layout(), "Sıkılacak Zeytin KG");
        QVERIFY(endOf(printer.layout(), label) <= placed(printer.layout(), "123.456.789,00 KG").x);
    }

    void containersAreCountedFromTheOilThatIsFilled_data()
    {
        addColumns<bool, QString, QString, int, QString, QString>("share", "oil", "handedOver", "litres", "filled",
                                                                  "count");
        // clang-format off
        QTest::newRow("L40") << false << "23,5" << "" << 10 << "24 LT" << "2 AD";
        QTest::newRow("L41") << false << "25" << "" << 10 << "25 LT" << "3 AD";
        QTest::newRow("L42") << false << "53" << "" << 5 << "53 LT" << "11 AD";
        QTest::newRow("L43") << false << "850" << "" << 15 << "850 LT" << "57 AD";
        QTest::newRow("L44") << true << "850" << "748" << 20 << "748 LT" << "37 AD";
        QTest::newRow("L45") << false << "4" << "" << 5 << "4 LT" << "1 AD";
        QTest::newRow("L46") << false << "2" << "" << 5 << "2 LT" << "0 AD";
        QTest::newRow("L47") << false << "52,5" << "" << 5 << "53 LT" << "11 AD";
        QTest::newRow("L48") << true << "100" << "-20" << 10 << "-20 LT" << "-2 AD";
        QTest::newRow("L49") << false << "12.345" << "" << 10 << "12.345 LT" << "1.235 AD";
        QTest::newRow("negative oil is cut towards zero") << false << "-12" << "" << 5 << "-12 LT" << "-2 AD";
        QTest::newRow("nothing handed over yet") << true << "850" << "" << 20 << "0 LT" << "0 AD";
        QTest::newRow("no oil yet") << false << "" << "" << 20 << "0 LT" << "0 AD";
        // clang-format on
    }
    void containersAreCountedFromTheOilThatIsFilled()
    {
        QFETCH(bool, share);
        QFETCH(QString, oil);
        QFETCH(QString, handedOver);
        QFETCH(int, litres);
        Slip slip = shareSlip();
        slip.shareInOil = share;
        slip.pressing.oil = oil;
        slip.handedOver = handedOver;
        int counted = 0;
        slip.countContainers = [&] {
            ++counted;
            return mill::Litre{double(litres)};
        };
        Printer& printer = composed(slip);
        QCOMPARE(counted, 1);
        const QStringList texts = textsOf(printer.layout());
        QCOMPARE(texts[texts.indexOf("Dolan Kap Boyutu") + 1], u"%1 LT"_s.arg(litres));
        QTEST(texts[texts.indexOf("Yaklaşık Dolum Miktarı") + 1], "filled");
        QTEST(texts[texts.indexOf("DOLDURULAN KAP") + 1], "count");
    }

    // ---- What fails: nothing is printed, and what had been done stays done ----

    void noPrinterIsAnErrorAndCancellingItIsNot()
    {
        target.failAt = FakePrinter::Step::paper;
        QCOMPARE(printSlip(shareSlip()), base::errors::printer);
        QVERIFY(target.printed.empty());
    }

    void aTextThatIsNoNumberEndsTheSlip_data()
    {
        addColumns<QString mill::Pressing::*, QString, bool, bool>("text", "value", "share", "counted");
        QTest::newRow("olives as the scale sent them") << &mill::Pressing::olives << "1234KG\r" << true << false;
        QTest::newRow("olives") << &mill::Pressing::olives << "abc" << true << false;
        QTest::newRow("oil") << &mill::Pressing::oil << "abc" << false << false;
        QTest::newRow("entitlement") << &mill::Pressing::entitlement << "x" << true << false;
        QTest::newRow("fee") << &mill::Pressing::fee << "x" << false << false;
        QTest::newRow("handed over, after the count")
            << static_cast<QString mill::Pressing::*>(nullptr) << "x" << true << true;
    }
    void aTextThatIsNoNumberEndsTheSlip()
    {
        QFETCH(QString mill::Pressing::*, text);
        QFETCH(QString, value);
        QFETCH(bool, share);
        Slip slip = shareSlip();
        slip.shareInOil = share;
        (text ? slip.pressing.*text : slip.handedOver) = value;
        bool called = false;
        slip.countContainers = [&] {
            called = true;
            return mill::Litre{20};
        };
        QCOMPARE(printSlip(slip), base::errors::typeMismatch);
        QVERIFY(target.printed.empty());
        QVERIFY(target.waiting.empty());
        QTEST(called, "counted");
    }

    void whatTheModeDoesNotPrintNeedNotBeANumber()
    {
        Slip share = shareSlip();
        share.pressing.fee = "abc";
        QCOMPARE(printSlip(share), 0);
        Slip cash = cashSlip();
        cash.pressing.entitlement = cash.handedOver = "abc";
        QCOMPARE(printSlip(cash), 0);
        QCOMPARE(target.printed.size(), std::size_t(2));
    }

    void whatTheCountThrowsEndsTheSlip()
    {
        Slip slip = shareSlip();
        slip.countContainers = []() -> mill::Litre { throw base::runtimeError(base::errors::subscript); };
        QCOMPARE(printSlip(slip), base::errors::subscript);
        QVERIFY(target.printed.empty());
    }

    void damagedFontSettingsEndTheSlip_data()
    {
        addColumns<QString, QString, QString, int>("size", "bold", "italic", "error");
        // clang-format off
        QTest::newRow("size in words") << "sekiz" << "False" << "False" << base::errors::typeMismatch;
        QTest::newRow("no size") << "" << "False" << "False" << base::errors::typeMismatch;
        QTest::newRow("size beyond numbers") << "1e39" << "False" << "False" << base::errors::overflow;
        QTest::newRow("size zero") << "0" << "False" << "False" << base::errors::invalidProperty;
        QTest::newRow("bold in Turkish") << "8" << "Doğru" << "False" << base::errors::typeMismatch;
        QTest::newRow("bold as a number") << "8" << "1" << "False" << base::errors::typeMismatch;
        QTest::newRow("italic empty") << "8" << "False" << "" << base::errors::typeMismatch;
        // clang-format on
    }
    void damagedFontSettingsEndTheSlip()
    {
        QFETCH(QString, size);
        QFETCH(QString, bold);
        QFETCH(QString, italic);
        Slip slip = shareSlip();
        slip.font.size = size;
        slip.font.bold = bold;
        slip.font.italic = italic;
        QTEST(printSlip(slip), "error");
        QVERIFY(target.printed.empty());
    }

    void aQueueThatFailsAtTheEndIsAnErrorToo_data()
    {
        addCases<FakePrinter::Step>("step", {{"create", FakePrinter::Step::create}, {"send", FakePrinter::Step::send}});
    }
    void aQueueThatFailsAtTheEndIsAnErrorToo()
    {
        QFETCH(FakePrinter::Step, step);
        target.failAt = step;
        QCOMPARE(printSlip(shareSlip()), base::errors::printer);
        QVERIFY(target.printed.empty());
        QVERIFY(target.waiting.empty());
    }

    void aFailedSlipLeavesNoTraceOnTheNext()
    {
        const auto clock = [] { return QDateTime(QDate(2024, 11, 5), QTime(14, 7), Qt::UTC); };
        Printer printer(target, clock);
        Slip broken = shareSlip();
        broken.pressing.entitlement = "x";
        QVERIFY(errorOf([&] { print::composeSlip(printer, broken, turkish); }) != 0);
        printer.killDoc();
        print::composeSlip(printer, shareSlip(), turkish);
        Printer fresh(target, clock);
        print::composeSlip(fresh, shareSlip(), turkish);
        QCOMPARE(printer.takeDoc()->pdf, fresh.takeDoc()->pdf);
    }
};

PRINT_TEST_MAIN(SlipTest)
#include "slip.moc"
