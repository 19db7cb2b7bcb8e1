#include "mdbtools.h"
#include "random_rows.h"

#include "files/memory_disk.h"
#include "platform/system_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/database/header.h"
#include "store/jet/format/doors.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr const char* path = "yeni.mdb";

QByteArray newFile(jet::Collation collation)
{
    files::MemoryDisk disk;
    jet::Database::create(disk, path, collation, rows::created);
    const files::MemoryDisk::Content& content = disk.content(path);
    QByteArray bytes(reinterpret_cast<const char*>(content.data()), static_cast<qsizetype>(content.size()));
    if (bytes.size() >= qsizetype(jet::pageSize)) {
        jet::maskHeader(jet::PageBytes(reinterpret_cast<std::uint8_t*>(bytes.data()), jet::pageSize));
    }
    return bytes;
}

/// Bytes written as hexadecimal digits with blanks anywhere.
QByteArray hex(const char* digits) { return QByteArray::fromHex(QByteArray(digits)); }

} // namespace

/// The file that the platform's own engine makes, compared where its content does not depend on the time.
class NewDatabase : public QObject {
    Q_OBJECT
private slots:
    void bytesAreThoseOfTheFormat_data();
    void bytesAreThoseOfTheFormat();
    void namesOfTheCatalogueAreIndexed_data();
    void namesOfTheCatalogueAreIndexed();
    void accountsBelongToTheHeader_data();
    void accountsBelongToTheHeader();
    void connectionCountersStartAtOneHundredHex();
    void aNewFileIsSound_data();
    void aNewFileIsSound();
    void aSmallTableIsLaidOutAsThePlatformDoesIt();
    void theNextRowAndEntryGoBehindTheOthers();
    void aTakenPathIsLeftAlone();
    void otherProgramsReadNewTables();
};

