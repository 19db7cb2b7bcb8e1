#include "random_rows.h"
#include "samples.h"

#include "files/memory_disk.h"
#include "platform/system_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/format/doors.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

using jet::ColumnType;

constexpr const char* path = "tablolar.mdb";

struct Fixture {
    explicit Fixture(jet::Collation collation = jet::turkish)
    {
        jet::Database::create(disk, path, collation, rows::created);
        database = jet::Database::open(disk, path);
    }
    void reopen()
    {
        database.reset();
        database = jet::Database::open(disk, path);
    }
    QByteArray faults() const
    {
        QByteArray text;
        const jet::CheckResult result = jet::checkDatabase(*database);
        for (const std::string& fault : result.faults) text += fault + "; ";
        for (const std::string& warning : result.warnings) text += warning + "; ";
        return text;
    }
    std::uint8_t* page(jet::PageNo number) { return disk.content(path).data() + number * jet::pageSize; }

    files::MemoryDisk disk;
    std::unique_ptr<jet::Database> database;
};

template <class Action> std::optional<jet::Fault> faultOf(Action&& action)
{
    try {
        action();
    } catch (const jet::Error& error) {
        return error.fault();
    }
    return std::nullopt;
}

jet::NewColumn number(std::u16string name) { return {.name = std::move(name), .type = ColumnType::longInteger}; }

std::u16string numbered(const char16_t* name, int i)
{
    std::u16string text = name;
    for (const QChar c : QString::number(i)) text += c.unicode();
    return text;
}

} // namespace

class Schema : public QObject {
    Q_OBJECT
private slots:
    void tablesThatCannotBeAreRefused_data();
    void tablesThatCannotBeAreRefused();
    void aTakenNameIsRefusedInAnyCase();
    void aRefusedTableLeavesNothing();
    void theWidestTableWorks();
    void aTableTakenBackIsGone();
    void anIndexIsDropped();
    void anIndexTakenBackIsThereAgain();
    void droppingUnknownIndexesIsRefused();
    void anIndexThatDisagreesKeepsTheTableFromBeingWritten_data();
    void anIndexThatDisagreesKeepsTheTableFromBeingWritten();
    void droppingTheIndexThatDisagreesMakesTheTableWritable();
    void damagedTablesAreReadButNotWritten_data();
    void damagedTablesAreReadButNotWritten();
    void relationshipsKeepTablesFromBeingWritten();
    void systemTablesAreReadOnly();
    void aFileOpenedForReadingIsNotWritten();
    void newTablesGetTheRightsOfTheFile();
};

