#include "tests/doors/fake_printer.h"
#include "tests/print/printed_documents.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"

#include "print/face.h"
#include "print/statement.h"
#include <map>
#include <optional>

using base::Regional;
using print::Printer;
using print::Statement;
using print::StatementColumn;

namespace {

using Record = std::map<QString, QVariant>;

constexpr double rule = 30; ///< below the current Y
constexpr double pad = 30;  ///< between a cell's text and its column's edge

} // namespace

/// The listing of the grid on paper.
class StatementTest : public QObject {
    Q_OBJECT

    FakePrinter target;
    const Regional turkish = Regional::turkish();
    std::vector<Record> records;
    int at = -1;
    std::optional<Printer> last; ///< with what was composed

    static QDateTime day() { return QDateTime(QDate(2024, 11, 5), QTime(14, 7, 33)); }

    /// The journal as the grid shows it, walked over `records`.
    Statement journal()
    {
        at = -1;
        Statement statement;
        statement.columns = {{true, "Tarih", 0, 1900, "Tarih", 0, ""},
                             {true, "   Giren Zeytin", 1900, 1300, "Zeytin", 1, "Standard"},
                             {true, "Yuzde   ", 3200, 900, "Yuzde", 1, ""},
                             {true, "Cari", 4100, 2200, "CariHar", 0, ""}};
        statement.listingKind = "1";
        statement.customer = "Ahmet Yılmaz";
        statement.firstDay = QDate(2024, 11, 5);
        statement.nextRecord = [this] { return ++at < int(records.size()); };
        statement.value = [this](const QString& field) {
            const Record& record = records[std::size_t(at)];
            const auto found = record.find(field);
            if (found == record.end()) throw base::RuntimeError(3265, "Item not found in this collection.");
            return found->second;
        };
        return statement;
    }
    static Record record(const QString& customer = "Ahmet Yılmaz")
    {
        return {{"Tarih", day()}, {"Zeytin", 1234.5f}, {"Yuzde", 12.75}, {"CariHar", customer}};
    }

    Printer& composed(const Statement& statement)
    {
        print::composeStatement(last.emplace(target), statement, turkish);
        return *last;
    }
    QStringList textsOfStatement(const Statement& statement) { return textsOf(composed(statement).layout()); }
    int printStatement(const Statement& statement)
    {
        Printer printer(target);
        const int error = errorOf([&] {
            print::composeStatement(printer, statement, turkish);
            printer.endDoc();
        });
        printer.killDoc();
        return error;
    }

    struct Lines {
        std::vector<double> rules;                           ///< Y of each
        std::map<double, std::pair<double, double>> columns; ///< X: from, to
    };
    static Lines linesOn(const print::Page& page)
    {
        Lines lines;
        for (const print::PlacedLine& line : page.lines) {
            if (line.y1 == line.y2)
                lines.rules.push_back(line.y1);
            else
                lines.columns[line.x1] = {line.y1, line.y2};
        }
        return lines;
    }

private slots:
    void init()
    {
        last.reset();
        target = FakePrinter();
        target.sheet = print::Paper::a4();
        records.clear();
    }

    void printsHeadTitleDateCaptionsAndRecords()
    {
        records = {record(), record("Toplamlar")};
        records[1]["Yuzde"] = QVariant();
        Statement statement = journal();
        statement.headerItems = {"Mendrik Yağ Fabrikası"};
        QCOMPARE(textsOfStatement(statement),
                 QStringList({"Mendrik Yağ Fabrikası", "Cari Hesap Dökümü", "Ahmet Yılmaz", "05 Kasım 2024 Salı",
                              "Tarih", "Giren Zeytin", "Yuzde", "Cari", "05.11.2024 14:07:33", "1.234,50", "12,75",
                              "Ahmet Yılmaz", "05.11.2024 14:07:33", "1.234,50", "Toplamlar"}));
    }

    void theTitleIsPrintedForTheReportOnly()
    {
        Statement statement = journal();
        statement.listingKind = "0";
        const QStringList texts = textsOfStatement(statement);
        QCOMPARE(texts, QStringList({"05 Kasım 2024 Salı", "Tarih", "Giren Zeytin", "Yuzde", "Cari"}));
        statement.listingKind = "";
        QCOMPARE(printStatement(statement), base::errors::typeMismatch);
        QVERIFY(target.printed.empty());
    }

