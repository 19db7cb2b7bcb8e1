#include "platform/system_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/format/row_page_layout.h"
#include "store/jet/format/system_objects.h"
#include "store/jet/table/table_state.h"
#include "tests/jet/chosen_rows.h"
#include "tests/jet/protection.h"
#include "tests/jet/samples.h"
#include "tests/support/bytes.h"
#include "tests/support/files.h"
#include "tests/support/text.h"
#include "tests/tools/tool.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

class PresvaMdb : public testing::Test, protected Tool {};

RowTable<Arguments> presvaMdbHelp()
{
    RowTable<Arguments> table;
    table.push_back({"all", {"--help"}});
    for (const char* name :
         {"create", "info", "check", "export", "import", "schema", "sql", "compact", "rescue", "backup", "restore",
          "weights", "season", "to-server", "from-server", "undelete", "leave-register", "drop-index"})
        table.push_back({name, {name, "--help"}});
    return table;
}

TABLE_SUITE_WITH(PresvaMdbHelp, Tool, Arguments, presvaMdbHelp());

TEST_P(PresvaMdbHelp, everyCommandHasHelp)
{
    const Arguments& arguments = row();
    ASSERT_THAT(run(arguments), succeeds(AllOf(HasSubstr("Kullanım:"),
                                               HasSubstr("presva-mdb " + (arguments.size() > 1 ? arguments[0] : ""))),
                                         ""));
}

const RowTable<Arguments> presvaMdbMisuse = {
    {"nothing", {}},
    {"unknown command", {"aç"}},
    {"no file", {"info"}},
    {"too many", {"info", "a", "b"}},
    {"missing file", {"info", "/yok/Yag.mdb"}},
    {"missing file to check", {"check", "yok.mdb"}},
    {"folder", {"check", "/"}},
    {"no database", {"info", PRESVA_MDB}},
    {"unknown collation", {"create", "x.mdb", "--collation", "greek"}},
    {"half an option", {"create", "x.mdb", "--collation"}},
};

TABLE_SUITE_WITH(PresvaMdbMisuse, Tool, Arguments, presvaMdbMisuse);

TEST_P(PresvaMdbMisuse, misuseIsOneLineAndExitCodeOne)
{
    ASSERT_THAT(run(row()), refuses(AllOf(isOneLine(), StartsWith("presva-mdb: "), SizeIs(testing::Gt(30U))), ""));
}

const RowTable<std::string> presvaMdbCreate = {
    {"Turkish", "turkish"},
    {"General", "general"},
};

TABLE_SUITE_WITH(PresvaMdbCreate, Tool, std::string, presvaMdbCreate);

TEST_P(PresvaMdbCreate, createdDatabaseHasBothTablesInOrder)
{
    const std::string& collation = row();
    const std::string file = created("Yag.mdb", collation);
    verifySound(file);
    const auto database = jet::Database::open(platform::systemDisk(), file, jet::Pager::Mode::readOnly);
    ASSERT_EQ(database->collation(), collation == "turkish" ? jet::turkish : jet::general);
    ASSERT_EQ(database->tableNames(), (std::vector<std::u16string>{u"Cari", u"Hareket"}));
    const auto columns = [&](const char16_t* table) {
        std::string all;
        for (const jet::Column& column : database->table(table).columns()) {
            all += (all.empty() ? "" : " ") + jet::toUtf8(column.name) + ':' +
                   std::to_string(static_cast<int>(column.type));
            if (column.type == jet::ColumnType::text) all += '(' + std::to_string(column.length / 2) + ')';
        }
        return all;
    };
    ASSERT_EQ(columns(u"Cari"), "Unvan:10(100) Yuzde:7 Kap:10(50) Nakit:7");
    ASSERT_EQ(columns(u"Hareket"), "Tarih:8 Zeytin:7 Yağ:7 Yuzde:7 HakTut:7 Nakit:7 CariHar:10(100)");
    ASSERT_EQ(database->table(u"Cari").indexes().size(), 0U);
    const auto& indexes = database->table(u"Hareket").indexes();
    ASSERT_EQ(indexes.size(), 1U);
    ASSERT_EQ(indexes[0].columns.at(0).column, 0U);
    ASSERT_FALSE(indexes[0].unique);
    ASSERT_EQ(filesIn(folder()), std::vector<std::string>{"Yag.mdb"});
}

TEST_F(PresvaMdb, createNeverReplacesAFile)
{
    writeFile(path("Yag.mdb"), "mine");
    ASSERT_EQ(run({"create", path("Yag.mdb")}).code, 1);
    ASSERT_EQ(textOfFile(path("Yag.mdb")), "mine");
}

