#include <cstddef> // moc needs it ahead of <compare>

#include "files/memory_disk.h"
#include "store/jet/database/database.h"
#include "store/jet/format/doors.h"
#include "store/jet/sql/sql.h"
#include "store/jet/values/calendar.h"

#include <QStringList>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <random>

using jet::ColumnType;
using jet::Currency;
using jet::DateTime;
using jet::Null;
using jet::Numeric;
using jet::Value;

namespace {

std::u16string u16(const QString& text) { return text.toStdU16String(); }
QString qt(const std::u16string& text) { return QString::fromStdU16String(text); }

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
    QStringList texts(const QString& sql, const QString& field)
    {
        const jet::Selection selection = jet::select(database(), u16(sql));
        const std::size_t column = *selection.table->columnNamed(u16(field));
        QStringList result;
        std::u16string text;
        for (const jet::RowId id : selection.rows)
            result << (selection.table->row(id)->text(column, text) ? qt(text) : QStringLiteral("-"));
        return result;
    }

    Value sum(const QString& field, const QString& condition)
    {
        return jet::select(database(), u16("Select Sum(" + field + ") From Hareket Where " + condition)).aggregates[0];
    }

private:
    files::MemoryDisk disk_;
    std::unique_ptr<jet::Database> database_;
};

Value name(const QString& text) { return u16(text); }

DateTime at(int year, int month, int day, int hour = 0, int minute = 0, int second = 0)
{
    return jet::dateTime(year, month, day, hour, minute, second).value();
}

template <class Call> std::optional<jet::Fault> faultOf(Call&& call)
{
    try {
        call();
    } catch (const jet::Error& error) {
        return error.fault();
    }
    return std::nullopt;
}

} // namespace

class TestSql : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void searchesByTheFirstLetters_data();
    void searchesByTheFirstLetters();
    void namesComeInTurkishOrder_data();
    void namesComeInTurkishOrder();
    void theSearchFollowsEveryChangeOfTheRegister();
    void theSearchMissesNobody();
    void unreadablePatternsFail();
    void equalityOfNamesIsExact_data();
    void equalityOfNamesIsExact();
    void nullMeetsNoComparison_data();
    void nullMeetsNoComparison();
    void sumsLeaveNullOut_data();
    void sumsLeaveNullOut();
    void sumsStayExact();
    void theTotalsRowIsLeftOutOfTheSums();
    void aPeriodEndsWithItsLastSecond_data();
    void aPeriodEndsWithItsLastSecond();
    void aPeriodOfOldDays();
    void journalInOrderOfDates_data();
    void journalInOrderOfDates();
    void severalOrders();
    void conditions_data();
    void conditions();
    void deletesOnlyWhatTheConditionNames_data();
    void deletesOnlyWhatTheConditionNames();
    void deletesAll();
    void aNameWithAnApostropheChangesNothing_data();
    void aNameWithAnApostropheChangesNothing();
    void refusesUnknownNamesAndKinds_data();
    void refusesUnknownNamesAndKinds();
    void answersAreTheSameByEveryWay_data();
    void answersAreTheSameByEveryWay();
};

// ---- Search ---------------------------------------------------------------------------------------------------

