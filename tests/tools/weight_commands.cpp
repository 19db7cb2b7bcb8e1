#include "platform/system_disk.h"
#include "tests/support/files.h"
#include "tests/support/process.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"
#include "tests/weights/season.h"
#include "weights/verification.h"
#include "weights/weight_book.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

/// The folder of a mill with three pressings, one of them deleted by the program, and a log that saw the book's end.
class Weights : public testing::Test {
protected:
    Weights()
    {
        EXPECT_EQ(run({.program = PRESVA_MDB, .arguments = {"create", file("Yag.mdb")}}).code, 0);
        weights::WeightBook book(platform::systemDisk(), folder_.path());
        weights::Pressing ali = season::pressing(season::day(2025, 11, 20, 14, 5), "Ali", 1000, 4);
        ali.olivesFrom.bytes = "  1000kg\r\n";
        season::write(book, ali);
        std::string log = logged(book);
        season::write(book, season::pressing(season::day(2025, 11, 20, 15), "Şükrü", 500.5, 3));
        season::write(book, weights::Deletion{season::day(2025, 11, 20, 16), "Şükrü", 1, 0});
        log += logged(book);
        season::write(book, season::pressing(season::day(2025, 11, 21), "Ali", 700, 5));
        log += logged(book);
        writeFile(folder_ / "presva.log", log);
        store("2025-11-20T14:05:00,1000,900,12.75,108,0,Ali\n2025-11-21T12:00:00,700,630,12.75,108,0,Ali\n");
    }
    static std::string logged(weights::WeightBook& book)
    {
        return "2025-11-21T18:00:00 " + weights::logLine(book.head().number, book.head().seal) + "\n";
    }
    std::string file(const std::string& name) const { return (folder_ / name).string(); }
    void store(const std::string& rows) const
    {
        const Outcome outcome = run({.program = PRESVA_MDB,
                                     .arguments = {"import", file("Yag.mdb"), "Hareket", "-"},
                                     .input = "Tarih,Zeytin,Yağ,Yuzde,HakTut,Nakit,CariHar\n" + rows});
        ASSERT_EQ(outcome.code, 0) << outcome.err;
    }
    Outcome asked(std::vector<std::string> options) const
    {
        options.insert(options.begin(), {"weights", folder_.path().string()});
        return run({.program = PRESVA_MDB, .arguments = options});
    }

private:
    TemporaryFolder folder_;
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

    std::string text = textOfFile(file("Tartim.jsonl"));
    text.replace(text.find("500.5"), 5, "600.5");
    writeFile(file("Tartim.jsonl"), text);
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
    const Outcome sound = asked({"--verify"});
    EXPECT_EQ(sound.out, "Bilgi: 3. satır: 20.11.2025 16:00:00 programla silindi (Şükrü): satırı olan 1 sıkım.\n"
                         "Tartım defteri sağlam: 4 satır, presva.log'da 3 özet.\n");
    EXPECT_EQ(sound.code, 0) << sound.err;

    store("2025-11-21T13:00:00,5000,630,12.75,108,0,Veli\n");
    const Outcome added = asked({"--verify"});
    EXPECT_EQ(added.code, 1);
    EXPECT_THAT(added.out, HasSubstr("21.11.2025 13:00:00 Veli: defterde var, tartım satırı yok.\n"));
    EXPECT_THAT(added.out, HasSubstr("sağlam değil: 4 satır, presva.log'da 3 özet, 1 bulgu."));
}

