#include "store/jet/index/known_texts.h"

#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/format/doors.h"
#include "store/jet/index/index_key.h"
#include "tests/jet/chosen_rows.h"
#include "tests/jet/committed.h"
#include "tests/jet/memory_database.h"
#include "tests/support/bytes.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

#include <string>

using namespace jet;

/// Text indexes of an order whose weights nobody has measured: only what is certain is written.
namespace {

using testing::IsEmpty;

constexpr std::uint16_t japanese = 0x0411;

Column textColumn(Collation collation)
{
    Column column;
    column.name = u"Ad";
    column.type = ColumnType::text;
    column.length = 100;
    column.collation = collation;
    return column;
}

Key generalKey(const std::u16string& text, bool ascending = true)
{
    Key key;
    appendKey(key, textColumn(general), text, ascending);
    return key;
}

struct Asked {
    std::u16string text;
    bool isCertain;
};
class KnownTextsOf : public TableTest<Asked> {};

INSTANTIATE_TEST_SUITE_P(, KnownTextsOf,
                         testing::ValuesIn(RowTable<Asked>{
                             {"a text that is there", {u"Çoban 7", true}},
                             {"letters and pairs that are there", {u"Ali", true}},
                             {"digits that are there", {u"1202", true}},
                             {"the same letter in the other case", {u"ALi", false}},
                             {"a pair that is not there", {u"ila", false}},
                             {"a digit that is not there", {u"13", false}},
                             {"letters that sort as one here", {u"ch", false}},
                             {"letters of a text with another key", {u"hc", false}},
                             {"a sign between known letters", {u"Al-i", false}},
                             {"a blank behind a known text", {u"Alim ", false}},
                             {"nothing", {u"", false}},
                         }),
                         RowName());

TEST_P(KnownTextsOf, areAppendedWhereTheyAreCertain)
{
    for (const bool ascending : {true, false}) {
        KnownTexts texts(textColumn({japanese, 0}), ascending);
        const Key special = bytesOf("7f99980100");
        for (const char16_t* text : {u"Alim", u"Alirim", u"120", u"02"})
            ASSERT_TRUE(texts.learn(text, generalKey(text, ascending)));
        ASSERT_TRUE(texts.learn(u"Çoban 7", special));
        ASSERT_TRUE(texts.learn(u"chc", special));
        const Key before{1, 2, 3};
        Key key = before;
        ASSERT_EQ(texts.append(key, row().text), row().isCertain);
        Key expected = before;
        const Key own = row().text == u"Çoban 7" ? special : generalKey(row().text, ascending);
        if (row().isCertain) expected.insert(expected.end(), own.begin(), own.end());
        ASSERT_EQ(key, expected);
    }
}

TEST(KnownTexts, aTextWithTwoKeysIsRefused)
{
    KnownTexts texts(textColumn({japanese, 0}), true);
    ASSERT_TRUE(texts.learn(u"Ali", Key{0x7F, 1, 0}));
    ASSERT_TRUE(texts.learn(u"Ali", Key{0x7F, 1, 0}));
    ASSERT_FALSE(texts.learn(u"Ali", Key{0x7F, 2, 0}));
}

/// A table that was made in the General order and then says that its order is another one.
class UnknownOrder : public testing::Test, protected MemoryDatabase {
protected:
    UnknownOrder() : MemoryDatabase("a.mdb", general)
    {
        Table& table = database->createTable(
            u"Kişiler",
            {{.name = u"Ad", .type = ColumnType::text, .size = 50}, {.name = u"No", .type = ColumnType::longInteger}},
            {{.name = u"Ad", .columns = {{u"Ad", true}}},
             {.name = u"NoAd", .columns = {{u"No", false}, {u"Ad", false}}}},
            rows::created);
        definition_ = table.definitionPage();
        committed(pager(), [&] {
            for (const char16_t* name : {u"Veli", u"Ali", u"Ayşe", u"Ali", u"1205", u"Alo"})
                table.insert({{0, std::u16string(name)}, {1, 3}});
            table.insert({{1, 4}});
        });
        database.reset();
        setOrder(japanese);
        open();
    }
    void setOrder(std::uint16_t lcid)
    {
        namespace at = definition_layout;
        at::column::lcid.put(&disk.content(file)[positionOf(definition_) + at::statistics::at(2)], lcid);
    }
    void open()
    {
        reopen();
        table_ = &database->table(u"Kişiler");
    }
    std::vector<RowId> all() const { return allRows(*table_); }

    PageNo definition_ = 0;
    Table* table_ = nullptr;
};

TEST_F(UnknownOrder, takesTextsThatAreThereAlready)
{
    table_->insert({{0, std::u16string(u"Ayşe")}, {1, 9}});
    table_->update(all()[0], {{0, std::u16string(u"Ali")}, {1, -1}});
    table_->update(all()[1], {{0, Value()}});
    table_->erase(all()[2]);
    table_->insert({{0, std::u16string(u"1205")}});
    table_->insert({{0, std::u16string(u"05")}, {1, 1}});
    ASSERT_TRUE(checkDatabase(*database).ok());
    // The keys were those of the General order, and still are: by it every entry can be judged.
    database.reset();
    setOrder(general.lcid);
    open();
    const CheckResult result = checkDatabase(*database);
    ASSERT_THAT(result.faults, IsEmpty());
    ASSERT_EQ(table_->whyReadOnly(), std::nullopt);
    ASSERT_EQ(table_->rowCount(), 9U);
}

TEST_F(UnknownOrder, refusesWhatWouldBeAGuess)
{
    const auto before = disk.content(file);
    for (const char16_t* text : {u"Yeni", u"Ayse", u"Ali ", u"13", u"ş"}) {
        EXPECT_EQ(faultOf([&] { table_->insert({{0, std::u16string(text)}}); }), Fault::indexNotWritable);
        EXPECT_EQ(faultOf([&] { table_->update(all()[0], {{0, std::u16string(text)}}); }), Fault::indexNotWritable);
    }
    ASSERT_EQ(disk.content(file), before);
}

TEST_F(UnknownOrder, isNotWrittenWhereOneTextHasTwoKeys)
{
    // A row changes its name behind the back of the index.
    for (const RowId id : all()) {
        const auto row = table_->row(id);
        std::u16string text;
        if (!row->text(0, text) || text != u"Alo") continue;
        const std::uint8_t* const page = database->pager().read(id.page).data();
        const std::size_t last = positionOf(id.page) + static_cast<std::size_t>(&row->stored(0).back() - page);
        database.reset();
        ASSERT_EQ(disk.content(file)[last], 'o');
        disk.content(file)[last] = 'i';
        open();
        ASSERT_NE(table_->whyReadOnly(), std::nullopt);
        return;
    }
    FAIL() << "no such row";
}

} // namespace
