#include "tests/store/mill_file.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"

#include <QTest>

using jet::ColumnType;
using store::FieldValue;
using store::Money;
namespace errors = base::errors;

namespace {

const base::Regional turkish = base::Regional::turkish();
const base::Regional english = base::Regional::english();

/// One table with a field of each kind.
enum Field { Bayt, Kısa, Uzun, Para, Tekli, Çift, Ondalık, Gün, Yazı, Not, Evet, Baytlar };

MillFile everyKind()
{
    return MillFile([](jet::Database& database) {
        const auto column = [](const char16_t* name, ColumnType type, std::uint16_t size = 0) {
            return jet::NewColumn{.name = name, .type = type, .size = size, .precision = 6, .scale = 2};
        };
        database.createTable(u"Türler",
                             {column(u"Bayt", ColumnType::byte), column(u"Kısa", ColumnType::integer),
                              column(u"Uzun", ColumnType::longInteger), column(u"Para", ColumnType::currency),
                              column(u"Tekli", ColumnType::singleFloat), column(u"Çift", ColumnType::doubleFloat),
                              column(u"Ondalık", ColumnType::numeric), column(u"Gün", ColumnType::dateTime),
                              column(u"Yazı", ColumnType::text, 10), column(u"Not", ColumnType::memo),
                              column(u"Evet", ColumnType::boolean), column(u"Baytlar", ColumnType::binary, 10)},
                             {}, MillFile::now);
    });
}

} // namespace

Q_DECLARE_METATYPE(FieldValue)

class TestFields : public QObject {
    Q_OBJECT

private slots:

    void captionsShowValuesByTheMarksOfTheSettings_data()
    {
        addColumns<FieldValue, QString, QString>("value", "inTurkish", "inEnglish");
        // clang-format off
        QTest::newRow("decimals") << FieldValue(12.75) << "12,75" << "12.75";
        QTest::newRow("not grouped") << FieldValue(1250.0) << "1250" << "1250";
        QTest::newRow("money, not grouped") << FieldValue(Money{12500000}) << "1250" << "1250";
        QTest::newRow("money with decimals") << FieldValue(Money{12505000}) << "1250,5" << "1250.5";
        QTest::newRow("a ten-thousandth") << FieldValue(Money{1}) << "0,0001" << "0.0001";
        QTest::newRow("money below zero") << FieldValue(Money{-5000}) << "-0,5" << "-0.5";
        QTest::newRow("no money") << FieldValue(Money{0}) << "0" << "0";
        QTest::newRow("all the money there is") << FieldValue(Money{INT64_MIN}) << "-922337203685477,5808"
                                                << "-922337203685477.5808";
        QTest::newRow("text that looks like a number") << FieldValue(u"1.250"_s) << "1.250" << "1.250";
        QTest::newRow("leading blank") << FieldValue(u" 5 Litrelik Kap"_s) << " 5 Litrelik Kap" << " 5 Litrelik Kap";
        QTest::newRow("empty text") << FieldValue(u""_s) << "" << "";
        QTest::newRow("moment") << FieldValue::date(QDateTime({2024, 11, 5}, {14, 7, 33})) << "05.11.2024 14:07:33"
                                << "11/5/2024 2:07:33 PM";
        QTest::newRow("midnight") << FieldValue::date(QDateTime({2024, 11, 5}, {0, 0})) << "05.11.2024" << "11/5/2024";
        QTest::newRow("yes") << FieldValue(true) << "True" << "True";
        QTest::newRow("no") << FieldValue(false) << "False" << "False";
        // clang-format on
    }

    void captionsShowValuesByTheMarksOfTheSettings()
    {
        QFETCH(FieldValue, value);
        QFETCH(QString, inTurkish);
        QFETCH(QString, inEnglish);
        QCOMPARE(value.toCaption(turkish), inTurkish);
        QCOMPARE(value.toCell(turkish), inTurkish);
        if (!value.isDate() || value.moment().time() == QTime(0, 0)) QCOMPARE(value.toCaption(english), inEnglish);
    }

    void nullIsNoCaptionButAnEmptyCell()
    {
        QCOMPARE(errorOf([] { FieldValue().toCaption(turkish); }), errors::invalidNull);
        QCOMPARE(FieldValue().toCell(turkish), "");
    }