TEST_F(Weights, areVerifiedLineByLine)
{
    std::string text = textOfFile(file("Tartim.jsonl"));
    text.replace(text.find("500.5"), 5, "600.5");
    writeFile(file("Tartim.jsonl"), text);
    const Outcome outcome = asked({"--verify"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.out, HasSubstr("2. satır (\"Tartim.jsonl\", dosyanın 2. satırı): değiştirilmiş.\n"));
    EXPECT_THAT(asked({}).out, HasSubstr("okunamayan satır"));
}

TEST_F(Weights, areRewrittenNowhereUnseen)
{
    std::filesystem::remove(file("Tartim.jsonl"));
    weights::WeightBook book(platform::systemDisk(), std::filesystem::path(file("Yag.mdb")).parent_path());
    season::write(book, season::pressing(season::day(2025, 11, 20, 14, 5), "Ali", 1000, 4));
    season::write(book, season::pressing(season::day(2025, 11, 21), "Ali", 700, 5));
    const Outcome outcome = asked({"--verify"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.out, HasSubstr("1. satır (\"Tartim.jsonl\", dosyanın 1. satırı): presva.log'un gördüğü"));
    std::filesystem::remove(file("presva.log"));
    const Outcome unseen = asked({"--verify"});
    EXPECT_EQ(unseen.code, 1);
    EXPECT_THAT(unseen.out, HasSubstr("presva.log yok ya da defterin sonunu hiç görmemiş"));
}

TEST_F(Weights, nameACopyThatWasPutBackAndAreSoundAfterwards)
{
    const std::filesystem::path copies = file("Yedek");
    std::filesystem::create_directory(copies);
    std::filesystem::copy_file(file("Yag.mdb"), copies / "Yag-2025-11-21.mdb");
    weights::WeightBook book(platform::systemDisk(), copies.parent_path());
    season::write(book, season::pressing(season::day(2025, 11, 22), "Veli", 800, 6));
    store("2025-11-22T12:00:00,800,720,12.75,108,0,Veli\n");
    ASSERT_EQ(asked({"--verify"}).code, 0);

    std::filesystem::copy_file(file("Yag.mdb"), file("today"));
    replaceFile(copies / "Yag-2025-11-21.mdb", file("Yag.mdb"));
    EXPECT_EQ(asked({"--verify"}).code, 1) << "by hand it is a row taken out";
    std::filesystem::rename(file("today"), file("Yag.mdb"));

    const Outcome restored =
        run({.program = PRESVA_MDB, .arguments = {"restore", copies.parent_path().string(), "2025-11-21"}});
    EXPECT_EQ(restored.code, 0) << restored.err;
    EXPECT_THAT(restored.out, HasSubstr("Tartım defterine yazıldı: 6. satır.\n"));
    const Outcome verified = asked({"--verify"});
    EXPECT_EQ(verified.code, 0) << verified.out;
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
    weights::WeightBook forger(platform::systemDisk(), copies.parent_path());
    season::write(forger, season::pressing(season::day(2025, 11, 23), "Veli", 900, 7));
    season::write(forger, weights::Restore{season::day(2025, 11, 24), "Yag-2025-11-21.mdb", 6, 0});
    const Outcome forged = asked({"--verify"});
    EXPECT_EQ(forged.code, 1);
    EXPECT_THAT(forged.out, HasSubstr("8. satırdaki geri yüklemeyi presva.log görmemiş"));
}

TEST_F(Weights, letNoCopyBeBackWithoutTheirLine)
{
    const std::filesystem::path copies = file("Yedek");
    std::filesystem::create_directory(copies);
    std::filesystem::copy_file(file("Yag.mdb"), copies / "Yag-2025-11-21.mdb");
    store("2025-11-22T12:00:00,800,720,12.75,108,0,Veli\n");
    std::filesystem::remove(file("Tartim.jsonl"));
    std::filesystem::create_directory(file("Tartim.jsonl"));
    const std::string before = textOfFile(file("Yag.mdb"));
    const Outcome refused =
        run({.program = PRESVA_MDB, .arguments = {"restore", copies.parent_path().string(), "2025-11-21"}});
    EXPECT_EQ(refused.code, 1);
    EXPECT_THAT(refused.err, HasSubstr("Tartim.jsonl"));
    EXPECT_EQ(textOfFile(file("Yag.mdb")), before);
    EXPECT_EQ(asked({"--verify"}).code, 1);
}

TEST_F(Weights, refuseAFolderThatIsNoMill)
{
    const Outcome outcome = run({.program = PRESVA_MDB, .arguments = {"weights", file("baska")}});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.err, HasSubstr("ne Yag.mdb ne Tartim.jsonl var"));
}

TEST_F(Weights, areComparedWithALogThatWasKeptElsewhere)
{
    std::filesystem::copy_file(file("presva.log"), file("kept"));
    std::filesystem::remove(file("Tartim.jsonl"));
    weights::WeightBook book(platform::systemDisk(), std::filesystem::path(file("Yag.mdb")).parent_path());
    season::write(book, season::pressing(season::day(2025, 11, 20, 14, 5), "Ali", 1000, 4));
    std::string log = logged(book);
    season::write(book, season::pressing(season::day(2025, 11, 21), "Ali", 700, 5));
    writeFile(file("presva.log"), log + logged(book));
    EXPECT_EQ(asked({"--verify"}).code, 0) << "book and log were written anew together";
    const Outcome outcome = asked({"--verify", "--log", file("kept")});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.out, HasSubstr("presva.log'un gördüğü satırlar değil, yeniden yazılmış"));
}

TEST_F(Weights, sayThatASlipIsOnItsWay)
{
    writeFile(file("Yag.mdb-slip"), "x");
    EXPECT_THAT(asked({"--verify"}).out, HasSubstr("Yolda bir fiş var"));
}

TEST_F(Weights, areVerifiedWithADatabaseNamedInCapitals)
{
    std::filesystem::rename(file("Yag.mdb"), file("YAG.MDB"));
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
        const Outcome outcome = asked(options);
        EXPECT_EQ(outcome.code, 1);
        EXPECT_THAT(outcome.err, HasSubstr("presva-mdb: "));
        EXPECT_EQ(outcome.out, "");
    }
}

} // namespace