TEST_F(PresvaMdb, exportAndImportAreOpposites)
{
    const std::string rows = "Tarih,Zeytin,Yağ,Yuzde,HakTut,Nakit,CariHar\r\n"
                             "2025-11-20T14:05:00,1250,262.5,12.5,32.8125,0,Şükrü Ağaoğlu\r\n"
                             "2025-11-21T00:00:00,0.1,,,,,\"Ali, \"\"Deli\"\" Veli\"\r\n"
                             ",,,,,,\"\"\r\n"
                             "1899-12-29T06:00:00,-5,1e+300,0.3333333333333333,0,0,  İlk \r\n";
    writeFile(path("rows.csv"), rows);
    const std::string file = created();
    ASSERT_THAT(run({"import", file, "Hareket", path("rows.csv")}), succeeds("4 satır yüklendi.\n", ""));
    verifySound(file);
    ASSERT_THAT(run({"export", file, "hareket"}), succeeds(rows));
}

TEST_F(PresvaMdb, aTableOfOneColumnKeepsItsNulls)
{
    const std::string file = created();
    {
        const auto database = jet::Database::open(platform::systemDisk(), file);
        for (const char16_t* name : {u"Renk", u"Kopya"})
            database->createTable(name, {{.name = u"Ad", .type = jet::ColumnType::text, .size = 20}}, {},
                                  jet::DateTime{45000});
        jet::Table& table = database->table(u"Renk");
        for (const jet::Value& value : {jet::Value(u"mor"), jet::Value(), jet::Value(u""), jet::Value(), jet::Value()})
            table.insert({{0, value}});
    }
    const Outcome exported = run({"export", file, "Renk"});
    ASSERT_EQ(exported.out, "Ad\r\nmor\r\n\r\n\"\"\r\n\r\n\r\n");
    ASSERT_THAT(run({"import", file, "Kopya", "-"}, exported.out), succeeds("5 satır yüklendi.\n"));
    ASSERT_EQ(run({"export", file, "Kopya"}).out, exported.out);
}

TEST_F(PresvaMdb, infoCountsTheRowsThatItCanShow)
{
    const std::string file = created();
    ASSERT_EQ(run({"import", file, "Cari", "-"}, "Unvan\nAli\nVeli\nAyşe\n").code, 0);
    {
        // The definition says something else, and one row cannot be read.
        const auto database = jet::Database::open(platform::systemDisk(), file);
        jet::Pager& pager = database->pager();
        jet::Transaction change(pager);
        const jet::Table& table = database->table(u"Cari");
        jet::definition_layout::head::rowCount.put(pager.write(table.definitionPage()), 99);
        const jet::PageBytes page = pager.write(table.dataPages()->front());
        page[jet::getU16(&page[jet::row_page_layout::slotAt(0)])] = 77;
        change.commit();
    }
    ASSERT_THAT(run({"info", file}).out, HasSubstr("Cari: 2 satır, eksik olabilir: "));
}

TEST_F(PresvaMdb, infoSaysWhatKeepsPeopleOut)
{
    const std::string file = created();
    ASSERT_THAT(run({"info", file}).out, Not(HasSubstr("Koruma")));
    const std::vector<std::uint8_t> open = bytesOfFile(file);
    std::vector<std::uint8_t> bytes = open;
    protection::setPassword(bytes);
    writeFile(file, bytes);
    ASSERT_THAT(run({"info", file}).out, HasSubstr("Koruma: parola sorar; okunur, yazılmaz"));
    bytes = open;
    protection::cover(bytes, 2321351155U);
    writeFile(file, bytes);
    ASSERT_THAT(run({"info", file}).out, HasSubstr("Koruma: sayfaları kodlanmış; okunur, yazılmaz"));
}

TEST_F(PresvaMdb, importTakesColumnsByName)
{
    writeFile(path("rows.csv"), "Nakit,unvan\n70,Ali\n");
    const std::string file = created();
    ASSERT_EQ(run({"import", file, "Cari", path("rows.csv")}).code, 0);
    ASSERT_EQ(run({"export", file, "Cari"}).out, "Unvan,Yuzde,Kap,Nakit\r\nAli,,,70\r\n");
}

struct PresvaMdbImportRow {
    std::string csv;
    std::string named;
};

