#include "platform/system_disk.h"
#include "query/statement.h"
#include "sheets/workbook.h"
#include "store/jet/database/database.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/sort_key.h"
#include "tests/jet/samples.h"
#include "tests/support/files.h"
#include "tests/support/text.h"
#include "tests/tools/tool.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ExportTables : public testing::Test, protected Tool {
protected:
    /// A database with a table of every type: one full row, one of Nulls.
    std::string withEveryType() const
    {
        using jet::ColumnType;
        std::string file = created();
        const auto database = jet::Database::open(platform::systemDisk(), file);
        jet::Table& table = database->createTable(u"Her/Tür",
                                                  {{.name = u"Metin", .type = ColumnType::text, .size = 50},
                                                   {.name = u"Var", .type = ColumnType::boolean},
                                                   {.name = u"Uzun", .type = ColumnType::longInteger},
                                                   {.name = u"Para", .type = ColumnType::currency},
                                                   {.name = u"Tek", .type = ColumnType::singleFloat},
                                                   {.name = u"Çift", .type = ColumnType::doubleFloat},
                                                   {.name = u"Gün", .type = ColumnType::dateTime},
                                                   {.name = u"Not", .type = ColumnType::memo},
                                                   {.name = u"Kesin", .type = ColumnType::numeric, .scale = 3}},
                                                  {}, jet::DateTime{45000});
        table.insert({{0, u"Şükrü \"Deli\"\n\\ Ağa"},
                      {1, true},
                      {2, std::int32_t{-7}},
                      {3, jet::Currency{12'345'600}},
                      {4, 0.1F},
                      {5, 1.25e100},
                      {6, *jet::dateTime(2025, 11, 20, 14, 5)},
                      {7, u""},
                      {8, jet::Numeric{.magnitude = {0, 0, 0, 12345}, .scale = 3}}});
        table.insert({{1, false}});
        table.insert({{5, -0.5}, {6, *jet::dateTime(1899, 12, 30, 6)}});
        return file;
    }

    /// The cells of a workbook's sheets, as its XML has them: "A1 s=text", "B2 n=12.5", a style behind the letter.
    static std::vector<std::string> cells(const std::string& file)
    {
        const char* const script =
            "import zipfile,re,sys,html,xml.dom.minidom\n"
            "z=zipfile.ZipFile(sys.argv[1])\n"
            "assert z.testzip() is None\n"
            "for n in z.namelist(): xml.dom.minidom.parseString(z.read(n))\n"
            "for n in sorted(n for n in z.namelist() if n.startswith('xl/worksheets/sheet')):\n"
            "  x=z.read(n).decode()\n"
            "  for r,a,b in re.findall(r'<c r=\"([A-Z]+[0-9]+)\"([^>]*)>(.*?)</c>',x,re.S):\n"
            "    t=re.search(r't=\"(.*?)\"',a); s=re.search(r's=\"(.*?)\"',a)\n"
            "    v=html.unescape(re.sub('<.*?>','',b)).replace('\\n','|')\n"
            "    print(r,(t.group(1) if t else 'n')+(s.group(1) if s else '')+'='+v)\n"
            "print('names',re.findall(r'<sheet name=\"(.*?)\"',z.read('xl/workbook.xml').decode()))\n";
        const Outcome outcome = ::run({.program = "python3", .arguments = {"-c", script, file}});
        EXPECT_THAT(outcome, succeeds());
        std::vector<std::string> lines = split(outcome.out, "\n");
        lines.pop_back();
        return lines;
    }
};

