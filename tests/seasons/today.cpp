#include "files/memory_disk.h"
#include "mill/names.h"
#include "mill/tables.h"
#include "seasons/journal.h"
#include "seasons/page.h"
#include "seasons/report.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>

namespace seasons {
namespace {

using mill::Hareket;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr double noonOfTheDay = 45981.5; // 2025-11-20

/// A journal with these pressings, each with a hundred kilograms of olives.
class Today : public testing::Test {
protected:
    Today() { mill::createDatabase(disk_, "Yag.mdb", jet::turkish, {}); }

    void book(double moment, const std::u16string& name)
    {
        jet::Database::open(disk_, "Yag.mdb")
            ->table(Hareket::table)
            .insert({{Hareket::Tarih, jet::DateTime{moment}},
                     {Hareket::Zeytin, 100.0},
                     {Hareket::Yağ, 22.0},
                     {Hareket::HakTut, 2.5},
                     {Hareket::CariHar, name}});
    }

    Section section()
    {
        return describeToday(readSeason(*openToRead(disk_, "Yag.mdb"), {}, noonOfTheDay), noonOfTheDay);
    }

    std::vector<std::string> names()
    {
        std::vector<std::string> names;
        for (const auto& row : section().rows) names.push_back(std::get<std::string>(row.at(1)));
        return names;
    }

    files::MemoryDisk disk_;
};

TEST_F(Today, newestStandsFirstAndOtherDaysDoNotCount)
{
    book(45981.25, u"Ali");
    book(45981.75, u"Later on"); // a clock that was ahead: it is of this day all the same
    book(45980.9999, u"Yesterday");
    book(45982.0, u"Tomorrow");
    book(45981.0, u"First");
    EXPECT_THAT(names(), ElementsAre("Later on", "Ali", "First"));
    EXPECT_EQ(section().title, "Bugün, 20.11.2025");
    EXPECT_EQ(section().summary, "3 sıkım; sonuncusu 18:00.");
    EXPECT_EQ(section().sum.at(2), Cell(300.0));
    EXPECT_EQ(section().sum.at(5), Cell(7.5));
}

TEST_F(Today, totalsOfAReportAreNoPressing)
{
    book(45981.25, u"Ali");
    book(45981.5, std::u16string(mill::reserved::totals));
    EXPECT_THAT(names(), ElementsAre("Ali"));
}

TEST_F(Today, aDayWithoutPressingsSaysSo)
{
    book(45980.25, u"Ali");
    EXPECT_TRUE(section().rows.empty());
    EXPECT_THAT(todayPart(section()), HasSubstr("Bugün henüz sıkım yok."));
    EXPECT_THAT(todayPart(section()), Not(HasSubstr("<table")));
}

TEST_F(Today, nameIsShownLetterForLetter)
{
    book(45981.25, u"<script>alert(1)</script>");
    EXPECT_THAT(todayPart(section()), HasSubstr("<td>&lt;script&gt;alert(1)&lt;/script&gt;"));
}

TEST_F(Today, onlyTheLivePageMayAskAndOnlyWhereItCameFrom)
{
    book(45981.25, u"Ali");
    const Report report =
        describe(readSeason(*openToRead(disk_, "Yag.mdb"), {}, noonOfTheDay), "'Yag.mdb'", noonOfTheDay);
    const std::string live = livePage(report, todayPart(section()));
    EXPECT_THAT(live, HasSubstr("default-src 'none'"));
    EXPECT_EQ(countOf("connect-src 'self';", live), 1);
    EXPECT_THAT(live, HasSubstr(todayPart(section())));
    const std::size_t begin = live.find("<script>") + 8;
    EXPECT_THAT(live, HasSubstr("script-src " + sourceDigest(live.substr(begin, live.find("</script>") - begin))));
    EXPECT_THAT(page(report), Not(HasSubstr("connect-src")));
    EXPECT_THAT(page(report), Not(HasSubstr("/bugun")));
}

} // namespace
} // namespace seasons
