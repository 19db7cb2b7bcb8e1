#include "store/jet/database/database.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/table/table_state.h"
#include "tests/jet/committed.h"
#include "tests/jet/memory_database.h"

#include <gmock/gmock.h>

#include <set>
#include <vector>

using namespace jet;

/// A table that loses its rows gives their pages back to the file.
namespace {

class EmptiedPages : public testing::Test, protected MemoryDatabase {
protected:
    EmptiedPages() : MemoryDatabase("bos.mdb")
    {
        for (const char16_t* name : {u"Bir", u"İki"})
            database->createTable(name,
                                  {{.name = u"No", .type = ColumnType::longInteger},
                                   {.name = u"Ad", .type = ColumnType::text, .size = 255}},
                                  {{.name = u"No", .columns = {{u"No", true}}, .primaryKey = true}}, rows::created);
    }
    Table& table(const char16_t* name = u"Bir") { return database->table(name); }

    /// In one change. Rows of about `length` bytes.
    std::vector<RowId> fill(int rows, std::size_t length, const char16_t* name = u"Bir")
    {
        std::vector<RowId> ids;
        Transaction change(pager());
        for (int i = 0; i < rows; ++i)
            ids.push_back(table(name).insert({{0, ++number_}, {1, std::u16string(length, u'a')}}));
        change.commit();
        return ids;
    }
    void erase(const std::vector<RowId>& ids)
    {
        committed(pager(), [&] {
            for (const RowId id : ids) table().erase(id);
        });
    }
    /// Those that are not free.
    std::size_t pagesInUse() { return pager().pageCount() - mapPages(pager(), freeMap).size(); }
    void expectSound() const { EXPECT_EQ(faults(), ""); }

    std::int32_t number_ = 0;
};

TEST_F(EmptiedPages, areFreeOnceTheLastRowIsGone)
{
    const std::size_t before = pagesInUse();
    for (int round = 0; round < 3; ++round) {
        std::vector<RowId> ids = fill(2000, 100);
        ASSERT_GT(pagesInUse(), before + 40);
        if (round == 1) std::ranges::reverse(ids);
        erase(ids);
        ASSERT_EQ(pagesInUse(), before) << round;
        ASSERT_TRUE(table().dataPages()->empty());
        expectSound();
    }
}

TEST_F(EmptiedPages, areFreeWhenTheTableIsEmptied)
{
    const std::size_t before = pagesInUse();
    fill(2000, 100);
    table().eraseAll();
    ASSERT_EQ(pagesInUse(), before);
    expectSound();
    // For whoever needs them.
    const PageCount pages = pager().pageCount();
    fill(2000, 100, u"İki");
    ASSERT_EQ(pager().pageCount(), pages);
    expectSound();
}

TEST_F(EmptiedPages, ofMovedRowsAreFreeToo)
{
    const std::size_t before = pagesInUse();
    const std::vector<RowId> ids = fill(400, 60);
    committed(pager(), [&] {
        for (const RowId id : ids) table().update(id, {{1, std::u16string(250, u'ş')}});
    });
    ASSERT_GT(pagesInUse(), before + 45);
    erase(ids);
    ASSERT_EQ(pagesInUse(), before);
    expectSound();
}

TEST_F(EmptiedPages, comeBackWithTheirRowsWhenTheChangeIsTakenBack)
{
    const std::vector<RowId> ids = fill(500, 100);
    const auto pages = *table().dataPages();
    {
        Transaction change(pager());
        for (const RowId id : ids) table().erase(id);
        ASSERT_TRUE(table().dataPages()->empty());
        fill(300, 200);
    }
    ASSERT_EQ(*table().dataPages(), pages);
    for (const RowId id : ids) ASSERT_TRUE(table().row(id));
    expectSound();
}

TEST_F(EmptiedPages, neverLetTheirRowsPlacesNameAnotherRow)
{
    std::set<RowId> seen;
    std::vector<RowId> gone;
    // Rows so large that few fit beside the dead slots of a page that comes back, and small ones.
    for (const std::size_t length : {250U, 3U, 250U, 100U, 1U, 250U}) {
        const std::vector<RowId> ids = fill(700, length);
        for (const RowId id : ids) ASSERT_TRUE(seen.insert(id).second);
        for (const RowId id : gone) ASSERT_FALSE(table().row(id));
        gone = ids;
        if (length == 100)
            table().eraseAll();
        else
            erase(ids);
        expectSound();
    }
}

TEST_F(EmptiedPages, withManySmallRowsWaitUntilNobodyHoldsAPlace)
{
    const std::size_t before = pagesInUse();
    erase(fill(2500, 1));
    ASSERT_EQ(pagesInUse(), before + 10); // 255 rows each
    reopen();
    // A few with each change, so that none becomes long.
    for (int i = 0; i < 3; ++i) table().erase(table().insert({{0, ++number_}}));
    ASSERT_EQ(pagesInUse(), before);
    expectSound();
}

TEST_F(EmptiedPages, thatAnotherProgramLeftAreFoundByTheFirstChange)
{
    const std::size_t before = pagesInUse();
    fill(100, 200);
    committed(pager(), [&] {
        // Access keeps them: all slots dead, the page still the table's.
        for (const PageNo page : *table().dataPages()) killAllSlots(pager().write(page));
        table().eraseAll();
    });
    Table::State state(pager(), u"Bir", table().definitionPage(), {});
    committed(pager(), [&] {
        for (int i = 0; i < 5; ++i) {
            const PageNo page = allocatePage(pager());
            initRowPage(pager().write(page), table().definitionPage(), 7);
            mapSet(pager(), state.definition.owned, page);
        }
    });
    ASSERT_EQ(pagesInUse(), before + 5);
    reopen();
    const RowId row = table().insert({{0, 1}});
    ASSERT_EQ(pagesInUse(), before + 1);
    ASSERT_EQ(*table().dataPages(), std::vector<PageNo>{row.page});
    expectSound();
}

TEST_F(EmptiedPages, leaveWhatIsRememberedOfTheTableTrue)
{
    // A cursor begun before passes over them.
    const std::vector<RowId> ids = fill(300, 100);
    const PageList pages = table().dataPages();
    erase(ids);
    fill(10, 5, u"İki");
    std::size_t rows = 0;
    table().forEachRow(pages, [&](RowId, const RowView&) { return ++rows > 0; });
    ASSERT_EQ(rows, 0U);
}

} // namespace
