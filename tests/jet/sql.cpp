#include "store/jet/sql/sql.h"
#include "files/memory_disk.h"
#include "store/jet/database/database.h"
#include "store/jet/format/doors.h"
#include "store/jet/values/calendar.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <random>

using jet::ColumnType;
using jet::Currency;
using jet::DateTime;
using jet::Null;
using jet::Numeric;
using jet::Value;

namespace {

using Texts = std::vector<std::string>;

std::u16string u16(const std::string& text) { return jet::fromUtf8(text); }

/// How a journal may look in the files of different mills.
struct Shape {
    ColumnType weight = ColumnType::doubleFloat;
    ColumnType money = ColumnType::currency;
    bool indexes = false;
    jet::Collation collation = jet::turkish;
};

/// A database in memory with both tables of the mill, empty.
class Mill {
public:
    explicit Mill(const Shape& shape = {})
    {
        jet::Database::create(disk_, "Yag.mdb", shape.collation, DateTime{45000});
        database_ = jet::Database::open(disk_, "Yag.mdb");
        std::vector<jet::NewIndex> ofCari, ofHareket;
        if (shape.indexes) {
            ofCari.push_back({.name = u"Unvan", .columns = {{u"Unvan", true}}});
            ofHareket.push_back({.name = u"Tarih", .columns = {{u"Tarih", true}}});
            ofHareket.push_back({.name = u"CariHar", .columns = {{u"CariHar", true}}});
        }
        database_->createTable(u"Cari",
                               {{.name = u"Unvan", .type = ColumnType::text, .size = 50},
                                {.name = u"Yuzde", .type = ColumnType::singleFloat},
                                {.name = u"Kap", .type = ColumnType::text, .size = 20},
                                {.name = u"Nakit", .type = shape.money}},
                               ofCari, DateTime{45000});
        const auto number = [](const char16_t* name, ColumnType type) {
            return jet::NewColumn{.name = name, .type = type, .precision = 18, .scale = 4};
        };
        database_->createTable(u"Hareket",
                               {{.name = u"Tarih", .type = ColumnType::dateTime},
                                number(u"Zeytin", shape.weight),
                                number(u"Yağ", shape.weight),
                                number(u"Yuzde", ColumnType::singleFloat),
                                number(u"HakTut", shape.weight),
                                number(u"Nakit", shape.money),
                                {.name = u"CariHar", .type = ColumnType::text, .size = 50},
                                {.name = u"Onay", .type = ColumnType::boolean}},
                               ofHareket, DateTime{45000});
    }

    jet::Database& database() { return *database_; }
    jet::Table& cari() { return database_->table(u"Cari"); }
    jet::Table& hareket() { return database_->table(u"Hareket"); }

    void customer(const Value& name, const Value& fee = Null{}) { cari().insert({{0, name}, {3, fee}}); }
    void pressing(const Value& moment, const Value& olives, const Value& customer)
    {
        hareket().insert({{0, moment}, {1, olives}, {6, customer}});
    }

    /// The texts of one field of the rows that a query selects, in its order; Null is "-".
    Texts texts(const std::string& sql, const std::string& field)
    {
        const jet::Selection selection = jet::select(database(), u16(sql));
        const std::size_t column = *selection.table->columnNamed(u16(field));
        Texts result;
        std::u16string text;
        for (const jet::RowId id : selection.rows)
            result.push_back(selection.table->row(id)->text(column, text) ? jet::toUtf8(text) : "-");
        return result;
    }