void NewDatabase::bytesAreThoseOfTheFormat_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<int>("offset");
    QTest::addColumn<QByteArray>("expected");
    const auto row = [](const char* name, int page, int offset, const char* digits) {
        QTest::newRow(name) << page << offset << hex(digits);
    };
    row("header: signature", 0, 0, "00010000 5374616E64617264204A657420444200 01000000");
    row("header: maps", 0, 0x18, "00010000 01010000");
    row("header: system tables", 0, 0x20, "02000000 03000000 04000000 05000000");
    row("header: format", 0, 0x98, "54060000 342E3000 00000000");

    row("free map: page head", 1, 0, "0101640F 01000000 00000000 0200 BB0F 760F");
    row("free map: sixteen pages in use", 1, 0xFBB, "00 00000000 0000 FFFF FFFF");
    row("free map: last byte", 1, 0xFFC, "FFFFFFFF");
    row("second map", 1, 0xF76, "00 00000000 00000000");

    row("MSysObjects: head", 2, 0, "0201DE0B 00000000 1A040000 59060000 08000000 00000000 01000000");
    row("MSysObjects: counts", 2, 40, "53 1100 0B00 1100 02000000 02000000 00060000 01060000");
    row("MSysObjects: distinct keys", 2, 63, "00000000 08000000 00000000 00000000 08000000 00000000");
    row("MSysObjects: long values and end", 2, 0x41A - 72,
        "0900 04060000 05060000 0800 02060000 03060000 0D00 08060000 09060000 1000 0E060000 0F060000 "
        "0F00 0C060000 0D060000 0E00 0A060000 0B060000 0C00 06060000 07060000 FFFF");
    row("MSysACEs: head", 3, 0, "0201A90E 00000000 4F010000 59060000 10000000");
    row("MSysACEs: counts", 3, 40, "53 0400 0100 0400 01000000 01000000 12060000 13060000 00000000 08000000");
    row("MSysQueries: head", 4, 0, "0201EB0D 00000000 0D020000 59060000 00000000");
    row("MSysQueries: counts", 4, 40, "53 0800 0400 0800 01000000 01000000 15060000 16060000");
    row("MSysQueries: long value and end", 4, 0x20D - 12, "0500 17060000 18060000 FFFF");
    row("MSysRelationships: head", 5, 0, "0201CB0C 00000000 2D030000 59060000 00000000");
    row("MSysRelationships: counts", 5, 40, "53 0800 0500 0800 03000000 03000000 1A060000 1B060000");

    row("maps: page head", 6, 0, "01015907 00000000 00000000 1F00 BB0F 760F 310F");
    row("maps: data pages of MSysObjects", 6, 0xFBB, "00 00000000 00400000");
    row("maps: index of MSysObjects, slot 16", 6, 4096 - 69 * 17, "00 00000000 80000000");
    row("maps: index of MSysObjects, slot 17", 6, 4096 - 69 * 18, "00 00000000 00010000");
    row("maps: data pages of MSysACEs, slot 18", 6, 4096 - 69 * 19, "00 00000000 00800000");
    row("maps: index of MSysACEs, slot 20", 6, 4096 - 69 * 21, "00 00000000 00020000");
    row("maps: index of MSysQueries, slot 25", 6, 4096 - 69 * 26, "00 00000000 00040000");
    row("maps: indexes of MSysRelationships, slot 28", 6, 4096 - 69 * 29, "00 00000000 00080000");
    row("maps: indexes of MSysRelationships, slot 30", 6, 4096 - 69 * 31, "00 00000000 00200000");

    row("leaf of names", 7, 0, "04016F0D 02000000 00000000 00000000 00000000 00000000");
    row("leaf of ids", 8, 0, "0401D80D 02000000");
    row("leaf of rights", 9, 0, "0401900D 03000000");
    for (int page = 10; page <= 13; ++page) {
        QTest::addRow("empty leaf %d", page)
            << page << 0 << hex("0401200E") + QByteArray(1, page == 10 ? 4 : 5) + QByteArray(3 + 4088, '\0');
    }
    row("catalogue: page head", 14, 0, "0101480D 02000000 00000000 0800");
    row("catalogue: first row", 14, 4096 - 75,
        "1100 0100000F 0000000F 0300 00000000 10F9E540 00000000 10F9E540 00000080 "
        "54006100620 06C0065007300");
    row("catalogue: end of the first row", 14, 4096 - 75 + 0x2E,
        "2E00 2E00 2E00 2E00 2E00 2E00 2E00 2E00 2E00 2E00 2C00 2000 0B00 FF0000");
    row("rights: page head", 15, 0, "0101A20E 03000000 00000000 1000");
    row("rights: first row", 15, 4096 - 19, "0400 02000000 00000600");
    row("rights: end of the first row", 15, 4096 - 19 + 12, "0C00 0A00 0100 07");
    row("rights: an inheritable one", 15, 4096 - 19 * 5, "0400 0100000F FE000F00");
    row("rights: end of the inheritable one", 15, 4096 - 19 * 5 + 12, "0C00 0A00 0100 0F");
}

void NewDatabase::bytesAreThoseOfTheFormat()
{
    QFETCH(int, page);
    QFETCH(int, offset);
    QFETCH(QByteArray, expected);
    const QByteArray file = newFile(jet::general);
    QCOMPARE(file.size(), qsizetype(16 * jet::pageSize));
    QCOMPARE(file.mid(page * qsizetype(jet::pageSize) + offset, expected.size()).toHex(' '), expected.toHex(' '));
}

void NewDatabase::namesOfTheCatalogueAreIndexed_data()
{
    QTest::addColumn<bool>("isTurkish");
    QTest::newRow("general order") << false;
    QTest::newRow("Turkish order") << true;
}

