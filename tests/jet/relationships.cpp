// Relationships: what they refuse, and what they change and take along.

#include "files/memory_disk.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/database/database.h"
#include "store/jet/sql/sql.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/jet/check_result.h"
#include "tests/jet/property_block.h"
#include "tests/jet/related_tables.h"
#include "tests/jet/sample_test.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <set>

using namespace jet;

namespace {

using related::Relationship;
using testing::HasSubstr;
using Numbers = std::set<std::int32_t>;

const std::filesystem::path file = "bag.mdb";
using related::createTables, related::number, related::parent, related::text, related::second;

Numbers numbersIn(Database& database, const char16_t* table)
{
    Numbers numbers;
    database.table(table).forEachRow([&](RowId, const RowView& row) {
        numbers.insert(static_cast<std::int32_t>(row.number(number).value()));
        return true;
    });
    return numbers;
}

class Related : public testing::Test {
protected:
    void make(const std::vector<const char16_t*>& tables, const std::vector<Relationship>& relationships)
    {
        createTables(disk, file, tables, related::Keys::given);
        database = Database::open(disk, file);
        for (const Relationship& each : relationships) related::relate(*database, each);
        reopen();
    }
    void reopen()
    {
        database.reset();
        database = Database::open(disk, file);
    }
    Table& table(const char16_t* name) { return database->table(name); }
    /// Its number is the next one.
    RowId add(const char16_t* to, Value up = {}, const char16_t* name = nullptr, Value up2 = {})
    {
        const std::int32_t next = given_[to] + 1;
        std::vector<Assignment> values = {{number, next}, {parent, std::move(up)}, {second, std::move(up2)}};
        if (name != nullptr) values.push_back({text, std::u16string(name)});
        const RowId row = table(to).insert(values);
        given_[to] = next;
        return row;
    }
    static Value no(std::int32_t which) { return which; }
    RowId row(const char16_t* of, std::int32_t which)
    {
        return table(of).range(table(of).indexes().front(), no(which), no(which)).at(0);
    }
    Value field(const char16_t* of, std::int32_t which, std::size_t column)
    {
        return table(of).row(row(of, which))->value(column);
    }
    Numbers numbers(const char16_t* of) { return numbersIn(*database, of); }
    /// The sentence with which an action is refused that leaves every byte as it was.
    template <class Action> std::string refusal(Fault fault, Action&& action)
    {
        const files::MemoryDisk::Content before = disk.content(file);
        try {
            action();
        } catch (const Error& error) {
            EXPECT_EQ(error.fault(), fault) << error.what();
            EXPECT_TRUE(disk.content(file) == before);
            return error.what();
        }
        return "was done";
    }
    void TearDown() override
    {
        if (!database) return;
        EXPECT_THAT(checkDatabase(*database), findsNothing());
    }