const RowTable<PresvaMdbImportRow> presvaMdbImport = {
    {"wrong number", {"Unvan,Nakit\nAli,1\nVeli,bir\n", "3. satırı: 'Nakit'"}},
    {"too long", {"Unvan\nAli\n" + std::string(101, 'x') + "\n", "3. satırı"}},
    {"field missing", {"Unvan,Nakit\nAli,1\nVeli\n", "3. satırı"}},
    {"open quote", {"Unvan\nAli\n\"Veli\n", "3. satır"}},
    {"unknown column", {"Unvan,Adres\nAli,Edremit\n", "'Adres'"}},
    {"column twice", {"Unvan,UNVAN\nAli,Ali\n", "'UNVAN'"}},
    {"a byte that is zero", {std::string("Unvan\nAli\nVe\0li\n", 15), "3. satırında sıfır"}},
    {"a byte that is zero among the names", {std::string("Un\0van\nAli\n", 11), "1. satırında sıfır"}},
    {"empty file", {"", "boş"}},
};

TABLE_SUITE_WITH(PresvaMdbImport, Tool, PresvaMdbImportRow, presvaMdbImport);

TEST_P(PresvaMdbImport, importLoadsAllRowsOrNone)
{
    const auto& [csv, named] = row();
    writeFile(path("rows.csv"), csv);
    const std::string file = created();
    ASSERT_THAT(run({"import", file, "Cari", path("rows.csv")}), refuses(AllOf(HasSubstr(named), isOneLine())));
    ASSERT_EQ(run({"export", file, "Cari"}).out, "Unvan,Yuzde,Kap,Nakit\r\n");
    verifySound(file);
}

#ifndef _WIN32 // which has no file that takes nothing
TEST_F(PresvaMdb, whatIsDoneIsSaidEvenWhereTheOutputTakesNothing)
{
    const std::string file = created();
    writeFile(path("rows.csv"), "Unvan\nVeli\n");
    for (const Arguments& arguments : {Arguments{"sql", file, "Insert Into Cari (Unvan) Values ('Ali')"},
                                       {"import", file, "Cari", path("rows.csv")}}) {
        const Arguments words = with({"-c", "exec \"$@\" >/dev/full", "bash", PRESVA_MDB}, arguments);
        ASSERT_THAT(::run({.program = "bash", .arguments = words, .environment = {{"LC_ALL", "C"}}}),
                    refuses(AllOf(HasSubstr("Yapıldı: 1 satır"), isOneLine())));
    }
    ASSERT_EQ(run({"export", file, "Cari"}).out, "Unvan,Yuzde,Kap,Nakit\r\nAli,,,\r\nVeli,,,\r\n");
}
#endif

/// The catalogue, open for objects that the tool itself never makes.
class Catalogue {
public:
    explicit Catalogue(const std::string& file)
        : database_(jet::Database::open(platform::systemDisk(), file)), listed_(database_->table(u"MSysObjects")),
          objects_(database_->pager(), listed_.name(), listed_.definitionPage(), {})
    {
        objects_.systemObjects = &listed_;
    }

    void add(std::int32_t id, const char16_t* name, std::int16_t type,
             const std::vector<std::pair<const char16_t*, jet::Value>>& more = {})
    {
        std::vector<jet::Assignment> fields{{column(u"Id"), id},
                                            {column(u"ParentId"), std::int32_t{jet::tablesContainer}},
                                            {column(u"Name"), std::u16string(name)},
                                            {column(u"Type"), type}};
        for (const auto& [field, value] : more) fields.push_back({column(field), value});
        objects_.insert(fields);
    }

private:
    std::size_t column(const char16_t* name) const { return listed_.columnNamed(name).value(); }

    std::unique_ptr<jet::Database> database_;
    const jet::Table& listed_;
    jet::Table::State objects_;
};