void Schema::tablesThatCannotBeAreRefused_data()
{
    QTest::addColumn<std::u16string>("name");
    QTest::addColumn<std::vector<jet::NewColumn>>("columns");
    QTest::addColumn<std::vector<jet::NewIndex>>("indexes");
    const auto row = [](const char* what, const std::u16string& name, const std::vector<jet::NewColumn>& columns,
                        const std::vector<jet::NewIndex>& indexes = {}) {
        QTest::newRow(what) << name << columns << indexes;
    };
    const std::vector<jet::NewColumn> one{number(u"A")};
    row("no name", u"", one);
    row("65 characters", std::u16string(65, u'a'), one);
    row("a leading blank", u" Ad", one);
    row("a dot", u"a.b", one);
    row("a bracket", u"a[b", one);
    row("a control character", u"a\tb", one);
    row("no columns", u"T", {});
    row("a column without a name", u"T", {number(u"")});
    row("two columns of one name", u"T", {number(u"Ad"), number(u"AD")});
    row("two AutoNumbers", u"T",
        {{.name = u"A", .type = ColumnType::longInteger, .autoNumber = true},
         {.name = u"B", .type = ColumnType::longInteger, .autoNumber = true}});
    row("a text as AutoNumber", u"T", {{.name = u"A", .type = ColumnType::text, .size = 5, .autoNumber = true}});
    row("a text of no characters", u"T", {{.name = u"A", .type = ColumnType::text, .size = 0}});
    row("a text of 256 characters", u"T", {{.name = u"A", .type = ColumnType::text, .size = 256}});
    row("bytes longer than 510", u"T", {{.name = u"A", .type = ColumnType::binary, .size = 511}});
    row("29 digits", u"T", {{.name = u"A", .type = ColumnType::numeric, .precision = 29}});
    row("more places than digits", u"T", {{.name = u"A", .type = ColumnType::numeric, .precision = 5, .scale = 6}});
    row("an index on an unknown column", u"T", one, {{.name = u"I", .columns = {{u"B", true}}}});
    row("an index without columns", u"T", one, {{.name = u"I", .columns = {}}});
    row("an index with a column twice", u"T", one, {{.name = u"I", .columns = {{u"A", true}, {u"A", false}}}});
    row("two indexes of one name", u"T", one,
        {{.name = u"I", .columns = {{u"A", true}}}, {.name = u"i", .columns = {{u"A", false}}}});
    row("two primary keys", u"T", one,
        {{.name = u"I", .columns = {{u"A", true}}, .primaryKey = true},
         {.name = u"J", .columns = {{u"A", true}}, .primaryKey = true}});
    row("an index on OLE values", u"T", {{.name = u"A", .type = ColumnType::ole}},
        {{.name = u"I", .columns = {{u"A", true}}}});
    std::vector<jet::NewColumn> many;
    std::vector<jet::NewIndex> indexes;
    for (int i = 0; i < 256; ++i) many.push_back(number(numbered(u"A", i)));
    row("256 columns", u"T", many);
    for (int i = 0; i < 33; ++i) indexes.push_back({.name = numbered(u"I", i), .columns = {{u"A", true}}});
    row("33 indexes", u"T", one, indexes);
    jet::NewIndex wide{.name = u"I", .columns = {}};
    many.resize(11);
    for (const jet::NewColumn& column : many) wide.columns.emplace_back(column.name, true);
    row("eleven columns in an index", u"T", many, {wide});
    std::vector<jet::NewColumn> fat;
    for (int i = 0; i < 255; ++i) fat.push_back({.name = numbered(u"A", i), .type = ColumnType::guid});
    row("columns that do not fit a row", u"T", fat);
}

void Schema::tablesThatCannotBeAreRefused()
{
    QFETCH(std::u16string, name);
    QFETCH(std::vector<jet::NewColumn>, columns);
    QFETCH(std::vector<jet::NewIndex>, indexes);
    Fixture fixture;
    const auto before = fixture.disk.content(path);
    QVERIFY(faultOf([&] { fixture.database->createTable(name, columns, indexes, rows::created); }) ==
            jet::Fault::unsupported);
    QVERIFY(fixture.database->tableNames().empty());
    QVERIFY(fixture.disk.content(path) == before);
}

void Schema::aTakenNameIsRefusedInAnyCase()
{
    Fixture fixture;
    fixture.database->createTable(u"Cari", {number(u"A")}, {}, rows::created);
    for (const char16_t* name : {u"Cari", u"cari", u"CARI", u"CARİ", u"MSysObjects"}) {
        QVERIFY(faultOf([&] { fixture.database->createTable(name, {number(u"A")}, {}, rows::created); }) ==
                jet::Fault::exists);
    }
    QCOMPARE(fixture.database->tableNames().size(), std::size_t(1));
}

void Schema::aRefusedTableLeavesNothing()
{
    Fixture fixture;
    jet::Transaction change(fixture.database->pager());
    fixture.database->createTable(u"Bir", {number(u"A")}, {}, rows::created);
    QVERIFY(faultOf([&] { fixture.database->createTable(u"BİR", {number(u"A")}, {}, rows::created); }) ==
            jet::Fault::exists);
    fixture.database->createTable(u"İki", {number(u"A")}, {}, rows::created);
    change.commit();
    fixture.reopen();
    QVERIFY(fixture.database->tableNames() == (std::vector<std::u16string>{u"Bir", u"İki"}));
    QCOMPARE(fixture.faults(), QByteArray());
}