    files::MemoryDisk disk;
    std::unique_ptr<Database> database;

private:
    std::map<std::u16string, std::int32_t> given_;
};

constexpr auto *a = u"A", *b = u"B", *c = u"C", *d = u"D";
constexpr auto *key = u"PrimaryKey", *up = u"Üst", *up2 = u"Üst2", *byName = u"Ad", *byBoth = u"İki";

// ---- without cascades ----

TEST_F(Related, aChildNeedsItsParent)
{
    make({a, b}, {{u"AB", a, key, b, up}});
    add(a);
    add(b, no(1));
    add(b);
    ASSERT_THAT(refusal(Fault::noParent, [&] { add(b, no(9)); }),
                testing::AllOf(HasSubstr("\"AB\" ilişkisi"), HasSubstr("\"Üst\""), HasSubstr("\"A\" tablosunda")));
    refusal(Fault::noParent, [&] { table(b).update(row(b, 1), {{parent, no(2)}}); });
    refusal(Fault::noParent, [&] { table(b).update(row(b, 2), {{parent, no(2)}}); });
    add(a);
    table(b).update(row(b, 1), {{parent, no(2)}});
    table(b).update(row(b, 2), {{parent, no(1)}});
    table(b).update(row(b, 2), {{parent, Value()}});
    ASSERT_EQ(field(b, 1, parent), no(2));
}

TEST_F(Related, aParentWithChildrenStays)
{
    make({a, b}, {{u"AB", a, key, b, up}});
    add(a);
    add(a);
    add(b, no(1));
    ASSERT_THAT(refusal(Fault::hasChildren, [&] { table(a).erase(row(a, 1)); }),
                testing::AllOf(HasSubstr("\"AB\" ilişkisi"), HasSubstr("silinemez")));
    ASSERT_THAT(refusal(Fault::hasChildren,
                        [&] {
                            table(a).update(row(a, 1), {{number, no(5)}});
                        }),
                HasSubstr("değiştirilemez"));
    refusal(Fault::hasChildren, [&] { table(a).eraseAll(); });
    refusal(Fault::hasChildren, [&] { execute(*database, u"Delete From A"); });
    refusal(Fault::hasChildren, [&] { execute(*database, u"Delete From A Where No>0"); });
    table(a).update(row(a, 1), {{text, std::u16string(u"ad")}});
    table(a).update(row(a, 1), {{number, no(1)}});
    table(a).update(row(a, 2), {{number, no(7)}});
    table(b).erase(row(b, 1));
    table(a).erase(row(a, 1));
    ASSERT_EQ(numbers(a), Numbers{7});
}

// A refused step leaves an open transaction as it was, to go on with.
TEST_F(Related, whatIsRefusedSpoilsNoOpenTransaction)
{
    make({a, b}, {{u"AB", a, key, b, up}});
    {
        Transaction change(database->pager());
        add(a);
        add(b, no(1));
        ASSERT_EQ(faultOf([&] { add(b, no(2)); }), Fault::noParent);
        ASSERT_EQ(faultOf([&] { table(a).erase(row(a, 1)); }), Fault::hasChildren);
        ASSERT_EQ(faultOf([&] { table(b).update(row(b, 1), {{parent, no(3)}}); }), Fault::noParent);
        change.commit();
    }
    reopen();
    ASSERT_EQ(numbers(b), Numbers{1});
}

TEST_F(Related, textsMatchWhateverTheirCase)
{
    make({a, b}, {{u"AB", a, byName, b, byName}});
    add(a, {}, u"Çınar");
    add(b, {}, u"çınar");
    refusal(Fault::noParent, [&] { add(b, {}, u"cinar"); });
    refusal(Fault::hasChildren, [&] { table(a).erase(row(a, 1)); });
    table(a).update(row(a, 1), {{text, std::u16string(u"ÇINAR")}});
}

TEST_F(Related, ofSeveralFieldsAllMustMatch)
{
    make({a, b}, {{u"AB", a, byBoth, b, byBoth}});
    add(a, no(1), u"x");
    add(b, no(1), u"x");
    add(b);
    refusal(Fault::noParent, [&] { add(b, no(1), u"y"); });
    refusal(Fault::noParent, [&] { add(b, no(1)); });
    refusal(Fault::noParent, [&] { table(b).update(row(b, 1), {{parent, Value()}}); });
    table(b).update(row(b, 1), {{parent, Value()}, {text, Value()}});
}

TEST_F(Related, aRowMayBeItsOwnParent)
{
    make({a}, {{u"AA", a, key, a, up}});
    add(a, no(1));
    add(a, no(1));
    refusal(Fault::hasChildren, [&] { table(a).erase(row(a, 1)); });
    refusal(Fault::noParent, [&] { table(a).update(row(a, 2), {{number, no(8)}, {parent, no(9)}}); });
    table(a).update(row(a, 2), {{number, no(8)}, {parent, no(8)}});
    table(a).erase(row(a, 8));
    table(a).erase(row(a, 1));
    ASSERT_EQ(numbers(a), Numbers{});
}

// Rows that need only each other go together.
TEST_F(Related, rowsOfOneTableGoTogether)
{
    make({a}, {{u"AA", a, key, a, up}});
    add(a);
    add(a, no(1));
    add(a, no(2));
    refusal(Fault::hasChildren, [&] { execute(*database, u"Delete From A Where No<3"); });
    ASSERT_EQ(execute(*database, u"Delete From A Where No>1"), 2U);
    add(a, no(1));
    ASSERT_EQ(execute(*database, u"Delete From A"), 2U);
}

// Only what is written must be held: a parent whose own rules nobody can read still says whether it is there.
TEST_F(Related, rulesOfTheOtherTableHinderOnlyWhatWritesThere)
{
    make({a, b, c}, {{u"AB", a, key, b, up, true, true}, {u"BC", b, key, c, up, true, true}});
    add(a);
    add(b, no(1));
    properties::put(*database, a, Bytes{'M', 'R', '2', 0, 1});
    properties::put(*database, c, Bytes{'M', 'R', '2', 0, 1});
    reopen();
    add(b, no(1));
    refusal(Fault::noParent, [&] { add(b, no(9)); });
    refusal(Fault::readOnly, [&] { add(a); });
    // Nothing of C hangs on these.
    table(b).update(row(b, 1), {{number, no(7)}});
    table(b).erase(row(b, 7));
    ASSERT_EQ(numbers(b), Numbers{2});
    // What a cascade would have to write there is refused before anything is written.
    properties::put(*database, c, Bytes());
    reopen();
    add(c, no(2));
    properties::put(*database, c, Bytes{'M', 'R', '2', 0, 1});
    reopen();
    ASSERT_THAT(refusal(Fault::readOnly, [&] { table(b).update(row(b, 2), {{number, no(8)}}); }), HasSubstr("\"C\""));
    ASSERT_THAT(refusal(Fault::readOnly, [&] { table(b).erase(row(b, 2)); }), HasSubstr("\"C\""));
    properties::put(*database, a, Bytes());
    properties::put(*database, c, Bytes());
    reopen();
}

// ---- cascading deletes ----

TEST_F(Related, deletesCascadeOverSeveralTables)
{
    make({a, b, c, d}, {{u"AB", a, key, b, up, false, true},
                        {u"BC", b, key, c, up, false, true},
                        {u"AD", a, key, d, up, false, true},
                        {u"CD", c, key, d, up2, false, true}});
    for (int i = 0; i < 3; ++i) add(a);
    for (int i = 0; i < 30; ++i) add(b, no(1 + i % 3));
    for (int i = 0; i < 90; ++i) add(c, no(1 + i % 30));
    for (int i = 0; i < 9; ++i) add(d, no(1 + i % 3), nullptr, no(1 + (i + 1) % 3));
    add(d);
    table(a).erase(row(a, 1));
    ASSERT_EQ(numbers(a), (Numbers{2, 3}));
    ASSERT_EQ(numbers(b).size(), 20U);
    ASSERT_EQ(numbers(c).size(), 60U);
    ASSERT_EQ(numbers(d), (Numbers{2, 5, 8, 10}));
    ASSERT_EQ(execute(*database, u"Delete From A"), 2U);
    ASSERT_EQ(numbers(c), Numbers{});
    ASSERT_EQ(numbers(d), Numbers{10});
}

TEST_F(Related, aChildThatMustStayKeepsAllOfThem)
{
    make({a, b, c}, {{u"AB", a, key, b, up, false, true}, {u"BC", b, key, c, up}});
    add(a);
    add(b, no(1));
    add(b, no(1));
    add(c, no(2));
    ASSERT_THAT(refusal(Fault::hasChildren, [&] { table(a).erase(row(a, 1)); }), HasSubstr("\"BC\" ilişkisi"));
    table(c).erase(row(c, 1));
    table(a).erase(row(a, 1));
    ASSERT_EQ(numbers(b), Numbers{});
}

// One road forbids what another takes along: nobody is left behind.
TEST_F(Related, aChildThatGoesAnywayKeepsNobody)
{
    make({a, b, c},
         {{u"AB", a, key, b, up, false, true}, {u"AC", a, key, c, up, false, true}, {u"BC", b, key, c, up2}});
    add(a);
    add(b, no(1));
    add(c, no(1), nullptr, no(1));
    table(a).erase(row(a, 1));
    ASSERT_EQ(numbers(c), Numbers{});
}

TEST_F(Related, aTreeInOneTableGoesWithItsRoot)
{
    make({a}, {{u"AA", a, key, a, up, false, true}});
    add(a);
    add(a);
    for (int i = 3; i <= 200; ++i) add(a, no(i / 2));
    table(a).erase(row(a, 1));
    const Numbers left = numbers(a);
    ASSERT_TRUE(left.contains(2) && left.contains(4) && left.contains(5) && left.contains(200 / 2 + 60));
    ASSERT_FALSE(left.contains(3) || left.contains(6) || left.contains(7));
    // A tree deeper than any stack.
    for (std::int32_t last = 200, i = 0; i < 3000; ++i) {
        static_cast<void>(last);
        add(a, no(i == 0 ? 2 : 200 + i));
    }
    table(a).erase(row(a, 2));
    ASSERT_EQ(numbers(a), Numbers{});
}

TEST_F(Related, aCircleOfCascadesEnds)
{
    make({a, b, c}, {{u"AB", a, key, b, up, false, true},
                     {u"BC", b, key, c, up, false, true},
                     {u"CA", c, key, a, up, false, true}});
    add(a);
    add(b, no(1));
    add(c, no(1));
    table(a).update(row(a, 1), {{parent, no(1)}});
    add(a, no(1));
    add(a);
    table(b).erase(row(b, 1));
    ASSERT_EQ(numbers(a), Numbers{3});
    ASSERT_EQ(numbers(b), Numbers{});
    ASSERT_EQ(numbers(c), Numbers{});
}

TEST_F(Related, rowsWithoutAParentStay)
{
    make({a, b}, {{u"AB", a, byName, b, byName, true, true}});
    add(a);
    add(a, {}, u"x");
    add(b);
    add(b, {}, u"x");
    table(a).erase(row(a, 1));
    ASSERT_EQ(numbers(b), (Numbers{1, 2}));
    table(a).erase(row(a, 2));
    ASSERT_EQ(numbers(b), Numbers{1});
}

TEST_F(Related, childrenAreLeftBehindWithoutTheirParent)
{
    make({a, b, c}, {{u"AB", a, key, b, up, false, false, true}, {u"AC", a, key, c, up, false, true}});
    add(a);
    add(a);
    add(b, no(1), u"x");
    add(b, no(2));
    add(c, no(1));
    table(a).erase(row(a, 1));
    ASSERT_EQ(field(b, 1, parent), Value());
    ASSERT_EQ(field(b, 1, text), Value(std::u16string(u"x")));
    ASSERT_EQ(field(b, 2, parent), no(2));
    ASSERT_EQ(numbers(c), Numbers{});
}

TEST_F(Related, aChildThatMustHaveAParentIsNotLeftBehind)
{
    make({a, b}, {{u"AB", a, key, b, up, false, false, true}});
    properties::put(*database, b, {{{u"Üst", {{u"Required", true}}}}});
    reopen();
    add(a);
    add(b, no(1));
    refusal(Fault::required, [&] { table(a).erase(row(a, 1)); });
    ASSERT_EQ(numbers(a), Numbers{1});
}

// ---- cascading updates ----

TEST_F(Related, aNewNumberReachesTheChildren)
{
    make({a, b}, {{u"AB", a, key, b, up, true}});
    add(a);
    add(a);
    for (int i = 0; i < 5; ++i) add(b, no(1 + i % 2));
    table(a).update(row(a, 1), {{number, no(50)}, {text, std::u16string(u"yeni")}});
    for (const int i : {1, 3, 5}) ASSERT_EQ(field(b, i, parent), no(50));
    for (const int i : {2, 4}) ASSERT_EQ(field(b, i, parent), no(2));
    add(a);
    ASSERT_EQ(numbers(a), (Numbers{2, 3, 50}));
    refusal(Fault::hasChildren, [&] { table(a).erase(row(a, 50)); });
}

TEST_F(Related, aNewKeyRunsOnFromTableToTable)
{
    make({a, b, c}, {{u"AB", a, byName, b, byName, true}, {u"BC", b, byName, c, byName, true}});
    add(a, {}, u"x");
    add(b, {}, u"X");
    add(c, {}, u"x");
    table(a).update(row(a, 1), {{text, std::u16string(u"yeni")}});
    ASSERT_EQ(field(c, 1, text), Value(std::u16string(u"yeni")));
    table(a).update(row(a, 1), {{text, std::u16string(u"YENİ")}});
    ASSERT_EQ(field(b, 1, text), Value(std::u16string(u"YENİ")));
}

TEST_F(Related, aRuleOfAChildKeepsTheParentsKey)
{
    make({a, b}, {{u"AB", a, key, b, up, true}});
    properties::put(*database, b, {{{u"Üst", {{u"ValidationRule", u"<10"}}}}});
    reopen();
    add(a);
    add(b, no(1));
    add(b, no(1));
    ASSERT_THAT(refusal(Fault::ruleBroken, [&] { table(a).update(row(a, 1), {{number, no(10)}}); }), HasSubstr("<10"));
    ASSERT_EQ(field(a, 1, number), no(1));
    table(a).update(row(a, 1), {{number, no(9)}});
    ASSERT_EQ(field(b, 2, parent), no(9));
}

TEST_F(Related, twoRoadsToOneChildBringItTheSameKey)
{
    make({a, b, c, d}, {{u"AB", a, byName, b, byName, true},
                        {u"AC", a, byName, c, byName, true},
                        {u"BD", b, byName, d, byName, true},
                        {u"CD", c, byName, d, byName, true}});
    for (const auto* each : {a, b, c, d}) add(each, {}, u"x");
    table(a).update(row(a, 1), {{text, std::u16string(u"y")}});
    for (const auto* each : {b, c, d}) ASSERT_EQ(field(each, 1, text), Value(std::u16string(u"y")));
}

TEST_F(Related, aCircleOfUpdatesEnds)
{
    make({a, b}, {{u"AB", a, byName, b, byName, true}});
    add(a, {}, u"x");
    add(b, {}, u"x");
    related::relate(*database, {u"BA", b, byName, a, byName, true});
    reopen();
    table(a).update(row(a, 1), {{text, std::u16string(u"y")}});
    ASSERT_EQ(field(b, 1, text), Value(std::u16string(u"y")));
    table(b).update(row(b, 1), {{text, std::u16string(u"z")}});
    ASSERT_EQ(field(a, 1, text), Value(std::u16string(u"z")));
}

TEST_F(Related, aRowThatIsItsOwnParentKeepsUp)
{
    make({a}, {{u"AA", a, key, a, up, true}});
    add(a, no(1));
    add(a, no(1));
    table(a).update(row(a, 1), {{number, no(7)}});
    ASSERT_EQ(field(a, 7, parent), no(7));
    ASSERT_EQ(field(a, 2, parent), no(7));
    table(a).update(row(a, 2), {{parent, no(2)}});
    table(a).update(row(a, 7), {{number, no(8)}, {parent, no(2)}});
    ASSERT_EQ(field(a, 8, parent), no(2));
}

// ---- files ----

TEST_F(Related, relationshipsAreHeldInTheCompactedFileToo)
{
    make({a, b}, {{u"AB", a, key, b, up, true, true}});
    add(a);
    add(b, no(1));
    compact(disk, *database, "yeni.mdb", {});
    database.reset();
    const auto compacted = Database::open(disk, "yeni.mdb");
    ASSERT_EQ(faultOf([&] { compacted->table(b).insert({{number, no(2)}, {parent, no(2)}}); }), Fault::noParent);
    compacted->table(a).erase(compacted->table(a).range(compacted->table(a).indexes().front(), {}, {}).at(0));
    ASSERT_EQ(numbersIn(*compacted, b), Numbers{});
}

/// A change of the first row of a table that reaches the rows of others, on tables that are related like this.
struct CascadeRow {
    related::Relationship first; ///< from a to b; b to c cascades
    std::function<void(Table&, RowId)> change;
};
class CascadeOnADisk : public TableTest<CascadeRow> {
protected:
    /// Parents with children over two tables with rules, beside others that stay.
    static void fill(files::Disk& disk)
    {
        createTables(disk, file, {a, b, c}, related::Keys::given);
        auto database = Database::open(disk, file);
        related::relate(*database, row().first);
        related::relate(*database, {u"BC", b, key, c, up, true, true});
        properties::put(*database, b,
                        {{{u"Üst", {{u"ValidationRule", u"<=3 Or >50 Or Is Null"}}},
                          {u"Ad", {{u"DefaultValue", u"\"yeni\""}, {u"AllowZeroLength", false}}},
                          {u"", {{u"ValidationRule", u"[Ad] Is Not Null"}}}}});
        database.reset();
        database = Database::open(disk, file);
        Transaction change(database->pager());
        for (std::int32_t i = 0; i < 3; ++i) database->table(a).insert({{number, 1 + i}});
        for (std::int32_t i = 0; i < 60; ++i) database->table(b).insert({{number, 1 + i}, {parent, 1 + i % 3}});
        for (std::int32_t i = 0; i < 200; ++i)
            database->table(c).insert({{number, 1 + i},
                                       {parent, 1 + i % 60},
                                       {text, std::u16string(20, static_cast<char16_t>(u'a' + i % 20))}});
        change.commit();
    }
    using State = std::vector<std::vector<Value>>;
    static State stateOf(Database& database)
    {
        State state;
        for (const auto* each : {a, b, c})
            database.table(each).forEachRow([&](RowId, const RowView& row) {
                std::vector<Value>& values = state.emplace_back();
                for (std::size_t i = 0; i < database.table(each).columns().size(); ++i) values.push_back(row.value(i));
                return true;
            });
        return state;
    }
    static void change(Database& database)
    {
        Table& parents = database.table(a);
        const Value one(std::int32_t{1});
        row().change(parents, parents.range(parents.indexes().front(), one, one).at(0));
    }
    /// The state of a file before and after the change that nothing disturbs.
    void SetUp() override
    {
        fill(start);
        PowerCutDisk disk;
        disk.put(file, start.content(file));
        const auto database = Database::open(disk, file);
        before = stateOf(*database);
        change(*database);
        after = stateOf(*database);
        ASSERT_NE(before, after);
    }

