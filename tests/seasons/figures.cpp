#include "seasons/figures.h"
#include "mill/season.h"
#include "store/jet/values/calendar.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <cmath>
#include <map>
#include <random>

namespace seasons {
namespace {

using testing::ElementsAre;
using testing::Pair;

double at(int year, int month, int day, int hour = 12, int minute = 0, int second = 0)
{
    return jet::dateTime(year, month, day, hour, minute, second).value().days;
}

int dayOf(int year, int month, int day) { return static_cast<int>(at(year, month, day, 0)); }

Pressing pressing(double moment, double olives, double oil, std::u16string_view customer = u"Ali")
{
    return {moment, olives, oil, 0.0, 0.0, customer};
}

Figures figuresOf(const std::vector<Pressing>& pressings, int year = 2025, const ContainerKinds& kinds = {})
{
    Sums sums(year, kinds);
    for (const Pressing& each : pressings) sums.add(each);
    return sums.figures();
}

struct SeasonRow {
    double moment;
    int year;
};

const RowTable<SeasonRow> seasons = {
    {"in autumn", {at(2025, 11, 20), 2025}},
    {"after new year", {at(2026, 1, 2), 2025}},
    {"last second", {at(2026, 6, 30, 23, 59, 59), 2025}},
    {"first second", {at(2026, 7, 1, 0), 2026}},
    {"last bits short of the first second", {std::nextafter(at(2026, 7, 1, 0), 0.0), 2026}},
    {"before day zero", {at(1890, 11, 20), 1890}},
    {"first of all", {at(100, 1, 1, 0), 99}},
};

TABLE_SUITE(SeasonOfAMoment, SeasonRow, seasons);

TEST_P(SeasonOfAMoment, runsFromTheFirstOfJuly) { EXPECT_EQ(mill::seasonOf(row().moment), row().year); }

TEST(SeasonFigures, firstDayIsTheFirstOfJuly)
{
    EXPECT_EQ(mill::firstDayOfSeason(2025), dayOf(2025, 7, 1));
    EXPECT_EQ(mill::firstDayOfSeason(1890), dayOf(1890, 7, 1));
}

TEST(SeasonFigures, daysStandInTheirOrderWhateverTheJournals)
{
    const Figures figures =
        figuresOf({pressing(at(2025, 11, 3, 0), 300, 60), pressing(at(2025, 10, 31, 23, 59, 59), 100, 20),
                   pressing(at(2025, 11, 3, 23, 59, 59), 50, 11)});
    ASSERT_EQ(figures.days.size(), 2U);
    EXPECT_EQ(figures.days[0], (DayAmounts{dayOf(2025, 10, 31), {1, 100, 20, 0, 0}}));
    EXPECT_EQ(figures.days[1], (DayAmounts{dayOf(2025, 11, 3), {2, 350, 71, 0, 0}}));
}

TEST(SeasonFigures, otherSeasonsCountInTheListOfSeasonsAlone)
{
    const Figures figures = figuresOf(
        {pressing(at(2024, 11, 3), 300, 60), pressing(at(2025, 11, 3), 100, 20), pressing(at(2026, 7, 1), 7, 1)});
    EXPECT_EQ(figures.total.pressings, 1U);
    EXPECT_EQ(figures.customers.size(), 1U);
    EXPECT_THAT(figures.seasons,
                ElementsAre(Pair(2024, Amounts{1, 300, 60, 0, 0}), Pair(2025, Amounts{1, 100, 20, 0, 0}),
                            Pair(2026, Amounts{1, 7, 1, 0, 0})));
}

TEST(SeasonFigures, whatARowDoesNotSayAddsNothing)
{
    Pressing unknown;
    unknown.moment = at(2025, 11, 3);
    const Figures figures = figuresOf({unknown, pressing(at(2025, 11, 3), 100, 20)});
    EXPECT_EQ(figures.total, (Amounts{2, 100, 20, 0, 0}));
    EXPECT_EQ(figures.yields.unknown, 1U);
}

struct YieldRow {
    double olives;
    double oil;
    std::optional<std::size_t> bin; ///< none: unknown
};

const RowTable<YieldRow> yields = {
    {"a fifth", {1000, 200, 20}},
    {"just below", {1000, 199.99, 19}},
    {"hardly any", {1000, 1, 0}},
    {"untouched nine tenths", {1000, 900, 60}},
    {"sixty", {1000, 600, 60}},
    {"just below sixty", {1000, 599.9, 59}},
    {"more oil than a number holds of olives", {1e-300, 1e300, 60}},
    {"no olives", {0, 5, {}}},
    {"no oil", {100, 0, {}}},
    {"taken back", {-100, -20, {}}},
};

TABLE_SUITE(YieldOfAPressing, YieldRow, yields);

TEST_P(YieldOfAPressing, isCountedByThePercent)
{
    const YieldCounts counts = figuresOf({pressing(at(2025, 11, 3), row().olives, row().oil)}).yields;
    for (std::size_t bin = 0; bin < YieldCounts::bins; ++bin)
        EXPECT_EQ(counts.pressings[bin], row().bin == bin ? 1U : 0U) << bin;
    EXPECT_EQ(counts.unknown, row().bin ? 0U : 1U);
}

TEST(SeasonFigures, containersAreWholeAndOfTheCustomersKind)
{
    const Figures figures =
        figuresOf({pressing(at(2025, 11, 3), 300, 53, u"Ali"), pressing(at(2025, 11, 4), 300, 4.9, u"Ali"),
                   pressing(at(2025, 11, 4), 300, 59.9, u"Veli"), pressing(at(2025, 11, 4), 300, 60, u"ali")},
                  2025, {{u"Ali", 0}, {u"Veli", 3}});
    EXPECT_THAT(figures.containers.filled, ElementsAre(10, 0, 0, 2));
    EXPECT_EQ(figures.containers.unknown, 1U); // a name is compared letter for letter
}

TEST(SeasonFigures, largestCustomersStandFirstAndTiesByTheAlphabet)
{
    const Figures figures =
        figuresOf({pressing(at(2025, 11, 3), 100, 20, u"Zeki"), pressing(at(2025, 11, 3), 100, 20, u"Çetin"),
                   pressing(at(2025, 11, 3), 100, 20, u"Cem"), pressing(at(2025, 11, 9), 50, 10, u"Işıl"),
                   pressing(at(2025, 11, 4), 51, 10, u"Işıl"), pressing(at(2025, 11, 4), 100, 10, u"")});
    std::vector<std::u16string> names;
    for (const CustomerAmounts& customer : figures.customers) names.push_back(customer.name);
    EXPECT_THAT(names, ElementsAre(u"Işıl", u"", u"Cem", u"Çetin", u"Zeki"));
    EXPECT_EQ(figures.customers[0].lastDay, dayOf(2025, 11, 9));
}

TEST(SeasonFigures, weeksBeginOnMondayAndNoneIsLeftOut)
{
    const auto weeks = weeksOf({{dayOf(2025, 11, 2), {1, 10, 2, 0, 0}}, // a Sunday
                                {dayOf(2025, 11, 3), {2, 20, 4, 0, 0}},
                                {dayOf(2025, 11, 9), {3, 30, 6, 0, 0}},
                                {dayOf(2025, 11, 20), {4, 40, 8, 0, 0}}});
    EXPECT_THAT(weeks,
                ElementsAre(DayAmounts{dayOf(2025, 10, 27), {1, 10, 2, 0, 0}},
                            DayAmounts{dayOf(2025, 11, 3), {5, 50, 10, 0, 0}}, DayAmounts{dayOf(2025, 11, 10), {}},
                            DayAmounts{dayOf(2025, 11, 17), {4, 40, 8, 0, 0}}));
    EXPECT_TRUE(weeksOf({}).empty());
}

TEST(SeasonFigures, sevenDaysAreDaysOfTheCalendar)
{
    const auto yields = yieldsOfSevenDays({{dayOf(2025, 11, 1), {1, 100, 10, 0, 0}},
                                           {dayOf(2025, 11, 7), {1, 100, 20, 0, 0}},
                                           {dayOf(2025, 11, 8), {1, 300, 90, 0, 0}},
                                           {dayOf(2025, 12, 8), {1, 0, 5, 0, 0}}});
    ASSERT_EQ(yields.size(), 4U);
    EXPECT_DOUBLE_EQ(yields[0].value(), .1);
    EXPECT_DOUBLE_EQ(yields[1].value(), .15);
    EXPECT_DOUBLE_EQ(yields[2].value(), .275); // the first of November is eight days away
    EXPECT_FALSE(yields[3]);
}

/// By the library's calendar, which has nothing to do with ours.
std::chrono::sys_seconds timeOf(double moment)
{
    return std::chrono::sys_seconds(std::chrono::seconds(std::llround((moment - 25569) * 86400)));
}

std::chrono::sys_days mondayBefore(std::chrono::sys_days day)
{
    return day - (std::chrono::weekday(day) - std::chrono::Monday);
}

TEST(SeasonFigures, sumsAreThoseOfACountByHand)
{
    std::mt19937 random(20251120);
    std::vector<std::u16string> names;
    for (int i = 0; i < 40; ++i) names.push_back(u"Müşteri " + std::u16string(1, static_cast<char16_t>(u'A' + i)));
    std::vector<Pressing> pressings;
    for (int i = 0; i < 20000; ++i) {
        // Quarters add up without rounding, in whatever order.
        const double olives = static_cast<double>(random() % 8000) / 4;
        const double oil = static_cast<double>(random() % 1600) / 4;
        pressings.push_back({dayOf(2025, 7, 1) + static_cast<double>(random() % (365UL * 1440)) / 1440, olives, oil,
                             static_cast<double>(random() % 400) / 4, static_cast<double>(random() % 4000) / 4,
                             names[random() % names.size()]});
    }
    ContainerKinds kinds;
    for (std::size_t i = 0; i < names.size(); i += 2) kinds[names[i]] = i / 2 % 4;
    const Figures figures = figuresOf(pressings, 2025, kinds);

    std::map<std::chrono::sys_days, double> olivesOfDays;
    std::map<std::chrono::sys_days, double> feesOfWeeks;
    std::map<long, std::uint64_t> hours;
    std::map<std::u16string, double> oilOfCustomers;
    std::array<double, 4> containers{};
    double share = 0;
    for (const Pressing& each : pressings) {
        const std::chrono::sys_seconds time = timeOf(each.moment);
        const auto day = std::chrono::floor<std::chrono::days>(time);
        olivesOfDays[day] += *each.olives;
        feesOfWeeks[mondayBefore(day)] += *each.fee;
        ++hours[std::chrono::floor<std::chrono::hours>(time - day).count()];
        oilOfCustomers[std::u16string(each.customer)] += *each.oil;
        share += *each.share;
        const auto kind = kinds.find(std::u16string(each.customer));
        for (double left = *each.oil; kind != kinds.end() && left >= 5.0 * double(kind->second + 1);
             left -= 5.0 * double(kind->second + 1))
            ++containers[kind->second];
    }

    EXPECT_EQ(figures.total.share, share);
    ASSERT_EQ(figures.days.size(), olivesOfDays.size());
    for (const DayAmounts& day : figures.days) {
        const auto date = std::chrono::floor<std::chrono::days>(timeOf(day.day));
        EXPECT_EQ(day.amounts.olives, olivesOfDays[date]) << day.day;
    }
    const auto weeks = weeksOf(figures.days);
    ASSERT_EQ(weeks.size(), feesOfWeeks.size());
    auto week = feesOfWeeks.begin();
    for (const DayAmounts& each : weeks) EXPECT_EQ(each.amounts.fee, (week++)->second);
    for (int hour = 0; hour < 24; ++hour)
        EXPECT_EQ(figures.hours[static_cast<std::size_t>(hour)].pressings, hours[hour]) << hour;
    ASSERT_EQ(figures.customers.size(), oilOfCustomers.size());
    for (const CustomerAmounts& customer : figures.customers)
        EXPECT_EQ(customer.amounts.oil, oilOfCustomers[customer.name]);
    EXPECT_EQ(figures.containers.filled, containers);
}

} // namespace
} // namespace seasons