void TestSql::searchesByTheFirstLetters_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QStringList>("found");
    QTest::newRow("one letter") << "A"
                                << QStringList{"ALI", "Ahmet Veli", "ali", "ALİ", "Ali ", "Ali Veli", "Alican", "A_1"};
    QTest::newRow("a name") << "Ali" << QStringList{"ali", "ALİ", "Ali ", "Ali Veli", "Alican"};
    QTest::newRow("a name and a blank") << "Ali " << QStringList{"Ali ", "Ali Veli"};
    QTest::newRow("nobody") << "Ali Vz" << QStringList{};
    QTest::newRow("another alphabet letter") << "Ç" << QStringList{"çetin"};
    QTest::newRow("dotless i") << "I" << QStringList{"Isparta", "IŞIK", "ışık"};
    QTest::newRow("dotted i") << "İs" << QStringList{"is"};
    QTest::newRow("typed star") << "A*l"
                                << QStringList{"ALI", "Ahmet Veli", "ali", "ALİ", "Ali ", "Ali Veli", "Alican"};
    QTest::newRow("starts with a star") << "*li" << QStringList{"Ahmet Veli", "ali",    "ALİ",      "Ali ",
                                                                "Ali Veli",   "Alican", "Veli Ali", "-Ali"};
    QTest::newRow("a comma") << "5," << QStringList{"5,"};
    QTest::newRow("percent") << "%" << QStringList{"%5"};
    QTest::newRow("underscore") << "A_" << QStringList{"A_1"};
    QTest::newRow("a set") << "[AB]l" << QStringList{"ALI", "ali", "ALİ", "Ali ", "Ali Veli", "Alican", "Bl"};
    QTest::newRow("a hyphen, which has no weight") << "-A" << QStringList{"-Ali"};
    QTest::newRow("double quote") << "\"" << QStringList{};
}

void TestSql::searchesByTheFirstLetters()
{
    QFETCH(QString, typed);
    QFETCH(QStringList, found);
    for (const bool indexes : {false, true}) {
        Mill mill({.indexes = indexes});
        mill.customer(Null{});
        for (const char* each :
             {"Veli Ali", "Alican", "Ali Veli", "ali",     "Ahmet Veli", "ALİ", "ALI", "Ali ", "çetin", "Âdem",
              "IŞIK",     "ışık",   "is",       "Isparta", "5,",         "%5",  "A_1", "Bl",   "Cl",    "-Ali"})
            mill.customer(name(each));
        QStringList rows =
            mill.texts("Select * From Cari where Unvan Like '" + typed + "*' Order By Unvan Asc", "Unvan");
        // A hyphen has no place of its own in the alphabet: where "-Ali" stands among the Alis is not at issue here.
        QStringList wanted = found;
        rows.sort();
        wanted.sort();
        QCOMPARE(rows, wanted);
    }
}

void TestSql::namesComeInTurkishOrder_data()
{
    QTest::addColumn<QString>("search");
    QTest::newRow("whole register") << "";
    QTest::newRow("through a pattern") << "where Unvan Like '*'";
    QTest::newRow("through another condition") << "where Unvan<>'nobody'";
}

void TestSql::namesComeInTurkishOrder()
{
    QFETCH(QString, search);
    const QStringList alphabet{"",      "5 Kardeş", "50 Kardeş", "Ali",  "Ali Veli", "Alican", "Cemal",  "Çetin",
                               "Deniz", "Gül",      "Ğ",         "Hale", "Ilgaz",    "Işık",   "İsmail", "Jale",
                               "Ozan",  "Öznur",    "Sami",      "Şule", "Umut",     "Ümit",   "Veli",   "Zeki"};
    for (const jet::Collation collation : {jet::turkish, jet::general}) {
        Mill mill({.collation = collation});
        QStringList shuffled = alphabet;
        std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
        for (const QString& each : shuffled) mill.customer(name(each));
        mill.customer(Null{});
        QStringList wanted = alphabet;
        if (search.isEmpty()) wanted.prepend("-");
        QCOMPARE(mill.texts("Select * From Cari " + search + " Order By Unvan Asc", "Unvan"), wanted);
        std::reverse(wanted.begin(), wanted.end());
        QCOMPARE(mill.texts("Select * From Cari " + search + " Order By Unvan Desc", "Unvan"), wanted);
    }
}

