#include "exchange/csv.h"
#include "exchange/field_text.h"
#include "files/error.h"
#include "store/jet/values/calendar.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <random>

using namespace exchange;
using jet::ColumnType;

namespace {

using testing::HasSubstr;

/// What a function writes to an Output.
std::string written(const std::function<void(Output&)>& write)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), std::fclose);
    if (!file) throw std::runtime_error("no temporary file");
    Output out(::fileno(file.get()));
    write(out);
    out.flush();
    std::rewind(file.get());
    std::string text;
    for (int byte = std::getc(file.get()); byte != EOF; byte = std::getc(file.get())) text += static_cast<char>(byte);
    return text;
}

jet::Column columnOf(ColumnType type)
{
    jet::Column column;
    column.type = type;
    return column;
}

std::string textOf(const jet::Value& value)
{
    return written([&](Output& out) { FieldWriter(out).put(value); });
}

/// The same for many, through one writer.
std::vector<std::string> textsOf(const std::vector<jet::Value>& values)
{
    const std::string all = written([&](Output& out) {
        FieldWriter writer(out);
        for (const jet::Value& value : values) {
            writer.put(value);
            out.put('\n');
        }
    });
    std::vector<std::string> texts = split(all, "\n");
    texts.pop_back();
    return texts;
}

using Records = std::vector<std::vector<std::string>>;

Records recordsOf(std::string_view text)
{
    CsvReader reader(text);
    Records records;
    std::vector<CsvField> record;
    while (reader.next(record)) {
        records.emplace_back();
        for (const CsvField& field : record) records.back().push_back(field.text);
    }
    return records;
}

struct CsvQuotesRow {
    std::string text;
    std::string field;
};
class CsvQuotes : public TableTest<CsvQuotesRow> {};

RowTable<CsvQuotesRow> csvQuotes()
{
    RowTable<CsvQuotesRow> table;
    const auto row = [&table](const char* name, const char* text, const char* field) {
        table.push_back({name, {text, field}});
    };
    row("plain", "Ali Veli", "Ali Veli");
    row("Turkish letters", "Şükrü Ağaoğlu", "Şükrü Ağaoğlu");
    row("comma", "Ali, Veli", "\"Ali, Veli\"");
    row("quote", "12\" boru", "\"12\"\" boru\"");
    row("only a quote", "\"", "\"\"\"\"");
    row("line end", "bir\niki", "\"bir\niki\"");
    row("carriage return", "bir\riki", "\"bir\riki\"");
    row("blanks stay", "  5 Litrelik Kap ", "  5 Litrelik Kap ");
    row("empty text", "", "\"\"");
    return table;
}

INSTANTIATE_TEST_SUITE_P(, CsvQuotes, testing::ValuesIn(csvQuotes()), RowName());

TEST_P(CsvQuotes, fieldsAreQuotedWhereTheyMustBe)
{
    const auto& text = row().text;
    const auto& field = row().field;
    ASSERT_EQ(written([&](Output& out) { putCsvText(out, text); }), field);
    ASSERT_EQ(recordsOf(field), (Records{{text}}));
}

struct CsvRecordsRow {
    std::string text;
    Records records;
};
class CsvRecords : public TableTest<CsvRecordsRow> {};

RowTable<CsvRecordsRow> csvRecords()
{
    RowTable<CsvRecordsRow> table;
    using namespace std::string_literals;
    table.push_back({"nothing", {""s, Records{}}});
    table.push_back({"CR LF", {"a,b\r\n1,2\r\n"s, Records{{"a", "b"}, {"1", "2"}}}});
    table.push_back({"LF", {"a,b\n1,2\n"s, Records{{"a", "b"}, {"1", "2"}}}});
    table.push_back({"CR", {"a,b\r1,2\r"s, Records{{"a", "b"}, {"1", "2"}}}});
    table.push_back({"no end", {"a,b\n1,2"s, Records{{"a", "b"}, {"1", "2"}}}});
    table.push_back({"byte order mark", {"\xEF\xBB\xBF"s + "a,b\n"s, Records{{"a", "b"}}}});
    table.push_back({"empty fields", {",,\n"s, Records{{"", "", ""}}}});
    table.push_back({"empty lines", {"\n\na\n\n\nb\n\n"s, Records{{"a"}, {"b"}}}});
    table.push_back({"comma inside", {"\"a,b\",c\n"s, Records{{"a,b", "c"}}}});
    table.push_back({"line inside", {"\"a\r\nb\",c\n"s, Records{{"a\r\nb", "c"}}}});
    table.push_back({"quote inside", {"\"a\"\"b\",\"\"\"\"\n"s, Records{{"a\"b", "\""}}}});
    table.push_back({"quote later on", {"a\"b,c\n"s, Records{{"a\"b", "c"}}}});
    table.push_back({"quote behind blanks and letters", {"a, b \"c\"\n"s, Records{{"a", " b \"c\""}}}});
    table.push_back({"quoted end", {"a,\"b\""s, Records{{"a", "b"}}}});
    return table;
}

