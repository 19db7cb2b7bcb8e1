#include "store/jet/values/sort_key.h"
#include "tests/jet/committed.h"
#include "tests/jet/mdbtools.h"
#include "tests/jet/random_rows.h"
#include "tests/jet/sample_test.h"

#include "files/memory_disk.h"
#include "platform/system_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "tests/support/files.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>

namespace {

constexpr const char* path = "deneme.mdb";

/// What a table should hold.
using Model = std::map<jet::RowId, std::vector<jet::Value>>;

std::vector<jet::Value> valuesOf(const jet::Table& table, const jet::RowView& row)
{
    std::vector<jet::Value> values;
    for (std::size_t i = 0; i < table.columns().size(); ++i) values.push_back(row.value(i));
    return values;
}

Model modelOf(const jet::Table& table)
{
    Model model;
    table.forEachRow([&](jet::RowId id, const jet::RowView& row) {
        model.emplace(id, valuesOf(table, row));
        return true;
    });
    return model;
}

/// What the column gives back: a text of fixed length is filled up with blanks.
jet::Value kept(const jet::Column& column, jet::Value value)
{
    auto* text = std::get_if<std::u16string>(&value);
    if (text != nullptr && column.fixed) text->resize(column.length / 2, u' ');
    return value;
}

/// Inserts, grows, shrinks, changes and deletes rows at random, in the table and in the model alike.
void changeAtRandom(jet::Table& table, Model& model, rows::Maker& maker, int steps)
{
    const std::vector<jet::Column>& columns = table.columns();
    for (int step = 0; step < steps; ++step) {
        const int action = maker.below(10);
        auto at = model.begin();
        if (!model.empty()) std::advance(at, maker.below(int(model.size())));
        if (action < 5 || model.empty()) {
            std::vector<jet::Assignment> values;
            for (std::size_t i = 0; i < columns.size(); ++i) {
                if (!columns[i].autoNumber && !columns[i].autoGuid && !maker.oneIn(5))
                    values.push_back({i, maker.value(columns[i])});
            }
            const jet::RowId id = table.insert(values);
            model.emplace(id, valuesOf(table, table.row(id).value()));
            for (const jet::Assignment& each : values)
                ASSERT_EQ(model[id][each.column], kept(columns[each.column], each.value));
        } else if (action < 8) {
            std::vector<jet::Assignment> values;
            for (std::size_t i = 0; i < columns.size(); ++i) {
                if (!columns[i].autoNumber && !columns[i].autoGuid && maker.oneIn(3))
                    values.push_back({i, maker.value(columns[i])});
            }
            table.update(at->first, values);
            for (const jet::Assignment& each : values) at->second[each.column] = kept(columns[each.column], each.value);
        } else {
            table.erase(at->first);
            model.erase(at);
        }
    }
}

std::string faultsOf(jet::Database& database)
{
    const jet::CheckResult result = jet::checkDatabase(database);
    std::string text;
    for (const std::string& fault : result.faults) text += fault + "; ";
    return text;
}

/// The opinion of a reader that shares nothing with the engine and recomputes every index entry; true without one.
bool isTrue(const std::filesystem::path& file)
{
    const std::filesystem::path judge = std::filesystem::absolute(samples::database("judge/judge.py"));
    if (!std::filesystem::exists(judge)) return true;
    return run({.program = "python3", .arguments = {judge.string(), file.string()}, .limit = std::chrono::minutes(2)})
               .code == 0;
}

struct RandomChangesInOrderRow {
    bool isTurkish;
    unsigned seed;
};

const RowTable<RandomChangesInOrderRow> randomChangesInOrder = {
    {"general order", {false, 1}},
    {"Turkish order", {true, 2}},
};

TABLE_SUITE(RandomChangesInOrder, RandomChangesInOrderRow, randomChangesInOrder);

TEST_P(RandomChangesInOrder, aThousandChangesLeaveWhatTheModelHolds)
{
    const auto& [isTurkish, seed] = row();
    files::MemoryDisk disk;
    jet::Database::create(disk, path, isTurkish ? jet::turkish : jet::general, rows::created);
    Model model;
    {
        const auto database = jet::Database::open(disk, path);
        jet::Table& table = database->createTable(u"Deneme", rows::everyType(), rows::someIndexes(), rows::created);
        rows::Maker maker(seed);
        for (int round = 0; round < 10; ++round) {
            committed(database->pager(), [&] { changeAtRandom(table, model, maker, 100); });
            ASSERT_EQ(modelOf(table), model);
            ASSERT_EQ(table.rowCount(), model.size());
        }
        ASSERT_EQ(faultsOf(*database), "");
    }
    const auto database = jet::Database::open(disk, path);
    ASSERT_EQ(modelOf(database->table(u"Deneme")), model);
    ASSERT_EQ(database->table(u"Deneme").whyReadOnly().value_or(""), "");
}

TEST(RandomChanges, aTransactionTakenBackLeavesTheRowsOfBefore)
{
    files::MemoryDisk disk;
    jet::Database::create(disk, path, jet::turkish, rows::created);
    const auto database = jet::Database::open(disk, path);
    jet::Table& table = database->createTable(u"Deneme", rows::everyType(), rows::someIndexes(), rows::created);
    rows::Maker maker(3);
    Model model;
    for (int round = 0; round < 20; ++round) {
        Model attempt = model;
        jet::Transaction change(database->pager());
        changeAtRandom(table, attempt, maker, 40);
        if (maker.oneIn(2)) {
            change.commit();
            model = attempt;
        } else {
            database->pager().rollback();
        }
        ASSERT_EQ(modelOf(table), model);
        ASSERT_EQ(table.rowCount(), model.size());
    }
    ASSERT_EQ(faultsOf(*database), "");
}

TEST(RandomChanges, mdbtoolsReadsWhatWasWritten)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / path;
    jet::Database::create(platform::systemDisk(), file, jet::turkish, rows::created);
    const auto database = jet::Database::open(platform::systemDisk(), file);
    jet::Table& table = database->createTable(u"Deneme", rows::everyType(), rows::someIndexes(), rows::created);
    rows::Maker maker(4);
    Model model;
    committed(database->pager(), [&] { changeAtRandom(table, model, maker, 500); });
    ASSERT_EQ(mdbtools::tables(file), std::vector<std::string>{"Deneme"});
    ASSERT_EQ(mdbtools::difference(file, table), "");
}

