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
    if (type == ColumnType::numeric) column.scale = 2;
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

const RowTable<CsvQuotesRow> csvQuotes = {
    {"plain", {"Ali Veli", "Ali Veli"}},
    {"Turkish letters", {"Şükrü Ağaoğlu", "Şükrü Ağaoğlu"}},
    {"comma", {"Ali, Veli", "\"Ali, Veli\""}},
    {"quote", {"12\" boru", "\"12\"\" boru\""}},
    {"only a quote", {"\"", "\"\"\"\""}},
    {"line end", {"bir\niki", "\"bir\niki\""}},
    {"carriage return", {"bir\riki", "\"bir\riki\""}},
    {"blanks stay", {"  5 Litrelik Kap ", "  5 Litrelik Kap "}},
    {"empty text", {"", "\"\""}},
};

TABLE_SUITE(CsvQuotes, CsvQuotesRow, csvQuotes);

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

using namespace std::string_literals;

const RowTable<CsvRecordsRow> csvRecords = {
    {"nothing", {""s, Records{}}},
    {"CR LF", {"a,b\r\n1,2\r\n"s, Records{{"a", "b"}, {"1", "2"}}}},
    {"LF", {"a,b\n1,2\n"s, Records{{"a", "b"}, {"1", "2"}}}},
    {"CR", {"a,b\r1,2\r"s, Records{{"a", "b"}, {"1", "2"}}}},
    {"no end", {"a,b\n1,2"s, Records{{"a", "b"}, {"1", "2"}}}},
    {"byte order mark", {"\xEF\xBB\xBF"s + "a,b\n"s, Records{{"a", "b"}}}},
    {"empty fields", {",,\n"s, Records{{"", "", ""}}}},
    {"empty lines", {"\n\na\n\n\nb\n\n"s, Records{{"a"}, {"b"}}}},
    {"comma inside", {"\"a,b\",c\n"s, Records{{"a,b", "c"}}}},
    {"line inside", {"\"a\r\nb\",c\n"s, Records{{"a\r\nb", "c"}}}},
    {"quote inside", {"\"a\"\"b\",\"\"\"\"\n"s, Records{{"a\"b", "\""}}}},
    {"quote later on", {"a\"b,c\n"s, Records{{"a\"b", "c"}}}},
    {"quote behind blanks and letters", {"a, b \"c\"\n"s, Records{{"a", " b \"c\""}}}},
    {"quoted end", {"a,\"b\""s, Records{{"a", "b"}}}},
};

TABLE_SUITE(CsvRecords, CsvRecordsRow, csvRecords);

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

using jet::Currency;
using jet::DateTime;

const RowTable<CsvTextsRow> csvTexts = {
    {"null", {{}, ""}},
    {"true", {true, "true"}},
    {"false", {false, "false"}},
    {"byte", {std::uint8_t{255}, "255"}},
    {"integer", {std::int16_t{-32768}, "-32768"}},
    {"long", {std::int32_t{INT32_MIN}, "-2147483648"}},
    {"whole double", {1250.0, "1250"}},
    {"hundred thousand", {100000.0, "100000"}},
    {"one decimal", {0.5, "0.5"}},
    {"two decimals", {-12.25, "-12.25"}},
    {"a tenth", {0.1, "0.1"}},
    {"many decimals", {1.0 / 3, "0.3333333333333333"}},
    {"tiny", {1e-300, "1e-300"}},
    {"huge", {1e300, "1e+300"}},
    {"minus zero", {-0.0, "-0"}},
    {"single", {0.1F, "0.1"}},
    {"money", {Currency{125000}, "12.5"}},
    {"whole money", {Currency{700000}, "70"}},
    {"least money", {Currency{-1}, "-0.0001"}},
    {"smallest money", {Currency{INT64_MIN}, "-922337203685477.5808"}},
    {"date", {DateTime{45981.586863425924}, "2025-11-20T14:05:05"}},
    {"midnight", {DateTime{45981}, "2025-11-20T00:00:00"}},
    {"before day zero", {DateTime{-1.25}, "1899-12-29T06:00:00"}},
    {"day zero", {DateTime{0.75}, "1899-12-30T18:00:00"}},
    {"year 100", {DateTime{-657434}, "0100-01-01T00:00:00"}},
    {"last day", {DateTime{2958465.99998}, "9999-12-31T23:59:58.272"}},
    {"no date", {DateTime{1e9}, "1000000000"}},
    {"text", {std::u16string(u"Yağ, \"sızma\""), "\"Yağ, \"\"sızma\"\"\""}},
    {"empty text", {std::u16string(), "\"\""}},
    {"bytes", {jet::Bytes{0, 0x1F, 0xAB}, "001fab"}},
    {"no bytes", {jet::Bytes{}, "\"\""}},
    {"numeric", {jet::Numeric{false, {0, 0, 0, 125}, 2}, "1.25"}},
    {"numeric with zeros", {jet::Numeric{true, {0, 0, 0, 12500}, 4}, "-1.25"}},
    {"whole numeric", {jet::Numeric{false, {0, 0, 0, 500}, 2}, "5"}},
    {"numeric below one", {jet::Numeric{true, {0, 0, 0, 5}, 3}, "-0.005"}},
    {"numeric zero", {jet::Numeric{false, {}, 4}, "0"}},
    {"long numeric", {jet::Numeric{false, {0, 1, 0, 0}, 0}, "18446744073709551616"}},
    {"guid",
     {jet::Guid{{0x78, 0x56, 0x34, 0x12, 0xBC, 0x9A, 0xF0, 0xDE, 1, 2, 3, 4, 5, 6, 7, 8}},
      "{12345678-9abc-def0-0102-030405060708}"}},
};