    void headAndTitleAreBoldAndTheRestAsSet()
    {
        records = {record()};
        Statement statement = journal();
        statement.headerItems = {"Mendrik Yağ Fabrikası"};
        Printer& printer = composed(statement);
        QStringList bold;
        for (const auto& text : printer.layout().pages[0].texts)
            if (printer.layout().fonts[text.font].bold()) bold.append(text.text);
        QCOMPARE(bold, QStringList({"Mendrik Yağ Fabrikası", "Cari Hesap Dökümü", "Ahmet Yılmaz"}));
    }

    void theTableStandsInTheMiddleAndItsTextsInTheirColumns()
    {
        records = {record("Veli"), record("Toplamlar")};
        Printer& printer = composed(journal());
        const print::Layout& layout = printer.layout();
        const auto width = [&](const QString& text) { return printer.textWidth(text); };
        const double left = (printer.pageWidth() - 6300) / 2.0;
        const double h = printer.textHeight();

        // Captions are centred without their padding; right columns end 30 before their edge, left ones begin 30 after.
        QCOMPARE(placed(layout, "Tarih").x, left + (1900 - width("Tarih")) / 2);
        QCOMPARE(placed(layout, "Giren Zeytin").x, left + 1900 + (1300 - width("Giren Zeytin")) / 2);
        QCOMPARE(placed(layout, "1.234,50").x, left + 1900 + 1300 - width("1.234,50") - pad);
        QCOMPARE(placed(layout, "12,75").x, left + 3200 + 900 - width("12,75") - pad);
        QCOMPARE(placed(layout, "05.11.2024 14:07:33").x, left + pad);
        QCOMPARE(placed(layout, "Veli").x, left + 4100 + pad);

        const double date = placed(layout, "05 Kasım 2024 Salı").y;
        const double top = placed(layout, "Tarih").y;
        QCOMPARE(top, date + h);
        QCOMPARE(placed(layout, "Veli").y, top + h);
        QCOMPARE(placed(layout, "Toplamlar").y, top + 2 * h);

        const Lines lines = linesOn(layout.pages[0]);
        const std::vector<double> rules = {top + rule, top + h + rule, top + 2 * h + rule, top + 3 * h + rule};
        QCOMPARE(lines.rules, rules);
        QCOMPARE(lines.columns.size(), std::size_t(5));
        for (const double offset : {0.0, 1900.0, 3200.0, 4100.0, 6300.0}) {
            QVERIFY(lines.columns.contains(left + offset));
            QCOMPARE(lines.columns.at(left + offset).first, top);
            QCOMPARE(lines.columns.at(left + offset).second, top + 3 * h);
        }
        for (const auto& line : layout.pages[0].lines)
            if (line.y1 == line.y2) {
                QCOMPARE(line.x1, left);
                QCOMPARE(line.x2, left + 6300);
            }
    }

    void theDateStandsSixtyBelowTheTitle()
    {
        Printer& printer = composed(journal());
        const print::PlacedText name = placed(printer.layout(), "Ahmet Yılmaz");
        const double bold = print::metricsInTwips(printer.layout().fonts[name.font]).lineSpacing();
        QCOMPARE(placed(printer.layout(), "05 Kasım 2024 Salı").y, name.y + bold + 60);
    }

    void aTableWiderThanThePaperIsPrintedSmallerAsAWhole_data()
    {
        // paper: points
        addColumns<double, QString>("paper", "size");
        QTest::newRow("A4") << 595.0 << "12";
        QTest::newRow("A5") << 420.0 << "12";
        QTest::newRow("A6") << 298.0 << "12";
        QTest::newRow("A5, small letters") << 420.0 << "10";
    }
    void aTableWiderThanThePaperIsPrintedSmallerAsAWhole()
    {
        QFETCH(double, paper);
        QFETCH(QString, size);
        target.sheet.width = int(paper);
        records = {record("Veli")};
        Statement statement = journal();
        statement.font.size = size;
        for (StatementColumn& column : statement.columns) column.left *= 1.9, column.width *= 1.9;
        Printer printer(target);
        const QStringList leftOut = print::composeStatement(printer, statement, turkish);
        const print::Layout& layout = printer.layout();
        const double factor = std::min(1.0, printer.pageWidth() / (6300 * 1.9));
        QCOMPARE(leftOut, QStringList());
        const double left = (printer.pageWidth() - 6300 * 1.9 * factor) / 2;
        const print::PlacedText cell = placed(layout, "Veli");
        QVERIFY(qAbs(cell.x - (left + 4100 * 1.9 * factor + pad * factor)) < 0.01);
        QVERIFY(qAbs(layout.fonts[cell.font].pointSizeF() - size.toDouble() * factor) < 0.01);
        for (const print::PlacedText& text : layout.pages.front().texts) {
            QVERIFY(text.x >= 0);
            QVERIFY(endOf(layout, text) <= printer.pageWidth());
        }
        for (const print::PlacedLine& line : layout.pages.front().lines) {
            QVERIFY(line.x1 > -0.01);
            QVERIFY(line.x2 < printer.pageWidth() + 0.01);
        }
    }

