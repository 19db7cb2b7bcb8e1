#include "store/jet/sql/date_ranges.h"

#include "store/jet/database/database.h"
#include "store/jet/sql/sql.h"
#include "store/jet/values/calendar.h"
#include "tests/jet/memory_database.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

using namespace jet;

namespace {

enum : std::size_t { day, amount, note };

/// The literal of a moment in a query, as the screen writes it.
std::u16string literal(double days)
{
    const auto moment = std::llround(days * 86400);
    // Days of 2010: good enough to count from, and far from day zero.
    std::int64_t dayOfYear = moment / 86400 - 40179, month = 1;
    static constexpr int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    while (dayOfYear >= lengths[month - 1]) dayOfYear -= lengths[month++ - 1];
    const std::int64_t second = moment % 86400;
    const std::string text = "#" + std::to_string(month) + "/" + std::to_string(dayOfYear + 1) + "/2010 " +
                             std::to_string(second / 3600) + ":" + std::to_string(second / 60 % 60) + ":" +
                             std::to_string(second % 60) + "#";
    return {text.begin(), text.end()};
}
constexpr double firstDay = 40179; // 1 January 2010

/// A journal without an index on its dates, beside a walk over all its rows that knows no short cut.
class Journal : public MemoryDatabase {
public:
    explicit Journal(unsigned seed) : MemoryDatabase("Yag.mdb"), random_(seed)
    {
        std::vector<NewColumn> columns(3);
        columns[day] = {.name = u"Tarih", .type = ColumnType::dateTime};
        columns[amount] = {.name = u"Zeytin", .type = ColumnType::longInteger};
        columns[note] = {.name = u"Not", .type = ColumnType::text, .size = 255};
        table_ = &database->createTable(u"Hareket", columns, {}, DateTime{45000});
    }

    Table& table() { return *table_; }
    unsigned below(unsigned limit) { return random_() % limit; }

    /// Mostly in the order of the days, as a season goes, with stragglers, days long ago and rows without a day.
    Value someDay()
    {
        switch (below(20)) {
        case 0:
            return Null{};
        case 1:
            return DateTime{-2.0 + below(400) / 100.0};
        case 2:
            return DateTime{firstDay + below(36400) / 100.0};
        default:
            today_ = std::min(today_ + below(30) / 100.0, 363.0);
            return DateTime{firstDay + today_};
        }
    }
    void add()
    {
        rows_.push_back(table_->insert({{day, someDay()},
                                        {amount, static_cast<std::int32_t>(below(1000))},
                                        {note, std::u16string(below(120), u'n')}}));
    }
    void changeOne()
    {
        const unsigned kind = below(100);
        if (kind < 45 || rows_.empty()) return add();
        const std::size_t at = below(static_cast<unsigned>(rows_.size()));
        if (kind < 60) return table_->update(rows_[at], {{day, someDay()}});
        if (kind < 70) return table_->update(rows_[at], {{note, std::u16string(below(255), u'm')}});
        if (kind == 99) {
            table_->eraseAll();
            rows_.clear();
            return;
        }
        table_->erase(rows_[at]);
        rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(at));
    }
    /// In a transaction that is taken back now and then, with questions in the middle of it.
    void changeSome()
    {
        const std::vector<RowId> before = rows_;
        Transaction change(pager());
        for (unsigned n = 1 + below(12); n > 0; --n) {
            changeOne();
            if (below(4) == 0) compare();
        }
        if (below(3) == 0) {
            rows_ = before;
            pager().rollback();
        } else {
            change.commit();
        }
    }