void Schema::theWidestTableWorks()
{
    // 255 columns, 32 indexes and more maps than one page holds: the definition spans several pages.
    Fixture fixture;
    std::vector<jet::NewColumn> columns;
    std::vector<jet::NewIndex> indexes;
    for (int i = 0; i < 255; ++i) {
        const ColumnType type = i % 5 == 0   ? ColumnType::memo
                                : i % 5 == 1 ? ColumnType::longInteger
                                             : ColumnType::boolean;
        columns.push_back({.name = numbered(u"Uzunca bir sütun adı ", i), .type = type});
    }
    for (std::size_t i = 0; i < 32; ++i) {
        indexes.push_back({.name = numbered(u"Dizin ", int(i)), .columns = {{columns[5 * i + 1].name, i % 2 == 0}}});
    }
    fixture.database->createTable(u"Geniş", columns, indexes, rows::created);
    fixture.reopen();
    jet::Table& table = fixture.database->table(u"Geniş");
    QCOMPARE(table.columns().size(), std::size_t(255));
    QCOMPARE(table.indexes().size(), std::size_t(32));
    for (int i = 0; i < 30; ++i) {
        const jet::RowId id = table.insert({{1, i}, {5, std::u16string(100, u'ş')}, {250, u"son"}, {4, true}});
        QVERIFY(table.row(id)->value(250) == jet::Value(std::u16string(u"son")));
        QVERIFY(table.row(id)->value(4) == jet::Value(true));
    }
    QCOMPARE(fixture.faults(), QByteArray());
}

void Schema::aTableTakenBackIsGone()
{
    Fixture fixture;
    const auto before = fixture.disk.content(path);
    {
        jet::Transaction change(fixture.database->pager());
        jet::Table& table = fixture.database->createTable(u"Cari", {number(u"A")}, {}, rows::created);
        table.insert({{0, 1}});
        QVERIFY(fixture.database->hasTable(u"Cari"));
    }
    QVERIFY(!fixture.database->hasTable(u"Cari"));
    jet::Table& again = fixture.database->createTable(u"Başka", {number(u"B")}, {}, rows::created);
    QCOMPARE(QString::fromStdU16String(again.columns().front().name), QString("B"));
    QCOMPARE(again.rowCount(), 0u);
    QCOMPARE(fixture.faults(), QByteArray());
}

void Schema::anIndexIsDropped()
{
    Fixture fixture;
    jet::Table& table = fixture.database->createTable(u"Deneme", rows::everyType(), rows::someIndexes(), rows::created);
    jet::Transaction fill(fixture.database->pager());
    for (int i = 0; i < 2000; ++i) table.insert({{8, jet::DateTime{i * 1.5}}, {9, numbered(u"Ad ", i)}});
    fill.commit();
    const jet::PageNo pages = fixture.database->pager().pageCount();
    fixture.database->dropIndex(u"Deneme", u"adgeri");
    QCOMPARE(table.indexes().size(), std::size_t(4));
    for (const jet::Index& index : table.indexes()) {
        QVERIFY(index.names.front() != u"AdGeri");
        QVERIFY(!table.range(index, {}, {}).empty() || index.ignoreNulls);
    }
    table.insert({{9, u"Ad"}});
    QCOMPARE(fixture.faults(), QByteArray());
    // Its pages serve others.
    fixture.database->createTable(u"Başka", {number(u"A")}, {{.name = u"A", .columns = {{u"A", true}}}}, rows::created);
    QCOMPARE(fixture.database->pager().pageCount(), pages);
    fixture.reopen();
    QCOMPARE(fixture.database->table(u"Deneme").indexes().size(), std::size_t(4));
    QCOMPARE(fixture.faults(), QByteArray());
}

void Schema::anIndexTakenBackIsThereAgain()
{
    Fixture fixture;
    jet::Table& table = fixture.database->createTable(u"Deneme", rows::everyType(), rows::someIndexes(), rows::created);
    {
        jet::Transaction change(fixture.database->pager());
        fixture.database->dropIndex(u"Deneme", u"Tarih");
        table.insert({{8, jet::DateTime{1}}});
        QCOMPARE(table.indexes().size(), std::size_t(4));
    }
    QCOMPARE(table.indexes().size(), std::size_t(5));
    table.insert({{8, jet::DateTime{2}}});
    QCOMPARE(fixture.faults(), QByteArray());
}

void Schema::droppingUnknownIndexesIsRefused()
{
    Fixture fixture;
    fixture.database->createTable(u"Deneme", {number(u"A")}, {}, rows::created);
    QVERIFY(faultOf([&] { fixture.database->dropIndex(u"Deneme", u"Tarih"); }) == jet::Fault::noSuchTable);
    QVERIFY(faultOf([&] { fixture.database->dropIndex(u"Yok", u"Tarih"); }) == jet::Fault::noSuchTable);
    QVERIFY(faultOf([&] { fixture.database->dropIndex(u"MSysObjects", u"Id"); }) == jet::Fault::unsupported);
}