class RandomChangesOfSamples : public samples::Test {};

INSTANTIATE_TEST_SUITE_P(, RandomChangesOfSamples, testing::ValuesIn(samples::table()), RowName());

TEST_P(RandomChangesOfSamples, databasesMadeByAccessStayTrue)
{
    const std::filesystem::path& file = row();
    const TemporaryFolder folder;
    const std::filesystem::path copy = folder / path;
    copyWritable(file, copy);
    const auto database = jet::Database::open(platform::systemDisk(), copy);
    rows::Maker maker(5);
    const bool isOrderKnown = jet::hasWeights(database->collation());
    for (const std::u16string& name : database->tableNames()) {
        jet::Table& table = database->table(name);
        if (table.whyReadOnly()) continue;
        Model model = modelOf(table);
        jet::Transaction change(database->pager());
        for (int round = 0; round < 1000; ++round) {
            try {
                changeAtRandom(table, model, maker, 1);
            } catch (const jet::Error& error) {
                // The tables have rules of their own: such a row is refused and the rest stays as it is.
                const bool refused = rows::isAgainstTheRules(error.fault()) ||
                                     (!isOrderKnown && error.fault() == jet::Fault::indexNotWritable);
                ASSERT_TRUE(refused) << error.what();
            }
        }
        change.commit();
        ASSERT_EQ(modelOf(table), model);
        ASSERT_EQ(mdbtools::difference(copy, table), "");
    }
    ASSERT_EQ(faultsOf(*database), "");
    // One of the files brings an entry that its own judge doubts.
    if (isTrue(file)) {
        ASSERT_TRUE(isTrue(copy));
    }
}

} // namespace
