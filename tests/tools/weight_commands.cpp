#include "platform/system_disk.h"
#include "tests/support/files.h"
#include "tests/tools/tool.h"
#include "tests/weights/season.h"
#include "weights/verification.h"
#include "weights/weight_book.h"

#include <gmock/gmock.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;

/// The folder of a mill with three pressings, one of them deleted by the program, and a log that saw the book's end.
class Weights : public testing::Test, protected Tool {
protected:
    Weights()
    {
        created();
        weights::WeightBook book = openBook();
        weights::Pressing ali = season::pressing(season::day(2025, 11, 20, 14, 5), "Ali", 1000, 4);
        ali.olivesFrom.bytes = "  1000kg\r\n";
        season::write(book, ali);
        std::string log = logged(book);
        season::write(book, season::pressing(season::day(2025, 11, 20, 15), "Şükrü", 500.5, 3));
        season::write(book, weights::Deletion{season::day(2025, 11, 20, 16), "Şükrü", 1, 0});
        log += logged(book);
        season::write(book, season::pressing(season::day(2025, 11, 21), "Ali", 700, 5));
        log += logged(book);
        writeFile(path("presva.log"), log);
        store("2025-11-20T14:05:00,1000,900,12.75,108,0,Ali\n2025-11-21T12:00:00,700,630,12.75,108,0,Ali\n");
    }
    static std::string logged(weights::WeightBook& book)
    {
        return "2025-11-21T18:00:00 " + weights::logLine(book.head().number, book.head().seal) + "\n";
    }
    weights::WeightBook openBook() const { return {platform::systemDisk(), folder()}; }
    void store(const std::string& rows) const
    {
        ASSERT_THAT(
            run({"import", path("Yag.mdb"), "Hareket", "-"}, "Tarih,Zeytin,Yağ,Yuzde,HakTut,Nakit,CariHar\n" + rows),
            succeeds());
    }
    Outcome asked(const Arguments& options) const { return run(with({"weights", folder()}, options)); }
    /// The second line of the book says another weight.
    void alterTheBook() const
    {
        std::string text = textOfFile(path("Tartim.jsonl"));
        text.replace(text.find("500.5"), 5, "600.5");
        writeFile(path("Tartim.jsonl"), text);
    }
    /// Another book takes its place. What a log would have seen of it.
    std::string writeTheBookAnew() const
    {
        std::filesystem::remove(path("Tartim.jsonl"));
        weights::WeightBook book = openBook();
        season::write(book, season::pressing(season::day(2025, 11, 20, 14, 5), "Ali", 1000, 4));
        std::string log = logged(book);
        season::write(book, season::pressing(season::day(2025, 11, 21), "Ali", 700, 5));
        return log + logged(book);
    }
    void takeACopy() const
    {
        std::filesystem::create_directory(path("Yedek"));
        std::filesystem::copy_file(path("Yag.mdb"), path("Yedek/Yag-2025-11-21.mdb"));
    }
};

TEST_F(Weights, areListedWithWhereTheyComeFrom)
{
    EXPECT_EQ(
        asked({}).out,
        "     1  20.11.2025 14:05:00  1. tezgâh  Ali: zeytin 1000 kg (terazi 14:05:00 \"  1000kg\\r\\n\"), yağ 900 "
        "kg (hesap), %12,75, hak ediş 108 kg, 0 TL, fiş 4\n"
        "     2  20.11.2025 15:00:00  2. tezgâh  Şükrü: zeytin 500,5 kg (elle), yağ 450,45 kg (elle), %12,75, hak "
        "ediş 108 kg, 0 TL, fiş 3\n"
        "     3  20.11.2025 16:00:00  silme: Şükrü, 1 sıkım\n"
        "     4  21.11.2025 12:00:00  2. tezgâh  Ali: zeytin 700 kg (terazi 12:00:00 \"  5kg\\r\"), yağ 630 kg "
        "(elle), %12,75, hak ediş 108 kg, 0 TL, fiş 5\n");
}