void NewDatabase::namesOfTheCatalogueAreIndexed()
{
    QFETCH(bool, isTurkish);
    const QByteArray entries = newFile(isTurkish ? jet::turkish : jet::general).mid(7 * 4096 + 480, 3616 - 0x0D6F);
    QByteArray expected;
    const auto entry = [&](const char* parent, const char* name, int slot) {
        expected += hex("7F") + hex(parent) + hex("7F") + hex(name) + hex("0100 00000E") + QByteArray(1, char(slot));
    };
    entry("8F000000", "4F4A6D4A4C4A6B516B", 1);                 // Databases
    entry("8F000000", "69515E4A6D5964626B5759666B", 2);         // Relationships
    entry("8F000000", "6D4A4C5E516B", 0);                       // Tables
    entry("8F000001", "606B766B4A4D516B", 5);                   // MSysACEs
    entry("8F000001", "606B766B644C5B514D6D6B", 4);             // MSysObjects
    entry("8F000001", "606B766B686F516959516B", 6);             // MSysQueries
    entry("8F000001", "606B766B69515E4A6D5964626B5759666B", 7); // MSysRelationships
    entry("8F000002", "606B766B4F4C", 3);                       // MSysDb
    QCOMPARE(entries.toHex(), expected.toHex());
}

void NewDatabase::accountsBelongToTheHeader_data()
{
    QTest::addColumn<bool>("isTurkish");
    QTest::addColumn<QByteArray>("codePage");
    QTest::addColumn<QByteArray>("header"); // build, order, creation time
    QTest::addColumn<QByteArray>("passwordMask");
    QTest::addColumn<QByteArray>("engine");
    QTest::addColumn<QByteArray>("creator");
    QTest::newRow("general order") << false << hex("E404") << hex("A6110000 09040000 81AFD46B4FECE440")
                                   << hex("62A70000") << hex("06EA") << hex("06ED");
    QTest::newRow("Turkish order") << true << hex("E604") << hex("A6110000 1F040000 06A2B1B29F1DE640")
                                   << hex("ECB00000") << hex("F589") << hex("F58E");
}

void NewDatabase::accountsBelongToTheHeader()
{
    QFETCH(bool, isTurkish);
    QFETCH(QByteArray, codePage);
    QFETCH(QByteArray, header);
    QFETCH(QByteArray, passwordMask);
    QFETCH(QByteArray, engine);
    QFETCH(QByteArray, creator);
    const QByteArray file = newFile(isTurkish ? jet::turkish : jet::general);
    QCOMPARE(file.mid(0x3C, 2), codePage);
    QCOMPARE(file.mid(0x42, 40), passwordMask.repeated(10));
    QCOMPARE(file.mid(0x6A, 16).toHex(), header.toHex());
    QCOMPARE(file.mid(15 * 4096 - 75 + 0x2C, 2), engine);
    QCOMPARE(file.mid(16 * 4096 - 19 * 5 + 10, 2), creator);
}

void NewDatabase::connectionCountersStartAtOneHundredHex()
{
    const QByteArray file = newFile(jet::turkish);
    QCOMPARE(file.mid(0xE00, 2), hex("0101"));
    QCOMPARE(file.mid(0xE02, 510), hex("0001").repeated(255));
}

void NewDatabase::aNewFileIsSound_data() { namesOfTheCatalogueAreIndexed_data(); }

void NewDatabase::aNewFileIsSound()
{
    QFETCH(bool, isTurkish);
    files::MemoryDisk disk;
    jet::Database::create(disk, path, isTurkish ? jet::turkish : jet::general, rows::created);
    const auto database = jet::Database::open(disk, path);
    QVERIFY(database->collation() == (isTurkish ? jet::turkish : jet::general));
    QCOMPARE(database->codePage(), std::uint16_t(isTurkish ? 1254 : 1252));
    QCOMPARE(database->tableNames().size(), std::size_t(0));
    QCOMPARE(database->allTables().size(), std::size_t(4));
    const jet::CheckResult result = jet::checkDatabase(*database);
    QVERIFY2(result.faults.empty(), result.faults.empty() ? "" : result.faults.front().c_str());
    QVERIFY2(result.warnings.empty(), result.warnings.empty() ? "" : result.warnings.front().c_str());
}