TEST_F(ExportTables, jsonLinesKeepNumbersBooleansAndNulls)
{
    ASSERT_THAT(run({"export", withEveryType(), "Her/Tür", "--format", "jsonl"}),
                succeeds("{\"Metin\":\"Şükrü \\\"Deli\\\"\\n\\\\ Ağa\",\"Var\":true,\"Uzun\":-7,\"Para\":1234.56,"
                         "\"Tek\":0.1,\"Çift\":1.25e+100,\"Gün\":\"2025-11-20T14:05:00\",\"Not\":\"\","
                         "\"Kesin\":12.345}\n"
                         "{\"Metin\":null,\"Var\":false,\"Uzun\":null,\"Para\":null,\"Tek\":null,\"Çift\":null,"
                         "\"Gün\":null,\"Not\":null,\"Kesin\":null}\n"
                         "{\"Metin\":null,\"Var\":false,\"Uzun\":null,\"Para\":null,\"Tek\":null,\"Çift\":-0.5,"
                         "\"Gün\":\"1899-12-30T06:00:00\",\"Not\":null,\"Kesin\":null}\n"));
}

TEST_F(ExportTables, aWorkbookHasRealNumbersAndDates)
{
    if (!sheets::available()) GTEST_SKIP() << "built without libxlsxwriter";
    ASSERT_THAT(run({"export", withEveryType(), "Her/Tür", "--out", path("tablo.xlsx")}), succeeds());
    ASSERT_THAT(cells(path("tablo.xlsx")),
                ElementsAre("A1 inlineStr1=Metin", "B1 inlineStr1=Var", "C1 inlineStr1=Uzun", "D1 inlineStr1=Para",
                            "E1 inlineStr1=Tek", "F1 inlineStr1=Çift", "G1 inlineStr1=Gün", "H1 inlineStr1=Not",
                            "I1 inlineStr1=Kesin", "A2 inlineStr=Şükrü \"Deli\"|\\ Ağa", "B2 b=1", "C2 n=-7",
                            "D2 n2=1234.56", "E2 n=0.1", "F2 n=1.25E+100", "G2 n3=45981.58680555555", "I2 n=12.345",
                            "B3 b=0", "B4 b=0", "F4 n=-0.5", "G4 inlineStr=1899-12-30T06:00:00", "names ['Her_Tür']"));
}

/// A cell shows 15 digits: numbers that people count with are numbers, codes of more digits texts.
TEST_F(ExportTables, aNumberOfManyDigitsIsATextInAWorkbook)
{
    if (!sheets::available()) GTEST_SKIP() << "built without libxlsxwriter";
    const std::string file = created();
    ASSERT_EQ(run({"import", file, "Cari", "-"}, "Nakit\n1234567890123456\n-12345678901234568\n5000000000000000\n"
                                                 "1e+20\n999999999999999\n")
                  .code,
              0);
    ASSERT_EQ(run({"export", file, "Cari", "--out", path("kod.xlsx")}).code, 0);
    const auto all = cells(path("kod.xlsx"));
    for (const char* cell : {"D2 inlineStr=1234567890123456", "D3 inlineStr=-12345678901234568",
                             "D4 n=5000000000000000", "D5 n=1E+20", "D6 n=999999999999999"})
        ASSERT_THAT(all, testing::Contains(cell));
}

/// A page that the table's map names, but that says it is no table's: its rows are gone, and nothing may be silent
/// about it.
TEST_F(ExportTables, aLostPageOfRowsIsTold)
{
    const std::string file = created();
    std::string lines = "Unvan\n";
    for (int i = 0; i < 500; ++i) lines += "Ali\n";
    ASSERT_EQ(run({"import", file, "Cari", "-"}, lines).code, 0);
    std::vector<std::uint8_t> bytes = bytesOfFile(file);
    const auto page = [&] {
        const auto database = jet::Database::open(platform::systemDisk(), file, jet::Pager::Mode::readOnly);
        return database->table(u"Cari").dataPages()->back();
    }();
    bytes[page.number() * jet::pageSize] = 0;
    writeFile(file, bytes);

    const std::string place = "sayfa " + std::to_string(page.number()) + ": tablonun haritasında";
    ASSERT_THAT(run({"export", file, "Cari"}), refuses(HasSubstr(place)));
    ASSERT_THAT(run({"info", file}).out, testing::AllOf(HasSubstr(" satır, eksik olabilir: "), HasSubstr(place)));
    if (query::available()) {
        ASSERT_THAT(run({"sql", file, "Select Count(*) From Cari"}), refuses(HasSubstr(place)));
    }
}