void TestSql::theSearchFollowsEveryChangeOfTheRegister()
{
    const QString search = "Select * From Cari where Unvan Like 'Al*' Order By Unvan Asc";
    Mill mill;
    QCOMPARE(mill.texts(search, "Unvan"), QStringList{});
    mill.customer(name("Ali Veli"));
    QCOMPARE(mill.texts(search, "Unvan"), QStringList{"Ali Veli"});
    mill.customer(name("Ali"));
    const auto veli = mill.cari().insert({{0, name("Veli")}});
    QCOMPARE(mill.texts(search, "Unvan"), (QStringList{"Ali", "Ali Veli"}));
    mill.cari().update(veli, {{0, name("Ali Can")}});
    QCOMPARE(mill.texts(search, "Unvan"), (QStringList{"Ali", "Ali Can", "Ali Veli"}));
    {
        jet::Transaction change(mill.database().pager());
        mill.cari().erase(veli);
        mill.customer(name("Ali Zeki"));
        QCOMPARE(mill.texts(search, "Unvan"), (QStringList{"Ali", "Ali Veli", "Ali Zeki"}));
        // Left without a commit.
    }
    QCOMPARE(mill.texts(search, "Unvan"), (QStringList{"Ali", "Ali Can", "Ali Veli"}));
    jet::execute(mill.database(), u"DELETE FROM Cari");
    QCOMPARE(mill.texts(search, "Unvan"), QStringList{});
    mill.customer(name("Alper"));
    QCOMPARE(mill.texts(search, "Unvan"), QStringList{"Alper"});
}

/// Letters with weights of one, two and four bytes, without any, of several characters, halves of pairs: whatever the
/// keys of a name look like, the search that walks them finds the rows that reading all names finds.
void TestSql::theSearchMissesNobody()
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
        const QString search = "Select * From Cari where Unvan Like '" + qt(typed) + "*' Order By Unvan";
        const auto rows = jet::select(mill.database(), u16(search)).rows;
        QCOMPARE(rows, jet::select(mill.database(), u16(search + ", Kap")).rows);
        found += rows.size();
    }
    QVERIFY(found > 800);
}

void TestSql::unreadablePatternsFail()
{
    Mill mill;
    QCOMPARE(
        faultOf([&] { jet::select(mill.database(), u"Select * From Cari where Unvan Like '[A*' Order By Unvan Asc"); }),
        jet::Fault::syntax);
}

// ---- Comparisons ----------------------------------------------------------------------------------------------

void TestSql::equalityOfNamesIsExact_data()
{
    QTest::addColumn<bool>("indexes");
    QTest::newRow("no index") << false;
    QTest::newRow("index on the name") << true;
}

void TestSql::equalityOfNamesIsExact()
{
    QFETCH(bool, indexes);
    Mill mill({.indexes = indexes});
    QStringList names{"Ali", "ali", "ALİ", "Ali ", " Ali", "Ali Veli", "Al", "Â-li", "Âli", ""};
    // No index takes a letter whose place in the order is not known for certain.
    if (!indexes) names << "Λλ";
    for (const QString& each : names) mill.pressing(at(2025, 2, 3), 1.0, name(each));
    mill.pressing(at(2025, 2, 3), 1.0, Null{});
    for (const QString& each : names)
        // Twice: the second answer comes from memory.
        for (int time = 0; time < 2; ++time)
            QCOMPARE(mill.texts("Select * From Hareket where CariHar='" + each + "'", "CariHar"), QStringList{each});
    QCOMPARE(mill.texts("Select * From Hareket where CariHar<>'Ali'", "CariHar").size(), names.size() - 1);
    for (const char* other : {"Veli", "Λ"})
        QCOMPARE(mill.texts(QString("Select * From Hareket where CariHar='%1'").arg(other), "CariHar"), QStringList{});
}

