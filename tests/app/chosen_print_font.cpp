#include "tests/app/counter_world.h"
#include "tests/print/printed_documents.h"
#include "tests/support/columns.h"
#include "tests/support/qt_files.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace app;

namespace {

/// A line as it stands on paper.
struct PrintedLine {
    QString text;
    QString family;
    double points = 0;
    bool bold = false;
    bool italic = false;
};

/// The lines of a page and what they are set in. The tool gives whole numbers; three times as large, they are thirds of
/// a point. It joins cells that stand close together.
QList<PrintedLine> printedLines(const QByteArray& pdf)
{
    constexpr double zoom = 3; // the most it can
    const QString page =
        askPdf(pdf, u"pdftohtml"_s, {u"-xml"_s, u"-zoom"_s, QString::number(zoom), u"-stdout"_s, u"FILE"_s});
    static const QRegularExpression font(u"<fontspec id=\"(\\d+)\" size=\"(\\d+)\" family=\"([^\"]*)\""_s);
    static const QRegularExpression line(u"<text [^>]*font=\"(\\d+)\">(.*)</text>"_s);
    static const QRegularExpression tag(u"<[^>]*>"_s);
    QMap<QString, QPair<QString, double>> fonts;
    for (auto it = font.globalMatch(page); it.hasNext();) {
        const auto found = it.next();
        fonts[found.captured(1)] = {found.captured(3), found.captured(2).toDouble() / zoom};
    }
    // On Windows Qt calls a font in a PDF by its family, slant and weight, and nothing else in it says the last two.
    static const QRegularExpression numbered(u"^(.*)-([012])-(\\d+)$"_s);
    QList<PrintedLine> lines;
    for (auto it = line.globalMatch(page); it.hasNext();) {
        const auto found = it.next();
        const QString content = found.captured(2);
        const auto [family, points] = fonts.value(found.captured(1));
        PrintedLine printed{QString(content).remove(tag).simplified(), family, points, content.contains(u"<b>"_s),
                            content.contains(u"<i>"_s)};
        if (const auto parts = numbered.match(family); parts.hasMatch()) {
            printed.family = parts.captured(1);
            printed.italic = parts.captured(2) == u"1";
            printed.bold = parts.captured(3) == u"700";
        }
        lines += printed;
    }
    return lines;
}

} // namespace

/// Face, size, bold and italic as they are chosen in the font dialog, the mill's own lines and the date: on the slip
/// and on the statement that come out of the printer.
class ChosenPrintFont : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { applyTheme(*qApp); }
    void standsOnTheSlip_data() { choices(); }

    void standsOnTheSlip()
    {
        NEEDS_PDF_TOOLS;
        QFETCH(bool, bold);
        Counter counter;
        prepare(counter);
        counter.pressingOf(u"ali"_s);
        Counter::click(counter.form.YazCmd[0]);
        QCOMPARE(counter.paper.printed.size(), std::size_t(1));
        const QByteArray& pdf = counter.paper.printed.front().pdf;
        // The head is bold whatever was chosen, one line for each item, and nothing for the empty line.
        QCOMPARE(linesOf(pdf).first(3),
                 (QStringList{u"Mendrik Fabrikasi"_s, u"Ayvalik"_s, u"Zeytin Yolu 5, Merkez"_s}));
        checkLine(pdf, u"Mendrik Fabrikasi"_s, true);
        checkLine(pdf, u"Zeytin Yolu 5, Merkez"_s, true);
        checkLine(pdf, u"20 Kasım 2025 Perşembe 14:05"_s, bold);
        checkLine(pdf, u"Sıkılacak Zeytin KG"_s, bold);
        checkLine(pdf, u"0 TL"_s, bold, 6);
        checkLine(pdf, u"Bilgi Fişidir Mali Değer Taşımaz"_s, bold, -5);
    }

    void standsOnTheStatement_data() { choices(); }

    void standsOnTheStatement()
    {
        NEEDS_PDF_TOOLS;
        QFETCH(bool, bold);
        Counter counter;
        prepare(counter);
        Form1& form = counter.form;
        // The table fits in letters of any of the sizes.
        putFile(counter.folder.filePath(u"Grid1.txt"_s),
                "2800,#TRUE#\r\n1500,#TRUE#\r\n1400,#TRUE#\r\n1,#FALSE#\r\n1,#FALSE#\r\n1,#FALSE#\r\n1500,#TRUE#\r\n");
        Counter::click(form.GünlükCmd);
        Counter::click(form.Option1[1]);
        form.run([&] { form.DTPickerBas->setValue(QDate(2025, 11, 3)); });
        Counter::click(form.KapatCmd[1]);
        QCOMPARE(counter.paper.printed.size(), std::size_t(1));
        const QByteArray& pdf = counter.paper.printed.front().pdf;
        QCOMPARE(linesOf(pdf).first(5), (QStringList{u"Mendrik Fabrikasi"_s, u"Ayvalik"_s, u"Zeytin Yolu 5, Merkez"_s,
                                                     u"Cari Hesap Dökümü"_s, u"03 Kasım 2025 Pazartesi"_s}));
        checkLine(pdf, u"Ayvalik"_s, true);
        checkLine(pdf, u"Cari Hesap Dökümü"_s, true);
        checkLine(pdf, u"03 Kasım 2025 Pazartesi"_s, bold);
        checkLine(pdf, u"Giren Zeytin"_s, bold);
        checkLine(pdf, u"Ali"_s, bold);
        checkLine(pdf, u"Toplamlar"_s, bold);
    }