/// A table whose rows are in another file, as the catalogue lists it.
TEST_F(PresvaMdb, aLinkedTableIsNamedAsWhatItIs)
{
    const std::string file = created();
    {
        const std::u16string there = u"Müşteri";
        Catalogue catalogue(file);
        catalogue.add(INT32_MIN, u"Bağlı", 6,
                      {{u"ForeignName", there}, {u"Database", std::u16string(u"C:\\Depo\\Eski.mdb")}});
        catalogue.add(INT32_MIN + 1, u"Uzak", 4, {{u"ForeignName", there}});
    }
    const std::string bound =
        "'Bağlı' bağlı bir tablo, satırları başka yerde: 'C:\\Depo\\Eski.mdb' dosyasındaki 'Müşteri'";
    for (const Arguments& arguments : {Arguments{"export", file, "bağlı"},
                                       {"import", file, "Bağlı", "-"},
                                       {"sql", file, "Select * From Bağlı"},
                                       {"sql", file, "Delete From Bağlı"}}) {
        ASSERT_THAT(run(arguments), refuses(HasSubstr(bound))) << arguments[0];
    }
    ASSERT_THAT(
        run({"schema", file}).out,
        HasSubstr("\n-- \"Bağlı\": bağlı tablo, satırları başka yerde: 'C:\\Depo\\Eski.mdb' dosyasındaki 'Müşteri'\n"));
    ASSERT_EQ(run({"export", file, "--all", path("hepsi")}).out,
              "2 tablo yazıldı.\n"
              "Bağlı tablo yazılmadı: 'Bağlı' ('C:\\Depo\\Eski.mdb' dosyasındaki 'Müşteri')\n"
              "Bağlı tablo yazılmadı: 'Uzak' (başka türden bir veritabanındaki 'Müşteri')\n");
}

TEST_F(PresvaMdb, importReadsStandardInput)
{
    const std::string file = created();
    ASSERT_EQ(run({"import", file, "Cari", "-"}, "Unvan\nAli\nVeli\n").out, "2 satır yüklendi.\n");
}

TEST_F(PresvaMdb, sqlPrintsRowsSumsAndCounts)
{
    const std::string file = created();
    ASSERT_EQ(run({"import", file, "Cari", "-"}, "Unvan,Nakit\nVeli,20\nAli,10.5\nÇetin,\n").code, 0);
    ASSERT_THAT(run({"sql", file, "Select Nakit, Unvan From Cari Order By Unvan Asc"}),
                succeeds("Nakit,Unvan\r\n10.5,Ali\r\n,Çetin\r\n20,Veli\r\n"));
    ASSERT_EQ(split(run({"sql", file, "Select Sum(Nakit) From Cari"}).out, "\r\n").at(1), "30.5");
    ASSERT_EQ(run({"sql", file, "  delete From Cari Where Unvan='Ali'"}).out, "1 satır silindi.\n");
    ASSERT_EQ(run({"sql", file, "Select Unvan From Cari"}).out, "Unvan\r\nVeli\r\nÇetin\r\n");
    ASSERT_THAT(run({"sql", file, "Select From"}), refuses(isOneLine()));
}

TEST_F(PresvaMdb, checkNamesTheFault)
{
    const std::string file = created();
    ASSERT_EQ(run({"import", file, "Hareket", "-"}, "Tarih\n2025-11-20\n2025-11-21\n").code, 0);
    std::vector<std::uint8_t> bytes = bytesOfFile(file);
    // The entry of 2025-11-21 (its key) in the leaf of the index on Tarih.
    const auto key = bytesOf("7fc0e673c000000000");
    const auto found = std::search(bytes.begin(), bytes.end(), key.begin(), key.end());
    ASSERT_NE(found, bytes.end());
    found[5] = 1;
    writeFile(file, bytes);
    ASSERT_THAT(run({"check", file}),
                ends(1, AllOf(HasSubstr("HATA: "), HasSubstr("Tarih"), HasSubstr("Dosya bozuk: 1 hata."))));
}

TEST_F(PresvaMdb, backupIsACopyThatOpens)
{
    const std::string file = created();
    ASSERT_EQ(run({"import", file, "Cari", "-"}, "Unvan\nAli\n").code, 0);
    ASSERT_THAT(run({"backup", file, path("copy.mdb")}), succeeds());
    verifySound(path("copy.mdb"));
    ASSERT_EQ(run({"export", path("copy.mdb"), "Cari"}).out, run({"export", file, "Cari"}).out);
    ASSERT_EQ(run({"backup", file, path("copy.mdb")}).code, 1);
    ASSERT_EQ(run({"backup", file, file}).code, 1);
    ASSERT_EQ(filesIn(folder()), (std::vector<std::string>{"Yag.mdb", "copy.mdb"}));
}