namespace {

/// A table with an index on its only column and the rows 0 .. 9.
jet::Table& tenNumbers(Fixture& fixture)
{
    jet::Table& table = fixture.database->createTable(u"Deneme", {number(u"A")},
                                                      {{.name = u"A", .columns = {{u"A", true}}}}, rows::created);
    for (int i = 0; i < 10; ++i) table.insert({{0, i}});
    return table;
}

} // namespace

void Schema::anIndexThatDisagreesKeepsTheTableFromBeingWritten_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("value");
    QTest::newRow("another key") << 480 + 9 * 9 + 4 << 99;
    QTest::newRow("a key out of order") << 480 + 4 << 7;
    QTest::newRow("an entry for a row that is not there") << 480 + 9 * 9 + 8 << 44;
    QTest::newRow("an entry too few") << 27 + 11 << 0;
    QTest::newRow("an index page of another table") << 4 << 2;
    QTest::newRow("no index page") << 0 << 1;
}

void Schema::anIndexThatDisagreesKeepsTheTableFromBeingWritten()
{
    QFETCH(int, offset);
    QFETCH(int, value);
    Fixture fixture;
    const jet::PageNo root = tenNumbers(fixture).indexes().front().root;
    fixture.database.reset();
    fixture.page(root)[offset] = std::uint8_t(value);
    fixture.reopen();
    jet::Table& table = fixture.database->table(u"Deneme");
    int count = 0;
    table.forEachRow([&](jet::RowId, const jet::RowView&) { return ++count > 0; });
    QCOMPARE(count, 10);
    const auto before = fixture.disk.content(path);
    try {
        table.insert({{0, 5}});
        QFAIL("was written");
    } catch (const jet::Error& error) {
        QCOMPARE(error.fault(), jet::Fault::indexNotWritable);
        const QString sentence = QString::fromUtf8(error.what());
        QVERIFY2(sentence.contains("presva-mdb drop-index \"tablolar.mdb\" \"Deneme\" \"A\""), error.what());
        QCOMPARE(sentence.toStdString(), table.whyReadOnly().value_or(""));
    }
    QVERIFY(fixture.disk.content(path) == before);
}

void Schema::droppingTheIndexThatDisagreesMakesTheTableWritable()
{
    Fixture fixture;
    const jet::PageNo root = tenNumbers(fixture).indexes().front().root;
    fixture.database.reset();
    fixture.page(root)[480 + 4] = 7;
    fixture.reopen();
    jet::Table& table = fixture.database->table(u"Deneme");
    QVERIFY(table.whyReadOnly().has_value());
    fixture.database->dropIndex(u"Deneme", u"A");
    QVERIFY(!table.whyReadOnly().has_value());
    table.insert({{0, 5}});
    QCOMPARE(fixture.faults(), QByteArray());
}

void Schema::damagedTablesAreReadButNotWritten_data()
{
    QTest::addColumn<bool>("onDataPage"); // else on the page of the maps
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("readable");
    QTest::newRow("a row with more columns than the table") << true << 4096 - 7 << 9 << 9;
    QTest::newRow("a slot outside the page") << true << 15 << 0x1F << 8;
    QTest::newRow("a page of another table in the map") << false << 0xFBB + 5 << 0x04 << 10;
    QTest::newRow("a map of an unknown kind") << false << 0xFBB << 7 << 10;
    QTest::newRow("room on a page that is not the table's") << false << 0xF76 + 5 << 0x10 << 10;
}

