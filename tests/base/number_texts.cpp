#include "base/numbers.h"
#include "tests/base/row_name.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"
#include <QTest>
#include <cmath>

using namespace base;

namespace {

/// With the sign of a negative zero, which Qt leaves out.
QString written(double value)
{
    return (value == 0 && std::signbit(value) ? u"-"_s : QString()) + QString::number(value, 'g', 15);
}

/// "TR", "EN", and "₺" for the Turkish ones with the newer sign of the currency.
Regional named(const QString& settings)
{
    Regional regional = settings == "EN"_L1 ? Regional::english() : Regional::turkish();
    if (settings == u"₺") regional.currency = settings;
    return regional;
}

/// A number of the row, written under either settings.
template <class Number> void compareWritten()
{
    QFETCH(Number, value);
    QFETCH(QString, turkish);
    QFETCH(QString, english);
    QCOMPARE(numberToText(value, Regional::turkish()), turkish);
    QCOMPARE(numberToText(value, Regional::english()), english);
}

} // namespace

/// Texts that are meant as numbers, and numbers as texts, under Turkish and English settings.
class NumberTexts : public QObject {
    Q_OBJECT

private slots:
    void textsAreReadByTheMarksOfTheSettings_data()
    {
        struct Row {
            const char* text;
            const char* turkish;
            const char* english;
        };
        // clang-format off
        static const Row rows[] = {
            {"0", "0", "0"}, {"12", "12", "12"}, {"007", "7", "7"},
            {"1.000", "1000", "1"}, {"1,000", "1", "1000"},
            {"1.234,5", "1234.5", "1.2345"}, {"1,234.5", "1.2345", "1234.5"},
            {"1.2.3.4", "1234", "E13"}, {"1..000", "1000", "E13"}, {"1.23", "123", "1.23"},
            {"12,75", "12.75", "1275"}, {"12.75", "1275", "12.75"},
            {"12,", "12", "12"}, {"12.", "12", "12"}, {",5", "0.5", "5"}, {".5", "5", "0.5"},
            {",", "E13", "E13"}, {".", "E13", "E13"},
            {"12,7.5", "12.75", "127.5"}, {"1,2,3", "E13", "123"},
            {" 12", "12", "12"}, {"12 ", "12", "12"}, {"12\r", "12", "12"}, {"12\r\n", "12", "12"},
            {"\t12\t", "12", "12"}, {"\n  1234\r", "1234", "1234"}, {"\v12\f", "12", "12"}, {"1 234", "E13", "E13"},
            {"-5", "-5", "-5"}, {"5-", "-5", "-5"}, {"- 5", "-5", "-5"}, {"+5", "5", "5"}, {"5+", "5", "5"},
            {"+  1234\r", "1234", "1234"}, {"--5", "E13", "E13"}, {"-5-", "E13", "E13"}, {"+-5", "E13", "E13"},
            {"(5)", "-5", "-5"}, {"( 5 )", "-5", "-5"}, {"(-5)", "E13", "E13"}, {"(5", "E13", "E13"},
            {"5)", "E13", "E13"}, {"(5))", "E13", "E13"}, {"((5)", "E13", "E13"}, {"(5)-", "E13", "E13"},
            {"1e3", "1000", "1000"}, {"1E3", "1000", "1000"}, {"1d3", "1000", "1000"}, {"1D3", "1000", "1000"},
            {"1e+3", "1000", "1000"}, {"1e-2", "0.01", "0.01"}, {"1,5e2", "150", "1500"},
            {"1e", "E13", "E13"}, {"1e+", "E13", "E13"}, {"e5", "E13", "E13"}, {"1e5,5", "E13", "E13"},
            {"1e5.5", "E13", "E13"}, {"1e309", "E6", "E6"}, {"1e999999999999", "E6", "E6"}, {"-1e309", "E6", "E6"},
            {"&H1F", "31", "31"}, {"&h1f", "31", "31"}, {" &O17 ", "15", "15"}, {"&H", "E13", "E13"}, {"&O8", "E13", "E13"},
            {"", "E13", "E13"}, {"   ", "E13", "E13"}, {"\r", "E13", "E13"},
            {"abc", "E13", "E13"}, {"12a", "E13", "E13"}, {"12kg", "E13", "E13"}, {"12%", "E13", "E13"},
            {"%12", "E13", "E13"}, {"5 TL", "5", "E13"}, {"TL5", "5", "E13"}, {"TL5 TL", "E13", "E13"},
            {"-TL 5", "-5", "E13"}, {"₺5", "E13", "E13"}, {"$5", "E13", "5"},
            {"12:30", "E13", "E13"}, {"1/2", "E13", "E13"}, {"'5", "E13", "E13"}, {"\"5\"", "E13", "E13"},
            {"True", "E13", "E13"}, {"1.234.567,89", "1234567.89", "E13"},
            {"999999999999999999", "1e+18", "1e+18"}, {"0,1", "0.1", "1"}, {"-0", "-0", "-0"},
            {"-,5", "-0.5", "-5"}, {"00", "0", "0"}, {"1.250", "1250", "1.25"}, {"12,50", "12.5", "1250"},
            {"1.000,", "1000", "1"}, {"٣", "E13", "E13"}, {"\u00A0" "5", "E13", "E13"},
        };
        // clang-format on
        addColumns<QString, QString, QString>("text", "settings", "expected");
        for (const Row& row : rows) {
            const QString text = QString::fromUtf8(row.text);
            QTest::newRow("TR " + rowName(text)) << text << u"TR"_s << QString::fromLatin1(row.turkish);
            QTest::newRow("EN " + rowName(text)) << text << u"EN"_s << QString::fromLatin1(row.english);
        }
        QTest::newRow("new currency, old symbol behind") << u"5 TL"_s << u"₺"_s << u"E13"_s;
        QTest::newRow("new currency, old symbol before") << u"TL5"_s << u"₺"_s << u"E13"_s;
        QTest::newRow("new currency, new symbol before") << u"₺5"_s << u"₺"_s << u"5"_s;
        QTest::newRow("new currency, new symbol behind") << u"5 ₺"_s << u"₺"_s << u"5"_s;
    }