TEST_F(PresvaMdb, compactDropsTheRoomOfDeletedRows)
{
    const std::string file = created();
    std::string rows = "Tarih,CariHar\n";
    for (int i = 0; i < 5000; ++i)
        rows +=
            (i % 30 < 9 ? "2025-11-0" : "2025-11-") + std::to_string(1 + i % 30) + ",Ali " + std::to_string(i) + "\n";
    ASSERT_EQ(run({"import", file, "Hareket", "-"}, rows).code, 0);
    ASSERT_EQ(run({"import", file, "Cari", "-"}, "Unvan\nAli\nVeli\n").code, 0);
    ASSERT_EQ(run({"sql", file, "DELETE FROM Hareket Where CariHar Like 'Ali 1*'"}).code, 0);
    ASSERT_THAT(run({"compact", file, path("small.mdb")}), succeeds());
    verifySound(path("small.mdb"));
    ASSERT_LT(std::filesystem::file_size(path("small.mdb")), std::filesystem::file_size(file));
    for (const char* table : {"Cari", "Hareket"}) {
        ASSERT_EQ(sortedRows(path("small.mdb"), table), sortedRows(file, table));
    }
    ASSERT_EQ(run({"compact", file, path("small.mdb")}).code, 1);
}

TEST_F(PresvaMdb, compactCarriesAQuery)
{
    const std::string file = created();
    Catalogue(file).add(INT32_MIN, u"Sorgu1", 5);
    ASSERT_EQ(run({"compact", file, path("small.mdb")}).code, 0);
    const auto database = jet::Database::open(platform::systemDisk(), path("small.mdb"), jet::Pager::Mode::readOnly);
    const jet::Table& listed = database->table(u"MSysObjects");
    const auto queries = rowsWhere(listed, [&](const jet::RowView& row) {
        return row.textIs(*listed.columnNamed(u"Name"), u"Sorgu1") && row.number(*listed.columnNamed(u"Type")) == 5;
    });
    ASSERT_EQ(queries.size(), 1U);
}

TEST_F(PresvaMdb, aDamagedFileIsSavedAsFarAsItCanBeRead)
{
    const std::string file = created();
    std::string rows = "CariHar\r\n";
    for (int i = 0; i < 500; ++i) rows += "Ali " + std::to_string(i) + "\r\n";
    writeFile(path("satir.csv"), rows);
    ASSERT_EQ(run({"import", file, "Hareket", path("satir.csv")}).code, 0);
    ASSERT_EQ(run({"rescue", file, path("saglam.mdb")}).code, 0);
    verifySound(path("saglam.mdb"));

    // The last page of rows is gone.
    std::vector<std::uint8_t> bytes = bytesOfFile(file);
    std::size_t start = bytes.size() - jet::pageSize;
    const auto pageAt = [&] { return std::span(bytes).subspan(start).first<jet::pageSize>(); };
    while (!jet::isPageOf(pageAt(), jet::PageType::row)) start -= jet::pageSize;
    const auto lost = jet::row_page_layout::slotCount.get(pageAt());
    std::ranges::fill(pageAt(), std::uint8_t{0});
    writeFile(file, bytes);

    const std::string saved = "Hareket " + std::to_string(500 - lost) + " satır";
    ASSERT_THAT(run({"check", file}),
                ends(1, AllOf(HasSubstr("HATA"), HasSubstr("Kurtarılabilecek: "), HasSubstr(saved))));
    for (const char* command : {"rescue", "compact"}) {
        const std::string to = path(std::string(command) + ".mdb");
        ASSERT_THAT(run({command, file, to}), ends(2, AllOf(HasSubstr("Kayıp: "), HasSubstr(saved))));
        verifySound(to);
        ASSERT_EQ(countOf("Ali", run({"sql", to, "Select * From Hareket"}).out), 500 - lost);
    }
    ASSERT_EQ(run({"rescue", file, path("rescue.mdb")}).code, 1); // it is there already
}

TEST_F(PresvaMdb, restoreListsTheCopiesAndPutsOneBack)
{
    const std::string file = created();
    const std::string directory = folder();
    ASSERT_EQ(run({"restore", directory}).code, 1);
    writeFile(path("bir.csv"), "Tarih,CariHar\r\n2025-11-20T14:05:00,Ali\r\n");
    ASSERT_EQ(run({"import", file, "Hareket", path("bir.csv")}).code, 0);
    ASSERT_TRUE(std::filesystem::create_directory(path("Yedek")));
    ASSERT_EQ(run({"backup", file, path("Yedek/Yag-2025-11-20.mdb")}).code, 0);
    ASSERT_EQ(run({"import", file, "Hareket", path("bir.csv")}).code, 0);

    const Outcome listed = run({"restore", directory});
    ASSERT_THAT(listed, succeeds());
    ASSERT_EQ(simplified(split(listed.out, "\n").at(1)), "Yag-2025-11-20.mdb 20.11.2025 0 1 20.11.2025 14:05");

    const Outcome done = run({"restore", directory, "2025-11-20"});
    ASSERT_EQ(done.code, 0) << done.err;
    ASSERT_EQ(countOf("Ali", run({"sql", file, "Select * From Hareket"}).out), 1);
    std::vector<std::string> kept = filesIn(directory);
    std::erase_if(kept,
                  [](const std::string& name) { return !name.starts_with("Yag-onceki-") || !name.ends_with(".mdb"); });
    ASSERT_EQ(kept.size(), 1U);
    ASSERT_THAT(done.out, HasSubstr(kept[0]));
    ASSERT_EQ(countOf("Ali", run({"sql", path(kept[0]), "Select * From Hareket"}).out), 2);
}