    void columnsThatDoNotFitInReadableLettersAreNamedAndNotCutThrough()
    {
        target.sheet = print::Paper::slipRoll80();
        records = {record("Veli")};
        Statement statement = journal();
        Printer printer(target);
        QCOMPARE(print::composeStatement(printer, statement, turkish), QStringList());
        printer.killDoc();
        for (StatementColumn& column : statement.columns) column.left *= 1.4, column.width *= 1.4;
        at = -1;
        QCOMPARE(print::composeStatement(printer, statement, turkish), QStringList{"Cari"});
        const print::Layout& layout = printer.layout();
        QVERIFY(!textsOf(layout).contains("Veli"));
        QCOMPARE(layout.fonts[placed(layout, "12,75").font].pointSizeF(), 5.0);
        QCOMPARE(linesOn(layout.pages[0]).columns.size(), std::size_t(4));
    }

    void sumsWithoutTheColumnOfNamesAreNamedInTheFirstTextColumn_data()
    {
        // named: in place of the moment
        addColumns<QList<int>, double, bool>("hidden", "factor", "named");
        QTest::newRow("the names are printed") << QList<int>{} << 1.0 << false;
        QTest::newRow("the names are hidden") << QList<int>{3} << 1.0 << true;
        QTest::newRow("the names do not fit") << QList<int>{} << 1.4 << true;
    }
    void sumsWithoutTheColumnOfNamesAreNamedInTheFirstTextColumn()
    {
        QFETCH(QList<int>, hidden);
        QFETCH(double, factor);
        QFETCH(bool, named);
        target.sheet = print::Paper::slipRoll80();
        records = {record("Veli"), record("Toplamlar")};
        Statement statement = journal();
        statement.onSums = [this] { return at == 1; };
        for (const int column : hidden) statement.columns[std::size_t(column)].visible = false;
        for (StatementColumn& column : statement.columns) column.left *= factor, column.width *= factor;
        Printer& printer = composed(statement);
        const QStringList moment = {"05.11.2024 14:07:33"}, numbers = {"1.234,50", "12,75"};
        const QStringList rows =
            named ? moment + numbers + QStringList{"Toplamlar"} + numbers
                  : moment + numbers + QStringList{"Veli"} + moment + numbers + QStringList{"Toplamlar"};
        QCOMPARE(textsOf(printer.layout()).last(rows.size()), rows);
    }

    void aNumberWiderThanItsColumnIsSetInNarrowerLetters()
    {
        records = {record("Veli")};
        records[0]["Zeytin"] = 123456789012.0;
        Printer& printer = composed(journal());
        const print::Layout& layout = printer.layout();
        const double left = (printer.pageWidth() - 6300) / 2.0;
        const print::PlacedText number = placed(layout, "123.456.789.012,00");
        QVERIFY(number.x >= left + 1900);
        QVERIFY(qAbs(endOf(layout, number) - (left + 3200 - pad)) < 1);
    }

    void hiddenColumnsLeaveTheTableToTheVisibleOnes()
    {
        records = {record("Veli")};
        Statement statement = journal();
        statement.columns[1].visible = false;
        statement.columns[2].left = 1900;
        statement.columns[3].left = 2800;
        Printer& printer = composed(statement);
        const QStringList texts = textsOf(printer.layout());
        QVERIFY(!texts.contains("Giren Zeytin"));
        QVERIFY(!texts.contains("1.234,50"));
        const double left = (printer.pageWidth() - 5000) / 2.0;
        QCOMPARE(placed(printer.layout(), "Veli").x, left + 2800 + pad);
        const Lines lines = linesOn(printer.layout().pages[0]);
        QCOMPARE(lines.columns.size(), std::size_t(4));
        QVERIFY(lines.columns.contains(left + 5000));
    }

