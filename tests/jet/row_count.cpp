#include "store/jet/format/definition_layout.h"
#include "tests/jet/committed.h"
#include "tests/jet/memory_database.h"
#include "tests/jet/mixed_work.h"

#include <gtest/gtest.h>

using namespace jet;

namespace {

/// A table with work in it whose rows somebody counts.
struct Counted : MemoryDatabase {
    Counted() : MemoryDatabase("Yag.mdb")
    {
        database.reset();
        disk.remove(file);
        MixedWork::create(disk, file);
        reopen();
        change();
    }
    void change()
    {
        committed(pager(), [this] {
            for (int i = 0; i < 20; ++i) work.change(*database, rows);
        });
    }
    Table& table() const { return database->table(MixedWork::table); }

    MixedWork work{5};
    MixedWork::Rows rows;
};

} // namespace

TEST(RowCount, followsEveryChangeBeforeAndAfterTheTableIsVerified)
{
    Counted mill;
    mill.reopen();
    ASSERT_EQ(mill.table().liveRows(), mill.rows.size());
    ASSERT_FALSE(mill.table().whyReadOnly());
    ASSERT_EQ(mill.table().liveRows(), mill.rows.size());
    for (int i = 0; i < 20; ++i) {
        mill.change();
        ASSERT_EQ(mill.table().liveRows(), mill.rows.size());
        {
            const Transaction takenBack(mill.pager());
            mill.table().insert({{4, 1.0}, {2, u"Kod"}});
            ASSERT_EQ(mill.table().liveRows(), mill.rows.size() + 1);
        }
        ASSERT_EQ(mill.table().liveRows(), mill.rows.size());
    }
}

TEST(RowCount, thatAnotherProgramHasLeftWrongIsNotBelieved)
{
    Counted mill;
    committed(mill.pager(), [&] {
        const PageBytes page = mill.pager().write(mill.table().definitionPage());
        definition_layout::head::rowCount.put(page, 3);
    });
    mill.reopen();
    ASSERT_EQ(mill.table().rowCount(), 3U);
    ASSERT_EQ(mill.table().liveRows(), mill.rows.size());
    ASSERT_FALSE(mill.table().whyReadOnly());
    ASSERT_EQ(mill.table().liveRows(), mill.rows.size());
    {
        const Transaction takenBack(mill.pager());
        mill.table().insert({{4, 1.0}, {2, u"Kod"}});
        ASSERT_EQ(mill.table().liveRows(), mill.rows.size() + 1);
    }
    ASSERT_EQ(mill.table().liveRows(), mill.rows.size());
    mill.change();
    ASSERT_EQ(mill.table().liveRows(), mill.rows.size());
}