void TestSql::nullMeetsNoComparison_data()
{
    QTest::addColumn<QString>("condition");
    QTest::addColumn<int>("rows");
    // Two rows: one with values, one with Null everywhere.
    QTest::newRow("equal") << "CariHar='X'" << 1;
    QTest::newRow("unequal") << "CariHar<>'Toplamlar'" << 1;
    QTest::newRow("not equal") << "Not CariHar='Y'" << 1;
    QTest::newRow("not unequal") << "Not CariHar<>'X'" << 1;
    QTest::newRow("not like") << "Not CariHar Like 'Y*'" << 1;
    QTest::newRow("number") << "Zeytin<>5" << 1;
    QTest::newRow("not a number") << "Not Zeytin=5" << 1;
    QTest::newRow("date") << "Tarih<>#1/1/2000#" << 1;
    QTest::newRow("against Null") << "Zeytin=Null" << 0;
    QTest::newRow("not against Null") << "Not Zeytin=Null" << 0;
    QTest::newRow("unequal to Null") << "Zeytin<>Null" << 0;
    QTest::newRow("is Null") << "Zeytin Is Null" << 1;
    QTest::newRow("is not Null") << "Zeytin Is Not Null" << 1;
    QTest::newRow("not is Null") << "Not Zeytin Is Null" << 1;
    QTest::newRow("unknown or true") << "Zeytin=10 Or CariHar Is Null" << 2;
    QTest::newRow("not (unknown and true)") << "Not (Zeytin=10 And CariHar='X')" << 0;
    QTest::newRow("not (unknown and false)") << "Not (Zeytin=10 And Onay=True)" << 2;
    QTest::newRow("two fields") << "Zeytin=Zeytin" << 1;
    QTest::newRow("Booleans are never Null") << "Onay=False" << 2;
}

void TestSql::nullMeetsNoComparison()
{
    QFETCH(QString, condition);
    QFETCH(int, rows);
    Mill mill;
    mill.pressing(at(2025, 2, 3), 10.0, name("X"));
    mill.pressing(Null{}, Null{}, Null{});
    QCOMPARE(
        static_cast<int>(jet::select(mill.database(), u16("Select * From Hareket where " + condition)).rows.size()),
        rows);
}

// ---- Sums -----------------------------------------------------------------------------------------------------

void TestSql::sumsLeaveNullOut_data()
{
    QTest::addColumn<QList<double>>("values"); // below -999: Null
    QTest::addColumn<double>("sum");
    QTest::newRow("no rows") << QList<double>{} << -1000.0;
    QTest::newRow("two") << QList<double>{1000, 500} << 1500.0;
    QTest::newRow("one is Null") << QList<double>{1000, -1000} << 1000.0;
    QTest::newRow("all are Null") << QList<double>{-1000, -1000} << -1000.0;
    QTest::newRow("cancelling out") << QList<double>{-5, 5} << 0.0;
}

void TestSql::sumsLeaveNullOut()
{
    QFETCH(QList<double>, values);
    QFETCH(double, sum);
    for (const ColumnType type : {ColumnType::doubleFloat, ColumnType::singleFloat, ColumnType::longInteger,
                                  ColumnType::integer, ColumnType::currency, ColumnType::numeric}) {
        Mill mill({.weight = type});
        for (const double value : values)
            mill.pressing(at(2025, 2, 3), value < -999 ? Value() : Value(value), name("Ali"));
        const Value result = mill.sum("Zeytin", "CariHar<>'Toplamlar'");
        if (sum < -999) {
            QVERIFY(jet::isNull(result));
        } else if (type == ColumnType::currency) {
            QCOMPARE(std::get<Currency>(result).tenThousandths, std::llround(sum * 10000));
        } else if (type == ColumnType::numeric) {
            QCOMPARE(std::get<Numeric>(result).magnitude[3], static_cast<std::uint32_t>(std::llround(sum * 10000)));
        } else {
            QCOMPARE(std::get<double>(result), sum);
        }
    }
}