    void captionsBecomeValuesOfTheFieldsKind_data()
    {
        // stored: as a Turkish caption; empty: refused with 3421
        addColumns<int, QString, QString>("field", "caption", "stored");
        // clang-format off
        const auto row = [](const char* tag, int field, const char* caption, const char* stored) {
            QTest::newRow(tag) << field << QString(caption) << QString(stored);
        };
        row("decimals", Çift, "850,5", "850,5");
        row("grouped", Çift, "1.234,50", "1234,5");
        row("a trailing comma", Çift, "850,", "850");
        row("nothing", Çift, "", "");
        row("letters", Çift, "abc", "");
        row("zero", Çift, "0", "0");
        row("below zero", Çift, "-5", "-5");
        row("carriage return of the scale", Çift, " 1234\r", "1234");
        row("a unit", Çift, "1234KG\r", "");
        row("the full stop groups", Çift, "12.75", "1275");
        row("half to even, up", Uzun, "12,75", "13");
        row("half to even, down", Uzun, "12,5", "12");
        row("half to even, odd", Kısa, "13,5", "14");
        row("long whole number", Uzun, "2147483647", "2147483647");
        row("too long whole number", Uzun, "2147483648", "");
        row("short whole number", Kısa, "32767,4", "32767");
        row("too large for a short one", Kısa, "32767,5", "");
        row("byte", Bayt, "255", "255");
        row("no byte below zero", Bayt, "-1", "");
        row("money", Para, "1.250,75", "1250,75");
        row("money in ten-thousandths", Para, "0,00005", "0");
        row("too much money", Para, "1E15", "");
        row("single", Tekli, "12,1", "12,1");
        row("too large for a single", Tekli, "1E39", "");
        row("too large for a double", Çift, "1E309", "");
        row("decimal", Ondalık, "1234,56", "1234,56");
        row("rounded decimal", Ondalık, "1,005", "1");
        row("too large a decimal", Ondalık, "10000", "");
        row("text", Yazı, "12,75", "12,75");
        row("text with a blank", Yazı, " 5 Litre", " 5 Litre");
        row("memo", Not, "uzun bir metin, kırk karakterden de uzun olan", "uzun bir metin, kırk karakterden de uzun olan");
        row("a date is not typed", Gün, "05.11.2024", "");
        row("bytes are not typed", Baytlar, "1", "");
        // clang-format on
    }

    void captionsBecomeValuesOfTheFieldsKind()
    {
        QFETCH(int, field);
        QFETCH(QString, caption);
        QFETCH(QString, stored);
        MillFile file = everyKind();
        OpenSource source(file, "Türler");
        source.recordSet().addNew();
        const int error = errorOf([&] { source.recordSet().setField(field, caption, turkish); });
        QCOMPARE(error, stored.isEmpty() ? errors::dataConversion : 0);
        source.recordSet().update();
        source.refresh();
        QCOMPARE(source.recordSet().field(field).toCell(turkish), stored);
        QCOMPARE(source.recordSet().field(field).isNull(), stored.isEmpty());
    }

    void aFieldThatRefusesKeepsItsValue()
    {
        MillFile file = everyKind();
        OpenSource source(file, "Türler");
        source.recordSet().addNew();
        source.recordSet().setField(Kısa, "7", turkish);
        source.recordSet().setField(Yazı, "eski", turkish);
        source.recordSet().update();

        source.recordSet().edit();
        QCOMPARE(errorOf([&] { source.recordSet().setField(Kısa, "40000", turkish); }), errors::dataConversion);
        QCOMPARE(errorOf([&] { source.recordSet().setField(Uzun, FieldValue(u"5"_s)); }), errors::dataConversion);
        QCOMPARE(errorOf([&] { source.recordSet().setField(Yazı, FieldValue(5.0)); }), errors::dataConversion);
        QCOMPARE(errorOf([&] { source.recordSet().setField(Gün, FieldValue(5.0)); }), errors::dataConversion);
        source.recordSet().setField(Yazı, "yeni", turkish);
        source.recordSet().update();
        QCOMPARE(source.recordSet().field(Kısa).toCaption(turkish), "7");
        QCOMPARE(source.recordSet().field(Yazı).toCaption(turkish), "yeni");
        QVERIFY(source.recordSet().field(Uzun).isNull());

        // Null goes into any field.
        source.recordSet().edit();
        source.recordSet().setField(Yazı, FieldValue());
        source.recordSet().setField(Kısa, FieldValue());
        source.recordSet().update();
        QVERIFY(source.recordSet().field(Yazı).isNull() && source.recordSet().field(Kısa).isNull());
    }

