#include "store/jet/sql/text_rows.h"

#include "store/jet/database/database.h"
#include "store/jet/sql/sql.h"
#include "tests/jet/memory_database.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

using namespace jet;

namespace {

enum : std::size_t { name, note };

/// A register of few names and many rows, beside a walk over all of them that knows no short cut.
class Names : public MemoryDatabase {
public:
    explicit Names(unsigned seed) : MemoryDatabase("Yag.mdb"), random_(seed)
    {
        std::vector<NewColumn> columns(2);
        columns[name] = {.name = u"Unvan", .type = ColumnType::text, .size = 100};
        columns[note] = {.name = u"Not", .type = ColumnType::text, .size = 255};
        table_ = &database->createTable(u"Cari", columns, {}, DateTime{45000});
    }

    Table& table() { return *table_; }
    unsigned below(unsigned limit) { return random_() % limit; }
    Value someName()
    {
        if (below(20) == 0) return Null{};
        return std::u16string(below(3) == 0 ? u"Şükrü " : u"Ali ") +
               std::u16string(1, static_cast<char16_t>(u'a' + below(12)));
    }
    void add() { rows_.push_back(table_->insert({{name, someName()}, {note, std::u16string(below(90), u'n')}})); }
    void changeOne()
    {
        const unsigned kind = below(200);
        if (kind < 80 || rows_.empty()) return add();
        const std::size_t at = below(static_cast<unsigned>(rows_.size()));
        if (kind < 130) return table_->update(rows_[at], {{name, someName()}});
        if (kind < 150) return table_->update(rows_[at], {{note, std::u16string(below(255), u'm')}}); // moves some
        if (kind == 199) {
            table_->eraseAll();
            rows_.clear();
            return;
        }
        table_->erase(rows_[at]);
        rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(at));
    }
    std::vector<RowId> walk(const std::u16string& text)
    {
        std::vector<RowId> found;
        table_->forEachRow([&](RowId id, const RowView& row) {
            if (row.textIs(name, text)) found.push_back(id);
            return true;
        });
        return found;
    }
    /// Every row of some name is among what the texts give, and a question finds exactly them.
    void compare(TextRows& texts)
    {
        const Value some = someName();
        const auto* const text = std::get_if<std::u16string>(&some);
        if (text == nullptr) return;
        const std::vector<RowId> expected = walk(*text);
        EXPECT_EQ(rowsWhere(*table_, u"Unvan='" + *text + u"'"), expected);
        if (!texts.knows(*table_)) return;
        ++known;
        const std::vector<RowId> rows = texts.rows(*table_, *text);
        EXPECT_TRUE(std::ranges::is_sorted(rows) && std::ranges::adjacent_find(rows) == rows.end());
        EXPECT_TRUE(std::ranges::includes(rows, expected));
    }
    /// In a transaction that is taken back now and then, with questions in the middle of it.
    void changeSome(TextRows& texts)
    {
        const std::vector<RowId> before = rows_;
        Transaction change(pager());
        for (unsigned n = 1 + below(12); n > 0; --n) {
            changeOne();
            if (below(4) == 0) compare(texts);
        }
        if (below(3) == 0) {
            rows_ = before;
            pager().rollback();
        } else {
            change.commit();
        }
    }

    int known = 0; ///< questions that the texts answered

private:
    Table* table_ = nullptr;
    std::mt19937 random_;
    std::vector<RowId> rows_;
};

class RandomNames : public testing::TestWithParam<unsigned> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, RandomNames, testing::Range(1U, 9U));

TEST_P(RandomNames, areFoundAsAWalkOverAllRowsFindsThem)
{
    Names names(GetParam());
    TextRows texts(name);
    for (int i = 0; i < 400; ++i) names.add();
    for (int round = 0; round < 200 && !testing::Test::HasFailure(); ++round) {
        names.changeSome(texts);
        if (names.below(3) == 0) {
            texts.learn(names.table());
            prepareTexts(*names.database, u"Cari", u"Unvan");
        }
        names.compare(texts);
    }
    EXPECT_GT(names.known, 100);
    EXPECT_EQ(names.faults(), "");
}