void TestSql::sumsStayExact()
{
    Mill money({.weight = ColumnType::currency});
    Mill numeric({.weight = ColumnType::numeric});
    for (int i = 0; i < 1000; ++i) {
        money.pressing(at(2025, 2, 3), Currency{900'000'000'000'001}, name("Ali"));
        numeric.pressing(at(2025, 2, 3), Numeric{i % 4 == 3, {0, 0, 0x0DE0B6B3, 0xA763FFFF}, 4}, name("Ali"));
    }
    QCOMPARE(std::get<Currency>(money.sum("Zeytin", "CariHar='Ali'")).tenThousandths, 900'000'000'000'001'000);
    const auto sum = std::get<Numeric>(numeric.sum("Zeytin", "CariHar='Ali'"));
    // 750 times and back 250 times eighteen nines.
    QCOMPARE(sum.negative, false);
    QCOMPARE(sum.magnitude, (std::array<std::uint32_t, 4>{0, 0x1B, 0x1AE4D6E2, 0xEF4FFE0C}));

    Mill full({.weight = ColumnType::currency});
    for (int i = 0; i < 2; ++i) full.pressing(at(2025, 2, 3), Currency{INT64_MAX}, name("Ali"));
    QCOMPARE(faultOf([&] { full.sum("Zeytin", "CariHar='Ali'"); }), jet::Fault::badValue);
}

void TestSql::theTotalsRowIsLeftOutOfTheSums()
{
    Mill mill;
    mill.pressing(at(2025, 2, 3), 1000.0, name("Ali"));
    mill.pressing(at(2025, 2, 3), 1000.0, name("Toplamlar"));
    mill.pressing(at(2025, 2, 3), 7.0, Null{});
    const jet::Selection sums = jet::select(
        mill.database(), u"Select Sum(Zeytin),Sum(Yağ),Sum(HakTut),Sum(Nakit) FROM Hareket Where "
                         u"CariHar<>'Toplamlar' And Tarih>=#02/03/2025 00:00:00# And Tarih<=#02/03/2025 23:59:59#");
    QVERIFY(sums.table == nullptr);
    QCOMPARE(sums.aggregates.size(), 4u);
    QCOMPARE(std::get<double>(sums.aggregates[0]), 1000.0);
    QVERIFY(jet::isNull(sums.aggregates[1]) && jet::isNull(sums.aggregates[2]) && jet::isNull(sums.aggregates[3]));
}

// ---- Dates ----------------------------------------------------------------------------------------------------

void TestSql::aPeriodEndsWithItsLastSecond_data()
{
    QTest::addColumn<double>("days");
    QTest::addColumn<bool>("within");
    const auto row = [](const char* tag, DateTime moment, bool within) {
        // What another program's arithmetic makes of the same second.
        QTest::newRow(tag) << moment.days << within;
        QTest::addRow("%s, a bit later", tag) << std::nextafter(moment.days, 1e6) << within;
        QTest::addRow("%s, a few bits earlier", tag) << moment.days - 3e-11 << within;
    };
    row("first second", at(2025, 2, 3), true);
    row("last second", at(2025, 2, 3, 23, 59, 59), true);
    row("next midnight", at(2025, 2, 4), false);
    row("second before", at(2025, 2, 2, 23, 59, 59), false);
    row("day and month exchanged", at(2025, 3, 2), false);
    QTest::newRow("half a second too late") << at(2025, 2, 3, 23, 59, 59).days + 0.5 / 86400 << false;
}

void TestSql::aPeriodEndsWithItsLastSecond()
{
    QFETCH(double, days);
    QFETCH(bool, within);
    for (const bool indexes : {false, true}) {
        Mill mill({.indexes = indexes});
        mill.pressing(DateTime{days}, 1.0, name("Ali"));
        mill.pressing(Null{}, 1.0, name("Ali"));
        const jet::Selection selection =
            jet::select(mill.database(), u"Select * From Hareket where Tarih>=#02/03/2025 00:00:00# And "
                                         u"Tarih<=#02/03/2025 23:59:59# Order By Tarih Asc");
        QCOMPARE(selection.rows.size(), within ? 1u : 0u);
    }
}

void TestSql::aPeriodOfOldDays()
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
        QCOMPARE(count(u"Tarih>=#12/29/1899# And Tarih<=#12/29/1899 23:59:59#"), 2u);
        QCOMPARE(count(u"Tarih<#12/29/1899 02:00:00#"), 2u);
        QCOMPARE(count(u"Tarih>=#12/30/1899# And Tarih<#12/31/1899#"), 1u);
        QCOMPARE(count(u"Tarih=#12/29/1899 22:00:00#"), 1u);
        QCOMPARE(count(u"Tarih>#12/28/1899 23:00:00#"), 4u);
        const jet::Selection all = jet::select(mill.database(), u"Select * From Hareket Order By Tarih");
        const jet::Selection stored = jet::select(mill.database(), u"Select * From Hareket");
        QCOMPARE(all.rows, stored.rows);
    }
}