void Schema::damagedTablesAreReadButNotWritten()
{
    QFETCH(bool, onDataPage);
    QFETCH(int, offset);
    QFETCH(int, value);
    QFETCH(int, readable);
    Fixture fixture;
    jet::PageNo definition = 0;
    jet::PageNo data = 0;
    {
        jet::Table& table = fixture.database->createTable(u"Deneme", {number(u"A")}, {}, rows::created);
        for (int i = 0; i < 10; ++i) data = table.insert({{0, i}}).page;
        definition = table.definitionPage();
    }
    fixture.database.reset();
    fixture.page(onDataPage ? data : definition + 1)[offset] |= std::uint8_t(value);
    fixture.reopen();
    jet::Table& table = fixture.database->table(u"Deneme");
    int count = 0;
    int damaged = 0;
    table.scan([&](jet::RowId, const jet::RowView&) { return ++count > 0; },
               [&](jet::RowId, const std::string&) { ++damaged; });
    QCOMPARE(count, readable);
    QCOMPARE(damaged, 10 - readable);
    if (damaged > 0) {
        QVERIFY(faultOf([&] { table.forEachRow([](jet::RowId, const jet::RowView&) { return true; }); }) ==
                jet::Fault::damaged);
    }
    QVERIFY(faultOf([&] { table.insert({{0, 5}}); }) == jet::Fault::readOnly);
    QVERIFY(faultOf([&] { table.eraseAll(); }) == jet::Fault::readOnly);
}

void Schema::relationshipsKeepTablesFromBeingWritten()
{
    Fixture fixture;
    const jet::PageNo definition = tenNumbers(fixture).definitionPage();
    fixture.database.reset();
    // The one logical index: behind 63 bytes, its statistics, the column with its name, and the physical index.
    fixture.page(definition)[63 + 12 + 25 + 4 + 52 + 23] = 2;
    fixture.reopen();
    jet::Table& table = fixture.database->table(u"Deneme");
    QVERIFY(table.indexes().front().relationship);
    QVERIFY(faultOf([&] { table.insert({{0, 5}}); }) == jet::Fault::readOnly);
    QVERIFY(faultOf([&] { fixture.database->dropIndex(u"Deneme", u"A"); }) == jet::Fault::unsupported);
}

void Schema::systemTablesAreReadOnly()
{
    Fixture fixture;
    jet::Table& objects = fixture.database->table(u"MSysObjects");
    QCOMPARE(objects.rowCount(), 8u);
    const jet::RowId first = [&] {
        jet::RowId id;
        objects.forEachRow([&](jet::RowId each, const jet::RowView&) {
            id = each;
            return false;
        });
        return id;
    }();
    QVERIFY(faultOf([&] { objects.insert({}); }) == jet::Fault::readOnly);
    QVERIFY(faultOf([&] { objects.update(first, {}); }) == jet::Fault::readOnly);
    QVERIFY(faultOf([&] { objects.erase(first); }) == jet::Fault::readOnly);
    QVERIFY(faultOf([&] { objects.eraseAll(); }) == jet::Fault::readOnly);
}

void Schema::aFileOpenedForReadingIsNotWritten()
{
    Fixture fixture;
    tenNumbers(fixture);
    fixture.database.reset();
    fixture.database = jet::Database::open(fixture.disk, path, jet::Pager::Mode::readOnly);
    jet::Table& table = fixture.database->table(u"Deneme");
    QVERIFY(faultOf([&] { table.insert({{0, 5}}); }) == jet::Fault::readOnly);
    QVERIFY(faultOf([&] { fixture.database->createTable(u"B", {number(u"A")}, {}, rows::created); }) ==
            jet::Fault::readOnly);
    QVERIFY(faultOf([&] { fixture.database->dropIndex(u"Deneme", u"A"); }) == jet::Fault::readOnly);
}

void Schema::newTablesGetTheRightsOfTheFile()
{
    Fixture fixture;
    const jet::Table& made = fixture.database->createTable(u"Deneme", {number(u"A")}, {}, rows::created);
    const jet::Table& rights = fixture.database->table(u"MSysACEs");
    QByteArrayList found;
    rights.forEachRow([&](jet::RowId, const jet::RowView& row) {
        if (row.number(*rights.columnNamed(u"ObjectId")) != double(made.definitionPage())) return true;
        const auto account = std::get<jet::Bytes>(row.value(*rights.columnNamed(u"SID")));
        found << QByteArray(reinterpret_cast<const char*>(account.data()), qsizetype(account.size())).toHex() + ' ' +
                     QByteArray::number(qulonglong(*row.number(*rights.columnNamed(u"ACM"))), 16);
        return true;
    });
    QCOMPARE(found, (QByteArrayList{"f48b f00fe", "f58b ffeff"}));
}

QTEST_GUILESS_MAIN(Schema)
#include "schema.moc"