    void momentsAreWholeSeconds()
    {
        MillFile file = everyKind();
        OpenSource source(file, "Türler");
        const QDateTime moment({2025, 2, 3}, {23, 59, 59, 999});
        source.recordSet().addNew();
        source.recordSet().setField(Gün, FieldValue::date(moment));
        source.recordSet().update();
        QCOMPARE(source.recordSet().field(Gün).moment(), QDateTime({2025, 2, 3}, {23, 59, 59}));
        QCOMPARE(source.recordSet().field(Gün).toCaption(turkish), "03.02.2025 23:59:59");
        source.setRecordSource("Select * From Türler where Gün=#02/03/2025 23:59:59#");
        source.refresh();
        QCOMPARE(source.recordSet().size(), 1);
        // Every second of a day comes back as it went in.
        for (int second = 0; second < 86400; second += 97) {
            const QDateTime each({2025, 2, 3}, QTime(0, 0).addSecs(second));
            QCOMPARE(FieldValue::date(each).moment(), each);
        }
    }

    void oldMomentsKeepTheirDay()
    {
        for (const QDateTime& moment : {QDateTime({1899, 12, 29}, {6, 0}), QDateTime({1899, 12, 30}, {6, 0}),
                                        QDateTime({1066, 10, 14}, {9, 30}), QDateTime({2024, 2, 29}, {0, 0})}) {
            QCOMPARE(FieldValue::date(moment).moment(), moment);
            QVERIFY(!FieldValue::date(moment).toCaption(turkish).isEmpty());
        }
    }

    void moneyStaysExact()
    {
        MillFile file = everyKind();
        OpenSource source(file, "Türler");
        for (int i = 0; i < 3; ++i) {
            source.recordSet().addNew();
            source.recordSet().setField(Para, FieldValue(Money{1'000'000'000'000'000'001}));
            source.recordSet().update();
        }
        QCOMPARE(source.recordSet().fieldAt(0, Para).toCaption(turkish), "100000000000000,0001");
        const QList<FieldValue> sums = file.engine()->aggregate("Select Sum(Para) From Türler");
        QCOMPARE(sums, QList<FieldValue>{FieldValue(Money{3'000'000'000'000'000'003})});
        source.recordSet().edit();
        source.recordSet().setField(Para, sums[0]);
        source.recordSet().update();
        QCOMPARE(source.recordSet().fieldAt(0, Para).toCaption(turkish), "300000000000000,0003");
    }

    void sumsComeByTheConnectionText()
    {
        MillFile file;
        const FieldValue day = FieldValue::date(QDateTime({2025, 2, 3}, {10, 0}));
        const auto add = [&](const QString& customer, const FieldValue& olives) {
            addRow(file, "Hareket",
                   {day, olives, FieldValue(), FieldValue(), FieldValue(1.5), FieldValue(2.0), customer});
        };
        add("Ali", 1000.0);
        add("Veli", FieldValue());
        add("Toplamlar", 5000.0);
        const QString connection = store::connectionText(MillFile::path);
        QCOMPARE(connection, "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=Yag.mdb");
        const QList<FieldValue> sums =
            file.databases.connect(connection)
                ->aggregate(
                    "Select Sum(Zeytin),Sum(Yağ),Sum(HakTut),Sum(Nakit) FROM Hareket Where CariHar<>'Toplamlar' And "
                    "Tarih>=#02/03/2025 00:00:00# And Tarih<=#02/03/2025 23:59:59#");
        QCOMPARE(sums.size(), 4);
        QCOMPARE(sums[0].number(), 1000.0);
        QVERIFY(sums[1].isNull());
        QCOMPARE(sums[2].number(), 3.0);
        QCOMPARE(sums[3].number(), 4.0);
        QVERIFY(errorOf([&] { file.databases.connect("Provider=Baska;Data Source=Yag.mdb"); }) != 0);
    }

    void faultsHaveTheNumbersOfTheScreen_data()
    {
        addColumns<QString, int>("sql", "number");
        QTest::newRow("an apostrophe") << "DELETE FROM Cari Where Unvan='O'Neil'" << errors::querySyntax;
        QTest::newRow("not an action") << "Select * From Cari" << errors::databaseFault;
        QTest::newRow("no such table") << "DELETE FROM Yok" << errors::databaseFault;
        QTest::newRow("kinds that do not compare") << "DELETE FROM Cari Where Unvan=5" << errors::dataConversion;
    }

    void faultsHaveTheNumbersOfTheScreen()
    {
        QFETCH(QString, sql);
        QFETCH(int, number);
        MillFile file;
        addRow(file, "Cari", {FieldValue(u"Ali"_s)});
        try {
            file.engine()->execute(sql);
            QFAIL("the text was executed");
        } catch (const base::RuntimeError& error) {
            QCOMPARE(error.number(), number);
            // The engine's own sentence says what and where.
            QVERIFY2(error.text().size() > 20, qPrintable(error.text()));
        }
        OpenSource cari(file, "Cari");
        QCOMPARE(cari.recordSet().size(), 1);
    }
};

QTEST_APPLESS_MAIN(TestFields)
#include "fields.moc"