    void aHiddenColumnsFieldIsNotAskedFor()
    {
        records = {record()};
        Statement statement = journal();
        statement.columns.push_back({false, "x", 6300, 0, "no such field", 0, ""});
        QCOMPARE(printStatement(statement), 0);
    }

    void aTextTooWideIsCutLetterByLetter()
    {
        records = {record("Şükrü Çağlayangilzadeoğlu İbrahim Ağa")};
        Printer& printer = composed(journal());
        const QString cut = textsOf(printer.layout()).back();
        QVERIFY(records[0]["CariHar"].toString().startsWith(cut));
        QVERIFY(printer.textWidth(cut) <= 2200);
        QVERIFY(printer.textWidth(records[0]["CariHar"].toString().first(cut.size() + 1)) > 2200);
    }

    void cutsToWhatFits_data()
    {
        // letters: width in widths of one letter
        addColumns<QString, double, QString>("text", "letters", "cut");
        QTest::newRow("fits") << "iii" << 3.0 << "iii";
        QTest::newRow("one too many") << "iiii" << 3.5 << "iii";
        QTest::newRow("only one") << "iiii" << 1.0 << "i";
        QTest::newRow("none") << "iiii" << 0.5 << "";
        QTest::newRow("no column") << "iiii" << 0.0 << "";
        QTest::newRow("less than none") << "iiii" << -1.0 << "";
        QTest::newRow("empty") << "" << 3.0 << "";
        QTest::newRow("no half characters") << u"i\U0001D7D9"_s << 1.1 << "i";
    }
    void cutsToWhatFits()
    {
        QFETCH(QString, text);
        QFETCH(double, letters);
        Printer printer(target);
        QTEST(print::cutToFit(printer, text, letters * printer.textWidth("i")), "cut");
    }

    void anEmptyTextPrintsNothingInItsCell()
    {
        records = {record("")};
        Statement statement = journal();
        QCOMPARE(textsOfStatement(statement).back(), "12,75");
        QCOMPARE(printStatement(journal()), 0);
    }

    void showsValuesByTheirKind_data()
    {
        addColumns<QVariant, QString, QString, QString>("value", "format", "plain", "formatted");
        // clang-format off
        QTest::newRow("single") << QVariant(0.1f) << "Standard" << "0,1" << "0,10";
        QTest::newRow("double") << QVariant(1234.5) << "Standard" << "1234,5" << "1.234,50";
        QTest::newRow("whole number") << QVariant(1250) << "#,##0" << "1250" << "1.250";
        QTest::newRow("no format") << QVariant(1234.5) << "" << "1234,5" << "1234,5";
        QTest::newRow("Null") << QVariant() << "Standard" << "" << "";
        QTest::newRow("text") << QVariant("10 Litrelik Kap") << "" << "10 Litrelik Kap" << "10 Litrelik Kap";
        QTest::newRow("numeric text") << QVariant("1250") << "Standard" << "1250" << "1.250,00";
        QTest::newRow("empty text") << QVariant("") << "Standard" << "" << "";
        QTest::newRow("moment") << QVariant(day()) << "" << "05.11.2024 14:07:33" << "05.11.2024 14:07:33";
        QTest::newRow("day") << QVariant(QDateTime(QDate(2024, 11, 5), QTime(0, 0))) << QString() << u"05.11.2024"_s << u"05.11.2024"_s;
        // clang-format on
    }
    void showsValuesByTheirKind()
    {
        QFETCH(QVariant, value);
        QFETCH(QString, format);
        records = {{{"f", value}}};
        Statement statement = journal();
        const auto cell = [&](int alignment) {
            at = -1;
            statement.columns = {{true, "", 0, 6000, "f", alignment, format}};
            const QString last = textsOfStatement(statement).back();
            return last == "05 Kasım 2024 Salı" ? QString() : last;
        };
        QTEST(cell(0), "plain");
        QTEST(cell(1), "formatted");
        QTEST(cell(2), "plain");
        QTEST(cell(3), "plain");
    }

    void whatCannotBePrintedEndsTheStatement_data()
    {
        addCases<QVariant>("value", {{"a text where a number is wanted", QVariant("abc")},
                                     {"a moment where a number is wanted", QVariant(day())}});
    }
    void whatCannotBePrintedEndsTheStatement()
    {
        QFETCH(QVariant, value);
        records = {record(), record()};
        records[1]["Zeytin"] = value;
        QCOMPARE(printStatement(journal()), base::errors::typeMismatch);
        QVERIFY(target.printed.empty());
    }

