#include "query/access_sql.h"
#include "query/format.h"
#include "query/moments.h"
#include "store/jet/values/calendar.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

namespace {

struct LiteralRow {
    std::string written;
    std::optional<std::string> moment;
};

const RowTable<LiteralRow> dateLiterals = {
    {"month first", {"11/20/2025", "2025-11-20T00:00:00"}},
    {"with a time", {"11/20/2025 14:05", "2025-11-20T14:05:00"}},
    {"with a time in the afternoon", {" 1/2/2025 2:05:07 PM ", "2025-01-02T14:05:07"}},
    {"midnight", {"1/2/2025 12:00 AM", "2025-01-02T00:00:00"}},
    {"ISO", {"2025-11-20T14:05:00", "2025-11-20T14:05:00"}},
    {"ISO with a blank", {"2025-11-20 14:05", "2025-11-20T14:05:00"}},
    {"two digits of this century", {"1/1/29", "2029-01-01T00:00:00"}},
    {"two digits of the last one", {"1/1/95", "1995-01-01T00:00:00"}},
    {"a time alone", {"6:30", "1899-12-30T06:30:00"}},
    {"no such day", {"2/30/2025", std::nullopt}},
    {"day first", {"20/11/2025", std::nullopt}},
    {"thirteen PM", {"1/2/2025 13:00 PM", std::nullopt}},
    {"a name", {"bugün", std::nullopt}},
    {"nothing", {"", std::nullopt}},
};

TABLE_SUITE(DateLiterals, LiteralRow, dateLiterals);

TEST_P(DateLiterals, areReadAsAccessReadsThem) { ASSERT_EQ(query::dateLiteral(row().written), row().moment); }

struct FormatRow {
    std::string pattern;
    std::string turkish;
    std::string english;
};

const RowTable<FormatRow> numberFormats = {
    {"two decimals", {"0.00", "1234567,50", "1234567.50"}},
    {"thousands", {"#,##0.00", "1.234.567,50", "1,234,567.50"}},
    {"no decimals", {"#,##0", "1.234.568", "1,234,568"}},
    {"as many as there are", {"0.###", "1234567,5", "1234567.5"}},
    {"unit", {"#,##0.0 kg", "1.234.567,5 kg", "1,234,567.5 kg"}},
    {"Standard", {"Standard", "1.234.567,50", "1,234,567.50"}},
    {"Percent", {"0%", "123456750%", "123456750%"}},
};

TABLE_SUITE(NumberFormats, FormatRow, numberFormats);

TEST_P(NumberFormats, followThePatternAndTheLanguage)
{
    ASSERT_EQ(query::formatNumber(1234567.5, row().pattern, false), row().turkish);
    ASSERT_EQ(query::formatNumber(1234567.5, row().pattern, true), row().english);
}

TEST(NumberFormat, keepsTheSignAndFillsUpWithZeros)
{
    ASSERT_EQ(query::formatNumber(-7.25, "000.0", false), "-007,3");
    ASSERT_EQ(query::formatNumber(-0.001, "0.00", false), "0,00");
}

const RowTable<FormatRow> momentFormats = {
    {"numbers", {"dd.mm.yyyy hh:nn:ss", "02.11.2025 04:05:06", "02.11.2025 04:05:06"}},
    {"short numbers", {"d/m/yy h:n", "2/11/25 4:5", "2/11/25 4:5"}},
    {"names", {"dddd, d mmmm", "Pazar, 2 Kasım", "Sunday, 2 November"}},
    {"short names", {"ddd mmm", "Paz Kas", "Sun Nov"}},
    {"quarter and text", {"\"Ç\"q\\d", "Ç4d", "Ç4d"}},
};

TABLE_SUITE(MomentFormats, FormatRow, momentFormats);

TEST_P(MomentFormats, followThePatternAndTheLanguage)
{
    const jet::DateTime moment = *jet::dateTime(2025, 11, 2, 4, 5, 6);
    ASSERT_EQ(query::formatMoment(moment, row().pattern, false), row().turkish);
    ASSERT_EQ(query::formatMoment(moment, row().pattern, true), row().english);
}

} // namespace
