#include "files/memory_disk.h"
#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "store/jet/database/header.h"
#include "store/jet/format/doors.h"
#include "tests/jet/check_result.h"
#include "tests/jet/mdbtools.h"
#include "tests/jet/random_rows.h"
#include "tests/support/bytes.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <memory>

namespace {

using testing::HasSubstr;

constexpr const char* path = "yeni.mdb";

/// A new file, its header made readable.
jet::Bytes newFile(jet::Collation collation)
{
    files::MemoryDisk disk;
    jet::Database::create(disk, path, collation, rows::created);
    jet::Bytes bytes = disk.content(path);
    if (bytes.size() >= jet::pageSize) jet::maskHeader(jet::PageBytes(bytes.data(), jet::pageSize));
    return bytes;
}

std::string hexAt(const jet::Bytes& file, std::size_t offset, std::size_t count)
{
    return hexOf(std::span(file).subspan(offset, count));
}

std::string repeated(const std::string& text, int times)
{
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

struct NewDatabaseBytesRow {
    std::size_t page;
    std::size_t offset;
    std::string expected; // digits
};

RowTable<NewDatabaseBytesRow> newDatabaseBytes()
{
    RowTable<NewDatabaseBytesRow> table;
    const auto row = [&table](const char* name, std::size_t page, std::size_t offset, const char* digits) {
        table.push_back({name, {page, offset, plainHex(digits)}});
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
    for (std::size_t page = 10; page <= 13; ++page) {
        const std::string owner = page == 10 ? "04" : "05";
        table.push_back(
            {"empty leaf " + std::to_string(page), {page, 0, plainHex("0401200E" + owner) + repeated("00", 3 + 4088)}});
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
    return table;
}

TABLE_SUITE(NewDatabaseBytes, NewDatabaseBytesRow, newDatabaseBytes());

TEST_P(NewDatabaseBytes, bytesAreThoseOfTheFormat)
{
    const auto& [page, offset, expected] = row();
    const jet::Bytes file = newFile(jet::general);
    ASSERT_EQ(file.size(), 16 * jet::pageSize);
    ASSERT_EQ(hexAt(file, page * jet::pageSize + offset, expected.size() / 2), expected);
}

const RowTable<bool> newDatabaseOrder = {
    {"general order", false},
    {"Turkish order", true},
};

TABLE_SUITE(NewDatabaseOrder, bool, newDatabaseOrder);

TEST_P(NewDatabaseOrder, namesOfTheCatalogueAreIndexed)
{
    const bool isTurkish = row();
    const std::string entries = hexAt(newFile(isTurkish ? jet::turkish : jet::general), 7 * 4096 + 480, 3616 - 0x0D6F);
    std::string expected;
    const auto entry = [&](const std::string& parent, const std::string& name, std::uint8_t slot) {
        expected += plainHex("7F" + parent + "7F" + name + "0100 00000E") + hexOf({&slot, 1});
    };
    entry("8F000000", "4F4A6D4A4C4A6B516B", 1);                 // Databases
    entry("8F000000", "69515E4A6D5964626B5759666B", 2);         // Relationships
    entry("8F000000", "6D4A4C5E516B", 0);                       // Tables
    entry("8F000001", "606B766B4A4D516B", 5);                   // MSysACEs
    entry("8F000001", "606B766B644C5B514D6D6B", 4);             // MSysObjects
    entry("8F000001", "606B766B686F516959516B", 6);             // MSysQueries
    entry("8F000001", "606B766B69515E4A6D5964626B5759666B", 7); // MSysRelationships
    entry("8F000002", "606B766B4F4C", 3);                       // MSysDb
    ASSERT_EQ(entries, expected);
}

struct NewDatabaseAccountsRow {
    bool isTurkish;
    std::string codePage;
    std::string header; // build, order, creation time
    std::string passwordMask;
    std::string engine;
    std::string creator;
};

const RowTable<NewDatabaseAccountsRow> newDatabaseAccounts = {
    {"general order",
     {false, plainHex("E404"), plainHex("A6110000 09040000 81AFD46B4FECE440"), plainHex("62A70000"), plainHex("06EA"),
      plainHex("06ED")}},
    {"Turkish order",
     {true, plainHex("E604"), plainHex("A6110000 1F040000 06A2B1B29F1DE640"), plainHex("ECB00000"), plainHex("F589"),
      plainHex("F58E")}},
};

TABLE_SUITE(NewDatabaseAccounts, NewDatabaseAccountsRow, newDatabaseAccounts);

TEST_P(NewDatabaseAccounts, accountsBelongToTheHeader)
{
    const auto& [isTurkish, codePage, header, passwordMask, engine, creator] = row();
    const jet::Bytes file = newFile(isTurkish ? jet::turkish : jet::general);
    ASSERT_EQ(hexAt(file, 0x3C, 2), codePage);
    ASSERT_EQ(hexAt(file, 0x42, 40), repeated(passwordMask, 10));
    ASSERT_EQ(hexAt(file, 0x6A, 16), header);
    ASSERT_EQ(hexAt(file, 15 * 4096 - 75 + 0x2C, 2), engine);
    ASSERT_EQ(hexAt(file, 16 * 4096 - 19 * 5 + 10, 2), creator);
}

TEST(NewDatabase, connectionCountersStartAtOneHundredHex)
{
    const jet::Bytes file = newFile(jet::turkish);
    ASSERT_EQ(hexAt(file, 0xE00, 2), plainHex("0101"));
    ASSERT_EQ(hexAt(file, 0xE02, 510), repeated(plainHex("0001"), 255));
}

TEST_P(NewDatabaseOrder, aNewFileIsSound)
{
    const bool isTurkish = row();
    files::MemoryDisk disk;
    jet::Database::create(disk, path, isTurkish ? jet::turkish : jet::general, rows::created);
    const auto database = jet::Database::open(disk, path);
    ASSERT_EQ(database->collation(), isTurkish ? jet::turkish : jet::general);
    ASSERT_EQ(database->codePage(), std::uint16_t(isTurkish ? 1254 : 1252));
    ASSERT_EQ(database->tableNames().size(), 0U);
    ASSERT_EQ(database->allTables().size(), 4U);
    ASSERT_THAT(jet::checkDatabase(*database), findsNothing());
}

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
    std::string bytes(jet::PageNo page, std::size_t offset, std::size_t count)
    {
        return hexOf(database->pager().read(page).subspan(offset, count));
    }

    files::MemoryDisk disk;
    std::unique_ptr<jet::Database> database;
};

TEST(NewDatabase, aSmallTableIsLaidOutAsThePlatformDoesIt)
{
    Furniture furniture;
    const std::string definition =
        plainHex("0201FD0E 00000000 FB000000 59060000 05000000 05000000 01000000"
                 "00000000 00000000 00000000 4E 0200 0100 0200 01000000 01000000"
                 "00110000 01110000 00000000 05000000 00000000"
                 "04 59060000 0000 0000 0000 09040000 07 00 00000000 0000 0400"
                 "0A 59060000 0100 0000 0100 09040000 02 01 00000000 0000 C800"
                 "0400 4E006F00 0E00 5500720075006E006C0065007200"
                 "83070000 0000 01 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00 FFFF00"
                 "02110000 12000000 00000000 89 0000000000"
                 "59060000 00000000 00000000 00 FFFFFFFF 00000000 04 04 01 00000000"
                 "1400 5000720069006D006100720079004B0065007900 FFFF");
    ASSERT_EQ(definition.size(), 2 * 0xFBU);
    ASSERT_EQ(furniture.bytes(16, 0, 0xFB), definition);
    ASSERT_EQ(furniture.bytes(17, 0, 20), plainHex("01011D0F 00000000 00000000 0300 BB0F 760F 310F"));
    ASSERT_EQ(furniture.bytes(17, 0xFBB, 9), plainHex("00 00000000 00000800")); // data pages: 19
    ASSERT_EQ(furniture.bytes(17, 0xF76, 9), plainHex("00 00000000 00000800")); // with room: 19
    ASSERT_EQ(furniture.bytes(17, 0xF31, 9), plainHex("00 00000000 00000400")); // index: 18
    ASSERT_EQ(furniture.bytes(19, 0, 24), plainHex("0101730F 10000000 00000000 0500 E90F D30F BA0F A20F 8B0F"));
    ASSERT_EQ(furniture.bytes(19, 0xF8B, 4096 - 0xF8B),
              plainHex("0200 05000000 FFFE4469001F01006572 1000 0600 0100 03"
                       "0200 04000000 FFFE4B6F6C74756B6C6172 1100 0600 0100 03"
                       "0200 03000000 FFFE4B6170003101006C6172 1200 0600 0100 03"
                       "0200 02000000 FFFE4D6173616C6172 0F00 0600 0100 03"
                       "0200 01000000 FFFE446F6C61706C6172 1000 0600 0100 03"));
    ASSERT_EQ(furniture.bytes(18, 0, 27), plainHex("0401F30D 10000000 00000000 00000000 00000000 00000000 0000 00"));
    ASSERT_EQ(furniture.bytes(18, 27, 8), plainHex("0002040810200000"));
    ASSERT_EQ(furniture.bytes(18, 480, 46), plainHex("7F80000001 000013 00 7F80000002 000013 01 7F80000003 000013 02"
                                                     "7F80000004 000013 03 7F80000005 000013 04 00"));
}

TEST(NewDatabase, theNextRowAndEntryGoBehindTheOthers)
{
    Furniture furniture;
    furniture.database->table(u"Urunler").insert({{1, u"Kitap"}});
    ASSERT_EQ(furniture.bytes(19, 0, 26), plainHex("01015D0F 10000000 00000000 0600 E90F D30F BA0F A20F 8B0F 770F"));
    ASSERT_EQ(furniture.bytes(19, 0xF77, 20), plainHex("0200 06000000 FFFE4B69746170 0D00 0600 0100 03"));
    ASSERT_EQ(furniture.bytes(18, 2, 2), plainHex("EA0D"));
    ASSERT_EQ(furniture.bytes(18, 480 + 45, 9), plainHex("7F80000006 000013 05"));
    ASSERT_EQ(furniture.bytes(18, 27 + 6, 1), plainHex("40"));
    ASSERT_EQ(furniture.bytes(16, 16, 8), plainHex("06000000 06000000"));
    ASSERT_EQ(furniture.bytes(16, 67, 4), plainHex("06000000"));
}

TEST(NewDatabase, aTakenPathIsLeftAlone)
{
    files::MemoryDisk disk;
    disk.content(path) = {1, 2, 3};
    ASSERT_EQ(faultOf([&] { jet::Database::create(disk, path, jet::turkish, rows::created); }), jet::Fault::exists);
    ASSERT_EQ(disk.content(path), (files::MemoryDisk::Content{1, 2, 3}));
}

TEST(NewDatabase, otherProgramsReadNewTables)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / path;
    jet::Database::create(platform::systemDisk(), file, jet::turkish, rows::created);
    const auto database = jet::Database::open(platform::systemDisk(), file);
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
    ASSERT_EQ(mdbtools::tables(file), (std::vector<std::string>{"Hareket", "Cari"}));
    ASSERT_EQ(mdbtools::difference(file, table), "");
    const std::string schema = simplified(mdbtools::run("mdb-schema", {file.string()}));
    ASSERT_THAT(schema, HasSubstr("CREATE TABLE [Hareket] ( [Tarih] DateTime, [Yağ] Double, [Nakit] Currency, "
                                  "[Sayı] Numeric (10, 2), [CariHar] Text (50) );"));
    const std::string indexes = mdbtools::run("mdb-schema", {file.string(), "postgres"});
    ASSERT_THAT(indexes, HasSubstr("CREATE INDEX \"hareket_tarih_idx\" ON \"hareket\" (\"tarih\")"));
}

} // namespace