TEST(TextRows, leadToFewRowsOfManyNames)
{
    Names names(1);
    Table& table = names.table();
    constexpr int many = 3000;
    const auto nameOf = [](int number) {
        const std::string digits = std::to_string(number);
        return std::u16string(digits.begin(), digits.end());
    };
    {
        Transaction change(names.pager());
        for (int i = 0; i < many; ++i) table.insert({{name, nameOf(i)}});
        change.commit();
    }
    TextRows texts(name);
    EXPECT_FALSE(texts.knows(table));
    while (!texts.learn(table)) {
    }
    std::size_t rows = 0;
    for (int i = 0; i < many; ++i) {
        const std::vector<RowId> found = texts.rows(table, nameOf(i));
        EXPECT_TRUE(std::ranges::includes(found, names.walk(nameOf(i))));
        rows += found.size();
    }
    EXPECT_LT(rows, 3U * many);
}

TEST(TextRows, areLearnedPartByPartWhileRowsComeAndGo)
{
    Names names(1);
    Table& table = names.table();
    const auto addMany = [&] {
        Transaction change(names.pager());
        for (int i = 0; i < 20000; ++i)
            table.insert({{name, std::u16string(u"Ali")}, {note, std::u16string(120, u'n')}});
        change.commit();
    };
    addMany();
    const RowId first = table.insert({{name, std::u16string(u"Veli")}});
    TextRows texts(name);
    int parts = 1;
    for (; !texts.learn(table); ++parts) {
        EXPECT_FALSE(texts.knows(table));
        if (parts == 1) {
            table.update(first, {{name, std::u16string(u"Şükrü")}});
            table.insert({{name, std::u16string(u"Veli")}});
        }
    }
    EXPECT_GT(parts, 1);
    for (const char16_t* const each : {u"Veli", u"Şükrü", u"Ali"})
        EXPECT_TRUE(std::ranges::includes(texts.rows(table, each), names.walk(each)));
    EXPECT_LT(texts.rows(table, u"Veli").size(), 10U);
}

TEST(TextRows, areLearnedAnewWhenTooMuchWasWritten)
{
    Names names(1);
    Table& table = names.table();
    TextRows texts(name);
    names.add();
    EXPECT_TRUE(texts.learn(table));
    table.eraseAll();
    EXPECT_FALSE(texts.knows(table));
    table.insert({{name, std::u16string(u"Veli")}});
    EXPECT_TRUE(texts.learn(table));
    EXPECT_EQ(texts.rows(table, u"Veli"), names.walk(u"Veli"));
}

TEST(TextRows, followWhatIsWrittenThoughNobodyAsksForAText)
{
    Names names(1);
    Table& table = names.table();
    TextRows texts(name);
    names.add();
    EXPECT_TRUE(texts.learn(table));
    constexpr int moreThanTheLogHolds = 20000, atOnce = 2000;
    for (int i = 0; i < moreThanTheLogHolds; i += atOnce) {
        Transaction change(names.pager());
        for (int n = 0; n < atOnce; ++n) table.insert({{name, std::u16string(u"Ali")}});
        change.commit();
        EXPECT_TRUE(texts.knows(table));
        EXPECT_TRUE(texts.learn(table));
    }
    EXPECT_TRUE(std::ranges::includes(texts.rows(table, u"Ali"), names.walk(u"Ali")));
}

TEST(TextRows, doNotLearnWhatMayBeTakenBack)
{
    Names names(1);
    Table& table = names.table();
    names.add();
    TextRows texts(name);
    {
        const Transaction takenBack(names.pager());
        table.insert({{name, std::u16string(u"Veli")}});
        EXPECT_FALSE(texts.learn(table));
    }
    EXPECT_TRUE(texts.learn(table));
    EXPECT_TRUE(texts.rows(table, u"Veli").empty());
}