/// The map has lost a page: only the definition still says how many rows there were.
TEST_F(ExportTables, rowsThatTheDefinitionCountsAndNobodyFindsAreTold)
{
    const std::string file = created();
    ASSERT_EQ(run({"import", file, "Cari", "-"}, "Unvan\nAli\nVeli\n").code, 0);
    std::vector<std::uint8_t> bytes = bytesOfFile(file);
    {
        const auto database = jet::Database::open(platform::systemDisk(), file, jet::Pager::Mode::readOnly);
        const std::size_t definition = database->table(u"Cari").definitionPage().number() * jet::pageSize;
        jet::definition_layout::head::rowCount.put(std::span(bytes).subspan(definition), 3);
    }
    writeFile(file, bytes);
    ASSERT_THAT(run({"export", file, "Cari"}), refuses(HasSubstr("tanımında 3 satır yazılı, okunabilen 2 satır var")));
    ASSERT_THAT(run({"info", file}).out, HasSubstr("Cari: 2 satır, eksik olabilir"));
    ASSERT_EQ(run({"rescue", file, path("saved.mdb")}).code, 2);
}

TEST_F(ExportTables, aTextThatLooksLikeANumberedLetterStaysInAWorkbook)
{
    if (!sheets::available()) GTEST_SKIP() << "built without libxlsxwriter";
    const std::string file = withEveryType();
    jet::Database::open(platform::systemDisk(), file)->table(u"Her/Tür").insert({{0, u"_x0041_x0042_ _xyz"}});
    ASSERT_EQ(run({"export", file, "Her/Tür", "--out", path("tablo.xlsx")}).code, 0);
    ASSERT_THAT(cells(path("tablo.xlsx")), testing::Contains("A5 inlineStr=_x005F_x0041_x005F_x0042_ _xyz"));
}

TEST_F(ExportTables, whatXmlCannotWriteIsAReplacementCharacterInAWorkbook)
{
    if (!sheets::available()) GTEST_SKIP() << "built without libxlsxwriter";
    const std::string file = withEveryType();
    const std::u16string text{u'A', u'\uFFFE', u'\uFFFF', u'\0', u'\uFFFD', u'\uFEFF', u'Z'};
    jet::Database::open(platform::systemDisk(), file)->table(u"Her/Tür").insert({{0, text}});
    ASSERT_EQ(run({"export", file, "Her/Tür", "--out", path("tablo.xlsx")}).code, 0);
    ASSERT_THAT(cells(path("tablo.xlsx")), testing::Contains("A5 inlineStr=A\uFFFD\uFFFD\uFFFD\uFFFD\uFEFFZ"));
}

TEST_F(ExportTables, aValueTooLongForACellIsToldAndTheRestWritten)
{
    if (!sheets::available()) GTEST_SKIP() << "built without libxlsxwriter";
    const std::string file = withEveryType();
    {
        const auto database = jet::Database::open(platform::systemDisk(), file);
        database->table(u"Her/Tür").insert({{0, u"son"}, {7, std::u16string(32768, u'ş')}});
        database->table(u"Her/Tür").insert({{0, u"en son"}, {7, std::u16string(32767, u'ş')}});
    }
    ASSERT_THAT(run({"export", file, "Her/Tür", "--out", path("tablo.xlsx")}),
                refuses(HasSubstr("4. satırın \"Not\" alanı")));
    ASSERT_THAT(run({"export", file, "Her/Tür", "--out", path("table.xlsx"), "--lang", "en"}),
                refuses(testing::AllOf(HasSubstr("too long for a cell"), testing::Not(HasSubstr("damaged")))));
    const std::vector<std::string> written = cells(path("tablo.xlsx"));
    ASSERT_THAT(written, testing::Contains("A6 inlineStr=en son"));
    ASSERT_THAT(written, testing::Not(testing::Contains(testing::StartsWith("H5"))));
    ASSERT_THAT(written, testing::Contains(testing::StartsWith("H6 inlineStr=şş")));
}

