#include "random_rows.h"

#include "files/memory_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/database/properties.h"
#include "store/jet/format/doors.h"

#include <QtTest>

#include <cmath>
#include <limits>
#include <set>

Q_DECLARE_METATYPE(jet::Value)
Q_DECLARE_METATYPE(jet::ColumnType)

namespace {

using jet::ColumnType;
using jet::Value;

constexpr const char* path = "kurallar.mdb";

/// A database in memory with one table.
struct Fixture {
    Fixture(const std::vector<jet::NewColumn>& columns, const std::vector<jet::NewIndex>& indexes = {})
    {
        jet::Database::create(disk, path, jet::turkish, rows::created);
        database = jet::Database::open(disk, path);
        table = &database->createTable(u"Deneme", columns, indexes, rows::created);
    }
    Value field(jet::RowId id, std::size_t column) const { return table->row(id).value().value(column); }
    QByteArray allBytes() const
    {
        QByteArray bytes;
        for (jet::PageNo page = 0; page < database->pager().pageCount(); ++page) {
            const jet::PageView view = database->pager().read(page);
            bytes.append(reinterpret_cast<const char*>(view.data()), qsizetype(view.size()));
        }
        return bytes;
    }
    QByteArray faults() const
    {
        QByteArray text;
        for (const std::string& fault : jet::checkDatabase(*database).faults) text += fault + "; ";
        return text;
    }

    files::MemoryDisk disk;
    std::unique_ptr<jet::Database> database;
    jet::Table* table = nullptr;
};

/// The fault that an action throws; nothing when it does not.
template <class Action> std::optional<jet::Fault> faultOf(Action&& action)
{
    try {
        action();
    } catch (const jet::Error& error) {
        return error.fault();
    }
    return std::nullopt;
}

jet::Numeric numeric(std::uint32_t units, std::uint8_t scale, bool negative = false)
{
    return {.negative = negative, .magnitude = {0, 0, 0, units}, .scale = scale};
}

} // namespace

class TableRules : public QObject {
    Q_OBJECT
private slots:
    void valuesBecomeTheColumnsType_data();
    void valuesBecomeTheColumnsType();
    void valuesThatDoNotFitAreRefused_data();
    void valuesThatDoNotFitAreRefused();
    void aRefusedValueIsNamedWithItsColumn();
    void unsetColumnsKeepTheirBytes();
    void autoNumbersRunOnFromTheHighest();
    void aRowMayBe4060BytesLong();
    void requiredFieldsAreNotLeftEmpty();
    void requiredComesFromTheTablesProperties();
    void aUniqueIndexRefusesItsKeyTwice();
    void lettersThatDifferInCaseAreOneKey();
    void rowsWithoutAnyKeyFieldDoNotCollide();
    void anIgnoreNullsIndexLeavesEmptyRowsOut();
    void aRefusedChangeLeavesEveryByte();
    void aRefusedChangeLeavesTheOpenTransactionAsItWas();
    void movedRowsKeepTheirPlace();
    void longTextsLeaveTheRowAndComeBack();
    void deletingGivesLongTextsPagesBack();
    void deletedRowsAreGone();
    void aNewRowNeverTakesADeletedRowsPlace();
    void emptyingTheTableLeavesNothing();
    void rangesFollowTheIndex_data();
    void rangesFollowTheIndex();
    void aStaleRowCountIsPutRightByTheFirstWrite();
};