INSTANTIATE_TEST_SUITE_P(, CsvRecords, testing::ValuesIn(csvRecords()), RowName());

TEST_P(CsvRecords, recordsAreRead)
{
    const auto& [text, records] = row();
    ASSERT_EQ(recordsOf(text), records);
}

TEST(Csv, anEmptyLineIsARecordWhereItIsCounted)
{
    CsvReader reader("\na\n\n\"\"\r\n\r\nb\r\n\r\n");
    std::vector<CsvField> record;
    ASSERT_TRUE(reader.next(record)); // the heading, behind a line that counts for nothing
    reader.countEmptyLines();
    std::string seen;
    std::vector<std::size_t> lines;
    while (reader.next(record)) {
        ASSERT_EQ(record.size(), 1U);
        seen += record[0].quoted ? "(" + record[0].text + ")" : record[0].text + ".";
        lines.push_back(reader.line());
    }
    ASSERT_EQ(seen, ".().b..");
    ASSERT_EQ(lines, (std::vector<std::size_t>{3, 4, 5, 6, 7}));
}

TEST(Csv, misplacedQuotesAreNamedWithTheirLine)
{
    for (const char* text : {"a\nb\n\"c", "a\nb\n\"c\"d,e\n", "a,b\n1,2\n\"A\", \"Ali, Veli\"\n", "a\nb\n  \"c\"\n"}) {
        try {
            recordsOf(text);
            FAIL() << "was read";
        } catch (const files::Error& error) {
            ASSERT_EQ(error.fault(), files::Fault::syntax);
            ASSERT_THAT(error.what(), HasSubstr("3. satır"));
        }
    }
}

TEST(Csv, recordsKnowTheirLine)
{
    CsvReader reader("a\r\n\"b\nb\nb\"\r\n\r\nc\r\n");
    std::vector<CsvField> record;
    std::vector<std::size_t> lines;
    while (reader.next(record)) lines.push_back(reader.line());
    ASSERT_EQ(lines, (std::vector<std::size_t>{1, 2, 6}));
}

struct CsvTextsRow {
    jet::Value value;
    std::string text;
};
class CsvTexts : public TableTest<CsvTextsRow> {};

RowTable<CsvTextsRow> csvTexts()
{
    RowTable<CsvTextsRow> table;
    const auto row = [&table](const char* name, jet::Value value, const char* text) {
        table.push_back({name, {value, text}});
    };
    using jet::Currency;
    using jet::DateTime;
    row("null", {}, "");
    row("true", true, "true");
    row("false", false, "false");
    row("byte", std::uint8_t{255}, "255");
    row("integer", std::int16_t{-32768}, "-32768");
    row("long", std::int32_t{INT32_MIN}, "-2147483648");
    row("whole double", 1250.0, "1250");
    row("hundred thousand", 100000.0, "100000");
    row("one decimal", 0.5, "0.5");
    row("two decimals", -12.25, "-12.25");
    row("a tenth", 0.1, "0.1");
    row("many decimals", 1.0 / 3, "0.3333333333333333");
    row("tiny", 1e-300, "1e-300");
    row("huge", 1e300, "1e+300");
    row("minus zero", -0.0, "-0");
    row("single", 0.1F, "0.1");
    row("money", Currency{125000}, "12.5");
    row("whole money", Currency{700000}, "70");
    row("least money", Currency{-1}, "-0.0001");
    row("smallest money", Currency{INT64_MIN}, "-922337203685477.5808");
    row("date", DateTime{45981.586863425924}, "2025-11-20T14:05:05");
    row("midnight", DateTime{45981}, "2025-11-20T00:00:00");
    row("before day zero", DateTime{-1.25}, "1899-12-29T06:00:00");
    row("day zero", DateTime{0.75}, "1899-12-30T18:00:00");
    row("year 100", DateTime{-657434}, "0100-01-01T00:00:00");
    row("last day", DateTime{2958465.99998}, "9999-12-31T23:59:58.272");
    row("no date", DateTime{1e9}, "1000000000");
    row("text", std::u16string(u"Yağ, \"sızma\""), "\"Yağ, \"\"sızma\"\"\"");
    row("empty text", std::u16string(), "\"\"");
    row("bytes", jet::Bytes{0, 0x1F, 0xAB}, "001fab");
    row("no bytes", jet::Bytes{}, "\"\"");
    row("numeric", jet::Numeric{false, {0, 0, 0, 125}, 2}, "1.25");
    row("numeric with zeros", jet::Numeric{true, {0, 0, 0, 12500}, 4}, "-1.25");
    row("whole numeric", jet::Numeric{false, {0, 0, 0, 500}, 2}, "5");
    row("numeric below one", jet::Numeric{true, {0, 0, 0, 5}, 3}, "-0.005");
    row("numeric zero", jet::Numeric{false, {}, 4}, "0");
    row("long numeric", jet::Numeric{false, {0, 1, 0, 0}, 0}, "18446744073709551616");
    row("guid", jet::Guid{{0x78, 0x56, 0x34, 0x12, 0xBC, 0x9A, 0xF0, 0xDE, 1, 2, 3, 4, 5, 6, 7, 8}},
        "{12345678-9abc-def0-0102-030405060708}");
    return table;
}

