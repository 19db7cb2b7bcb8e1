#include "seasons/page.h"

#include "platform/sha256.h"
#include "seasons/page_parts.h"
#include "seasons/texts.h"
#include "store/jet/values/calendar.h"
#include "tests/support/table.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>

namespace seasons {
namespace {

using testing::HasSubstr;
using testing::Not;

double noon(int day) { return jet::dateTime(2025, 11, day, 12).value().days; }

Reading reading(const std::vector<std::u16string>& customers)
{
    Sums sums(2025, {});
    int day = 0;
    for (const std::u16string& name : customers) sums.add({noon(1 + day++ % 28), 1234.5, 250.0, 25.0, 0.0, name});
    return {.figures = sums.figures()};
}

std::string pageOf(const Reading& of) { return page(describe(of, "'Yag.mdb'", noon(29))); }

struct NumberRow {
    double number;
    int decimals;
    std::string text;
};

const RowTable<NumberRow> numbers = {
    {"nothing", {0, 0, "0"}},
    {"three digits", {999, 0, "999"}},
    {"four digits", {1000, 0, "1.000"}},
    {"fraction", {1234567.891, 2, "1.234.567,89"}},
    {"negative", {-1234.5, 2, "-1.234,50"}},
    {"negative of three digits", {-123, 0, "-123"}},
    {"nothing left of it", {-0.001, 2, "0,00"}},
    {"rounds up into another group", {999999.999, 2, "1.000.000,00"}},
    {"large", {1e21, 0, "1.000.000.000.000.000.000.000"}},
    {"infinite", {HUGE_VAL, 2, "—"}},
    {"none", {std::nan(""), 0, "—"}},
};

TABLE_SUITE(NumberText, NumberRow, numbers);

TEST_P(NumberText, isWrittenTheTurkishWay) { EXPECT_EQ(numberText(row().number, row().decimals), row().text); }

TEST(SeasonTexts, daysAndMomentsAreWrittenTheTurkishWay)
{
    EXPECT_EQ(dayText(45981), "20.11.2025");
    EXPECT_EQ(momentText(jet::dateTime(2025, 11, 20, 9, 5, 59).value().days), "20.11.2025 09:05");
    EXPECT_EQ(momentText(jet::dateTime(1890, 1, 2, 23, 59, 0).value().days), "02.01.1890 23:59");
}

TEST(SeasonPage, showsNothingOfANameButTheName)
{
    const std::u16string name = u"</script><b title=\"x\">'Ali' & Veli 🫒\u0001</b>";
    const std::string html = pageOf(reading({name}));
    EXPECT_THAT(html,
                HasSubstr("&lt;/script&gt;&lt;b title=&quot;x&quot;&gt;&#39;Ali&#39; &amp; Veli 🫒\uFFFD&lt;/b&gt;"));
    EXPECT_THAT(html, Not(HasSubstr("<b title")));
    EXPECT_EQ(countOf("</script>", html), 1);
}

TEST(SeasonPage, percentsBetweenOlivesAndWhatNobodyWeighedAreLeftOut)
{
    Sums sums(2025, {});
    for (const double oil : {200.0, 220.0, 222.0, 900.0, 950.0, 901.0})
        sums.add({noon(3), 1000.0, oil, 0.0, 0.0, u"Ali"});
    const std::string html = pageOf({.figures = sums.figures()});
    EXPECT_THAT(html,
                HasSubstr("<tr><th>20–21<td>1\n<tr><th>21–22<td>0\n<tr><th>22–23<td>2\n<tr><th>60 ve üstü<td>3\n"));
    EXPECT_THAT(html, HasSubstr("En sık görülen verim: 60 ve üstü."));
    EXPECT_THAT(html, HasSubstr("Verim %56,5, ama 3 sıkımın yağı ya da zeytini tartılmadan yazılmış görünüyor"));
    EXPECT_THAT(html, HasSubstr("onlar sayılmadan verim %21,4."));
}

TEST(SeasonPage, oilThatIsMissingIsNoYieldOfNothing)
{
    Sums sums(2025, {});
    sums.add({noon(3), 1000.0, 200.0, 0.0, 0.0, u"Ali"});
    sums.add({noon(3), 1000.0, std::nullopt, 0.0, 0.0, u"Ali"});
    EXPECT_THAT(pageOf({.figures = sums.figures()}), HasSubstr("Verim %10,0, ama 1 sıkımın"));
    EXPECT_THAT(pageOf({.figures = sums.figures()}), HasSubstr("onlar sayılmadan verim %20,0."));
}

TEST(SeasonPage, whereEverythingWasWeighedNothingIsSaid)
{
    EXPECT_THAT(pageOf(reading({u"Ali", u"Veli"})), Not(HasSubstr("sayılmadan")));
}

struct ShowableRow {
    std::string text;
    std::string shown;
};

const RowTable<ShowableRow> texts = {
    {"letters", {"Şükrü 🫒 علي", "Şükrü 🫒 علي"}},
    {"controls", {std::string("a\0b\x01\n\x7F", 6), "a\uFFFDb\uFFFD\uFFFD\uFFFD"}},
    {"no characters", {"\uFFFE\uFFFF\uFDD0\uFDEF\U0010FFFF", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"}},
    {"characters beside them", {"\uFFFD\uFDCF\uFDF0\uFEFF", "\uFFFD\uFDCF\uFDF0\uFEFF"}},
    {"another encoding", {"Ay\xFE\x65", "Ay\uFFFDe"}},
    {"half a character", {"a\xC5", "a\uFFFD"}},
    {"overlong", {"\xC0\x80\xE0\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"}},
    {"half a pair", {"\xED\xA0\xBE", "\uFFFD\uFFFD\uFFFD"}},
    {"beyond the last", {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"}},
};

TABLE_SUITE(ShowableText, ShowableRow, texts);

TEST_P(ShowableText, holdsCharactersAlone) { EXPECT_EQ(showable(row().text), row().shown); }

TEST(SeasonPage, halfACharacterBecomesTheSignForIt)
{
    EXPECT_THAT(pageOf(reading({std::u16string(u"Ali\xD83E")})), HasSubstr(">Ali\uFFFD"));
}

TEST(SeasonPage, letsTheBrowserFetchNothingAndRunNothingElse)
{
    const std::string html = pageOf(reading({u"Ali"}));
    EXPECT_THAT(html, HasSubstr("content=\"default-src 'none'; script-src 'sha256-"));
    EXPECT_THAT(html, Not(HasSubstr("unsafe-inline")));
    EXPECT_THAT(html, Not(HasSubstr("<link")));
    EXPECT_THAT(html, Not(HasSubstr(" src=")));
    EXPECT_EQ(countOf("<script", html), 1);
    EXPECT_THAT(html, HasSubstr(std::string(parts::charts)));
}

TEST(SeasonPage, everyPlotHasItsNumbersAsATable)
{
    const Report report = describe(reading({u"Ali", u"Veli"}), "'Yag.mdb'", noon(29));
    const std::string html = page(report);
    int plots = 0;
    for (const Section& section : report.sections) {
        EXPECT_THAT(html, HasSubstr("<table id=\"" + section.id + "-tablo\">"));
        if (!section.drawn) continue;
        ++plots;
        EXPECT_THAT(html, HasSubstr("data-plot=\"" + section.id + "\""));
        EXPECT_THAT(std::string(parts::script), HasSubstr(section.id + ": {")) << "nobody draws it";
        EXPECT_FALSE(section.summary.empty()) << section.id;
    }
    EXPECT_EQ(plots, 8);
    EXPECT_THAT(html, HasSubstr("<tr><th>01.11.2025<td>1<td>1.234,50<td>250\n"));
}

TEST(SeasonPage, ofVeryManyCustomersItListsTheLargestAndSaysSo)
{
    std::vector<std::u16string> names;
    for (int i = 0; i < 9000; ++i) {
        const std::string number = std::to_string(i);
        names.push_back(std::u16string(60, u'ş') + std::u16string(number.begin(), number.end()));
    }
    const std::string html = pageOf(reading(names));
    EXPECT_LT(html.size(), 2'000'000U);
    EXPECT_THAT(html, HasSubstr(" satır daha; sayfa küçük kalsın"));
    EXPECT_THAT(html, HasSubstr("<tr><th>Toplam<td>9.000<td>11.110.500,00<td>2.250.000"));
}

TEST(SeasonPage, tellsWhatCouldNotBeCounted)
{
    Reading of = reading({u"Ali"});
    of.damaged = 3;
    of.undated = 1200;
    const std::string html = pageOf(of);
    EXPECT_THAT(html, HasSubstr("3 yer (satır ya da sayfa) okunamadı"));
    EXPECT_THAT(html, HasSubstr("1.200 sıkımın tarihi yok"));
}

TEST(SeasonPage, aSeasonWithoutPressingsSaysSoAndNamesTheOthers)
{
    Sums sums(2020, {});
    sums.add({noon(1), 100.0, 20.0, 2.0, 0.0, u"Ali"});
    const std::string html = pageOf({.figures = sums.figures()});
    EXPECT_THAT(html, HasSubstr("Bu sezonda hiç sıkım yok."));
    EXPECT_THAT(html, HasSubstr("<tr><th>2025–2026<td>1<td>100"));
    EXPECT_THAT(html, Not(HasSubstr("<canvas role")));
}

} // namespace
} // namespace seasons