void TableRules::valuesBecomeTheColumnsType_data()
{
    QTest::addColumn<ColumnType>("type");
    QTest::addColumn<Value>("given");
    QTest::addColumn<Value>("kept");
    const auto row = [](const char* name, ColumnType type, Value given, Value kept) {
        QTest::newRow(name) << type << given << kept;
    };
    row("half to the even neighbour below", ColumnType::longInteger, 2.5, std::int32_t{2});
    row("half to the even neighbour above", ColumnType::longInteger, 3.5, std::int32_t{4});
    row("negative half", ColumnType::longInteger, -2.5, std::int32_t{-2});
    row("money to Long", ColumnType::longInteger, jet::Currency{25001}, std::int32_t{3});
    row("exact decimal to Long", ColumnType::longInteger, numeric(1250, 3, true), std::int32_t{-1});
    row("Long to Double", ColumnType::doubleFloat, std::int32_t{7}, 7.0);
    row("Single to Double", ColumnType::doubleFloat, 0.5f, 0.5);
    row("Double to Single", ColumnType::singleFloat, 0.1, 0.1f);
    row("Double to money", ColumnType::currency, 1234.56785, jet::Currency{12345678});
    row("Long to money", ColumnType::currency, std::int32_t{-3}, jet::Currency{-30000});
    row("exact decimal to money", ColumnType::currency, numeric(123456789, 5), jet::Currency{12345679});
    row("True is -1", ColumnType::integer, true, std::int16_t{-1});
    row("any number is True", ColumnType::boolean, 0.25, true);
    row("zero is False", ColumnType::boolean, std::int32_t{0}, false);
    row("Null is False", ColumnType::boolean, Value(), false);
    row("Null stays Null", ColumnType::doubleFloat, Value(), Value());
    row("a number is a date by its days", ColumnType::dateTime, 45000.25, jet::DateTime{45000.25});
    row("a date is a number by its days", ColumnType::doubleFloat, jet::DateTime{45000.25}, 45000.25);
    row("Byte at its end", ColumnType::byte, 255.4, std::uint8_t{255});
    row("Double to exact decimal by its 15 digits", ColumnType::numeric, 0.1, numeric(100, 3));
    row("Double to exact decimal, half to even", ColumnType::numeric, 1.0005, numeric(1000, 3));
    row("negative Double to exact decimal", ColumnType::numeric, -12.3456, numeric(12346, 3, true));
    row("money to exact decimal", ColumnType::numeric, jet::Currency{-15}, numeric(2, 3, true));
    row("exact decimal with more places", ColumnType::numeric, numeric(7, 0), numeric(7000, 3));
}

void TableRules::valuesBecomeTheColumnsType()
{
    QFETCH(ColumnType, type);
    QFETCH(Value, given);
    QFETCH(Value, kept);
    Fixture fixture({{.name = u"Alan", .type = type, .precision = 18, .scale = 3}});
    const jet::RowId id = fixture.table->insert({{0, given}});
    QVERIFY(fixture.field(id, 0) == kept);
    const jet::RowId other = fixture.table->insert({});
    fixture.table->update(other, {{0, given}});
    QVERIFY(fixture.field(other, 0) == kept);
}

void TableRules::valuesThatDoNotFitAreRefused_data()
{
    QTest::addColumn<ColumnType>("type");
    QTest::addColumn<Value>("given");
    const auto row = [](const char* name, ColumnType type, Value given) { QTest::newRow(name) << type << given; };
    row("Byte below zero", ColumnType::byte, -0.6);
    row("Byte too large", ColumnType::byte, std::int32_t{256});
    row("Integer too large", ColumnType::integer, 32767.5);
    row("Long too large", ColumnType::longInteger, 2147483648.0);
    row("Long too small", ColumnType::longInteger, -2147483649.0);
    row("Single too large", ColumnType::singleFloat, 1e39);
    row("money too large", ColumnType::currency, 1e15);
    row("not a number", ColumnType::doubleFloat, std::nan(""));
    row("infinite", ColumnType::doubleFloat, std::numeric_limits<double>::infinity());
    row("a date before the year 100", ColumnType::dateTime, -657435.0);
    row("a date after the year 9999", ColumnType::dateTime, 2958466.0);
    row("more digits than the column has", ColumnType::numeric, 1e6);
    row("a text for a number", ColumnType::doubleFloat, std::u16string(u"12"));
    row("a number for a text", ColumnType::text, 12.0);
    row("a text too long", ColumnType::text, std::u16string(11, u'x'));
    row("a memo longer than a page", ColumnType::memo, std::u16string(4090, u'x'));
    row("a number for a GUID", ColumnType::guid, 1.0);
    row("bytes too long", ColumnType::binary, jet::Bytes(11));
    row("bytes for a text", ColumnType::text, jet::Bytes(1));
    row("bytes longer than a page", ColumnType::ole, jet::Bytes(4077));
}