TEST_F(PresvaMdb, restoreLeavesARunningProgramAlone)
{
    const std::string file = created();
    ASSERT_TRUE(std::filesystem::create_directory(path("Yedek")));
    ASSERT_EQ(run({"backup", file, path("Yedek/Yag-2025-11-20.mdb")}).code, 0);
    const auto running = jet::Database::open(platform::systemDisk(), file);
    ASSERT_THAT(run({"restore", folder(), "2025-11-20"}), refuses(HasSubstr("kullanılıyor")));
}

TEST_F(PresvaMdb, restoreReplacesAFileThatSomebodyReadsOrChangesNothing)
{
    const std::string file = created();
    ASSERT_TRUE(std::filesystem::create_directory(path("Yedek")));
    ASSERT_EQ(run({"backup", file, path("Yedek/Yag-2025-11-20.mdb")}).code, 0);
    writeFile(path("bir.csv"), "Tarih,CariHar\r\n2025-11-20T14:05:00,Ali\r\n");
    ASSERT_EQ(run({"import", file, "Hareket", path("bir.csv")}).code, 0);
    const std::vector<std::string> before = filesIn(folder());
    Outcome done;
    {
        const std::ifstream reader(file, std::ios::binary);
        done = run({"restore", folder(), "2025-11-20"});
    }
    const bool restored = platform::systemDisk().replacesOpenFiles();
    ASSERT_EQ(done.code, restored ? 0 : 1) << done.err;
    ASSERT_EQ(countOf("Ali", run({"sql", file, "Select * From Hareket"}).out), restored ? 0 : 1);
    if (restored) return;
    ASSERT_THAT(done.err, HasSubstr("kullanılıyor"));
    ASSERT_EQ(filesIn(folder()), before);
}

TEST_F(PresvaMdb, dropIndexTakesTheIndexAway)
{
    const std::string file = created();
    ASSERT_THAT(run({"info", file}).out, HasSubstr("dizin Tarih (Tarih)"));
    ASSERT_EQ(run({"drop-index", file, "Hareket", "Yok"}).code, 1);
    ASSERT_EQ(run({"drop-index", file, "Hareket", "Tarih"}).code, 0);
    ASSERT_THAT(run({"info", file}).out, Not(HasSubstr("dizin")));
    verifySound(file);
}

TEST_F(PresvaMdb, fileInUseIsRefused)
{
    const std::string file = created();
    const auto held = jet::Database::open(platform::systemDisk(), file);
    ASSERT_EQ(run({"import", file, "Cari", "-"}, "Unvan\nAli\n").code, 1);
    ASSERT_EQ(run({"export", file, "Cari"}).code, 0);
}

TEST_F(PresvaMdb, sampleDatabasesAreSoundAndExportWhole)
{
    if (!samples::present()) GTEST_SKIP() << samples::absent;
    for (const std::filesystem::path& file : samples::databases()) {
        verifySound(file.string());
        const auto database = jet::Database::open(platform::systemDisk(), file, jet::Pager::Mode::readOnly);
        for (const std::u16string& name : database->tableNames()) {
            ASSERT_THAT(run({"export", file.string(), jet::toUtf8(name)}), succeeds());
        }
    }
}

TEST_F(PresvaMdb, sampleDatabasesSurviveCompacting)
{
    if (!samples::present()) GTEST_SKIP() << samples::absent;
    for (const char* name : {"data/yag-a.mdb", "data/yag-b.mdb", "data/yag-tr.mdb"}) {
        const std::string small = path(samples::database(name).filename().string());
        ASSERT_THAT(run({"compact", samples::database(name).string(), small}), succeeds());
        verifySound(small);
        ASSERT_EQ(sortedRows(small, "Hareket"), sortedRows(samples::database(name).string(), "Hareket"));
    }
}

} // namespace