    /// A question about some period against the walk.
    void compare()
    {
        double from = firstDay + below(36000) / 100.0;
        const double to = std::min(from + below(4000) / 100.0, firstDay + 364);
        std::u16string condition = u"Tarih<=" + literal(to);
        if (below(8) != 0)
            condition += u" And Tarih>=" + literal(from);
        else
            from = -1000;
        std::vector<RowId> expected;
        std::int64_t sum = 0;
        table_->forEachRow([&](RowId id, const RowView& row) {
            const auto days = row.number(day);
            if (!days) return true;
            const std::int64_t moment = milliseconds(DateTime{*days});
            if (moment < milliseconds(DateTime{from}) || moment > milliseconds(DateTime{to})) return true;
            expected.push_back(id);
            sum += static_cast<std::int64_t>(row.number(amount).value());
            return true;
        });
        EXPECT_EQ(select(*database, u"Select * From Hareket Where " + condition).rows, expected);
        const Value total = select(*database, u"Select Sum(Zeytin) From Hareket Where " + condition).aggregates.at(0);
        EXPECT_EQ(total, expected.empty() ? Value(Null{}) : Value(static_cast<double>(sum)));
    }

private:
    Table* table_ = nullptr;
    std::mt19937 random_;
    double today_ = 0;
    std::vector<RowId> rows_;
};

class RandomJournals : public testing::TestWithParam<unsigned> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, RandomJournals, testing::Range(1U, 9U));

TEST_P(RandomJournals, periodsFindWhatAWalkOverAllRowsFinds)
{
    Journal journal(GetParam());
    for (int i = 0; i < 400; ++i) journal.add();
    for (int round = 0; round < 150 && !testing::Test::HasFailure(); ++round) {
        journal.changeSome();
        journal.compare();
    }
}

TEST(DateRanges, leadToFewPagesOfALongJournal)
{
    Journal journal(1);
    Transaction change(journal.pager());
    for (int i = 0; i < 40000; ++i)
        journal.table().insert({{day, DateTime{firstDay + i / 120.0}}, {note, std::u16string(40, u'n')}});
    change.commit();
    DateRanges ranges(day);
    const std::size_t all = journal.table().dataPages()->size();
    ASSERT_GT(all, 500U); // several groups of pages
    const auto month = ranges.pages(journal.table(), firstDay + 100, firstDay + 130);
    EXPECT_GE(month->size(), all * 30 / 334);
    EXPECT_LE(month->size(), all * 30 / 334 + 2);
    EXPECT_EQ(ranges.pages(journal.table(), firstDay - 1000, firstDay + 1000)->size(), all);
    EXPECT_TRUE(ranges.pages(journal.table(), firstDay - 1000, firstDay - 1)->empty());
}

TEST(DateRanges, narrowAgainWhenARowLeaves)
{
    Journal journal(1);
    Table& table = journal.table();
    table.insert({{day, DateTime{firstDay}}});
    const RowId straggler = table.insert({{day, DateTime{firstDay + 300}}});
    DateRanges ranges(day);
    EXPECT_EQ(ranges.pages(table, firstDay + 200, firstDay + 400)->size(), 1U);
    table.erase(straggler);
    EXPECT_TRUE(ranges.pages(table, firstDay + 200, firstDay + 400)->empty());
    EXPECT_EQ(ranges.pages(table, firstDay, firstDay)->size(), 1U);
}

TEST(DateRanges, keepThePageOfARowWhoseRemovalMayBeTakenBack)
{
    Journal journal(1);
    Table& table = journal.table();
    const RowId row = table.insert({{day, DateTime{firstDay}}});
    DateRanges ranges(day);
    EXPECT_EQ(ranges.pages(table, firstDay, firstDay)->size(), 1U);
    journal.pager().begin();
    table.erase(row);
    EXPECT_EQ(ranges.pages(table, firstDay, firstDay)->size(), 1U);
    journal.pager().rollback();
    EXPECT_EQ(ranges.pages(table, firstDay, firstDay)->size(), 1U);
}

TEST(DateRanges, saySoWhereOnlyReadingAllCanTell)
{
    Journal journal(1);
    Table& table = journal.table();
    table.insert({{day, DateTime{firstDay}}});
    DateRanges ranges(day);
    Transaction change(journal.pager());
    table.insert({{day, DateTime{firstDay + 1}}});
    EXPECT_EQ(ranges.pages(table, firstDay, firstDay + 1), nullptr);
}