void TableRules::valuesThatDoNotFitAreRefused()
{
    QFETCH(ColumnType, type);
    QFETCH(Value, given);
    Fixture fixture({{.name = u"Alan", .type = type, .size = 10, .precision = 8, .scale = 2}});
    const jet::RowId id = fixture.table->insert({});
    QVERIFY(faultOf([&] { fixture.table->insert({{0, given}}); }) == jet::Fault::badValue);
    QVERIFY(faultOf([&] { fixture.table->update(id, {{0, given}}); }) == jet::Fault::badValue);
    QCOMPARE(fixture.table->rowCount(), 1u);
}

void TableRules::aRefusedValueIsNamedWithItsColumn()
{
    Fixture fixture({{.name = u"Yağ", .type = ColumnType::byte}});
    try {
        fixture.table->insert({{0, 1000.0}});
        QFAIL("took 1000 as a Byte");
    } catch (const jet::Error& error) {
        QVERIFY2(QString::fromUtf8(error.what()).contains("\"Deneme\" tablosunun \"Yağ\" alanına"), error.what());
    }
}

void TableRules::unsetColumnsKeepTheirBytes()
{
    Fixture fixture(rows::everyType());
    rows::Maker maker(11);
    const std::vector<jet::Column>& columns = fixture.table->columns();
    for (int round = 0; round < 50; ++round) {
        std::vector<jet::Assignment> values;
        for (std::size_t i = 1; i < columns.size(); ++i) values.push_back({i, maker.value(columns[i])});
        const jet::RowId id = fixture.table->insert(values);
        std::vector<QByteArray> before;
        const auto stored = [&](std::size_t column) {
            const auto bytes = fixture.table->row(id).value().stored(column);
            return QByteArray(reinterpret_cast<const char*>(bytes.data()), qsizetype(bytes.size()));
        };
        for (std::size_t i = 0; i < columns.size(); ++i) before.push_back(stored(i));
        const std::size_t changed = 1 + static_cast<std::size_t>(maker.below(int(columns.size()) - 1));
        fixture.table->update(id, {{changed, maker.value(columns[changed])}});
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (i != changed) QCOMPARE(stored(i), before[i]);
        }
    }
}

void TableRules::autoNumbersRunOnFromTheHighest()
{
    Fixture fixture({{.name = u"No", .type = ColumnType::longInteger, .autoNumber = true},
                     {.name = u"Ad", .type = ColumnType::text, .size = 10}});
    QVERIFY(fixture.field(fixture.table->insert({{1, u"a"}}), 0) == Value(1));
    QVERIFY(fixture.field(fixture.table->insert({{0, 10}}), 0) == Value(10));
    const jet::RowId last = fixture.table->insert({});
    QVERIFY(fixture.field(last, 0) == Value(11));
    fixture.table->erase(last);
    QVERIFY(fixture.field(fixture.table->insert({}), 0) == Value(12));
    QVERIFY(fixture.field(fixture.table->insert({{0, 3}}), 0) == Value(3));
    const jet::RowId next = fixture.table->insert({});
    QVERIFY(fixture.field(next, 0) == Value(13));
    fixture.table->update(next, {{0, 20}});
    QVERIFY(fixture.field(fixture.table->insert({}), 0) == Value(21));
    QCOMPARE(fixture.faults(), QByteArray());
}