void TestSql::journalInOrderOfDates_data()
{
    QTest::addColumn<bool>("indexes");
    QTest::newRow("no index") << false;
    QTest::newRow("index on the date") << true;
}

void TestSql::journalInOrderOfDates()
{
    QFETCH(bool, indexes);
    Mill mill({.indexes = indexes});
    mill.pressing(at(2025, 2, 3, 10), 1.0, name("c1"));
    mill.pressing(at(2025, 2, 3, 9), 1.0, name("b"));
    mill.pressing(Null{}, 1.0, name("a1"));
    mill.pressing(at(2025, 2, 4), 1.0, name("d"));
    mill.pressing(at(2025, 2, 3, 10), 1.0, name("c2"));
    mill.pressing(Null{}, 1.0, name("a2"));
    mill.pressing(at(1999, 12, 31), 1.0, name("a3"));
    QCOMPARE(mill.texts("Select * From Hareket Order By Tarih Asc;", "CariHar"),
             (QStringList{"a1", "a2", "a3", "b", "c1", "c2", "d"}));
    QCOMPARE(mill.texts("Select * From Hareket Order By Tarih Desc", "CariHar"),
             (QStringList{"d", "c1", "c2", "b", "a3", "a1", "a2"}));
}

void TestSql::severalOrders()
{
    Mill mill;
    mill.customer(name("Veli"), Currency{50000});
    mill.customer(name("Ali"), Currency{50000});
    mill.customer(name("Can"), Null{});
    mill.customer(name("Ece"), Currency{-10000});
    mill.customer(name("Ali"), Currency{990000});
    QCOMPARE(mill.texts("Select * From Cari Order By Nakit, Unvan", "Unvan"),
             (QStringList{"Can", "Ece", "Ali", "Veli", "Ali"}));
    QCOMPARE(mill.texts("Select * From Cari Order By Nakit Desc, Unvan Desc", "Unvan"),
             (QStringList{"Ali", "Veli", "Ali", "Ece", "Can"}));
    QCOMPARE(mill.texts("Select * From Cari Order By Nakit", "Unvan"),
             (QStringList{"Can", "Ece", "Veli", "Ali", "Ali"}));
    const jet::Selection some =
        jet::select(mill.database(), u"Select nakit, [Unvan] From cari Order By Unvan, Nakit Desc");
    QCOMPARE(some.columns, (std::vector<std::u16string>{u"Nakit", u"Unvan"}));
    QCOMPARE(some.fields, (std::vector<std::size_t>{3, 0}));
    QCOMPARE(std::get<Currency>(some.table->row(some.rows[0])->value(3)).tenThousandths, 990000);
}