    Value sum(const std::string& field, const std::string& condition)
    {
        return jet::select(database(), u16("Select Sum(" + field + ") From Hareket Where " + condition)).aggregates[0];
    }

private:
    files::MemoryDisk disk_;
    std::unique_ptr<jet::Database> database_;
};

Value name(const std::string& text) { return u16(text); }

DateTime at(int year, int month, int day, int hour = 0, int minute = 0, int second = 0)
{
    return jet::dateTime(year, month, day, hour, minute, second).value();
}

// ---- Search ---------------------------------------------------------------------------------------------------

struct SqlSearchRow {
    std::string typed;
    Texts found;
};

const RowTable<SqlSearchRow> sqlSearch = {
    {"one letter", {"A", {"ALI", "Ahmet Veli", "ali", "ALİ", "Ali ", "Ali Veli", "Alican", "A_1"}}},
    {"a name", {"Ali", {"ali", "ALİ", "Ali ", "Ali Veli", "Alican"}}},
    {"a name and a blank", {"Ali ", {"Ali ", "Ali Veli"}}},
    {"nobody", {"Ali Vz", {}}},
    {"another alphabet letter", {"Ç", {"çetin"}}},
    {"dotless i", {"I", {"Isparta", "IŞIK", "ışık"}}},
    {"dotted i", {"İs", {"is"}}},
    {"typed star", {"A*l", {"ALI", "Ahmet Veli", "ali", "ALİ", "Ali ", "Ali Veli", "Alican"}}},
    {"starts with a star",
     {"*li", Texts{"Ahmet Veli", "ali", "ALİ", "Ali ", "Ali Veli", "Alican", "Veli Ali", "-Ali"}}},
    {"a comma", {"5,", {"5,"}}},
    {"percent", {"%", {"%5"}}},
    {"underscore", {"A_", {"A_1"}}},
    {"a set", {"[AB]l", {"ALI", "ali", "ALİ", "Ali ", "Ali Veli", "Alican", "Bl"}}},
    {"a hyphen, which has no weight", {"-A", {"-Ali"}}},
    {"double quote", {"\"", {}}},
};

TABLE_SUITE(SqlSearch, SqlSearchRow, sqlSearch);

TEST_P(SqlSearch, searchesByTheFirstLetters)
{
    const auto& [typed, found] = row();
    for (const bool indexes : {false, true}) {
        Mill mill({.indexes = indexes});
        mill.customer(Null{});
        for (const char* each :
             {"Veli Ali", "Alican", "Ali Veli", "ali",     "Ahmet Veli", "ALİ", "ALI", "Ali ", "çetin", "Âdem",
              "IŞIK",     "ışık",   "is",       "Isparta", "5,",         "%5",  "A_1", "Bl",   "Cl",    "-Ali"})
            mill.customer(name(each));
        Texts rows = mill.texts("Select * From Cari where Unvan Like '" + typed + "*' Order By Unvan Asc", "Unvan");
        // A hyphen has no place of its own in the alphabet: where "-Ali" stands among the Alis is not at issue here.
        Texts wanted = found;
        std::ranges::sort(rows);
        std::ranges::sort(wanted);
        ASSERT_EQ(rows, wanted);
    }
}

const RowTable<std::string> sqlOrderOfNames = {
    {"whole register", ""},
    {"through a pattern", "where Unvan Like '*'"},
    {"through another condition", "where Unvan<>'nobody'"},
};

TABLE_SUITE(SqlOrderOfNames, std::string, sqlOrderOfNames);

TEST_P(SqlOrderOfNames, namesComeInTurkishOrder)
{
    const std::string& search = row();
    const Texts alphabet{"",      "5 Kardeş", "50 Kardeş", "Ali",  "Ali ",  "Ali Veli", "Alican", "Cemal", "Çetin",
                         "Deniz", "Gül",      "Ğ",         "Hale", "Ilgaz", "Işık",     "İsmail", "Jale",  "Ozan",
                         "Öznur", "Sami",     "Şule",      "Umut", "Ümit",  "Veli",     "Zeki"};
    for (const jet::Collation collation : {jet::turkish, jet::general}) {
        Mill mill({.collation = collation});
        Texts shuffled = alphabet;
        std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
        for (const std::string& each : shuffled) mill.customer(name(each));
        mill.customer(Null{});
        Texts wanted = alphabet;
        if (search.empty()) wanted.insert(wanted.begin(), "-");
        ASSERT_EQ(mill.texts("Select * From Cari " + search + " Order By Unvan Asc", "Unvan"), wanted);
        std::reverse(wanted.begin(), wanted.end());
        ASSERT_EQ(mill.texts("Select * From Cari " + search + " Order By Unvan Desc", "Unvan"), wanted);
    }
}

TEST(Sql, theSearchFollowsEveryChangeOfTheRegister)
{
    const std::string search = "Select * From Cari where Unvan Like 'Al*' Order By Unvan Asc";
    Mill mill;
    ASSERT_EQ(mill.texts(search, "Unvan"), Texts{});
    mill.customer(name("Ali Veli"));
    ASSERT_EQ(mill.texts(search, "Unvan"), Texts{"Ali Veli"});
    mill.customer(name("Ali"));
    const auto veli = mill.cari().insert({{0, name("Veli")}});
    ASSERT_EQ(mill.texts(search, "Unvan"), (Texts{"Ali", "Ali Veli"}));
    mill.cari().update(veli, {{0, name("Ali Can")}});
    ASSERT_EQ(mill.texts(search, "Unvan"), (Texts{"Ali", "Ali Can", "Ali Veli"}));
    {
        jet::Transaction change(mill.database().pager());
        mill.cari().erase(veli);
        mill.customer(name("Ali Zeki"));
        ASSERT_EQ(mill.texts(search, "Unvan"), (Texts{"Ali", "Ali Veli", "Ali Zeki"}));
        // Left without a commit.
    }
    ASSERT_EQ(mill.texts(search, "Unvan"), (Texts{"Ali", "Ali Can", "Ali Veli"}));
    jet::execute(mill.database(), u"DELETE FROM Cari");
    ASSERT_EQ(mill.texts(search, "Unvan"), Texts{});
    mill.customer(name("Alper"));
    ASSERT_EQ(mill.texts(search, "Unvan"), Texts{"Alper"});
}

/// Letters with weights of one, two and four bytes, without any, of several characters, halves of pairs: whatever the
/// keys of a name look like, the search that walks them finds the rows that reading all names finds.
TEST(Sql, theSearchMissesNobody)
{
    const std::u16string units =
        u"aAâÂbBçÇıIiİoöÖsSşŞßÆæœzZ0159  --_.,\u00A0\u00AD\u0301\u0308\u0130\u212A\u017F\u01C5"
        u"\u01C6\u3042\u30A2\u6F22\u03A3\u03C2\u03C3\u10A0\u2D00\u0430\u0410\uFB01\uFEFF\u0001";
    std::mt19937 random(11);
    const auto some = [&](std::size_t longest) {
        std::u16string text;
        for (std::size_t left = random() % (longest + 1); left > 0; --left) {
            text += units[random() % units.size()];
            if (random() % 40 == 0) text += u"\xD83C\xDF33";
        }
        return text;
    };
    Mill mill;
    std::vector<std::u16string> names;
    for (int i = 0; i < 800; ++i) {
        names.push_back(some(6));
        mill.customer(names.back());
    }
    mill.customer(std::u16string(49, u' ') + u"a");
    std::size_t found = 0;
    for (int i = 0; i < 800; ++i) {
        const std::u16string& name = names[random() % names.size()];
        const std::u16string typed = i % 4 == 0 ? some(3) : name.substr(0, 1 + random() % 4);
        const std::u16string search = u"Select * From Cari where Unvan Like '" + typed + u"*' Order By Unvan";
        const auto rows = jet::select(mill.database(), search).rows;
        ASSERT_EQ(rows, jet::select(mill.database(), search + u", Kap").rows);
        found += rows.size();
    }
    ASSERT_GT(found, 800U);
}

TEST(Sql, unreadablePatternsFail)
{
    Mill mill;
    ASSERT_EQ(
        faultOf([&] { jet::select(mill.database(), u"Select * From Cari where Unvan Like '[A*' Order By Unvan Asc"); }),
        jet::Fault::syntax);
}

const RowTable<bool> sqlByIndex = {
    {"no index", false},
    {"indexes", true},
};

TABLE_SUITE(SqlByIndex, bool, sqlByIndex);

// ---- Comparisons ----------------------------------------------------------------------------------------------

TEST_P(SqlByIndex, equalityOfNamesIsExact)
{
    const bool indexes = row();
    Mill mill({.indexes = indexes});
    Texts names{"Ali", "ali", "ALİ", "Ali ", " Ali", "Ali Veli", "Al", "Â-li", "Âli", ""};
    // No index takes a letter whose place in the order is not known for certain.
    if (!indexes) names.emplace_back("Λλ");
    for (const std::string& each : names) mill.pressing(at(2025, 2, 3), 1.0, name(each));
    mill.pressing(at(2025, 2, 3), 1.0, Null{});
    for (const std::string& each : names)
        // Twice: the second answer comes from memory.
        for (int time = 0; time < 2; ++time)
            ASSERT_EQ(mill.texts("Select * From Hareket where CariHar='" + each + "'", "CariHar"), Texts{each});
    ASSERT_EQ(mill.texts("Select * From Hareket where CariHar<>'Ali'", "CariHar").size(), names.size() - 1);
    for (const char* other : {"Veli", "Λ"})
        ASSERT_EQ(mill.texts("Select * From Hareket where CariHar='" + std::string(other) + "'", "CariHar"), Texts{});
}

struct SqlNullRow {
    std::string condition;
    int rows;
};

const RowTable<SqlNullRow> sqlNull = {
    // Two rows: one with values, one with Null everywhere.
    {"equal", {"CariHar='X'", 1}},
    {"unequal", {"CariHar<>'Toplamlar'", 1}},
    {"not equal", {"Not CariHar='Y'", 1}},
    {"not unequal", {"Not CariHar<>'X'", 1}},
    {"not like", {"Not CariHar Like 'Y*'", 1}},
    {"number", {"Zeytin<>5", 1}},
    {"not a number", {"Not Zeytin=5", 1}},
    {"date", {"Tarih<>#1/1/2000#", 1}},
    {"against Null", {"Zeytin=Null", 0}},
    {"not against Null", {"Not Zeytin=Null", 0}},
    {"unequal to Null", {"Zeytin<>Null", 0}},
    {"is Null", {"Zeytin Is Null", 1}},
    {"is not Null", {"Zeytin Is Not Null", 1}},
    {"not is Null", {"Not Zeytin Is Null", 1}},
    {"unknown or true", {"Zeytin=10 Or CariHar Is Null", 2}},
    {"not (unknown and true)", {"Not (Zeytin=10 And CariHar='X')", 0}},
    {"not (unknown and false)", {"Not (Zeytin=10 And Onay=True)", 2}},
    {"two fields", {"Zeytin=Zeytin", 1}},
    {"Booleans are never Null", {"Onay=False", 2}},
};

TABLE_SUITE(SqlNull, SqlNullRow, sqlNull);

TEST_P(SqlNull, nullMeetsNoComparison)
{
    const auto& [condition, rows] = row();
    Mill mill;
    mill.pressing(at(2025, 2, 3), 10.0, name("X"));
    mill.pressing(Null{}, Null{}, Null{});
    ASSERT_EQ(
        static_cast<int>(jet::select(mill.database(), u16("Select * From Hareket where " + condition)).rows.size()),
        rows);
}

// ---- Sums -----------------------------------------------------------------------------------------------------

struct SqlSumsRow {
    std::vector<double> values; // below -999: Null
    double sum;
};

const RowTable<SqlSumsRow> sqlSums = {
    {"no rows", {{}, -1000.0}},
    {"two", {{1000, 500}, 1500.0}},
    {"one is Null", {{1000, -1000}, 1000.0}},
    {"all are Null", {{-1000, -1000}, -1000.0}},
    {"cancelling out", {{-5, 5}, 0.0}},
};

TABLE_SUITE(SqlSums, SqlSumsRow, sqlSums);

TEST_P(SqlSums, sumsLeaveNullOut)
{
    const auto& [values, sum] = row();
    for (const ColumnType type : {ColumnType::doubleFloat, ColumnType::singleFloat, ColumnType::longInteger,
                                  ColumnType::integer, ColumnType::currency, ColumnType::numeric}) {
        Mill mill({.weight = type});
        for (const double value : values)
            mill.pressing(at(2025, 2, 3), value < -999 ? Value() : Value(value), name("Ali"));
        const Value result = mill.sum("Zeytin", "CariHar<>'Toplamlar'");
        if (sum < -999) {
            ASSERT_TRUE(jet::isNull(result));
        } else if (type == ColumnType::currency) {
            ASSERT_EQ(std::get<Currency>(result).tenThousandths, std::llround(sum * 10000));
        } else if (type == ColumnType::numeric) {
            ASSERT_EQ(std::get<Numeric>(result).magnitude[3], static_cast<std::uint32_t>(std::llround(sum * 10000)));
        } else {
            ASSERT_EQ(std::get<double>(result), sum);
        }
    }
}

TEST(Sql, sumsStayExact)
{
    Mill money({.weight = ColumnType::currency});
    Mill numeric({.weight = ColumnType::numeric});
    for (int i = 0; i < 1000; ++i) {
        money.pressing(at(2025, 2, 3), Currency{900'000'000'000'001}, name("Ali"));
        numeric.pressing(at(2025, 2, 3), Numeric{i % 4 == 3, {0, 0, 0x0DE0B6B3, 0xA763FFFF}, 4}, name("Ali"));
    }
    ASSERT_EQ(std::get<Currency>(money.sum("Zeytin", "CariHar='Ali'")).tenThousandths, 900'000'000'000'001'000);
    const auto sum = std::get<Numeric>(numeric.sum("Zeytin", "CariHar='Ali'"));
    // 750 times and back 250 times eighteen nines.
    ASSERT_EQ(sum.negative, false);
    ASSERT_EQ(sum.magnitude, (std::array<std::uint32_t, 4>{0, 0x1B, 0x1AE4D6E2, 0xEF4FFE0C}));

    Mill full({.weight = ColumnType::currency});
    for (int i = 0; i < 2; ++i) full.pressing(at(2025, 2, 3), Currency{INT64_MAX}, name("Ali"));
    ASSERT_EQ(faultOf([&] { full.sum("Zeytin", "CariHar='Ali'"); }), jet::Fault::badValue);
}

TEST(Sql, theTotalsRowIsLeftOutOfTheSums)
{
    Mill mill;
    mill.pressing(at(2025, 2, 3), 1000.0, name("Ali"));
    mill.pressing(at(2025, 2, 3), 1000.0, name("Toplamlar"));
    mill.pressing(at(2025, 2, 3), 7.0, Null{});
    const jet::Selection sums = jet::select(
        mill.database(), u"Select Sum(Zeytin),Sum(Yağ),Sum(HakTut),Sum(Nakit) FROM Hareket Where "
                         u"CariHar<>'Toplamlar' And Tarih>=#02/03/2025 00:00:00# And Tarih<=#02/03/2025 23:59:59#");
    ASSERT_EQ(sums.table, nullptr);
    ASSERT_EQ(sums.aggregates.size(), 4u);
    ASSERT_EQ(std::get<double>(sums.aggregates[0]), 1000.0);
    ASSERT_TRUE(jet::isNull(sums.aggregates[1]) && jet::isNull(sums.aggregates[2]) && jet::isNull(sums.aggregates[3]));
}

// ---- Dates ----------------------------------------------------------------------------------------------------

struct SqlPeriodRow {
    double days;
    bool within;
};

RowTable<SqlPeriodRow> sqlPeriod()
{
    using namespace std::string_literals;
    RowTable<SqlPeriodRow> table;
    const auto row = [&table](const char* tag, DateTime moment, bool within) {
        // What another program's arithmetic makes of the same second.
        table.push_back({tag, {moment.days, within}});
        table.push_back({tag + ", a bit later"s, {std::nextafter(moment.days, 1e6), within}});
        table.push_back({tag + ", a few bits earlier"s, {moment.days - 3e-11, within}});
    };
    row("first second", at(2025, 2, 3), true);
    row("last second", at(2025, 2, 3, 23, 59, 59), true);
    row("next midnight", at(2025, 2, 4), false);
    row("second before", at(2025, 2, 2, 23, 59, 59), false);
    row("day and month exchanged", at(2025, 3, 2), false);
    table.push_back({"half a second too late", {at(2025, 2, 3, 23, 59, 59).days + 0.5 / 86400, false}});
    return table;
}

TABLE_SUITE(SqlPeriod, SqlPeriodRow, sqlPeriod());

TEST_P(SqlPeriod, aPeriodEndsWithItsLastSecond)
{
    const auto& [days, within] = row();
    for (const bool indexes : {false, true}) {
        Mill mill({.indexes = indexes});
        mill.pressing(DateTime{days}, 1.0, name("Ali"));
        mill.pressing(Null{}, 1.0, name("Ali"));
        const jet::Selection selection =
            jet::select(mill.database(), u"Select * From Hareket where Tarih>=#02/03/2025 00:00:00# And "
                                         u"Tarih<=#02/03/2025 23:59:59# Order By Tarih Asc");
        ASSERT_EQ(selection.rows.size(), within ? 1u : 0u);
    }
}

TEST(Sql, aPeriodOfOldDaysGoesByTimeNotByStoredNumber)
{
    for (const bool indexes : {false, true}) {
        Mill mill({.indexes = indexes});
        // In the order of time; as stored numbers, the moments of one early day run backwards.
        for (const DateTime moment : {at(1899, 12, 28, 23), at(1899, 12, 29, 1), at(1899, 12, 29, 22),
                                      at(1899, 12, 30, 3), at(1899, 12, 31, 1)})
            mill.pressing(moment, moment.days, name("Ali"));
        const auto count = [&](const char16_t* condition) {
            return jet::select(mill.database(), u"Select * From Hareket Where " + std::u16string(condition))
                .rows.size();
        };
        ASSERT_EQ(count(u"Tarih>=#12/29/1899# And Tarih<=#12/29/1899 23:59:59#"), 2u);
        ASSERT_EQ(count(u"Tarih<#12/29/1899 02:00:00#"), 2u);
        ASSERT_EQ(count(u"Tarih>=#12/30/1899# And Tarih<#12/31/1899#"), 1u);
        ASSERT_EQ(count(u"Tarih=#12/29/1899 22:00:00#"), 1u);
        ASSERT_EQ(count(u"Tarih>#12/28/1899 23:00:00#"), 4u);
        const jet::Selection all = jet::select(mill.database(), u"Select * From Hareket Order By Tarih");
        const jet::Selection stored = jet::select(mill.database(), u"Select * From Hareket");
        ASSERT_EQ(all.rows, stored.rows);
    }
}

TEST_P(SqlByIndex, theJournalComesInOrderOfItsDates)
{
    const bool indexes = row();
    Mill mill({.indexes = indexes});
    mill.pressing(at(2025, 2, 3, 10), 1.0, name("c1"));
    mill.pressing(at(2025, 2, 3, 9), 1.0, name("b"));
    mill.pressing(Null{}, 1.0, name("a1"));
    mill.pressing(at(2025, 2, 4), 1.0, name("d"));
    mill.pressing(at(2025, 2, 3, 10), 1.0, name("c2"));
    mill.pressing(Null{}, 1.0, name("a2"));
    mill.pressing(at(1999, 12, 31), 1.0, name("a3"));
    ASSERT_EQ(mill.texts("Select * From Hareket Order By Tarih Asc;", "CariHar"),
              (Texts{"a1", "a2", "a3", "b", "c1", "c2", "d"}));
    ASSERT_EQ(mill.texts("Select * From Hareket Order By Tarih Desc", "CariHar"),
              (Texts{"d", "c1", "c2", "b", "a3", "a1", "a2"}));
}

TEST(Sql, aFurtherOrderDecidesAmongEqualRows)
{
    Mill mill;
    mill.customer(name("Veli"), Currency{50000});
    mill.customer(name("Ali"), Currency{50000});
    mill.customer(name("Can"), Null{});
    mill.customer(name("Ece"), Currency{-10000});
    mill.customer(name("Ali"), Currency{990000});
    ASSERT_EQ(mill.texts("Select * From Cari Order By Nakit, Unvan", "Unvan"),
              (Texts{"Can", "Ece", "Ali", "Veli", "Ali"}));
    ASSERT_EQ(mill.texts("Select * From Cari Order By Nakit Desc, Unvan Desc", "Unvan"),
              (Texts{"Ali", "Veli", "Ali", "Ece", "Can"}));
    ASSERT_EQ(mill.texts("Select * From Cari Order By Nakit", "Unvan"), (Texts{"Can", "Ece", "Veli", "Ali", "Ali"}));
    const jet::Selection some =
        jet::select(mill.database(), u"Select nakit, [Unvan] From cari Order By Unvan, Nakit Desc");
    ASSERT_EQ(some.columns, (std::vector<std::u16string>{u"Nakit", u"Unvan"}));
    ASSERT_EQ(some.fields, (std::vector<std::size_t>{3, 0}));
    ASSERT_EQ(std::get<Currency>(some.table->row(some.rows[0])->value(3)).tenThousandths, 990000);
}

struct SqlConditionRow {
    std::string condition;
    Texts customers;
};
class SqlCondition : public TableTest<SqlConditionRow> {};

RowTable<SqlConditionRow> sqlCondition()
{
    RowTable<SqlConditionRow> table;
    // Ali 10, Can 20.5 with the flag, Veli 30.
    const auto row = [&table](const char* condition, const Texts& customers) {
        table.push_back({condition, {condition, customers}});
    };
    row("Zeytin>10", {"Can", "Veli"});
    row("Zeytin>=10", {"Ali", "Can", "Veli"});
    row("Zeytin<20.5", {"Ali"});
    row("20.5<=Zeytin", {"Can", "Veli"});
    row("Zeytin=20.5", {"Can"});
    row("Not Zeytin=20.5", {"Ali", "Veli"});
    row("Zeytin=10 Or Zeytin=30", {"Ali", "Veli"});
    row("Zeytin=10 Or Zeytin=30 And CariHar='Can'", {"Ali"});
    row("(Zeytin=10 Or Zeytin=30) And CariHar='Can'", {});
    row("Not (Zeytin=10 Or CariHar='Veli')", {"Can"});
    row("Not (Zeytin>10 And CariHar<>'Veli')", {"Ali", "Veli"});
    row("Onay", {});
    row("Onay=True", {"Can"});
    row("Onay=-1", {"Can"});
    row("Onay<>True", {"Ali", "Veli"});
    row("CariHar>'Ali'", {"Can", "Veli"});
    row("CariHar<='can'", {"Ali", "Can"});
    row("Not CariHar<'Can'", {"Can", "Veli"});
    row("CariHar Not Like '?a*'", {"Ali", "Veli"});
    row("Zeytin=Yağ", {"Veli"});
    row("Zeytin<>Yağ", {"Ali", "Can"});
    row("'a'='a'", {"Ali", "Can", "Veli"});
    row("'a'='A'", {});
    row("'a'>='A'", {"Ali", "Can", "Veli"});
    row("1=2 Or CariHar='Can'", {"Can"});
    row("'Ali' Like 'a*' And CariHar='Can'", {"Can"});
    row("Tarih=45000", {"Ali"});
    row("Tarih=#3/16/2023 12:00# Or Tarih>#3/16/2023 13:00#", {"Can", "Veli"}); // 45001.5 is the first
    row("CariHar='Ali' And CariHar='Can'", {});
    row("Tarih>#1/1/2024# And Tarih<#1/1/2023#", {});
    return table;
}

INSTANTIATE_TEST_SUITE_P(, SqlCondition, testing::ValuesIn(sqlCondition()), NumberedRowName());

TEST_P(SqlCondition, selectsTheRowsThatItDescribes)
{
    const auto& [condition, customers] = row();
    for (const bool indexes : {false, true}) {
        Mill mill({.indexes = indexes});
        mill.hareket().insert({{0, DateTime{45000}}, {1, 10.0}, {2, 1.0}, {6, u"Ali"}});
        mill.hareket().insert({{0, DateTime{45001.5}}, {1, 20.5}, {2, 2.0}, {6, u"Can"}, {7, true}});
        mill.hareket().insert({{0, DateTime{45002}}, {1, 30.0}, {2, 30.0}, {6, u"Veli"}});
        if (condition == "Onay") {
            ASSERT_EQ(faultOf([&] { jet::select(mill.database(), u"Select * From Hareket Where Onay"); }),
                      jet::Fault::syntax);
            continue;
        }
        ASSERT_EQ(mill.texts("Select * From Hareket Where " + condition, "CariHar"), customers);
        Texts matching;
        for (const jet::RowId id : jet::rowsWhere(mill.hareket(), u16(condition)))
            matching.push_back(jet::toUtf8(std::get<std::u16string>(mill.hareket().row(id)->value(6))));
        ASSERT_EQ(matching, customers);
    }
}

// ---- Deleting -------------------------------------------------------------------------------------------------

TEST_P(SqlByIndex, deletesOnlyWhatTheConditionNames)
{
    const bool indexes = row();
    Mill mill({.indexes = indexes});
    for (const char* each : {"Ali", "Ali Veli", "Toplamlar", "ALİ", "Ali", "Ali "})
        mill.pressing(at(2025, 2, 3), 1.0, name(each));
    mill.pressing(at(2025, 2, 3), 1.0, Null{});
    mill.customer(name("Ali"));

    ASSERT_EQ(jet::execute(mill.database(), u"DELETE FROM Hareket Where CariHar='Ali'"), 2u);
    ASSERT_EQ(mill.texts("Select * From Hareket", "CariHar"), (Texts{"Ali Veli", "Toplamlar", "ALİ", "Ali ", "-"}));
    ASSERT_EQ(jet::execute(mill.database(), u"DELETE FROM Hareket WHERE CariHar='Toplamlar'"), 1u);
    ASSERT_EQ(jet::execute(mill.database(), u"DELETE FROM Hareket WHERE CariHar='Toplamlar'"), 0u);
    ASSERT_EQ(mill.texts("Select * From Hareket", "CariHar"), (Texts{"Ali Veli", "ALİ", "Ali ", "-"}));
    ASSERT_EQ(mill.texts("Select * From Cari", "Unvan"), Texts{"Ali"});
    ASSERT_EQ(mill.hareket().rowCount(), 4u);
}

TEST(Sql, aDeleteWithoutConditionTakesAllRows)
{
    Mill mill({.indexes = true});
    for (int i = 0; i < 300; ++i) mill.pressing(at(2025, 2, 3), 1.0, name("Ali " + std::to_string(i)));
    mill.customer(name("Ali"));
    ASSERT_EQ(jet::execute(mill.database(), u"DELETE FROM Hareket"), 300u);
    ASSERT_EQ(mill.texts("Select * From Hareket", "CariHar"), Texts{});
    ASSERT_EQ(mill.texts("Select * From Cari", "Unvan"), Texts{"Ali"});
    ASSERT_EQ(jet::execute(mill.database(), u"DELETE FROM Cari"), 1u);
    ASSERT_EQ(jet::execute(mill.database(), u"DELETE FROM Cari"), 0u);
}

class SqlApostrophe : public TableTest<std::string> {};

RowTable<std::string> sqlApostrophe()
{
    RowTable<std::string> table;
    for (const std::string name : {"O'Neil", "'", "Ali'", "'Ali", "x'; DELETE FROM Cari; '", "x' Or", "Ali' And '"}) {
        table.push_back({"delete " + name, "DELETE FROM Hareket Where CariHar='" + name + "'"});
        table.push_back({"search " + name, "Select * From Cari where Unvan Like '" + name + "*' Order By Unvan Asc"});
        table.push_back({"report " + name, "Select * From Hareket where Tarih>=#02/03/2025# And CariHar='" + name +
                                               "' Order By Tarih Asc"});
    }
    return table;
}

INSTANTIATE_TEST_SUITE_P(, SqlApostrophe, testing::ValuesIn(sqlApostrophe()), NumberedRowName());

TEST_P(SqlApostrophe, aNameWithAnApostropheChangesNothing)
{
    const std::string& sql = row();
    Mill mill;
    mill.pressing(at(2025, 2, 3), 1.0, name("Ali"));
    mill.pressing(at(2025, 2, 3), 1.0, name("O'Neil"));
    const std::uint64_t before = mill.database().pager().changeCount();
    ASSERT_EQ(faultOf([&] {
                  if (sql.starts_with("DELETE"))
                      jet::execute(mill.database(), u16(sql));
                  else
                      jet::select(mill.database(), u16(sql));
              }),
              jet::Fault::syntax);
    ASSERT_EQ(mill.database().pager().changeCount(), before);
    ASSERT_EQ(mill.texts("Select * From Hareket", "CariHar"), (Texts{"Ali", "O'Neil"}));
}

struct SqlRefusalRow {
    std::string sql;
    jet::Fault fault;
};
class SqlRefusal : public TableTest<SqlRefusalRow> {};

RowTable<SqlRefusalRow> sqlRefusal()
{
    RowTable<SqlRefusalRow> table;
    const auto row = [&table](const char* sql, jet::Fault fault) { table.push_back({sql, {sql, fault}}); };
    row("Select * From Yok", jet::Fault::noSuchTable);
    row("DELETE FROM Yok", jet::Fault::noSuchTable);
    row("Select Yok From Cari", jet::Fault::noSuchTable);
    row("Select Sum(Yok) From Cari", jet::Fault::noSuchTable);
    row("Select * From Cari Order By Yok", jet::Fault::noSuchTable);
    row("Select * From Cari Where Yok=1", jet::Fault::noSuchTable);
    row("DELETE FROM Hareket Where Yok='x'", jet::Fault::noSuchTable);
    row("Select * From Cari Where Unvan=5", jet::Fault::badValue);
    row("Select * From Cari Where Nakit='5'", jet::Fault::badValue);
    row("DELETE FROM Hareket Where Tarih='x'", jet::Fault::badValue);
    row("Select * From Hareket Where Zeytin Like '5*'", jet::Fault::badValue);
    row("Select * From Hareket Where Zeytin=CariHar", jet::Fault::badValue);
    row("Select * From Hareket Where 'x'=5", jet::Fault::badValue);
    row("Select Sum(CariHar) From Hareket", jet::Fault::badValue);
    row("Select Sum(Tarih) From Hareket", jet::Fault::badValue);
    row("Select Unvan, Sum(Nakit) From Cari", jet::Fault::unsupported);
    row("Select Sum(Nakit) From Cari Order By Unvan", jet::Fault::unsupported);
    return table;
}

INSTANTIATE_TEST_SUITE_P(, SqlRefusal, testing::ValuesIn(sqlRefusal()), NumberedRowName());

TEST_P(SqlRefusal, refusesUnknownNamesAndKinds)
{
    const auto& sql = row().sql;
    const auto& fault = row().fault;
    Mill mill;
    mill.pressing(at(2025, 2, 3), 1.0, name("x"));
    ASSERT_EQ(faultOf([&] {
                  if (sql.starts_with("DELETE"))
                      jet::execute(mill.database(), u16(sql));
                  else
                      jet::select(mill.database(), u16(sql));
              }),
              fault);
    ASSERT_EQ(mill.texts("Select * From Hareket", "CariHar"), Texts{"x"});
    ASSERT_EQ(faultOf([&] { jet::execute(mill.database(), u"Select * From Cari"); }), jet::Fault::unsupported);
    ASSERT_EQ(faultOf([&] { jet::select(mill.database(), u"DELETE FROM Cari"); }), jet::Fault::unsupported);
}

// ---- Every way --------------------------------------------------------------------------------------------------

struct SqlEveryWayRow {
    bool indexes;
    bool isGeneral;
};

RowTable<SqlEveryWayRow> sqlEveryWay()
{
    using namespace std::string_literals;
    RowTable<SqlEveryWayRow> table;
    for (const bool indexes : {false, true})
        for (const bool isGeneral : {false, true})
            table.push_back({(indexes ? "indexes, "s : "no indexes, "s) + (isGeneral ? "General" : "Turkish"),
                             {indexes, isGeneral}});
    return table;
}

TABLE_SUITE(SqlEveryWay, SqlEveryWayRow, sqlEveryWay());

/// Random changes, some of them taken back; after each, the answers must be those of a plain list of rows.
TEST_P(SqlEveryWay, answersAreTheSameByEveryWay)
{
    const bool indexes = row().indexes;
    const bool isGeneral = row().isGeneral;
    Mill mill({.indexes = indexes, .collation = isGeneral ? jet::general : jet::turkish});
    jet::Table& table = mill.hareket();
    const Texts names{"Ali", "Ali Veli", "ALİ", "Ayşe", "Çetin", "Toplamlar", "Işık", "ışık", "Ali "};
    struct Row {
        std::optional<int> day;
        std::optional<int> customer;
        double olives;
    };
    using Model = std::map<jet::RowId, Row>;
    Model model, committed;
    std::mt19937 random(indexes * 2 + isGeneral + 1);
    const auto pick = [&random](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };

    const auto check = [&] {
        for (int customer = 0; customer < static_cast<int>(names.size()); ++customer) {
            std::vector<jet::RowId> wanted;
            for (const auto& [id, row] : model)
                if (row.customer == customer) wanted.push_back(id);
            ASSERT_EQ(
                jet::select(mill.database(), u16("Select * From Hareket where CariHar='" + names[customer] + "'")).rows,
                wanted);
        }
        std::vector<std::pair<int, jet::RowId>> period;
        double sum = 0;
        bool any = false;
        for (const auto& [id, row] : model) {
            if (!row.day || *row.day < 10 || *row.day > 20) continue;
            period.emplace_back(*row.day, id);
            if (!row.customer || names[*row.customer] == "Toplamlar") continue;
            sum += row.olives;
            any = true;
        }
        std::sort(period.begin(), period.end());
        const std::string condition = "Tarih>=#01/10/2025# And Tarih<=#01/20/2025 23:59:59#";
        const auto listed =
            jet::select(mill.database(), u16("Select * From Hareket where " + condition + " Order By Tarih")).rows;
        ASSERT_EQ(listed.size(), period.size());
        for (std::size_t i = 0; i < period.size(); ++i) ASSERT_EQ(listed[i], period[i].second);
        const Value total = mill.sum("Zeytin", "CariHar<>'Toplamlar' And " + condition);
        ASSERT_EQ(jet::isNull(total), !any);
        if (any) {
            ASSERT_EQ(std::get<double>(total), sum);
        }

        // The search by first letters, from the remembered order and, because of the second key, by plain sorting.
        for (const char* typed : {"A", "Al", "ı", "", "Ali "}) {
            const std::string search =
                "Select * From Hareket where CariHar Like '" + std::string(typed) + "*' Order By CariHar";
            ASSERT_EQ(jet::select(mill.database(), u16(search)).rows,
                      jet::select(mill.database(), u16(search + ", Onay")).rows);
        }
    };

    const auto change = [&] {
        const int what = pick(10);
        if (what < 6 || model.empty()) {
            Row row{pick(8) ? std::optional(pick(31)) : std::nullopt,
                    pick(12) ? std::optional(pick(static_cast<int>(names.size()))) : std::nullopt, double(pick(100))};
            const Value day = row.day ? Value(DateTime{at(2025, 1, 1).days - 1 + *row.day}) : Value();
            const Value customer = row.customer ? name(names[*row.customer]) : Value();
            model[table.insert({{0, day}, {1, row.olives}, {6, customer}})] = row;
            return;
        }
        auto at = std::next(model.begin(), pick(static_cast<int>(model.size())));
        if (what < 8) {
            at->second.customer = pick(static_cast<int>(names.size()));
            table.update(at->first, {{6, name(names[*at->second.customer])}});
        } else if (what < 9) {
            table.erase(at->first);
            model.erase(at);
        } else {
            const int customer = pick(static_cast<int>(names.size()));
            jet::execute(mill.database(), u16("DELETE FROM Hareket Where CariHar='" + names[customer] + "'"));
            std::erase_if(model, [&](const auto& each) { return each.second.customer == customer; });
        }
    };

    for (int round = 0; round < 150 && !HasFailure(); ++round) {
        if (round == 100) {
            jet::execute(mill.database(), u"DELETE FROM Hareket");
            model.clear();
        }
        const bool whole = pick(3) != 0;
        if (whole) {
            change();
        } else {
            committed = model;
            jet::Transaction transaction(mill.database().pager());
            if (pick(2)) check();
            for (int i = pick(4); i >= 0; --i) change();
            check();
            if (pick(2))
                transaction.commit();
            else
                model = committed;
        }
        check();
    }
}

} // namespace