void TableRules::aRowMayBe4060BytesLong()
{
    std::vector<jet::NewColumn> columns;
    for (int i = 0; i < 9; ++i) {
        columns.push_back(
            {.name = u"A" + std::u16string(1, char16_t(u'0' + i)), .type = ColumnType::text, .size = 255});
    }
    Fixture fixture(columns);
    // Wide letters are two bytes each. Around the texts stand the column count, nine places, the end, their count and
    // two bytes of bitmap: 2 + 20 + 2 + 2.
    const auto texts = [](int lettersOfTheLast) {
        std::vector<jet::Assignment> values;
        for (std::size_t i = 0; i < 7; ++i) values.push_back({i, std::u16string(255, u'ş')});
        values.push_back({7, std::u16string(std::size_t(lettersOfTheLast), u'ş')});
        return values;
    };
    const int room = (4060 - 26 - 7 * 510) / 2;
    const jet::RowId id = fixture.table->insert(texts(room));
    QCOMPARE(fixture.table->row(id)->bytes().size(), std::size_t(4060));
    QVERIFY(faultOf([&] { fixture.table->insert(texts(room + 1)); }) == jet::Fault::badValue);
    QVERIFY(faultOf([&] { fixture.table->update(id, {{8, std::u16string(u"ş")}}); }) == jet::Fault::badValue);
    QCOMPARE(fixture.faults(), QByteArray());
}

void TableRules::requiredFieldsAreNotLeftEmpty()
{
    Fixture fixture(
        {{.name = u"Unvan", .type = ColumnType::text, .size = 20}, {.name = u"Kap", .type = ColumnType::byte}},
        {{.name = u"PrimaryKey", .columns = {{u"Unvan", true}}, .primaryKey = true},
         {.name = u"Kap", .columns = {{u"Kap", true}}, .required = true}});
    QVERIFY(faultOf([&] { fixture.table->insert({{1, 5}}); }) == jet::Fault::required);
    QVERIFY(faultOf([&] { fixture.table->insert({{0, u"Ali"}}); }) == jet::Fault::required);
    const jet::RowId id = fixture.table->insert({{0, u"Ali"}, {1, 5}});
    QVERIFY(faultOf([&] { fixture.table->update(id, {{1, Value()}}); }) == jet::Fault::required);
    QVERIFY(fixture.field(id, 1) == Value(std::uint8_t{5}));
}

void TableRules::requiredComesFromTheTablesProperties()
{
    const auto text = [](const QString& s) {
        const auto* units = reinterpret_cast<const char*>(s.utf16());
        QByteArray bytes(units, s.size() * 2);
        return QByteArray(1, char(bytes.size())) + QByteArray(1, '\0') + bytes;
    };
    const auto sized = [](QByteArray body, int headLength, const QByteArray& kind) {
        const qsizetype length = body.size() + headLength + kind.size();
        QByteArray head(headLength, '\0');
        head[0] = char(length & 0xFF);
        head[1] = char(length >> 8);
        return head + kind + body;
    };
    const auto column = [&](const QString& name, char required) {
        const QByteArray record = sized(QByteArray::fromHex("00010100 0100") + QByteArray(1, required), 2, {});
        return sized(sized(text(name), 4, {}) + record, 4, QByteArray::fromHex("0100"));
    };
    const QByteArray block = QByteArray("MR2\0", 4) +
                             sized(text("Description") + text("Required"), 4, QByteArray::fromHex("8000")) +
                             column("Unvan", '\xFF') + column("Kap", '\0');
    const auto names = [](const QByteArray& bytes) {
        return jet::requiredColumns({reinterpret_cast<const std::uint8_t*>(bytes.data()), std::size_t(bytes.size())});
    };
    QVERIFY(names(block) == std::vector<std::u16string>{u"Unvan"});
    for (qsizetype length = 0; length < block.size(); ++length) QVERIFY(names(block.left(length)).size() <= 1);
    QVERIFY(names("KKD\0").empty());
}

void TableRules::aUniqueIndexRefusesItsKeyTwice()
{
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}, {.name = u"B", .type = ColumnType::longInteger}},
                    {{.name = u"AB", .columns = {{u"A", true}, {u"B", false}}, .unique = true}});
    const jet::RowId first = fixture.table->insert({{0, 1}, {1, 2}});
    const jet::RowId second = fixture.table->insert({{0, 1}, {1, 3}});
    QVERIFY(faultOf([&] { fixture.table->insert({{0, 1}, {1, 3}}); }) == jet::Fault::duplicate);
    QVERIFY(faultOf([&] { fixture.table->update(first, {{1, 3}}); }) == jet::Fault::duplicate);
    fixture.table->update(second, {{1, 3}}); // its own key is no other row's
    fixture.table->insert({{0, 1}});
    QVERIFY(faultOf([&] { fixture.table->insert({{0, 1}}); }) == jet::Fault::duplicate);
    QCOMPARE(fixture.table->rowCount(), 3u);
    QCOMPARE(fixture.faults(), QByteArray());
}