TEST_F(Weights, areListedAndVerifiedInEnglish)
{
    EXPECT_EQ(
        asked({"--lang", "en"}).out,
        "     1  20.11.2025 14:05:00  station 1  Ali: olives 1000 kg (scale 14:05:00 \"  1000kg\\r\\n\"), oil 900 kg "
        "(computed), %12.75, entitlement 108 kg, 0 TL, slip 4\n"
        "     2  20.11.2025 15:00:00  station 2  Şükrü: olives 500.5 kg (by hand), oil 450.45 kg (by hand), %12.75, "
        "entitlement 108 kg, 0 TL, slip 3\n"
        "     3  20.11.2025 16:00:00  deletion: Şükrü, 1 pressing\n"
        "     4  21.11.2025 12:00:00  station 2  Ali: olives 700 kg (scale 12:00:00 \"  5kg\\r\"), oil 630 kg (by "
        "hand), %12.75, entitlement 108 kg, 0 TL, slip 5\n");
    EXPECT_EQ(asked({"--verify", "--lang", "en"}).out,
              "Note: line 3: 20.11.2025 16:00:00 deleted by the program (Şükrü): pressings with a line: 1.\n"
              "The book of weights is sound: 4 lines, digests in presva.log: 3.\n");

    alterTheBook();
    store("2025-11-21T13:00:00,5000,630,12.75,108,0,Veli\n");
    const std::string found = asked({"--verify", "--lang", "en"}).out;
    EXPECT_THAT(found, HasSubstr("Line 2 (\"Tartim.jsonl\", line 2 of the file): altered.\n"));
    EXPECT_THAT(found, HasSubstr("21.11.2025 13:00:00 Veli: in the journal, but without a line in the book.\n"));
    EXPECT_THAT(found, HasSubstr("The book of weights is not sound: 4 lines, digests in presva.log: 3, 2 findings."));
}

struct Filter {
    std::vector<std::string> options;
    std::vector<int> lines;
};

const RowTable<Filter> filters = {
    {"day", {{"--day", "2025-11-20"}, {1, 2, 3}}},
    {"customer", {{"--customer", "ŞÜK"}, {2, 3}}},
    {"both", {{"--customer", "al", "--day", "2025-11-21"}, {4}}},
    {"nothing", {{"--day", "2025-11-19"}, {}}},
};

TEST_F(Weights, areFilteredByDayAndCustomer)
{
    for (const auto& [name, filter] : filters) {
        const std::string out = asked(filter.options).out;
        for (int line = 1; line <= 4; ++line) {
            const bool wanted = std::ranges::find(filter.lines, line) != filter.lines.end();
            EXPECT_EQ(out.find("     " + std::to_string(line) + "  2") != std::string::npos, wanted) << name << line;
        }
    }
}

TEST_F(Weights, areVerifiedBesideJournalAndLog)
{
    EXPECT_THAT(asked({"--verify"}),
                succeeds("Bilgi: 3. satır: 20.11.2025 16:00:00 programla silindi (Şükrü): satırı olan 1 sıkım.\n"
                         "Tartım defteri sağlam: 4 satır, presva.log'da 3 özet.\n"));

    store("2025-11-21T13:00:00,5000,630,12.75,108,0,Veli\n");
    EXPECT_THAT(asked({"--verify"}),
                ends(1, AllOf(HasSubstr("21.11.2025 13:00:00 Veli: defterde var, tartım satırı yok.\n"),
                              HasSubstr("sağlam değil: 4 satır, presva.log'da 3 özet, 1 bulgu."))));
}

TEST_F(Weights, areVerifiedLineByLine)
{
    alterTheBook();
    EXPECT_THAT(asked({"--verify"}),
                ends(1, HasSubstr("2. satır (\"Tartim.jsonl\", dosyanın 2. satırı): değiştirilmiş.\n")));
    EXPECT_THAT(asked({}).out, HasSubstr("okunamayan satır"));
}

TEST_F(Weights, areRewrittenNowhereUnseen)
{
    writeTheBookAnew();
    EXPECT_THAT(asked({"--verify"}),
                ends(1, HasSubstr("1. satır (\"Tartim.jsonl\", dosyanın 1. satırı): presva.log'un gördüğü")));
    std::filesystem::remove(path("presva.log"));
    EXPECT_THAT(asked({"--verify"}), ends(1, HasSubstr("presva.log yok ya da defterin sonunu hiç görmemiş")));
}