INSTANTIATE_TEST_SUITE_P(, CsvTexts, testing::ValuesIn(csvTexts()), RowName());

TEST_P(CsvTexts, valuesBecomeTexts)
{
    const auto& [value, text] = row();
    ASSERT_EQ(textOf(value), text);
}

TEST(Csv, everyDoubleComesBackExactly)
{
    std::mt19937_64 random(1);
    std::vector<jet::Value> numbers;
    for (int i = 0; i < 20000; ++i) {
        double number = 0;
        const std::uint64_t bits = random();
        switch (i % 4) {
        case 0:
            std::memcpy(&number, &bits, sizeof number);
            break;
        case 1:
            number = static_cast<double>(static_cast<std::int64_t>(bits) >> 30) / 100;
            break;
        case 2:
            number = static_cast<double>(bits % 1000000) / 1000 + 0.1;
            break;
        default:
            number = std::nextafter(static_cast<double>(bits % 10000) / 100, 1e9);
        }
        if (std::isfinite(number)) numbers.emplace_back(number);
    }
    const auto texts = textsOf(numbers);
    ASSERT_EQ(texts.size(), numbers.size());
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const double number = std::get<double>(numbers[i]);
        const double back = std::strtod(texts[i].c_str(), nullptr);
        ASSERT_EQ(std::bit_cast<std::uint64_t>(back), std::bit_cast<std::uint64_t>(number)) << texts[i].c_str();
        ASSERT_EQ(std::get<double>(parseField({texts[i], false}, columnOf(ColumnType::doubleFloat))), number);
    }
}

TEST(Csv, everySecondComesBackExactly)
{
    std::mt19937 random(2);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    std::vector<jet::Value> moments;
    for (int i = 0; i < 20000; ++i)
        moments.emplace_back(
            *jet::dateTime(100 + below(9900), 1 + below(12), 1 + below(28), below(24), below(60), below(60)));
    const auto texts = textsOf(moments);
    for (std::size_t i = 0; i < moments.size(); ++i) {
        ASSERT_EQ(texts[i].size(), 19U);
        ASSERT_EQ(parseField({texts[i], false}, columnOf(ColumnType::dateTime)), moments[i]);
    }
}

struct CsvValuesRow {
    ColumnType type;
    std::string text;
    jet::Value value;
};
class CsvValues : public TableTest<CsvValuesRow> {};