namespace {

/// Five kinds of furniture under an AutoNumber: a table as it stands in a real file, there on pages 37 (definition),
/// 38 (maps), 57 (index) and 75 (rows), here on 16, 17, 18 and 19.
struct Furniture {
    Furniture()
    {
        jet::Database::create(disk, path, jet::general, rows::created);
        database = jet::Database::open(disk, path);
        jet::Table& table = database->createTable(
            u"Urunler",
            {{.name = u"No", .type = jet::ColumnType::longInteger, .autoNumber = true},
             {.name = u"Urunler", .type = jet::ColumnType::text, .size = 100}},
            {{.name = u"PrimaryKey", .columns = {{u"No", true}}, .primaryKey = true}}, rows::created);
        for (const char16_t* kind : {u"Dolaplar", u"Masalar", u"Kapılar", u"Koltuklar", u"Di\u011Fer"}) {
            table.insert({{1, kind}});
        }
    }
    QByteArray bytes(jet::PageNo page, std::size_t offset, qsizetype count)
    {
        const jet::PageView view = database->pager().read(page);
        return QByteArray(reinterpret_cast<const char*>(view.data() + offset), count);
    }

    files::MemoryDisk disk;
    std::unique_ptr<jet::Database> database;
};

} // namespace

void NewDatabase::aSmallTableIsLaidOutAsThePlatformDoesIt()
{
    Furniture furniture;
    const QByteArray definition = hex("0201FD0E 00000000 FB000000 59060000 05000000 05000000 01000000"
                                      "00000000 00000000 00000000 4E 0200 0100 0200 01000000 01000000"
                                      "00110000 01110000 00000000 05000000 00000000"
                                      "04 59060000 0000 0000 0000 09040000 07 00 00000000 0000 0400"
                                      "0A 59060000 0100 0000 0100 09040000 02 01 00000000 0000 C800"
                                      "0400 4E006F00 0E00 5500720075006E006C0065007200"
                                      "83070000 0000 01 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00"
                                      "02110000 12000000 00000000 89 0000000000"
                                      "59060000 00000000 00000000 00 FFFFFFFF 00000000 04 04 01 00000000"
                                      "1400 5000720069006D006100720079004B0065007900 FFFF");
    QCOMPARE(definition.size(), qsizetype(0xFB));
    QCOMPARE(furniture.bytes(16, 0, 0xFB).toHex(), definition.toHex());
    QCOMPARE(furniture.bytes(17, 0, 20).toHex(' '), hex("01011D0F 00000000 00000000 0300 BB0F 760F 310F").toHex(' '));
    QCOMPARE(furniture.bytes(17, 0xFBB, 9).toHex(), hex("00 00000000 00000800").toHex()); // data pages: 19
    QCOMPARE(furniture.bytes(17, 0xF76, 9).toHex(), hex("00 00000000 00000800").toHex()); // with room: 19
    QCOMPARE(furniture.bytes(17, 0xF31, 9).toHex(), hex("00 00000000 00000400").toHex()); // index: 18
    QCOMPARE(furniture.bytes(19, 0, 24).toHex(' '),
             hex("0101730F 10000000 00000000 0500 E90F D30F BA0F A20F 8B0F").toHex(' '));
    QCOMPARE(furniture.bytes(19, 0xF8B, 4096 - 0xF8B).toHex(),
             hex("0200 05000000 FFFE4469001F01006572 1000 0600 0100 03"
                 "0200 04000000 FFFE4B6F6C74756B6C6172 1100 0600 0100 03"
                 "0200 03000000 FFFE4B6170003101006C6172 1200 0600 0100 03"
                 "0200 02000000 FFFE4D6173616C6172 0F00 0600 0100 03"
                 "0200 01000000 FFFE446F6C61706C6172 1000 0600 0100 03")
                 .toHex());
    QCOMPARE(furniture.bytes(18, 0, 27).toHex(),
             hex("0401F30D 10000000 00000000 00000000 00000000 00000000 0000 00").toHex());
    QCOMPARE(furniture.bytes(18, 27, 8).toHex(), hex("0002040810200000").toHex());
    QCOMPARE(furniture.bytes(18, 480, 46).toHex(), hex("7F80000001 000013 00 7F80000002 000013 01 7F80000003 000013 02"
                                                       "7F80000004 000013 03 7F80000005 000013 04 00")
                                                       .toHex());
}

