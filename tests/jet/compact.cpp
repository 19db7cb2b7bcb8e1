#include "files/memory_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/database/database.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/format/system_objects.h"
#include "store/jet/table/catalogue.h"
#include "store/jet/table/table_state.h"
#include "tests/jet/random_rows.h"
#include "tests/jet/sample_test.h"
#include "tests/support/fault.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

using namespace jet;

/// Whatever Access keeps in a file is in the compacted one.
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

const std::filesystem::path file = "eski.mdb";
const std::filesystem::path result = "yeni.mdb";

std::unique_ptr<Database> opened(files::MemoryDisk& disk, const std::filesystem::path& path)
{
    return Database::open(disk, path, Pager::Mode::readOnly);
}

/// The columns that name tables by the pages of their definitions, which a compacted file has elsewhere.
bool namesTables(const std::u16string& table, const std::u16string& column)
{
    return (table == u"MSysObjects" && column == u"Id") || (table == u"MSysACEs" && column == u"ObjectId");
}

/// Tables by the pages of their definitions.
std::map<double, std::u16string> tablesByPage(Database& database)
{
    std::map<double, std::u16string> tables;
    for (const auto& [name, page] : database.allTables()) tables[page.number()] = name;
    return tables;
}

using Row = std::vector<std::pair<std::string, Bytes>>; ///< of each field what it is, and its bytes

std::pair<std::string, Bytes> fieldOf(const RowView& row, std::size_t column, ColumnType type)
{
    if (row.isNull(column)) return {"nothing", {}};
    if (type == ColumnType::boolean) return {*row.number(column) != 0 ? "true" : "false", {}};
    if (type == ColumnType::ole) return {"value", std::get<Bytes>(row.value(column))};
    if (type != ColumnType::memo) return {"value", Bytes(row.stored(column).begin(), row.stored(column).end())};
    const std::string text = toUtf8(std::get<std::u16string>(row.value(column)));
    return {"value", Bytes(text.begin(), text.end())};
}

/// Every row of every table, those of the system too, with the names of tables where the file says their numbers.
std::map<std::u16string, std::multiset<Row>> rowsOf(Database& database)
{
    const auto tables = tablesByPage(database);
    std::map<std::u16string, std::multiset<Row>> all;
    for (const auto& [name, page] : database.allTables()) {
        const Table& table = database.table(name);
        auto& rows = all[name];
        table.forEachRow([&, &name = name](RowId, const RowView& view) {
            Row row;
            for (std::size_t i = 0; i < table.columns().size(); ++i) {
                const Column& column = table.columns()[i];
                const auto number = namesTables(name, column.name) ? view.number(i) : std::nullopt;
                if (number && tables.contains(*number))
                    row.emplace_back("table " + toUtf8(tables.at(*number)), Bytes{});
                else
                    row.push_back(fieldOf(view, i, column.type));
            }
            rows.insert(std::move(row));
            return true;
        });
    }
    return all;
}

/// The keys of every index that names no tables, by table and number.
std::map<std::pair<std::u16string, std::size_t>, std::multiset<Key>> keysOf(Database& database)
{
    std::map<std::pair<std::u16string, std::size_t>, std::multiset<Key>> all;
    for (const auto& [name, page] : database.allTables()) {
        Table::State table(database.pager(), name, page, {});
        for (const Index& index : table.definition.indexes) {
            if (std::ranges::any_of(index.columns, [&, &name = name](const IndexColumn& each) {
                    return namesTables(name, table.definition.columns[each.column].name);
                }))
                continue;
            auto& keys = all[{name, index.number}];
            table.tree(index).walk({}, [&](std::span<const std::uint8_t> key, RowId) {
                keys.emplace(key.begin(), key.end());
                return true;
            });
        }
    }
    return all;
}

std::vector<std::string> faultsOf(Database& database) { return checkDatabase(database).faults; }

void expectSameContent(files::MemoryDisk& disk)
{
    const auto before = opened(disk, file), after = opened(disk, result);
    ASSERT_THAT(faultsOf(*after), IsEmpty());
    const auto rows = rowsOf(*before), copied = rowsOf(*after);
    ASSERT_EQ(copied.size(), rows.size());
    for (const auto& [name, content] : rows) EXPECT_TRUE(copied.at(name) == content) << toUtf8(name);
    EXPECT_TRUE(keysOf(*after) == keysOf(*before));
    EXPECT_EQ(after->collation().lcid, before->collation().lcid);
    EXPECT_EQ(after->codePage(), before->codePage());
}

class CompactSamples : public samples::Test {};

INSTANTIATE_TEST_SUITE_P(, CompactSamples, testing::ValuesIn(samples::table()), RowName());

TEST_P(CompactSamples, keepEveryRowOfEveryTable)
{
    files::MemoryDisk disk;
    disk.content(file) = bytesOfFile(row());
    compact(disk, *opened(disk, file), result);
    expectSameContent(disk);
    // Once more: what was compacted can be compacted, and does not become larger.
    const std::size_t size = disk.content(result).size();
    disk.content(file) = disk.content(result);
    disk.remove(result);
    compact(disk, *opened(disk, file), result);
    expectSameContent(disk);
    EXPECT_EQ(disk.content(result).size(), size);
}