TEST_F(Weights, nameACopyThatWasPutBackAndAreSoundAfterwards)
{
    takeACopy();
    weights::WeightBook book = openBook();
    season::write(book, season::pressing(season::day(2025, 11, 22), "Veli", 800, 6));
    store("2025-11-22T12:00:00,800,720,12.75,108,0,Veli\n");
    ASSERT_EQ(asked({"--verify"}).code, 0);

    std::filesystem::copy_file(path("Yag.mdb"), path("today"));
    replaceFile(path("Yedek/Yag-2025-11-21.mdb"), path("Yag.mdb"));
    EXPECT_EQ(asked({"--verify"}).code, 1) << "by hand it is a row taken out";
    std::filesystem::rename(path("today"), path("Yag.mdb"));

    EXPECT_THAT(run({"restore", folder(), "2025-11-21"}), succeeds(HasSubstr("Tartım defterine yazıldı: 6. satır.\n")));
    const Outcome verified = asked({"--verify"});
    EXPECT_THAT(verified, succeeds());
    // By hand, for GoogleTest's expressions know no sets of letters on Windows.
    const std::string line = "Bilgi: 6. satır: ";
    const std::size_t moment = verified.out.find(line) + line.size();
    const std::size_t end = verified.out.find(" yedekten dönüldü (Yag-2025-11-21.mdb); satırı olan 1 sıkım bu yedekte "
                                              "yoktu.\n");
    ASSERT_THAT(verified.out, HasSubstr(line));
    ASSERT_NE(end, std::string::npos) << verified.out;
    ASSERT_GT(end, moment);
    EXPECT_EQ(verified.out.substr(moment, end - moment).find_first_not_of("0123456789. :"), std::string::npos)
        << verified.out;
    EXPECT_THAT(asked({}).out, HasSubstr("  yedekten dönüş: Yag-2025-11-21.mdb\n"));

    // Nobody else's line is believed.
    weights::WeightBook forger = openBook();
    season::write(forger, season::pressing(season::day(2025, 11, 23), "Veli", 900, 7));
    season::write(forger, weights::Restore{season::day(2025, 11, 24), "Yag-2025-11-21.mdb", 6, 0});
    EXPECT_THAT(asked({"--verify"}), ends(1, HasSubstr("8. satırdaki geri yüklemeyi presva.log görmemiş")));
}

TEST_F(Weights, letNoCopyBeBackWithoutTheirLine)
{
    takeACopy();
    store("2025-11-22T12:00:00,800,720,12.75,108,0,Veli\n");
    std::filesystem::remove(path("Tartim.jsonl"));
    std::filesystem::create_directory(path("Tartim.jsonl"));
    const std::string before = textOfFile(path("Yag.mdb"));
    EXPECT_THAT(run({"restore", folder(), "2025-11-21"}), refuses(HasSubstr("Tartim.jsonl")));
    EXPECT_EQ(textOfFile(path("Yag.mdb")), before);
    EXPECT_EQ(asked({"--verify"}).code, 1);
}

TEST_F(Weights, refuseAFolderThatIsNoMill)
{
    EXPECT_THAT(run({"weights", path("baska")}), refuses(HasSubstr("ne Yag.mdb ne Tartim.jsonl var")));
}

TEST_F(Weights, areComparedWithALogThatWasKeptElsewhere)
{
    std::filesystem::copy_file(path("presva.log"), path("kept"));
    writeFile(path("presva.log"), writeTheBookAnew());
    EXPECT_EQ(asked({"--verify"}).code, 0) << "book and log were written anew together";
    EXPECT_THAT(asked({"--verify", "--log", path("kept")}),
                ends(1, HasSubstr("presva.log'un gördüğü satırlar değil, yeniden yazılmış")));
}

TEST_F(Weights, sayThatASlipIsOnItsWay)
{
    writeFile(path("Yag.mdb-slip"), "x");
    EXPECT_THAT(asked({"--verify"}).out, HasSubstr("Yolda bir fiş var"));
}

TEST_F(Weights, areVerifiedWithADatabaseNamedInCapitals)
{
    std::filesystem::rename(path("Yag.mdb"), path("YAG.MDB"));
    EXPECT_EQ(asked({"--verify"}).code, 0);
}

TEST_F(Weights, refuseWhatTheyDoNotKnow)
{
    for (const std::vector<std::string>& options : {std::vector<std::string>{"--day"},
                                                    {"--day", "20.11.2025"},
                                                    {"--day", "2025-11-31"},
                                                    {"--customer"},
                                                    {"--log", "presva.log"},
                                                    {"--verify", "--log", "presva.log"},
                                                    {"another"},
                                                    {"--verify", "--day", "2025-11-20"}}) {
        EXPECT_THAT(asked(options), refuses(HasSubstr("presva-mdb: "), ""));
    }
}

} // namespace