TABLE_SUITE(CsvTexts, CsvTextsRow, csvTexts);

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

const RowTable<CsvValuesRow> csvValues = {
    {"true", {ColumnType::boolean, "TRUE", true}},
    {"one", {ColumnType::boolean, "1", true}},
    {"minus one", {ColumnType::boolean, "-1", true}},
    {"zero", {ColumnType::boolean, "0", false}},
    {"byte", {ColumnType::byte, "255", std::uint8_t{255}}},
    {"plus", {ColumnType::longInteger, "+7", std::int32_t{7}}},
    {"money", {ColumnType::currency, "12.3457", jet::Currency{123457}}},
    {"money with zeros behind", {ColumnType::currency, "-12.34570000", jet::Currency{-123457}}},
    {"whole money with zeros", {ColumnType::currency, "1200000", jet::Currency{12'000'000'000}}},
    {"double", {ColumnType::doubleFloat, "1e3", 1000.0}},
    {"numeric", {ColumnType::numeric, "-1.50", jet::Numeric{true, {0, 0, 0, 150}, 2}}},
    {"numeric with noughts behind", {ColumnType::numeric, "1.5000", jet::Numeric{false, {0, 0, 0, 15000}, 4}}},
    {"day", {ColumnType::dateTime, "2025-11-20", jet::DateTime{45981}}},
    {"minute", {ColumnType::dateTime, "2025-11-20 12:00", jet::DateTime{45981.5}}},
    {"half a second", {ColumnType::dateTime, "1899-12-30T00:00:00.5", jet::DateTime{0.5 / 86400}}},
    {"nine digits of a second",
     {ColumnType::dateTime, "1899-12-30T00:00:00.999999999", jet::DateTime{0.999999999 / 86400}}},
    {"ten digits of a second",
     {ColumnType::dateTime, "1899-12-30T00:00:00.9999999999", jet::DateTime{0.9999999999 / 86400}}},
    {"twenty digits of a second",
     {ColumnType::dateTime, "1899-12-30T00:00:00.25000000000000000001", jet::DateTime{0.25 / 86400}}},
    {"text", {ColumnType::text, "Yağ", std::u16string(u"Yağ")}},
    {"bytes", {ColumnType::binary, "00fF", jet::Bytes{0, 255}}},
    {"guid",
     {ColumnType::guid, "12345678-9ABC-DEF0-0102-030405060708",
      jet::Guid{{0x78, 0x56, 0x34, 0x12, 0xBC, 0x9A, 0xF0, 0xDE, 1, 2, 3, 4, 5, 6, 7, 8}}}},
};

TABLE_SUITE(CsvValues, CsvValuesRow, csvValues);

TEST_P(CsvValues, textsBecomeValues)
{
    const auto& [type, text, value] = row();
    ASSERT_EQ(parseField({text, false}, columnOf(type)), value);
}

struct CsvRefusalRow {
    ColumnType type;
    std::string text;
};

const RowTable<CsvRefusalRow> csvRefusal = {
    {"boolean", {ColumnType::boolean, "evet"}},
    {"byte too large", {ColumnType::byte, "256"}},
    {"negative byte", {ColumnType::byte, "-1"}},
    {"half integer", {ColumnType::integer, "1.5"}},
    {"long too large", {ColumnType::longInteger, "2147483648"}},
    {"decimal comma", {ColumnType::doubleFloat, "1,5"}},
    {"trailing text", {ColumnType::doubleFloat, "1.5kg"}},
    {"blank", {ColumnType::doubleFloat, " "}},
    {"two points", {ColumnType::currency, "1.2.3"}},
    {"money with five decimals", {ColumnType::currency, "12.34567"}},
    {"too much money", {ColumnType::currency, "1000000000000000"}},
    {"point alone", {ColumnType::numeric, "."}},
    {"numeric of more decimals than the column keeps", {ColumnType::numeric, "1.505"}},
    {"numeric too large", {ColumnType::numeric, "999999999999999999999999999999999999999999"}},
    {"month 13", {ColumnType::dateTime, "2025-13-01"}},
    {"29 February", {ColumnType::dateTime, "2025-02-29"}},
    {"hour 24", {ColumnType::dateTime, "2025-11-20T24:00:00"}},
    {"Turkish date", {ColumnType::dateTime, "20.11.2025"}},
    {"text behind the date", {ColumnType::dateTime, "2025-11-20T14:05:00Z"}},
    {"point without digits", {ColumnType::dateTime, "2025-11-20T14:05:00."}},
    {"date too short", {ColumnType::dateTime, "2025-11"}},
    {"odd hex", {ColumnType::binary, "abc"}},
    {"no hex", {ColumnType::ole, "xy"}},
    {"short guid", {ColumnType::guid, "{1234}"}},
};

TABLE_SUITE(CsvRefusal, CsvRefusalRow, csvRefusal);

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