void NewDatabase::theNextRowAndEntryGoBehindTheOthers()
{
    Furniture furniture;
    furniture.database->table(u"Urunler").insert({{1, u"Kitap"}});
    QCOMPARE(furniture.bytes(19, 0, 26).toHex(' '),
             hex("01015D0F 10000000 00000000 0600 E90F D30F BA0F A20F 8B0F 770F").toHex(' '));
    QCOMPARE(furniture.bytes(19, 0xF77, 20).toHex(), hex("0200 06000000 FFFE4B69746170 0D00 0600 0100 03").toHex());
    QCOMPARE(furniture.bytes(18, 2, 2), hex("EA0D"));
    QCOMPARE(furniture.bytes(18, 480 + 45, 9).toHex(), hex("7F80000006 000013 05").toHex());
    QCOMPARE(furniture.bytes(18, 27 + 6, 1), hex("40"));
    QCOMPARE(furniture.bytes(16, 16, 8), hex("06000000 06000000"));
    QCOMPARE(furniture.bytes(16, 67, 4), hex("06000000"));
}

void NewDatabase::aTakenPathIsLeftAlone()
{
    files::MemoryDisk disk;
    disk.content(path) = {1, 2, 3};
    try {
        jet::Database::create(disk, path, jet::turkish, rows::created);
        QFAIL("made a database where a file stands");
    } catch (const jet::Error& error) {
        QCOMPARE(error.fault(), jet::Fault::exists);
    }
    QVERIFY(disk.content(path) == (files::MemoryDisk::Content{1, 2, 3}));
}

void NewDatabase::otherProgramsReadNewTables()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(path);
    jet::Database::create(platform::systemDisk(), file.toStdString(), jet::turkish, rows::created);
    const auto database = jet::Database::open(platform::systemDisk(), file.toStdString());
    using jet::ColumnType;
    jet::Table& table =
        database->createTable(u"Hareket",
                              {{.name = u"Tarih", .type = ColumnType::dateTime},
                               {.name = u"Yağ", .type = ColumnType::doubleFloat},
                               {.name = u"Nakit", .type = ColumnType::currency},
                               {.name = u"Sayı", .type = ColumnType::numeric, .precision = 10, .scale = 2},
                               {.name = u"CariHar", .type = ColumnType::text, .size = 50}},
                              {{.name = u"Tarih", .columns = {{u"Tarih", true}}}}, rows::created);
    database->createTable(u"Cari", {{.name = u"Unvan", .type = ColumnType::text, .size = 50}}, {}, rows::created);
    table.insert({{0, jet::DateTime{45000.25}}, {1, 12.5}, {2, 70}, {3, 1.25}, {4, u"Şükrü Iğdır"}});
    QCOMPARE(mdbtools::tables(file), (QStringList{"Hareket", "Cari"}));
    QCOMPARE(mdbtools::difference(file, table), QString());
    const QString schema = mdbtools::run("mdb-schema", {file}).simplified();
    QVERIFY2(schema.contains("CREATE TABLE [Hareket] ( [Tarih] DateTime, [Yağ] Double, [Nakit] Currency, "
                             "[Sayı] Numeric (10, 2), [CariHar] Text (50) );"),
             qPrintable(schema));
    const QString indexes = mdbtools::run("mdb-schema", {file, "postgres"});
    QVERIFY2(indexes.contains("CREATE INDEX \"hareket_tarih_idx\" ON \"hareket\" (\"tarih\")"), qPrintable(indexes));
}

QTEST_GUILESS_MAIN(NewDatabase)
#include "new_database.moc"