private:
    static void choices()
    {
        addColumns<QString, double, bool, bool>("face", "size", "bold", "italic");
        QTest::newRow("as at first") << u"Arial"_s << 8.0 << false << false;
        QTest::newRow("another face") << u"Times New Roman"_s << 9.0 << false << false;
        QTest::newRow("half points") << u"Arial"_s << 10.5 << false << false;
        QTest::newRow("bold") << u"Arial"_s << 8.0 << true << false;
        QTest::newRow("italic") << u"Courier New"_s << 7.0 << false << true;
        QTest::newRow("bold and italic") << u"Times New Roman"_s << 9.0 << true << true;
    }

    /// The font is chosen as an operator does it; the mill's lines and a customer are there.

    static void prepare(Counter& counter)
    {
        QFETCH(QString, face);
        QFETCH(double, size);
        QFETCH(bool, bold);
        QFETCH(bool, italic);
        putFile(counter.folder.filePath(u"Presva.Txt"_s),
                "Mendrik Fabrikasi, Ayvalik\r\n\r\n\"Zeytin Yolu 5, Merkez\"\r\n");
        counter.clock.now = QDateTime(QDate(2025, 11, 20), QTime(14, 5));
        counter.paper.sheet = print::Paper::a4(); // nothing is wider
        counter.addCustomer(u"Ali"_s);
        counter.addPressing(u"Ali"_s);
        counter.form.start();
        counter.prompt.font = FontChoice{face, static_cast<float>(size), bold, italic};
        counter.form.YazFont->trigger();
    }

    /// The line of the page with that text in it; fails the test if it is not there.

    static PrintedLine lineOf(const QByteArray& pdf, const QString& text)
    {
        const QList<PrintedLine> lines = printedLines(pdf);
        for (const PrintedLine& line : lines)
            if (line.text.contains(text)) return line;
        QTest::qFail(qPrintable(u"not printed: "_s + text), __FILE__, __LINE__);
        return {};
    }

    /// The line is in the chosen face and italic as chosen, that many points larger than chosen.

    static void checkLine(const QByteArray& pdf, const QString& text, bool bold, double larger = 0)
    {
        QFETCH(QString, face);
        QFETCH(double, size);
        QFETCH(bool, italic);
        const PrintedLine line = lineOf(pdf, text);
        QCOMPARE(line.family, print::availableFace(face).remove(u' '));
        QVERIFY2(qAbs(line.points - (size + larger)) <= 0.2, qPrintable(u"%1: %2"_s.arg(text).arg(line.points)));
        QCOMPARE(line.bold, bold);
        QCOMPARE(line.italic, italic);
    }
};

QTEST_MAIN(ChosenPrintFont)
#include "chosen_print_font.moc"