TEST_F(ExportTables, aWorkbookWhoseRowsFindNoRoomIsNotMade)
{
    if (!sheets::available()) GTEST_SKIP() << "built without libxlsxwriter";
    const std::string file = created();
    std::string rows = "CariHar\n";
    for (int i = 0; i < 3000; ++i) rows += "Ali Veli " + std::to_string(i % 10) + "\n";
    ASSERT_EQ(run({"import", file, "Hareket", "-"}, rows).code, 0);
    // No file may be larger than 64 KiB: the workbook is smaller, its rows before they are packed are not.
    ASSERT_THAT(::run({.program = "bash",
                       .arguments = {"-c", "ulimit -f 64; trap '' XFSZ; exec \"$@\"", "bash", PRESVA_MDB, "export",
                                     file, "Hareket", "--out", path("tablo.xlsx")},
                       .environment = {{"LC_ALL", "C"}}}),
                refuses(AllOf(HasSubstr("yazılamadı"), isOneLine())));
    // Neither the workbook nor what it was made from stays behind.
    for (const auto& left : std::filesystem::directory_iterator(folder())) ASSERT_EQ(left.path(), file);
}

struct WholeDatabaseRow {
    Arguments format;
    std::vector<std::string> files;
};

const RowTable<WholeDatabaseRow> wholeDatabase = {
    {"CSV as a rule", {{}, {"A_B (2).csv", "A_B.csv", "Cari.csv", "Hareket.csv"}}},
    {"JSON lines", {{"--format", "jsonl"}, {"A_B (2).jsonl", "A_B.jsonl", "Cari.jsonl", "Hareket.jsonl"}}},
    {"workbooks", {{"--format", "xlsx"}, {"A_B (2).xlsx", "A_B.xlsx", "Cari.xlsx", "Hareket.xlsx"}}},
};

TABLE_SUITE_WITH(WholeDatabase, Tool, WholeDatabaseRow, wholeDatabase);

TEST_P(WholeDatabase, becomesAFolderOfFilesAndReplacesNone)
{
    const auto& [format, files] = row();
    if (!format.empty() && format[1] == "xlsx" && !sheets::available()) GTEST_SKIP() << "built without libxlsxwriter";
    const std::string file = created();
    {
        const auto database = jet::Database::open(platform::systemDisk(), file);
        for (const char16_t* name : {u"A/B", u"A:B"})
            database->createTable(name, {{.name = u"Ad", .type = jet::ColumnType::text, .size = 9}}, {}, {45000});
    }
    const Arguments arguments = with({"export", file, "--all", path("tablolar")}, format);
    ASSERT_THAT(run(arguments), succeeds("4 tablo yazıldı.\n"));
    ASSERT_EQ(filesIn(path("tablolar")), files);

    std::filesystem::remove(path("tablolar/" + files[0]));
    ASSERT_THAT(run(arguments), refuses(HasSubstr("zaten var")));
    ASSERT_EQ(filesIn(path("tablolar")).size(), files.size() - 1);
}

TEST_F(ExportTables, filesHaveNamesThatEverySystemTakes)
{
    const std::string file = created();
    {
        const auto database = jet::Database::open(platform::systemDisk(), file);
        for (const char16_t* name : {u"NUL", u"com1", u"COM10", u"LPT0", u"Console", u"Son ", u"CON "})
            database->createTable(name, {{.name = u"Ad", .type = jet::ColumnType::text, .size = 9}}, {}, {45000});
    }
    ASSERT_EQ(run({"export", file, "--all", path("tablolar")}).code, 0);
    std::vector<std::string> wanted{"COM10.csv", "CON_.csv", "Cari.csv", "Console.csv", "Hareket.csv",
                                    "LPT0.csv",  "Son_.csv", "_NUL.csv", "_com1.csv"};
    ASSERT_EQ(filesIn(path("tablolar")), wanted);
}