void TestSql::conditions_data()
{
    QTest::addColumn<QString>("condition");
    QTest::addColumn<QStringList>("customers");
    // Ali 10, Can 20.5 with the flag, Veli 30.
    const auto row = [](const char* condition, const QStringList& customers) {
        QTest::newRow(condition) << QString(condition) << customers;
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
}

void TestSql::conditions()
{
    QFETCH(QString, condition);
    QFETCH(QStringList, customers);
    for (const bool indexes : {false, true}) {
        Mill mill({.indexes = indexes});
        mill.hareket().insert({{0, DateTime{45000}}, {1, 10.0}, {2, 1.0}, {6, u"Ali"}});
        mill.hareket().insert({{0, DateTime{45001.5}}, {1, 20.5}, {2, 2.0}, {6, u"Can"}, {7, true}});
        mill.hareket().insert({{0, DateTime{45002}}, {1, 30.0}, {2, 30.0}, {6, u"Veli"}});
        if (condition == "Onay") {
            QCOMPARE(faultOf([&] { jet::select(mill.database(), u"Select * From Hareket Where Onay"); }),
                     jet::Fault::syntax);
            continue;
        }
        QCOMPARE(mill.texts("Select * From Hareket Where " + condition, "CariHar"), customers);
        QStringList matching;
        const jet::Criteria criteria(mill.hareket(), u16(condition));
        mill.hareket().scan([&](jet::RowId, const jet::RowView& row) {
            std::u16string text;
            row.text(6, text);
            if (criteria.matches(row)) matching << qt(text);
            return true;
        });
        QCOMPARE(matching, customers);
        QCOMPARE(static_cast<qsizetype>(criteria.rows().size()), customers.size());
    }
}

// ---- Deleting -------------------------------------------------------------------------------------------------

void TestSql::deletesOnlyWhatTheConditionNames_data()
{
    QTest::addColumn<bool>("indexes");
    QTest::newRow("no index") << false;
    QTest::newRow("indexes") << true;
}

void TestSql::deletesOnlyWhatTheConditionNames()
{
    QFETCH(bool, indexes);
    Mill mill({.indexes = indexes});
    for (const char* each : {"Ali", "Ali Veli", "Toplamlar", "ALİ", "Ali", "Ali "})
        mill.pressing(at(2025, 2, 3), 1.0, name(each));
    mill.pressing(at(2025, 2, 3), 1.0, Null{});
    mill.customer(name("Ali"));

    QCOMPARE(jet::execute(mill.database(), u"DELETE FROM Hareket Where CariHar='Ali'"), 2u);
    QCOMPARE(mill.texts("Select * From Hareket", "CariHar"),
             (QStringList{"Ali Veli", "Toplamlar", "ALİ", "Ali ", "-"}));
    QCOMPARE(jet::execute(mill.database(), u"DELETE FROM Hareket WHERE CariHar='Toplamlar'"), 1u);
    QCOMPARE(jet::execute(mill.database(), u"DELETE FROM Hareket WHERE CariHar='Toplamlar'"), 0u);
    QCOMPARE(mill.texts("Select * From Hareket", "CariHar"), (QStringList{"Ali Veli", "ALİ", "Ali ", "-"}));
    QCOMPARE(mill.texts("Select * From Cari", "Unvan"), QStringList{"Ali"});
    QCOMPARE(mill.hareket().rowCount(), 4u);
}

void TestSql::deletesAll()
{
    Mill mill({.indexes = true});
    for (int i = 0; i < 300; ++i) mill.pressing(at(2025, 2, 3), 1.0, name(QString("Ali %1").arg(i)));
    mill.customer(name("Ali"));
    QCOMPARE(jet::execute(mill.database(), u"DELETE FROM Hareket"), 300u);
    QCOMPARE(mill.texts("Select * From Hareket", "CariHar"), QStringList{});
    QCOMPARE(mill.texts("Select * From Cari", "Unvan"), QStringList{"Ali"});
    QCOMPARE(jet::execute(mill.database(), u"DELETE FROM Cari"), 1u);
    QCOMPARE(jet::execute(mill.database(), u"DELETE FROM Cari"), 0u);
}

void TestSql::aNameWithAnApostropheChangesNothing_data()
{
    QTest::addColumn<QString>("sql");
    for (const char* name : {"O'Neil", "'", "Ali'", "'Ali", "x'; DELETE FROM Cari; '", "x' Or", "Ali' And '"}) {
        QTest::addRow("delete %s", name) << QString("DELETE FROM Hareket Where CariHar='%1'").arg(name);
        QTest::addRow("search %s", name)
            << QString("Select * From Cari where Unvan Like '%1*' Order By Unvan Asc").arg(name);
        QTest::addRow("report %s", name)
            << QString("Select * From Hareket where Tarih>=#02/03/2025# And CariHar='%1' Order By Tarih Asc").arg(name);
    }
}

void TestSql::aNameWithAnApostropheChangesNothing()
{
    QFETCH(QString, sql);
    Mill mill;
    mill.pressing(at(2025, 2, 3), 1.0, name("Ali"));
    mill.pressing(at(2025, 2, 3), 1.0, name("O'Neil"));
    const std::uint64_t before = mill.database().pager().changeCount();
    QCOMPARE(faultOf([&] {
                 if (sql.startsWith("DELETE"))
                     jet::execute(mill.database(), u16(sql));
                 else
                     jet::select(mill.database(), u16(sql));
             }),
             jet::Fault::syntax);
    QCOMPARE(mill.database().pager().changeCount(), before);
    QCOMPARE(mill.texts("Select * From Hareket", "CariHar"), (QStringList{"Ali", "O'Neil"}));
}

void TestSql::refusesUnknownNamesAndKinds_data()
{
    QTest::addColumn<QString>("sql");
    QTest::addColumn<int>("fault");
    const auto row = [](const char* sql, jet::Fault fault) { QTest::newRow(sql) << QString(sql) << int(fault); };
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
}

void TestSql::refusesUnknownNamesAndKinds()
{
    QFETCH(QString, sql);
    QFETCH(int, fault);
    Mill mill;
    mill.pressing(at(2025, 2, 3), 1.0, name("x"));
    QCOMPARE(faultOf([&] {
                 if (sql.startsWith("DELETE"))
                     jet::execute(mill.database(), u16(sql));
                 else
                     jet::select(mill.database(), u16(sql));
             }),
             jet::Fault(fault));
    QCOMPARE(mill.texts("Select * From Hareket", "CariHar"), QStringList{"x"});
    QCOMPARE(faultOf([&] { jet::execute(mill.database(), u"Select * From Cari"); }), jet::Fault::unsupported);
    QCOMPARE(faultOf([&] { jet::select(mill.database(), u"DELETE FROM Cari"); }), jet::Fault::unsupported);
}

// ---- Every way --------------------------------------------------------------------------------------------------

void TestSql::answersAreTheSameByEveryWay_data()
{
    QTest::addColumn<bool>("indexes");
    QTest::addColumn<bool>("isGeneral");
    for (const bool indexes : {false, true})
        for (const bool isGeneral : {false, true})
            QTest::addRow("%s, %s", indexes ? "indexes" : "no indexes", isGeneral ? "General" : "Turkish")
                << indexes << isGeneral;
}

/// Random changes, some of them taken back; after each, the answers must be those of a plain list of rows.
void TestSql::answersAreTheSameByEveryWay()
{
    QFETCH(bool, indexes);
    QFETCH(bool, isGeneral);
    Mill mill({.indexes = indexes, .collation = isGeneral ? jet::general : jet::turkish});
    jet::Table& table = mill.hareket();
    const QStringList names{"Ali", "Ali Veli", "ALİ", "Ayşe", "Çetin", "Toplamlar", "Işık", "ışık", "Ali "};
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
        for (int customer = 0; customer < names.size(); ++customer) {
            std::vector<jet::RowId> wanted;
            for (const auto& [id, row] : model)
                if (row.customer == customer) wanted.push_back(id);
            QCOMPARE(
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
        const QString condition = "Tarih>=#01/10/2025# And Tarih<=#01/20/2025 23:59:59#";
        const auto listed =
            jet::select(mill.database(), u16("Select * From Hareket where " + condition + " Order By Tarih")).rows;
        QCOMPARE(listed.size(), period.size());
        for (std::size_t i = 0; i < period.size(); ++i) QCOMPARE(listed[i], period[i].second);
        const Value total = mill.sum("Zeytin", "CariHar<>'Toplamlar' And " + condition);
        QCOMPARE(jet::isNull(total), !any);
        if (any) QCOMPARE(std::get<double>(total), sum);

        // The search by first letters, from the remembered order and, because of the second key, by plain sorting.
        for (const char* typed : {"A", "Al", "ı", "", "Ali "}) {
            const QString search =
                QString("Select * From Hareket where CariHar Like '%1*' Order By CariHar").arg(typed);
            QCOMPARE(jet::select(mill.database(), u16(search)).rows,
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

    for (int round = 0; round < 150 && !QTest::currentTestFailed(); ++round) {
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

QTEST_APPLESS_MAIN(TestSql)
#include "sql.moc"