    PowerCutDisk start;
    State before, after;
};

RowTable<CascadeRow> cascades()
{
    const auto erase = [](Table& table, RowId row) { table.erase(row); };
    return {
        {"a deletion that takes children along", {{u"AB", a, key, b, up, true, true}, erase}},
        {"a deletion that leaves children behind", {{u"AB", a, key, b, up, false, false, true}, erase}},
        {"a new key that its children get",
         {{u"AB", a, key, b, up, true, true},
          [](Table& table, RowId row) {
              table.update(row, {{number, std::int32_t{77}}});
          }}},
    };
}

INSTANTIATE_TEST_SUITE_P(, CascadeOnADisk, testing::ValuesIn(cascades()), RowName());

TEST_P(CascadeOnADisk, powerCutAtAnyMomentLeavesAllOrNothing)
{
    int stops = 0;
    int whole = 0;
    for (std::uint32_t luck = 1; luck <= 10; ++luck) {
        PowerCutDisk again;
        again.put(file, start.content(file));
        const auto victim = Database::open(again, file);
        again.beforeEachChange = [&] {
            const auto medium = again.afterPowerCut(luck * 1000 + static_cast<std::uint32_t>(++stops));
            const auto recovered = Database::open(*medium, file);
            const State found = stateOf(*recovered);
            if (found != before) {
                ++whole;
                ASSERT_EQ(found, after);
            }
            ASSERT_THAT(checkDatabase(*recovered), findsNoFault());
        };
        change(*victim);
        again.beforeEachChange = {};
        ASSERT_FALSE(HasFailure());
        ASSERT_EQ(stateOf(*victim), after);
    }
    ASSERT_GT(stops, 60);
    ASSERT_GT(whole, 0);
}

TEST_P(CascadeOnADisk, everyDiskFaultLeavesAllOrNothing)
{
    int failed = 0;
    for (int fault = 1; fault < 40; ++fault) {
        PowerCutDisk disk;
        disk.put(file, start.content(file));
        auto database = Database::open(disk, file);
        disk.failing = {fault, fault + 1};
        const auto thrown = faultOf([&] { change(*database); });
        if (thrown) {
            ++failed;
            ASSERT_EQ(thrown, Fault::disk);
        }
        database.reset();
        database = Database::open(disk, file);
        const State found = stateOf(*database);
        ASSERT_TRUE(found == before || found == after);
        ASSERT_TRUE(checkDatabase(*database).ok());
    }
    ASSERT_GT(failed, 3);
}

TEST_P(CascadeOnADisk, aFullDiskLeavesAllOrNothing)
{
    int failed = 0;
    for (std::size_t room = 0; room < 24 * pageSize; room += pageSize / 2) {
        PowerCutDisk disk;
        disk.put(file, start.content(file));
        auto database = Database::open(disk, file);
        disk.capacity = disk.content(file).size() + room;
        const auto thrown = faultOf([&] { change(*database); });
        ASSERT_TRUE(!thrown || thrown == Fault::disk);
        ASSERT_EQ(stateOf(*database), thrown ? before : after);
        failed += thrown ? 1 : 0;
        disk.capacity.reset();
        database.reset();
        database = Database::open(disk, file);
        ASSERT_EQ(stateOf(*database), thrown ? before : after);
        if (thrown) change(*database);
        ASSERT_EQ(stateOf(*database), after);
        ASSERT_TRUE(checkDatabase(*database).ok());
    }
    ASSERT_GT(failed, 3);
}

class RelatedSamples : public samples::Test {};

INSTANTIATE_TEST_SUITE_P(, RelatedSamples, testing::ValuesIn(samples::table()), RowName());

TEST_P(RelatedSamples, everyRelationshipHasItsOtherEnd)
{
    files::MemoryDisk disk;
    std::ifstream stream(row(), std::ios::binary);
    disk.content(file).assign(std::istreambuf_iterator<char>(stream), {});
    const auto database = Database::open(disk, file);
    for (const std::u16string& name : database->tableNames())
        ASSERT_THAT(database->table(name).whyReadOnly().value_or(""), testing::Not(HasSubstr("öteki ucu")));
}

} // namespace