void TableRules::lettersThatDifferInCaseAreOneKey()
{
    Fixture fixture({{.name = u"Ad", .type = ColumnType::text, .size = 20}},
                    {{.name = u"Ad", .columns = {{u"Ad", true}}, .unique = true}});
    fixture.table->insert({{0, u"sınır"}});
    QVERIFY(faultOf([&] { fixture.table->insert({{0, u"SINIR"}}); }) == jet::Fault::duplicate);
    fixture.table->insert({{0, u"SİNİR"}});
    QCOMPARE(fixture.table->rowCount(), 2u);
}

void TableRules::rowsWithoutAnyKeyFieldDoNotCollide()
{
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}, {.name = u"B", .type = ColumnType::longInteger}},
                    {{.name = u"AB", .columns = {{u"A", true}, {u"B", true}}, .unique = true}});
    fixture.table->insert({});
    fixture.table->insert({});
    QCOMPARE(fixture.table->rowCount(), 2u);
    QCOMPARE(fixture.faults(), QByteArray());
}

void TableRules::anIgnoreNullsIndexLeavesEmptyRowsOut()
{
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}},
                    {{.name = u"A", .columns = {{u"A", true}}, .ignoreNulls = true}});
    const jet::Index& index = fixture.table->indexes().front();
    const jet::RowId empty = fixture.table->insert({});
    fixture.table->insert({{0, 5}});
    QCOMPARE(fixture.table->range(index, {}, {}).size(), std::size_t(1));
    fixture.table->update(empty, {{0, 1}});
    QCOMPARE(fixture.table->range(index, {}, {}).size(), std::size_t(2));
    fixture.table->update(empty, {{0, Value()}});
    fixture.table->erase(empty);
    QCOMPARE(fixture.table->range(index, {}, {}).size(), std::size_t(1));
    QCOMPARE(fixture.faults(), QByteArray());
}

void TableRules::aRefusedChangeLeavesEveryByte()
{
    Fixture fixture(rows::everyType(), rows::someIndexes());
    const jet::RowId id = fixture.table->insert({{0, 1}, {10, std::u16string(1000, u'x')}});
    const QByteArray before = fixture.allBytes();
    QVERIFY(faultOf([&] {
                fixture.table->insert({{0, 1}, {10, std::u16string(500, u'y')}});
            }) == jet::Fault::duplicate);
    QVERIFY(faultOf([&] { fixture.table->update(id, {{10, Value()}, {0, Value()}}); }) == jet::Fault::required);
    QVERIFY(faultOf([&] { fixture.table->update(id, {{10, Value()}, {2, 300}}); }) == jet::Fault::badValue);
    QVERIFY(faultOf([&] { fixture.table->update({id.page, 77}, {{2, 3}}); }) == jet::Fault::noSuchRow);
    QVERIFY(faultOf([&] { fixture.table->erase({id.page + 1, 0}); }) == jet::Fault::noSuchRow);
    QVERIFY(fixture.allBytes() == before);
}

void TableRules::aRefusedChangeLeavesTheOpenTransactionAsItWas()
{
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}},
                    {{.name = u"A", .columns = {{u"A", true}}, .unique = true}});
    jet::Transaction change(fixture.database->pager());
    fixture.table->insert({{0, 1}});
    QVERIFY(faultOf([&] { fixture.table->insert({{0, 1}}); }) == jet::Fault::duplicate);
    fixture.table->insert({{0, 2}});
    change.commit();
    QCOMPARE(fixture.table->rowCount(), 2u);
}

