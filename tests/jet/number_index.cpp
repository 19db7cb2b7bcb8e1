
#include "store/jet/database/database.h"
#include "store/jet/format/doors.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/sql/sql.h"
#include "tests/jet/committed.h"
#include "tests/jet/memory_database.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>

using namespace jet;

/// Conditions on columns of numbers that have an index, beside the same rows without one.
namespace {

std::u16string u16(const std::string& text) { return fromUtf8(text); }

std::string literal(double number)
{
    char text[60];
    std::snprintf(text, sizeof text, "%.17g", number);
    return text;
}

class NumberIndex : public TableTest<ColumnType>, protected MemoryDatabase {
protected:
    NumberIndex() : MemoryDatabase("sayi.mdb"), maker_(static_cast<unsigned>(row()))
    {
        const std::vector<NewColumn> columns{{.name = u"Sayı", .type = row()},
                                             {.name = u"Sıra", .type = ColumnType::longInteger}};
        database->createTable(u"Düz", columns, {}, rows::created);
        database->createTable(u"Artan", columns, {{.name = u"Sayı", .columns = {{u"Sayı", true}}}}, rows::created);
        database->createTable(u"Azalan", columns, {{.name = u"Sayı", .columns = {{u"Sayı", false}}}}, rows::created);
        Transaction change(database->pager());
        for (std::int32_t i = 0; i < 700; ++i) {
            const Value value = someValue();
            for (const char16_t* name : {u"Düz", u"Artan", u"Azalan"})
                database->table(name).insert({{0, value}, {1, i}});
        }
        change.commit();
    }

    /// Few different ones, so that many are met, with the ends of the type and both zeros.
    Value someValue()
    {
        if (maker_.oneIn(10)) return {};
        const double small = maker_.below(41) - 20;
        switch (row()) {
        case ColumnType::byte:
            return static_cast<std::uint8_t>(maker_.oneIn(8) ? 255 : maker_.below(20));
        case ColumnType::integer:
            return static_cast<std::int16_t>(maker_.oneIn(8) ? INT16_MIN : small);
        case ColumnType::longInteger:
            return static_cast<std::int32_t>(maker_.oneIn(8) ? INT32_MAX : small);
        case ColumnType::currency:
            return Currency{maker_.oneIn(8) ? INT64_MAX - maker_.below(3000) : maker_.below(40001) - 20000};
        case ColumnType::singleFloat:
            return maker_.oneIn(8) ? -0.0F : maker_.oneIn(8) ? std::numeric_limits<float>::max() : float(small / 10);
        default:
            return maker_.oneIn(8) ? -0.0 : maker_.oneIn(8) ? -1e308 : small / 10;
        }
    }
    std::vector<std::int32_t> numbersOf(const char* table, const std::string& condition)
    {
        const Selection found = select(*database, u16("Select * From [" + std::string(table) + "] Where " + condition));
        std::vector<std::int32_t> numbers;
        for (const RowId id : found.rows) numbers.push_back(std::get<std::int32_t>(found.table->row(id)->value(1)));
        return numbers;
    }

    rows::Maker maker_;
};

const RowTable<ColumnType> types = {{"Byte", ColumnType::byte},          {"Integer", ColumnType::integer},
                                    {"Long", ColumnType::longInteger},   {"Currency", ColumnType::currency},
                                    {"Single", ColumnType::singleFloat}, {"Double", ColumnType::doubleFloat}};

INSTANTIATE_TEST_SUITE_P(, NumberIndex, testing::ValuesIn(types), RowName());

TEST_P(NumberIndex, answersAsAWalkOverAllRowsDoes)
{
    std::vector<double> bounds{0,
                               1,
                               -1,
                               0.1,
                               -0.1,
                               1.5,
                               2.00005,
                               19,
                               20,
                               255,
                               255.5,
                               -32768,
                               2147483647,
                               4e9,
                               -4e9,
                               922337203685477.5,
                               922337203685478.0,
                               3.4028234663852886e38,
                               3.5e38,
                               -1e308,
                               1e308};
    for (int i = 0; i < 8; ++i) bounds.push_back((maker_.below(401) - 200) / 100.0);
    int met = 0;
    const auto compare = [&](const std::string& condition) {
        const auto plain = numbersOf("Düz", condition);
        ASSERT_EQ(numbersOf("Artan", condition), plain) << condition;
        ASSERT_EQ(numbersOf("Azalan", condition), plain) << condition;
        met += !plain.empty();
    };
    for (const double bound : bounds) {
        for (const char* comparison : {"=", "<", "<=", ">", ">=", "<>"})
            compare("[Sayı]" + (comparison + literal(bound)));
        const double other = bounds[static_cast<std::size_t>(maker_.below(int(bounds.size())))];
        compare("[Sayı]>=" + literal(bound) + " And [Sayı]<" + literal(other));
        compare("[Sayı]>" + literal(bound) + " And [Sıra]<400");
        compare("[Sayı]=" + literal(bound) + " Or [Sıra]=3");
        compare("Not [Sayı]>" + literal(bound));
    }
    ASSERT_GT(met, 40);
}

TEST(NumberIndexes, leadToTheirRowsAlone)
{
    // A row elsewhere cannot be read: who reads the whole table stumbles over it.
    MemoryDatabase mill("sayi.mdb");
    const auto& database = mill.database;
    Table* table = &database->createTable(u"Hareket",
                                          {{.name = u"No", .type = ColumnType::longInteger, .autoNumber = true},
                                           {.name = u"Kod", .type = ColumnType::longInteger},
                                           {.name = u"Ad", .type = ColumnType::text, .size = 100}},
                                          {{.name = u"PrimaryKey", .columns = {{u"No", true}}, .primaryKey = true}},
                                          rows::created);
    RowId last;
    committed(database->pager(), [&] {
        for (int i = 0; i < 2000; ++i) last = table->insert({{1, i}, {2, std::u16string(60, u'x')}});
        const PageBytes page = database->pager().write(last.page);
        page[slotAt(page, last.slot)->offset] = 99; // more columns than the table has
    });
    mill.reopen(Pager::Mode::readOnly);
    const auto rows = [&](const std::string& condition) {
        return select(*database, u16("Select * From Hareket Where " + condition)).rows.size();
    };
    ASSERT_EQ(faultOf([&] { rows("Kod=7"); }), Fault::damaged);
    ASSERT_EQ(rows("No=7"), 1U);
    ASSERT_EQ(rows("No>=7 And No<=20 And Kod<>10"), 13U);
    ASSERT_EQ(rows("No=70000"), 0U);
}

} // namespace