    void aFieldThatTheListingLacksEndsTheStatement()
    {
        records = {record()};
        records[0].erase("Yuzde");
        QCOMPARE(printStatement(journal()), 3265);
        QVERIFY(target.printed.empty());
    }

    void withoutAPrinterNothingIsAskedOfTheListing()
    {
        records = {record()};
        target.failAt = FakePrinter::Step::paper;
        QCOMPARE(printStatement(journal()), base::errors::printer);
        QCOMPARE(at, -1);
    }

    void anEmptyListingHasItsCaptionRowOnly()
    {
        Printer& printer = composed(journal());
        const double top = placed(printer.layout(), "Tarih").y;
        const double h = printer.textHeight();
        const Lines lines = linesOn(printer.layout().pages[0]);
        const std::vector<double> rules = {top + rule, top + h + rule};
        QCOMPARE(lines.rules, rules);
        QCOMPARE(lines.columns.begin()->second.second, top + h);
    }

    // ---- More than a page ----

    void aLongListingGoesOnOverPagesWithEveryRecordWhole()
    {
        for (int i = 0; i < 200; ++i) records.push_back(record(u"Record %1"_s.arg(i)));
        Printer& printer = composed(journal());
        const print::Layout& layout = printer.layout();
        QVERIFY(layout.pages.size() > 2);
        const double h = printer.textHeight();
        int next = 0;
        for (const print::Page& page : layout.pages) {
            std::map<double, QStringList> rows;
            for (const auto& text : page.texts) {
                QVERIFY(text.y + h <= printer.pageHeight());
                rows[text.y].append(text.text);
            }
            const Lines lines = linesOn(page);
            // The table's part on this page: a rule above, one below each row, lines from the first to the last.
            const double top = lines.rules.front() - rule;
            for (const auto& [y, texts] : rows) {
                if (y < top) continue;
                QCOMPARE(texts.size(), 4);
                if (texts.front() != "Tarih") QCOMPARE(texts.back(), u"Record %1"_s.arg(next++));
                const double below = y + h + rule;
                QVERIFY(std::ranges::any_of(lines.rules, [&](double r) { return qAbs(r - below) < 1e-6; }));
            }
            QVERIFY(lines.rules.back() <= printer.pageHeight());
            for (const auto& [x, line] : lines.columns) {
                QCOMPARE(line.first, top);
                QCOMPARE(line.second, lines.rules.back() - rule);
            }
            QCOMPARE(lines.columns.size(), std::size_t(5));
        }
        QCOMPARE(next, 200);
        // Nothing is repeated that stands on the first page once.
        QCOMPARE(textsOf(layout).count("Giren Zeytin"), 1);
    }

    void onARollTheWholeListingIsOnePage()
    {
        target.sheet = print::Paper::slipRoll80();
        for (int i = 0; i < 100; ++i) records.push_back(record());
        Printer& printer = composed(journal());
        QCOMPARE(printer.layout().pages.size(), std::size_t(1));
        const double end = printer.currentY();
        printer.endDoc();
        QVERIFY(target.printed.front().page.height * 20 >= end);
    }

    void aHeadThatFillsThePageBeginsTheTableOnTheNext()
    {
        Printer measure(target);
        const int lines = int(measure.pageHeight() / measure.textHeight());
        for (int more = -6; more <= 1; ++more) {
            Statement statement = journal();
            records = {record()};
            for (int i = 0; i < lines + more; ++i) statement.headerItems.append(u"line %1"_s.arg(i));
            Printer printer(target);
            print::composeStatement(printer, statement, turkish);
            for (const print::Page& page : printer.layout().pages)
                for (const auto& line : page.lines) QVERIFY(line.y2 <= printer.pageHeight());
            // The rule above the captions stands on their page.
            const print::Page& last = printer.layout().pages.back();
            QVERIFY(!linesOn(last).rules.empty());
        }
    }

    void fiveThousandRecordsAllReachThePaper()
    {
        NEEDS_PDF_TOOLS;
        for (int i = 0; i < 5000; ++i) records.push_back(record(u"Record %1"_s.arg(i)));
        QCOMPARE(printStatement(journal()), 0);
        const QString text = linesOf(target.printed.front().pdf).join(u'\n');
        QCOMPARE(text.count("1.234,50 12,75 Record "), 5000);
        QVERIFY(text.contains("Record 4999"));
    }
};

PRINT_TEST_MAIN(StatementTest)
#include "statement.moc"
