#include "mill/names.h"
#include "platform/system_disk.h"
#include "seasons/paper.h"
#include "seasons/texts.h"
#include "sheets/workbook.h"
#include "store/jet/database/database.h"
#include "store/jet/values/calendar.h"
#include "tests/support/files.h"
#include "tests/tools/tool.h"

#include <gmock/gmock.h>
#include <regex>

namespace {

using mill::Hareket;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// A mill's folder with a few pressings of two seasons, and the program from outside.
class SeasonTool : protected Tool {
protected:
    SeasonTool()
    {
        created();
        import("Hareket", "Tarih,Zeytin,Yağ,HakTut,Nakit,CariHar\n"
                          "2024-11-20T10:00:00,500,100,10,0,Ali\n"
                          "2025-11-20T10:00:00,1000,200,20,0,Ali\n"
                          "2025-11-20T11:30:00,1000,250,,150,Ayşe\n"
                          ",1,1,1,1,Ali\n"
                          "2025-11-21T00:00:00,2500,450,20,150,Toplamlar\n");
        import("Cari", "Unvan,Kap\nAli,10 Litrelik Kap\n");
    }

    std::string database() const { return path("Yag.mdb"); }
    std::string page() const { return path("Sezon.html"); }

    void import(const std::string& table, const std::string& csv) const
    {
        EXPECT_THAT(run({"import", database(), table, "-"}, csv), succeeds());
    }
    static Outcome season(const Arguments& arguments) { return run(with({"season"}, arguments)); }
    /// What stands on a page of paper.
    static std::string textOf(const std::string& paper)
    {
        return ::run({.program = "pdftotext", .arguments = {"-layout", paper, "-"}}).out;
    }
    /// A part of a workbook, which is a zip archive.
    static std::string partOf(const std::string& workbook, const std::string& name)
    {
        return ::run({.program = "unzip", .arguments = {"-p", workbook, name}}).out;
    }
};

class SeasonCommand : public testing::Test, protected SeasonTool {};

TEST_F(SeasonCommand, newestSeasonIsTakenAndATotalsRowIsNoPressing)
{
    ASSERT_THAT(season({folder(), page()}),
                succeeds(AllOf(StartsWith("Zeytin sezonu 2025–2026: 2 sıkım.\n"), HasSubstr("1 sıkımın tarihi yok"))));
    const std::string html = textOfFile(page());
    EXPECT_THAT(html, HasSubstr("<tr><th>20.11.2025<td>2<td>2.000<td>450\n"));
    EXPECT_THAT(html, HasSubstr("<tr><th>10 litre<td>20\n"));
    EXPECT_THAT(html, HasSubstr("<tr><th>2024–2025<td>1<td>500"));
    EXPECT_THAT(html, Not(HasSubstr("<th>Toplamlar")));
}

TEST_F(SeasonCommand, anySeasonCanBeNamedAndTheFileAsWell)
{
    EXPECT_THAT(season({database(), "--year", "2024", page()}),
                succeeds(StartsWith("Zeytin sezonu 2024–2025: 1 sıkım.\n")));
}

TEST_F(SeasonCommand, databaseIsFoundInWhateverLettersItIsNamed)
{
    std::filesystem::rename(database(), path("YAG.MDB"));
    EXPECT_THAT(season({folder(), page()}).out, StartsWith("Zeytin sezonu 2025–2026: 2 sıkım.\n"));
}

TEST_F(SeasonCommand, aPageThatIsThereIsRenewed)
{
    writeFile(page(), "old");
    EXPECT_EQ(season({folder(), page()}).code, 0);
    EXPECT_THAT(textOfFile(page()), StartsWith("<!doctype html>"));
    EXPECT_THAT(filesIn(folder()), testing::ElementsAre("Sezon.html", "Yag.mdb"));
}

TEST_F(SeasonCommand, sameTablesBecomeAWorkbook)
{
    if (!sheets::available()) GTEST_SKIP() << "built without libxlsxwriter";
    const std::string workbook = path("Sezon.xlsx");
    ASSERT_THAT(season({folder(), workbook}), succeeds());
    const std::string names = partOf(workbook, "xl/workbook.xml");
    for (const char* sheet : {"Sezon", "Günlere göre zeytin ve yağ", "Verimin dağılımı", "En çok zeytin getirenler",
                              "Müşteriler", "Bütün sezonlar"})
        EXPECT_THAT(names, HasSubstr("name=\"" + std::string(sheet) + "\"")) << sheet;
    EXPECT_THAT(partOf(workbook, "xl/sharedStrings.xml") + partOf(workbook, "xl/worksheets/sheet1.xml"),
                HasSubstr("1 sıkımın tarihi yok"));
    const std::string days = partOf(workbook, "xl/worksheets/sheet2.xml");
    EXPECT_THAT(days, HasSubstr("<v>45981</v>")); // the day itself, not its text
    EXPECT_THAT(days, HasSubstr("<v>2000</v>"));
    EXPECT_THAT(days, HasSubstr("<v>450</v>"));
}

TEST_F(SeasonCommand, sameTablesBecomeAPdf)
{
    if (!seasons::writesPaper()) GTEST_SKIP() << "built without cairo";
    const std::string paper = path("Sezon.pdf");
    ASSERT_THAT(season({folder(), paper}), succeeds());
    const std::string text = textOf(paper);
    for (const char* line :
         {"Zeytin sezonu 2025–2026", "1 sıkımın tarihi yok", "Günlere göre zeytin ve yağ", "Bütün sezonlar"})
        EXPECT_THAT(text, HasSubstr(line)) << line;
    EXPECT_THAT(text, testing::ContainsRegex("20\\.11\\.2025 +2 +2\\.000 +450"));
    EXPECT_THAT(text, testing::ContainsRegex("Ayşe +1 +1\\.000 +250"));
    EXPECT_THAT(filesIn(folder()), testing::ElementsAre("Sezon.pdf", "Yag.mdb"));
}

TEST_F(SeasonCommand, namesThatNobodyCanShowLeaveTheRestWhole)
{
    import("Hareket", "Tarih,Zeytin,Yağ,CariHar\n"
                      "2025-11-22T10:00:00,100,20,\"A\uFFFE\uFFFF\U0001FFFE\uFDD0\u0001Z\"\n");
    const std::string shown = "A\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDZ";
    ASSERT_EQ(season({folder(), page()}).code, 0);
    EXPECT_THAT(textOfFile(page()), HasSubstr("<th>" + shown + "<td>1"));
    if (seasons::writesPaper()) {
        const std::string paper = path("Sezon.pdf");
        ASSERT_EQ(season({folder(), paper}).code, 0);
        const std::string text = textOf(paper);
        EXPECT_THAT(text, HasSubstr("Bütün sezonlar")) << "what stands behind the customers";
        EXPECT_THAT(text, testing::ContainsRegex("Ayşe +1 +1\\.000 +250"));
    }
    if (sheets::available()) {
        const std::string workbook = path("Sezon.xlsx");
        ASSERT_EQ(season({folder(), workbook}).code, 0);
        EXPECT_THAT(partOf(workbook, "xl/worksheets/sheet8.xml"), HasSubstr(">" + shown + "<"));
    }
}

/// Wherever the disk ends, the paper of yesterday stays or today's is whole.
TEST_F(SeasonCommand, aPdfThatFindsNoRoomLeavesTheOldOne)
{
    if (!seasons::writesPaper()) GTEST_SKIP() << "built without cairo";
    const std::string paper = path("Sezon.pdf");
    ASSERT_EQ(season({folder(), paper}).code, 0);
    const auto blocks = std::filesystem::file_size(paper) / 1024 + 2; // the hour in it packs a little better or worse
    int refused = 0;
    for (auto room = blocks % 3; room <= blocks; room += 3) {
        writeFile(paper, "yesterday's");
        const Outcome outcome =
            ::run({.program = "bash",
                   .arguments = {"-c", "ulimit -f \"$1\"; trap '' XFSZ; exec \"$2\" season \"$3\" \"$4\"", "bash",
                                 std::to_string(room), PRESVA_MDB, folder(), paper}});
        if (room < blocks) {
            EXPECT_THAT(outcome, refuses(isOneLine())) << room;
            EXPECT_EQ(textOfFile(paper), "yesterday's") << room;
            ++refused;
        } else {
            EXPECT_THAT(outcome, succeeds());
            EXPECT_THAT(textOfFile(paper), testing::EndsWith("%%EOF\n"));
        }
        EXPECT_THAT(filesIn(folder()), testing::ElementsAre("Sezon.pdf", "Yag.mdb"));
    }
    EXPECT_GT(refused, 5);
}

/// Wherever the end of a page comes: headings stand above the rows of each page, and a short table is not broken.
TEST_F(SeasonCommand, pagesOfAPdfBeginWithHeadings)
{
    if (!seasons::writesPaper()) GTEST_SKIP() << "built without cairo";
    constexpr int listedFirst = 15;
    const std::regex row("(\\d|Köylü|Toplam).*");
    const std::string paper = path("Sezon.pdf");
    int day = static_cast<int>(jet::dateTime(2025, 12, 1).value().days);
    for (int attempt = 0; attempt < 12; ++attempt) {
        std::string more = "Tarih,Zeytin,Yağ,CariHar\n";
        for (int i = 0; i < 7; ++i, ++day) {
            const std::string date = seasons::dayText(day);
            more += date.substr(6) + "-" + date.substr(3, 2) + "-" + date.substr(0, 2) + "T10:00:00,1100," +
                    std::to_string(150 + i) + ",Köylü " + std::to_string(day % 100) + "\n";
        }
        import("Hareket", more);
        ASSERT_EQ(season({folder(), paper}).code, 0);
        const std::string text = textOf(paper);
        for (const std::string& page : split(text, "\f")) {
            EXPECT_FALSE(std::regex_match(split(page, "\n").front(), row)) << page;
            const std::size_t title = page.find("En çok zeytin getiren");
            if (title != std::string::npos && attempt > 2) {
                EXPECT_GE(countOf("Köylü", page.substr(title)), listedFirst) << page;
            }
        }
    }
}

TEST_F(SeasonCommand, counterMayBeAtWork)
{
    files::Disk& disk = platform::systemDisk();
    const auto counter = jet::Database::open(disk, database());
    jet::Table& journal = counter->table(Hareket::table);
    const auto book = [&](int hour) {
        journal.insert({{Hareket::Tarih, jet::dateTime(2025, 12, 1, hour).value()},
                        {Hareket::Zeytin, 100.0},
                        {Hareket::CariHar, u"Ali"}});
    };
    book(9);
    EXPECT_THAT(season({folder(), page()}).out, StartsWith("Zeytin sezonu 2025–2026: 3 sıkım.\n"));

    // What is not booked yet is not seen.
    jet::Transaction change(counter->pager());
    book(10);
    EXPECT_THAT(season({folder(), page()}).out, StartsWith("Zeytin sezonu 2025–2026: 3 sıkım.\n"));
    change.commit();
    EXPECT_THAT(season({folder(), page()}).out, StartsWith("Zeytin sezonu 2025–2026: 4 sıkım.\n"));
}

/// "CariHar<>'Toplamlar'" is asked letter for letter, and knows nothing of a field that is empty.
TEST_F(SeasonCommand, rowsThatAReportDoesNotAddUpAreNotCounted)
{
    import("Hareket", "Tarih,Zeytin,CariHar\n"
                      "2025-11-22T00:00:00,7000,Toplamlar\n"
                      "2025-11-22T00:00:00,1000,TOPLAMLAR\n"
                      "2025-11-22T10:00:00,7000,\n"
                      "2026-07-01T00:00:00,7000,Toplamlar\n"
                      "2026-07-01T10:00:00,7000,\n");
    EXPECT_THAT(season({folder(), page()}).out,
                AllOf(StartsWith("Zeytin sezonu 2025–2026: 3 sıkım.\n"),
                      HasSubstr("2 satırda müşteri alanı boş; rapor toplamlarına da girmez")));
    EXPECT_THAT(textOfFile(page()), Not(HasSubstr("7.000")));
}

TEST_F(SeasonCommand, aSeasonOfLongAgoCanBeNamed)
{
    import("Hareket", "Tarih,Zeytin,CariHar\n0100-01-02T10:00:00,1,Ali\n");
    EXPECT_THAT(season({folder(), "--year", "99", page()}).out, StartsWith("Zeytin sezonu 99–100: 1 sıkım.\n"));
}

TEST_F(SeasonCommand, aClockThatWasAheadOnceDoesNotHideTheSeason)
{
    import("Hareket", "Tarih,Zeytin,CariHar\n2119-11-20T10:00:00,1,Ali\n");
    EXPECT_THAT(season({folder(), page()}).out, StartsWith("Zeytin sezonu 2025–2026: 2 sıkım.\n"));
}

const RowTable<Arguments> misuses = {
    {"no page", {"Yag.mdb", "--year"}},
    {"no year", {"Yag.mdb", "Sezon.html", "--year"}},
    {"no number", {"Yag.mdb", "--year", "geçen", "Sezon.html"}},
    {"half a number", {"Yag.mdb", "--year", "2025x", "Sezon.html"}},
    {"far away", {"Yag.mdb", "--year", "20255", "Sezon.html"}},
    {"before the calendar", {"Yag.mdb", "--year", "98", "Sezon.html"}},
    {"neither page nor workbook", {"Yag.mdb", "Sezon.txt"}},
    {"too many", {"Yag.mdb", "Sezon.html", "Sezon2.html"}},
    {"absent", {"/absent", "Sezon.html"}},
    {"no database", {PRESVA_MDB, "Sezon.html"}},
};

TABLE_SUITE_WITH(SeasonCommandMisuse, SeasonTool, Arguments, misuses);

TEST_P(SeasonCommandMisuse, isOneSentenceAndNoPage) { EXPECT_THAT(season(row()), refuses(isOneLine(), "")); }

TEST_F(SeasonCommand, aFolderThatIsNotThereIsOneSentenceForEveryKind)
{
    for (const std::string kind : {".html", ".xlsx", ".pdf"}) {
        if ((kind == ".xlsx" && !sheets::available()) || (kind == ".pdf" && !seasons::writesPaper())) continue;
        EXPECT_THAT(season({folder(), path("absent/Sezon" + kind)}),
                    refuses(AllOf(isOneLine(), HasSubstr("bulunamadı"))))
            << kind;
    }
}

TEST_F(SeasonCommand, aDatabaseOfSomebodyElseIsNamedAsSuch)
{
    const std::string other = path("other.mdb");
    files::Disk& disk = platform::systemDisk();
    jet::Database::create(disk, other, jet::turkish, jet::dateTime(2025, 1, 1).value(), [](jet::Database& database) {
        database.createTable(u"Hareket", {{u"Tarih", jet::ColumnType::dateTime}}, {},
                             jet::dateTime(2025, 1, 1).value());
    });
    EXPECT_THAT(season({other, page()}), refuses(HasSubstr("'Hareket' tablosunda 'Zeytin' alanı yok")));
}

TEST_F(SeasonCommand, damagedRowsAreCountedAndTheRestIsShown)
{
    std::string bytes = textOfFile(database());
    // The name of a pressing, compressed: the mark in front of it makes its length plain.
    const std::size_t name = bytes.find("\xFF\xFE"
                                        "Ali");
    ASSERT_NE(name, std::string::npos);
    EXPECT_THAT(season({folder(), page()}), succeeds());
    // Behind the name stand the ends of the row's fields; ends beyond the row are none.
    bytes.replace(name + 5, 2, "\x7F\x7F");
    writeFile(database(), bytes);
    EXPECT_THAT(season({folder(), page()}), ends(2, HasSubstr("1 yer (satır ya da sayfa) okunamadı")));
    EXPECT_THAT(textOfFile(page()), HasSubstr("1 yer (satır ya da sayfa) okunamadı"));
}

} // namespace