class Compact : public testing::Test {
protected:
    Compact()
    {
        Database::create(disk_, file, general, rows::created);
        const auto database = Database::open(disk_, file);
        Transaction change(database->pager());
        Table& people = database->createTable(u"Kişiler",
                                              {{.name = u"No", .type = ColumnType::longInteger, .autoNumber = true},
                                               {.name = u"Ad", .type = ColumnType::text, .size = 50},
                                               {.name = u"Not", .type = ColumnType::memo}},
                                              {{.name = u"PrimaryKey", .columns = {{u"No", true}}, .primaryKey = true},
                                               {.name = u"Ad", .columns = {{u"Ad", true}, {u"No", false}}}},
                                              rows::created);
        database->createTable(u"Boş", {{.name = u"A", .type = ColumnType::byte}}, {}, rows::created);
        for (const char16_t* name : {u"Veli", u"Ali", u"Ayşe", u"Ali", u"Çağla"})
            people.insert({{1, std::u16string(name)}, {2, std::u16string(5000, name[0])}});
        definition_ = people.definitionPage();
        change.commit();
    }
    /// A row of a table that people do not write.
    void addToSystem(const char16_t* table, std::initializer_list<std::pair<std::u16string_view, Value>> fields)
    {
        const auto database = Database::open(disk_, file);
        const Table& listed = database->table(table);
        Table::State state(database->pager(), table, listed.definitionPage(), {});
        state.systemObjects = &database->table(u"MSysObjects");
        std::vector<Assignment> values;
        for (const auto& [name, value] : fields) values.push_back({listed.columnNamed(name).value(), value});
        state.insert(values);
    }
    /// Where in the definition of Kişiler the record of that column stands.
    std::size_t columnRecord(std::size_t column) const
    {
        namespace at = definition_layout;
        return positionOf(definition_) + at::statistics::at(2) + at::column::bytes * column;
    }

    files::MemoryDisk disk_;
    PageNo definition_ = 0;
};

TEST_F(Compact, carriesQueriesFormsAndPropertiesAsTheyAre)
{
    const Bytes design(9000, 0x5A);
    const auto object = [&](std::uint32_t id, const char16_t* name, std::int16_t type) {
        addToSystem(u"MSysObjects", {{u"Id", static_cast<std::int32_t>(id)},
                                     {u"ParentId", static_cast<std::int32_t>(tablesContainer)},
                                     {u"Name", std::u16string(name)},
                                     {u"Type", type},
                                     {u"DateCreate", rows::created},
                                     {u"DateUpdate", rows::created},
                                     {u"Owner", Bytes{1, 2}},
                                     {u"Flags", std::int32_t{0}},
                                     {u"LvProp", design}});
    };
    object(systemObject + 5, u"Sorgu", 5);
    object(systemObject + 6, u"Form", -32768);
    object(systemObject + 7, u"Modül", -32761);
    addToSystem(u"MSysQueries", {{u"ObjectId", static_cast<std::int32_t>(systemObject + 5)},
                                 {u"Attribute", std::uint8_t{5}},
                                 {u"Order", Bytes{0, 1}},
                                 {u"Name1", std::u16string(u"Kişiler")},
                                 {u"Expression", std::u16string(3000, u'x')}});
    addToSystem(u"MSysRelationships", {{u"szRelationship", std::u16string(u"Bağ")}, {u"ccolumn", std::int32_t{1}}});
    compact(disk_, *opened(disk_, file), result);
    expectSameContent(disk_);
    // The copy is written to as the old file was.
    const auto copy = Database::open(disk_, result);
    copy->table(u"Kişiler").insert({{1, std::u16string(u"Zeki")}});
    ASSERT_THAT(faultsOf(*copy), IsEmpty());
}

TEST_F(Compact, takesKeysOfAnUnknownOrderOver)
{
    namespace at = definition_layout::column;
    auto& content = disk_.content(file);
    for (const std::size_t column : {1U, 2U}) {
        ASSERT_EQ(at::lcid.get(&content[columnRecord(column)]), general.lcid);
        at::lcid.put(&content[columnRecord(column)], 0x0411);
    }
    ASSERT_EQ(faultOf([&] {
                  Database::open(disk_, file)->table(u"Kişiler").insert({{1, std::u16string(u"Yeni")}});
              }),
              Fault::indexNotWritable);
    compact(disk_, *opened(disk_, file), result);
    expectSameContent(disk_);
}

TEST_F(Compact, namesAFieldThatItCannotCarryAndWritesNothing)
{
    constexpr std::uint8_t nobodyKnows = 0x12;
    definition_layout::column::type.put(&disk_.content(file)[columnRecord(2)], nobodyKnows);
    const auto refusal = refusalOf([&] { compact(disk_, *opened(disk_, file), result); });
    ASSERT_EQ(refusal.fault, Fault::unsupported);
    ASSERT_THAT(refusal.sentence, testing::AllOf(HasSubstr("\"Kişiler\""), HasSubstr("\"Not\"")));
    ASSERT_FALSE(disk_.exists(result));
    ASSERT_FALSE(disk_.exists("yeni.mdb.part"));
}

TEST_F(Compact, putsRowsInTheOrderOfThePrimaryKey)
{
    {
        const auto database = Database::open(disk_, file);
        database->table(u"Kişiler").insert({{0, std::int32_t{-7}}, {1, std::u16string(u"Önce")}});
    }
    compact(disk_, *opened(disk_, file), result);
    std::vector<double> numbers;
    opened(disk_, result)->table(u"Kişiler").forEachRow([&](RowId, const RowView& row) {
        numbers.push_back(row.number(0).value());
        return true;
    });
    ASSERT_EQ(numbers, (std::vector<double>{-7, 1, 2, 3, 4, 5}));
}

} // namespace