void TableRules::movedRowsKeepTheirPlace()
{
    Fixture fixture(
        {{.name = u"No", .type = ColumnType::longInteger}, {.name = u"Ad", .type = ColumnType::text, .size = 255}},
        {{.name = u"No", .columns = {{u"No", true}}}});
    std::vector<jet::RowId> ids;
    for (int i = 0; i < 100; ++i) ids.push_back(fixture.table->insert({{0, i}, {1, u"kısa"}}));
    const auto check = [&](const std::u16string& expected) {
        int at = 0;
        fixture.table->forEachRow([&](jet::RowId id, const jet::RowView& row) {
            const bool same = id == ids[std::size_t(at)] && row.value(1) == Value(expected);
            at += same ? 1 : 1000;
            return true;
        });
        QCOMPARE(at, 100);
        QCOMPARE(fixture.faults(), QByteArray());
    };
    for (const std::size_t length : {250, 255, 10, 200, 0}) {
        const std::u16string text(length, u'ş');
        for (const jet::RowId id : ids) fixture.table->update(id, {{1, text}});
        check(text);
    }
    for (const jet::RowId id : ids) fixture.table->erase(id);
    QCOMPARE(fixture.table->rowCount(), 0u);
    QCOMPARE(fixture.faults(), QByteArray());
}

void TableRules::longTextsLeaveTheRowAndComeBack()
{
    Fixture fixture({{.name = u"Not", .type = ColumnType::memo}});
    for (const std::size_t length : {0, 1, 30, 62, 63, 64, 65, 1000, 2037}) {
        const std::u16string text(length, u'ğ');
        const jet::RowId id = fixture.table->insert({{0, text}});
        QVERIFY(fixture.field(id, 0) == Value(text));
        std::u16string read;
        QVERIFY(fixture.table->row(id)->text(0, read));
        QCOMPARE(read, text);
    }
    QCOMPARE(fixture.faults(), QByteArray());
}

void TableRules::deletingGivesLongTextsPagesBack()
{
    Fixture fixture({{.name = u"Not", .type = ColumnType::memo}});
    const auto fill = [&] {
        std::vector<jet::RowId> ids;
        for (int i = 0; i < 20; ++i) ids.push_back(fixture.table->insert({{0, std::u16string(1500, u'ğ')}}));
        return ids;
    };
    for (const jet::RowId id : fill()) fixture.table->erase(id);
    const jet::PageNo pages = fixture.database->pager().pageCount();
    const std::vector<jet::RowId> ids = fill();
    for (const jet::RowId id : ids) fixture.table->update(id, {{0, u"kısa"}});
    fill();
    fixture.table->eraseAll();
    fill();
    QCOMPARE(fixture.database->pager().pageCount(), pages);
    QCOMPARE(fixture.faults(), QByteArray());
}

void TableRules::deletedRowsAreGone()
{
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}});
    const jet::RowId id = fixture.table->insert({{0, 1}});
    fixture.table->erase(id);
    QVERIFY(!fixture.table->row(id).has_value());
    QVERIFY(faultOf([&] { fixture.table->erase(id); }) == jet::Fault::noSuchRow);
    QVERIFY(faultOf([&] { fixture.table->update(id, {{0, 2}}); }) == jet::Fault::noSuchRow);
    QVERIFY(!fixture.table->row({0, 0}).has_value());
    QVERIFY(!fixture.table->row({1, 0}).has_value());
    QVERIFY(!fixture.table->row({99999, 0}).has_value());
}

void TableRules::aNewRowNeverTakesADeletedRowsPlace()
{
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}});
    std::set<jet::RowId> seen;
    for (int i = 0; i < 600; ++i) {
        const jet::RowId id = fixture.table->insert({{0, i}});
        QVERIFY(seen.insert(id).second);
        if (i % 100 == 99) {
            fixture.table->eraseAll();
        } else {
            fixture.table->erase(id);
        }
    }
    QCOMPARE(fixture.faults(), QByteArray());
}