RowTable<CsvValuesRow> csvValues()
{
    RowTable<CsvValuesRow> table;
    const auto row = [&table](const char* name, ColumnType type, const char* text, jet::Value value) {
        table.push_back({name, {type, text, value}});
    };
    row("true", ColumnType::boolean, "TRUE", true);
    row("one", ColumnType::boolean, "1", true);
    row("minus one", ColumnType::boolean, "-1", true);
    row("zero", ColumnType::boolean, "0", false);
    row("byte", ColumnType::byte, "255", std::uint8_t{255});
    row("plus", ColumnType::longInteger, "+7", std::int32_t{7});
    row("money", ColumnType::currency, "12.3457", jet::Currency{123457});
    row("money with zeros behind", ColumnType::currency, "-12.34570000", jet::Currency{-123457});
    row("whole money with zeros", ColumnType::currency, "1200000", jet::Currency{12'000'000'000});
    row("double", ColumnType::doubleFloat, "1e3", 1000.0);
    row("numeric", ColumnType::numeric, "-1.50", jet::Numeric{true, {0, 0, 0, 150}, 2});
    row("day", ColumnType::dateTime, "2025-11-20", jet::DateTime{45981});
    row("minute", ColumnType::dateTime, "2025-11-20 12:00", jet::DateTime{45981.5});
    row("half a second", ColumnType::dateTime, "1899-12-30T00:00:00.5", jet::DateTime{0.5 / 86400});
    row("nine digits of a second", ColumnType::dateTime, "1899-12-30T00:00:00.999999999",
        jet::DateTime{0.999999999 / 86400});
    row("ten digits of a second", ColumnType::dateTime, "1899-12-30T00:00:00.9999999999",
        jet::DateTime{0.9999999999 / 86400});
    row("twenty digits of a second", ColumnType::dateTime, "1899-12-30T00:00:00.25000000000000000001",
        jet::DateTime{0.25 / 86400});
    row("text", ColumnType::text, "Yağ", std::u16string(u"Yağ"));
    row("bytes", ColumnType::binary, "00fF", jet::Bytes{0, 255});
    row("guid", ColumnType::guid, "12345678-9ABC-DEF0-0102-030405060708",
        jet::Guid{{0x78, 0x56, 0x34, 0x12, 0xBC, 0x9A, 0xF0, 0xDE, 1, 2, 3, 4, 5, 6, 7, 8}});
    return table;
}

INSTANTIATE_TEST_SUITE_P(, CsvValues, testing::ValuesIn(csvValues()), RowName());

TEST_P(CsvValues, textsBecomeValues)
{
    const auto& [type, text, value] = row();
    ASSERT_EQ(parseField({text, false}, columnOf(type)), value);
}

struct CsvRefusalRow {
    ColumnType type;
    std::string text;
};
class CsvRefusal : public TableTest<CsvRefusalRow> {};

RowTable<CsvRefusalRow> csvRefusal()
{
    RowTable<CsvRefusalRow> table;
    const auto row = [&table](const char* name, ColumnType type, const char* text) {
        table.push_back({name, {type, text}});
    };
    row("boolean", ColumnType::boolean, "evet");
    row("byte too large", ColumnType::byte, "256");
    row("negative byte", ColumnType::byte, "-1");
    row("half integer", ColumnType::integer, "1.5");
    row("long too large", ColumnType::longInteger, "2147483648");
    row("decimal comma", ColumnType::doubleFloat, "1,5");
    row("trailing text", ColumnType::doubleFloat, "1.5kg");
    row("blank", ColumnType::doubleFloat, " ");
    row("two points", ColumnType::currency, "1.2.3");
    row("money with five decimals", ColumnType::currency, "12.34567");
    row("too much money", ColumnType::currency, "1000000000000000");
    row("point alone", ColumnType::numeric, ".");
    row("numeric too large", ColumnType::numeric, "999999999999999999999999999999999999999999");
    row("month 13", ColumnType::dateTime, "2025-13-01");
    row("29 February", ColumnType::dateTime, "2025-02-29");
    row("hour 24", ColumnType::dateTime, "2025-11-20T24:00:00");
    row("Turkish date", ColumnType::dateTime, "20.11.2025");
    row("text behind the date", ColumnType::dateTime, "2025-11-20T14:05:00Z");
    row("point without digits", ColumnType::dateTime, "2025-11-20T14:05:00.");
    row("date too short", ColumnType::dateTime, "2025-11");
    row("odd hex", ColumnType::binary, "abc");
    row("no hex", ColumnType::ole, "xy");
    row("short guid", ColumnType::guid, "{1234}");
    return table;
}

INSTANTIATE_TEST_SUITE_P(, CsvRefusal, testing::ValuesIn(csvRefusal()), RowName());

TEST_P(CsvRefusal, wrongTextsAreRefused)
{
    const auto& [type, text] = row();
    try {
        parseField({text, false}, columnOf(type));
        FAIL() << "was taken";
    } catch (const files::Error& error) {
        ASSERT_EQ(error.fault(), files::Fault::badValue);
        ASSERT_THAT(error.what(), HasSubstr(text.substr(0, 20)));
    }
}

TEST(Csv, unquotedEmptyFieldIsNull)
{
    ASSERT_TRUE(jet::isNull(parseField({"", false}, columnOf(ColumnType::text))));
    ASSERT_EQ(parseField({"", true}, columnOf(ColumnType::text)), jet::Value(std::u16string()));
}

TEST(Csv, longOutputIsWhole)
{
    std::string all;
    const std::string found = written([&](Output& out) {
        for (int i = 0; i < 300000; ++i) {
            const std::string part = std::to_string(i) + (i % 1000 == 0 ? std::string(3000, 'x') : "");
            putCsvText(out, part);
            out.put(',');
            all += part + ',';
        }
    });
    ASSERT_TRUE(found == all);
}

} // namespace