    void textsAreReadByTheMarksOfTheSettings()
    {
        QFETCH(QString, text);
        QFETCH(QString, settings);
        QFETCH(QString, expected);
        const Regional regional = named(settings);
        QCOMPARE(outcomeOf([&] { return written(toDouble(text, regional)); }), expected);
        QCOMPARE(isNumeric(text, regional), !expected.startsWith(u'E'));
    }

    void integersRoundHalfToEven_data()
    {
        addColumns<double, QString>("value", "expected");
        QTest::newRow("0.5") << 0.5 << u"0"_s;
        QTest::newRow("1.5") << 1.5 << u"2"_s;
        QTest::newRow("2.5") << 2.5 << u"2"_s;
        QTest::newRow("-0.5") << -0.5 << u"0"_s;
        QTest::newRow("-1.5") << -1.5 << u"-2"_s;
        QTest::newRow("3.49") << 3.49 << u"3"_s;
        QTest::newRow("largest") << 32767.4 << u"32767"_s;
        QTest::newRow("rounds beyond the range") << 32767.5 << u"E6"_s;
        QTest::newRow("smallest") << -32768.5 << u"-32768"_s;
        QTest::newRow("below the range") << -32769.0 << u"E6"_s;
        QTest::newRow("no station") << static_cast<double>(999.0F) << u"999"_s;
        QTest::newRow("not a number") << std::nan("") << u"E6"_s;
    }

    void integersRoundHalfToEven()
    {
        QFETCH(double, value);
        QTEST(outcomeOf([&] { return QString::number(toInt16(value)); }), "expected");
    }

    void textsBecomeIntegersOfTheirWidthOrAnError_data()
    {
        addColumns<int, QString, QString>("bits", "text", "expected");
        QTest::newRow("whole") << 16 << u"3"_s << u"3"_s;
        QTest::newRow("decimals round") << 16 << u"3,7"_s << u"4"_s;
        QTest::newRow("a full stop groups") << 16 << u"3.7"_s << u"37"_s;
        QTest::newRow("empty") << 16 << QString() << u"E13"_s;
        QTest::newRow("beyond 16 bits") << 16 << u"40000"_s << u"E6"_s;
        QTest::newRow("port name") << 16 << u"com3"_s << u"E13"_s;
        QTest::newRow("largest of 32 bits") << 32 << u"2147483647"_s << u"2147483647"_s;
        QTest::newRow("beyond 32 bits") << 32 << u"2147483648"_s << u"E6"_s;
    }