void TableRules::emptyingTheTableLeavesNothing()
{
    Fixture fixture(rows::everyType(), rows::someIndexes());
    rows::Maker maker(12);
    for (int i = 0; i < 300; ++i) {
        std::vector<jet::Assignment> values;
        for (std::size_t k = 1; k < fixture.table->columns().size(); ++k) {
            values.push_back({k, maker.value(fixture.table->columns()[k])});
        }
        fixture.table->insert(values);
    }
    fixture.table->eraseAll();
    QCOMPARE(fixture.table->rowCount(), 0u);
    fixture.table->forEachRow([](jet::RowId, const jet::RowView&) {
        QTest::qFail("a row is left", __FILE__, __LINE__);
        return true;
    });
    for (const jet::Index& index : fixture.table->indexes()) {
        QVERIFY(fixture.table->range(index, {}, {}).empty());
    }
    QVERIFY(fixture.field(fixture.table->insert({}), 0) == Value(301));
    QCOMPARE(fixture.faults(), QByteArray());
}

void TableRules::rangesFollowTheIndex_data()
{
    QTest::addColumn<bool>("ascending");
    QTest::addColumn<std::optional<int>>("low");
    QTest::addColumn<std::optional<int>>("high");
    QTest::addColumn<std::vector<int>>("found"); // 0 stands for Null
    const std::optional<int> open;
    QTest::newRow("both ends") << true << std::optional(2) << std::optional(3) << std::vector{2, 2, 3};
    QTest::newRow("open above") << true << std::optional(3) << open << std::vector{3, 5};
    QTest::newRow("open below") << true << open << std::optional(2) << std::vector{0, 1, 2, 2};
    QTest::newRow("everything") << true << open << open << std::vector{0, 1, 2, 2, 3, 5};
    QTest::newRow("nothing there") << true << std::optional(4) << std::optional(4) << std::vector<int>{};
    QTest::newRow("descending, both ends") << false << std::optional(2) << std::optional(3) << std::vector{3, 2, 2};
    QTest::newRow("descending, open above") << false << std::optional(3) << open << std::vector{5, 3};
    QTest::newRow("descending, open below") << false << open << std::optional(2) << std::vector{2, 2, 1, 0};
}

void TableRules::rangesFollowTheIndex()
{
    QFETCH(bool, ascending);
    QFETCH(std::optional<int>, low);
    QFETCH(std::optional<int>, high);
    QFETCH(std::vector<int>, found);
    Fixture fixture({{.name = u"A", .type = ColumnType::longInteger}, {.name = u"B", .type = ColumnType::longInteger}},
                    {{.name = u"AB", .columns = {{u"A", ascending}, {u"B", true}}}});
    for (const int a : {5, 2, 0, 3, 2, 1}) fixture.table->insert({{0, a == 0 ? Value() : Value(a)}, {1, 100 - a}});
    const auto bound = [](std::optional<int> value) { return value ? std::optional<Value>(*value) : std::nullopt; };
    std::vector<int> values;
    for (const jet::RowId id : fixture.table->range(fixture.table->indexes().front(), bound(low), bound(high))) {
        values.push_back(int(fixture.table->row(id)->number(0).value_or(0)));
    }
    QCOMPARE(values, found);
}

void TableRules::aStaleRowCountIsPutRightByTheFirstWrite()
{
    files::MemoryDisk disk;
    jet::PageNo definition = 0;
    {
        jet::Database::create(disk, path, jet::turkish, rows::created);
        const auto database = jet::Database::open(disk, path);
        jet::Table& table =
            database->createTable(u"Deneme", {{.name = u"A", .type = ColumnType::longInteger}}, {}, rows::created);
        for (int i = 0; i < 5; ++i) table.insert({{0, i}});
        definition = table.definitionPage();
    }
    disk.content(path)[definition * jet::pageSize + 16] = 77;
    const auto database = jet::Database::open(disk, path);
    jet::Table& table = database->table(u"Deneme");
    QCOMPARE(table.rowCount(), 77u);
    {
        jet::Transaction takenBack(database->pager());
        table.insert({{0, 5}});
        QCOMPARE(table.rowCount(), 6u);
    }
    QCOMPARE(table.rowCount(), 77u);
    table.insert({{0, 5}});
    QCOMPARE(table.rowCount(), 6u);
    table.insert({{0, 6}});
    QCOMPARE(table.rowCount(), 7u);
}

QTEST_GUILESS_MAIN(TableRules)
#include "table_rules.moc"
