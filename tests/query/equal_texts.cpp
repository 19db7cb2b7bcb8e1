#include "query/statement.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/values/names.h"
#include "tests/jet/memory_database.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>

namespace {

using testing::IsEmpty;
using testing::Not;

class Numbers : public exchange::RowWriter {
public:
    void begin(std::u16string_view, const std::vector<jet::Column>&) override {}
    void values(std::span<const jet::Value> row) override { all.push_back(std::get<std::int32_t>(row.front())); }
    void end() override { std::ranges::sort(all); }
    std::vector<std::int32_t> all;
};

/// What a search for one text finds by its short ways is compared with the walk over every row: no way is short for
/// two bounds on a text.
class EqualTexts : public testing::Test {
protected:
    EqualTexts()
    {
        made_.database->createTable(u"Ad",
                                    {{u"Sira", jet::ColumnType::longInteger},
                                     {u"Ad", jet::ColumnType::text, 255},
                                     {u"Uzun", jet::ColumnType::memo}},
                                    {}, jet::DateTime{45000});
        jet::Table& table = made_.database->table(u"Ad");
        jet::Transaction change(made_.pager());
        std::int32_t number = 0;
        for (const std::u16string& text : texts()) table.insert({{0, ++number}, {1, text}, {2, text}});
        table.insert({{0, ++number}});
        change.commit();
    }
    void SetUp() override
    {
        // Without it there are no short ways: the engine itself takes equal for letter by letter.
        if (!query::available()) GTEST_SKIP() << "built without SQLite";
    }
    static std::vector<std::u16string> texts()
    {
        const std::u16string longest(255, u'a');
        return {u"Irmak",
                u"ırmak",
                u"irmak",
                u"İRMAK",
                u"IRMAK ",
                u"Ir\u00ADmak",
                u"Ir-mak",
                u"\u0301Irmak",
                u"",
                u" ",
                u"-",
                u"5",
                u"5,0",
                u"Çam",
                u"C\u0327am",
                u"\u4E00\u4E01",
                u"\u4E01",

                u"Ali\u200D",
                longest,
                longest.substr(1),
                u"A" + longest.substr(1)};
    }
    std::vector<std::int32_t> found(const std::string& sql) const
    {
        Numbers numbers;
        query::select(*made_.database, sql, false, numbers);
        return numbers.all;
    }
    void verifyEveryText() const
    {
        for (const std::u16string& text : texts()) {
            const std::string sought = " '" + jet::toUtf8(text) + "'";
            std::string walk = "Select Sira From Ad Where Ad >=";
            walk.append(sought).append(" And Ad <=").append(sought);
            EXPECT_EQ(found("Select Sira From Ad Where Ad =" + sought), found(walk)) << sought;
        }
        EXPECT_EQ(found("Select a.Sira From Ad As a Inner Join Ad As b On a.Ad = b.Ad"),
                  found("Select a.Sira From Ad As a Inner Join Ad As b On a.Ad >= b.Ad And a.Ad <= b.Ad"));
    }
    MemoryDatabase made_{"Yag.mdb"};
};

TEST_F(EqualTexts, areFoundWhateverLettersTheyAreMadeOf)
{
    verifyEveryText();
    EXPECT_EQ(found("Select Sira From Ad Where Ad = 'IRMAK'").size(), 3U); // also small ones, and a blank behind
}

TEST_F(EqualTexts, areFoundByTheQuerysLettersWhereTheColumnHasOthers)
{
    namespace at = jet::definition_layout;
    const auto definition = jet::positionOf(made_.database->table(u"Ad").definitionPage());
    made_.database.reset();
    at::column::lcid.put(&made_.disk.content(made_.file)[definition + at::statistics::at(0) + at::column::bytes],
                         jet::general.lcid);
    made_.reopen();
    ASSERT_EQ(made_.database->table(u"Ad").columns()[1].collation, jet::general);
    ASSERT_EQ(made_.database->collation(), jet::turkish);
    verifyEveryText();
    EXPECT_EQ(found("Select Sira From Ad Where Ad = 'IRMAK'").size(), 3U);
}

struct SearchRow {
    const char* shortWay;
    const char* walk;
};

TEST_F(EqualTexts, areFoundWhereverInAQueryTheyAreNamed)
{
    for (const SearchRow& row : std::array{
             SearchRow{"Ad In ('ali\u200D', 'ÇAM')",
                       "Ad >= 'ali\u200D' And Ad <= 'ali\u200D' Or Ad >= 'çam' And Ad <= 'çam'"},
             SearchRow{"Ad = 'irmak' Or Ad = 'ırmak'",
                       "Ad >= 'irmak' And Ad <= 'irmak' Or Ad >= 'ırmak' And Ad <= 'ırmak'"},
             SearchRow{"Uzun = 'IRMAK'", "Uzun >= 'IRMAK' And Uzun <= 'IRMAK'"},
         }) {
        const auto all = found(std::string("Select Sira From Ad Where ") + row.shortWay);
        EXPECT_THAT(all, Not(IsEmpty())) << row.shortWay;
        EXPECT_EQ(all, found(std::string("Select Sira From Ad Where ") + row.walk)) << row.shortWay;
    }
    EXPECT_THAT(found("Select Sira From Ad Where Ad = Null"), IsEmpty());
    EXPECT_EQ(found("Select a.Sira From Ad As a Left Join Ad As b On b.Ad = 'Çam' Where b.Sira Is Null"),
              found("Select a.Sira From Ad As a Left Join Ad As b On b.Ad >= 'Çam' And b.Ad <= 'Çam' "
                    "Where b.Sira Is Null"));
}

} // namespace