    void textsBecomeIntegersOfTheirWidthOrAnError()
    {
        QFETCH(int, bits);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        const Regional regional = Regional::turkish();
        QCOMPARE(
            outcomeOf([&] { return QString::number(bits == 16 ? toInt16(text, regional) : toInt32(text, regional)); }),
            expected);
    }

    void textsBecomeSinglesByTheMarksOfTheSettings_data()
    {
        addColumns<QString, QString, QString>("settings", "text", "expected");
        QTest::newRow("default font size") << u"TR"_s << u"8"_s << u"8"_s;
        QTest::newRow("half a point") << u"TR"_s << u"10,5"_s << u"10.5"_s;
        QTest::newRow("stored under Turkish, read under English settings") << u"EN"_s << u"10,5"_s << u"105"_s;
        QTest::newRow("a full stop groups") << u"TR"_s << u"10.5"_s << u"105"_s;
        QTest::newRow("a word") << u"TR"_s << u"sekiz"_s << u"E13"_s;
        QTest::newRow("too large") << u"TR"_s << u"1e39"_s << u"E6"_s;
        QTest::newRow("too large below zero") << u"TR"_s << u"-1e39"_s << u"E6"_s;
        QTest::newRow("largest") << u"EN"_s << u"3.4028235e38"_s << u"3.40282346638529e+38"_s;
        QTest::newRow("rounds beyond the range") << u"EN"_s << u"3.4028236e38"_s << u"E6"_s;
    }

    void textsBecomeSinglesByTheMarksOfTheSettings()
    {
        QFETCH(QString, settings);
        QFETCH(QString, text);
        const Regional regional = named(settings);
        QTEST(outcomeOf([&] { return written(static_cast<double>(toSingle(text, regional))); }), "expected");
    }

    void wideningKeepsTheBitsOfTheSingle()
    {
        const double widened = static_cast<double>(toSingle(u"0,1", Regional::turkish()));
        QCOMPARE(numberToText(widened, Regional::english()), u"0.100000001490116"_s);
        QCOMPARE(toDouble(u"1e308", Regional::turkish()), 1e308);
    }

    void vanishingNumbersAreZeroAndNotAnError()
    {
        for (const auto* text : {u"1e-400", u"0,0000001e-350", u"0e999999", u"1e-999999999999"})
            QCOMPARE(toDouble(QStringView(text), Regional::turkish()), 0.0);
        QVERIFY(toDouble(u"4e-320", Regional::turkish()) > 0);
    }

    void numbersAreWrittenWithoutGroups_data()
    {
        addColumns<double, QString, QString>("value", "turkish", "english");
        QTest::newRow("zero") << 0.0 << u"0"_s << u"0"_s;
        QTest::newRow("negative zero") << -0.0 << u"0"_s << u"0"_s;
        QTest::newRow("half") << 12.5 << u"12,5"_s << u"12.5"_s;
        QTest::newRow("below one") << 0.5 << u"0,5"_s << u"0.5"_s;
        QTest::newRow("below zero") << -0.5 << u"-0,5"_s << u"-0.5"_s;
        QTest::newRow("a third") << 1.0 / 3 << u"0,333333333333333"_s << u"0.333333333333333"_s;
        QTest::newRow("two thirds") << 2.0 / 3 << u"0,666666666666667"_s << u"0.666666666666667"_s;
        QTest::newRow("binary dust") << 0.1 + 0.2 << u"0,3"_s << u"0.3"_s;
        QTest::newRow("thousands") << 1250.0 << u"1250"_s << u"1250"_s;
        QTest::newRow("percentage") << 12.75 << u"12,75"_s << u"12.75"_s;
        QTest::newRow("fifteen digits") << 123456789012345.0 << u"123456789012345"_s << u"123456789012345"_s;
        QTest::newRow("ten to the fifteen") << 1e15 << u"1E+15"_s << u"1E+15"_s;
        QTest::newRow("sixteen digits") << 1234567890123456.0 << u"1,23456789012346E+15"_s << u"1.23456789012346E+15"_s;
        QTest::newRow("small") << 0.00001 << u"0,00001"_s << u"0.00001"_s;
        QTest::newRow("three exponent digits") << -1e308 << u"-1E+308"_s << u"-1E+308"_s;
        QTest::newRow("very small") << 2.5e-20 << u"2,5E-20"_s << u"2.5E-20"_s;
    }

    void numbersAreWrittenWithoutGroups() { compareWritten<double>(); }