TEST_F(ExportTables, aFileIsLikeStandardOutputAndReplacesNone)
{
    const std::string file = withEveryType();
    ASSERT_EQ(run({"export", file, "Her/Tür", "--out", path("tablo.csv")}).code, 0);
    ASSERT_EQ(textOfFile(path("tablo.csv")), run({"export", file, "Her/Tür"}).out);
    ASSERT_EQ(run({"export", file, "Cari", "--out", path("tablo.csv")}).code, 1);
    ASSERT_EQ(textOfFile(path("tablo.csv")), run({"export", file, "Her/Tür"}).out);
    ASSERT_EQ(filesIn(folder()), (std::vector<std::string>{"Yag.mdb", "tablo.csv"}));
}

const RowTable<Arguments> exportMisuse = {
    {"no table", {}},
    {"two tables", {"Cari", "Hareket"}},
    {"table and folder", {"Cari", "--all", "x"}},
    {"file and folder", {"--out", "x.csv", "--all", "x"}},
    {"unknown format", {"Cari", "--format", "ods"}},
    {"workbook to standard output", {"Cari", "--format", "xlsx"}},
    {"option without value", {"Cari", "--out"}},
    {"option twice", {"Cari", "--format", "csv", "--format", "csv"}},
    {"unknown option", {"Cari", "--to", "x.csv"}},
};

TABLE_SUITE_WITH(ExportMisuse, Tool, Arguments, exportMisuse);

TEST_P(ExportMisuse, isOneLineAndWritesNothing)
{
    const std::string file = created();
    ASSERT_THAT(run(with({"export", file}, row())), refuses(isOneLine(), ""));
    ASSERT_EQ(filesIn(folder()), std::vector<std::string>{"Yag.mdb"});
}

TEST_F(ExportTables, sampleDatabasesExportInEveryFormat)
{
    if (!samples::present()) GTEST_SKIP() << samples::absent;
    int number = 0;
    for (const std::filesystem::path& file : samples::databases()) {
        for (const char* format : {"csv", "jsonl"}) {
            ASSERT_THAT(
                run({"export", file.string(), "--all", path(std::to_string(++number) + format), "--format", format}),
                succeeds())
                << file;
        }
    }
    ASSERT_GT(number, 0);
}

/// Emptied and loaded again, a table holds what it held. Tables that are not written (another program's rules, an
/// order that is not known) are left out.
TEST_F(ExportTables, sampleTablesComeBackFromTheirExport)
{
    if (!samples::present()) GTEST_SKIP() << samples::absent;
    int tables = 0;
    for (const std::filesystem::path& sample : samples::databases()) {
        const std::string file = path(sample.filename().string());
        copyWritable(sample, file);
        std::vector<std::string> names;
        {
            const auto database = jet::Database::open(platform::systemDisk(), file);
            for (const std::u16string& name : database->tableNames()) {
                const jet::Table& table = database->table(name);
                const bool ordered = std::ranges::none_of(table.indexes(), [&](const jet::Index& index) {
                    return std::ranges::any_of(index.columns, [&](const jet::IndexColumn& each) {
                        const jet::Column& column = table.columns()[each.column];
                        return column.type == jet::ColumnType::text && !jet::hasWeights(column.collation);
                    });
                });
                if (ordered && !table.whyReadOnly()) names.push_back(jet::toUtf8(name));
            }
        }
        for (const std::string& name : names) {
            const std::string before = run({"export", file, name}).out;
            const auto rows = sortedRows(file, name);
            if (run({"sql", file, "Delete From [" + name + "]"}).code != 0) continue;
            ASSERT_THAT(
                run({"import", file, name, "-", "--decimal", "point", "--encoding", "utf-8", "--empty-lines", "rows"},
                    before),
                succeeds())
                << file << " " << name;
            ASSERT_EQ(sortedRows(file, name), rows) << file << " " << name;
            ++tables;
        }
        verifySound(file);
    }
    ASSERT_GT(tables, 30);
}

} // namespace