    void singlesCarrySevenDigits_data()
    {
        addColumns<float, QString, QString>("value", "turkish", "english");
        QTest::newRow("whole") << 3.0F << u"3"_s << u"3"_s;
        QTest::newRow("tenth") << 0.1F << u"0,1"_s << u"0.1"_s;
        QTest::newRow("third") << 1.0F / 3 << u"0,3333333"_s << u"0.3333333"_s;
        QTest::newRow("thousands") << 1250.0F << u"1250"_s << u"1250"_s;
        QTest::newRow("seven digits") << 9999999.0F << u"9999999"_s << u"9999999"_s;
        QTest::newRow("ten millions") << 10000000.0F << u"1E+07"_s << u"1E+07"_s;
        QTest::newRow("two to the 24") << 16777216.0F << u"1,677722E+07"_s << u"1.677722E+07"_s;
        QTest::newRow("column width") << 1739.9055F << u"1739,906"_s << u"1739.906"_s;
        QTest::newRow("font size") << 10.5F << u"10,5"_s << u"10.5"_s;
        QTest::newRow("zero") << 0.0F << u"0"_s << u"0"_s;
    }

    void singlesCarrySevenDigits() { compareWritten<float>(); }

    void containerCountHasNoLeadingBlank()
    {
        QCOMPARE(numberToText(3.0F, Regional::turkish()) + " Kap"_L1, u"3 Kap"_s);
        QCOMPARE(numberToText(16, Regional::turkish()), u"16"_s);
    }

    void wholePartsAreCutTowardZeroAndFractionsSeenOnBothSides_data()
    {
        addColumns<double, double, bool>("value", "towardZero", "fractional");
        QTest::newRow("3.7") << 3.7 << 3.0 << true;
        QTest::newRow("-3.7") << -3.7 << -3.0 << true;
        QTest::newRow("-0.4") << -0.4 << 0.0 << true;
        QTest::newRow("850") << 850.0 << 850.0 << false;
        QTest::newRow("850.0004") << 850.0004 << 850.0 << true;
        QTest::newRow("0") << 0.0 << 0.0 << false;
        QTest::newRow("-5") << -5.0 << -5.0 << false;
        QTest::newRow("53/5") << 53.0 / 5 << 10.0 << true;
    }

    void wholePartsAreCutTowardZeroAndFractionsSeenOnBothSides()
    {
        QFETCH(double, value);
        QTEST(truncate(value), "towardZero");
        QTEST(isFractional(value), "fractional");
    }

    void booleansAreEnglishWordsOrNumbers_data()
    {
        addColumns<QString, QString>("text", "expected");
        QTest::newRow("True") << u"True"_s << u"yes"_s;
        QTest::newRow("False") << u"False"_s << u"no"_s;
        QTest::newRow("true") << u"true"_s << u"yes"_s;
        QTest::newRow("FALSE") << u"FALSE"_s << u"no"_s;
        QTest::newRow("one") << u"1"_s << u"yes"_s;
        QTest::newRow("zero") << u"0"_s << u"no"_s;
        QTest::newRow("minus one") << u"-1"_s << u"yes"_s;
        QTest::newRow("a fraction") << u"0,5"_s << u"yes"_s;
        QTest::newRow("empty") << QString() << u"E13"_s;
        QTest::newRow("Turkish true") << u"Doğru"_s << u"E13"_s;
        QTest::newRow("Turkish false") << u"Yanlış"_s << u"E13"_s;
        QTest::newRow("file form") << u"#TRUE#"_s << u"E13"_s;
        QTest::newRow("yes") << u"evet"_s << u"E13"_s;
        QTest::newRow("letters") << u"abc"_s << u"E13"_s;
        QTest::newRow("blanks around") << u" True "_s << u"E13"_s;
    }

    void booleansAreEnglishWordsOrNumbers()
    {
        QFETCH(QString, text);
        QTEST(outcomeOf([&] { return toBool(text, Regional::turkish()) ? u"yes"_s : u"no"_s; }), "expected");
    }

    void emptyDisplayCountsAsZero()
    {
        const Regional regional = Regional::turkish();
        QCOMPARE(displayValue(u"", regional), 0.0);
        QCOMPARE(displayValue(u"1.250", regional), 1250.0);
        QCOMPARE(outcomeOf([&] { return written(displayValue(u" ", regional)); }), u"E13"_s);
    }
};

QTEST_APPLESS_MAIN(NumberTexts)
#include "number_texts.moc"
