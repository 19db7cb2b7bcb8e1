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

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

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
        season::write(book, season::pressing(season::day(2025, 11, 20, 15), "Şükrü", 500.5, 3));
        season::write(book, weights::Deletion{season::day(2025, 11, 20, 16), "Şükrü"});
        season::write(book, season::pressing(season::day(2025, 11, 21), "Ali", 700, 5));
        writeFile(folder_ / "presva.log",
                  "2025-11-21T18:00:00 " + weights::logLine(book.head().number, book.head().seal) + "\n");
        store("2025-11-20T14:05:00,1000,900,12.75,108,0,Ali\n2025-11-21T12:00:00,700,630,12.75,108,0,Ali\n");
    }
    std::string file(const std::string& name) const { return folder_ / name; }
    void store(const std::string& rows) const
    {
        const Outcome outcome = run({.program = PRESVA_MDB,
                                     .arguments = {"import", file("Yag.mdb"), "Hareket", "-"},
                                     .input = "Tarih,Zeytin,Yağ,Yuzde,HakTut,Nakit,CariHar\n" + rows});
        ASSERT_EQ(outcome.code, 0) << outcome.err;
    }
    Outcome asked(std::vector<std::string> options) const
    {
        options.insert(options.begin(), {"weights", folder_.path()});
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
        "     3  20.11.2025 16:00:00  silme: Şükrü, bütün sıkımları\n"
        "     4  21.11.2025 12:00:00  2. tezgâh  Ali: zeytin 700 kg (terazi 12:00:00 \"  5kg\\r\"), yağ 630 kg "
        "(elle), %12,75, hak ediş 108 kg, 0 TL, fiş 5\n");
}

struct Filter {
    std::vector<std::string> options;
    std::vector<int> lines;
};

RowTable<Filter> filters()
{
    return {
        {"day", {{"--day", "2025-11-20"}, {1, 2, 3}}},
        {"customer", {{"--customer", "ŞÜK"}, {2, 3}}},
        {"both", {{"--customer", "al", "--day", "2025-11-21"}, {4}}},
        {"nothing", {{"--day", "2025-11-19"}, {}}},
    };
}

TEST_F(Weights, areFilteredByDayAndCustomer)
{
    for (const auto& [name, filter] : filters()) {
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
    EXPECT_EQ(sound.out, "Tartım defteri sağlam: 4 satır, presva.log'da 1 gün sonu.\n");
    EXPECT_EQ(sound.code, 0) << sound.err;

    store("2025-11-21T13:00:00,5000,630,12.75,108,0,Veli\n");
    const Outcome added = asked({"--verify"});
    EXPECT_EQ(added.code, 1);
    EXPECT_THAT(added.out, HasSubstr("2025-11-21T13:00:00 Veli: defterde var, tartım satırı yok.\n"));
    EXPECT_THAT(added.out, HasSubstr("sağlam değil: 4 satır, presva.log'da 1 gün sonu, 1 bulgu."));
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
    EXPECT_THAT(outcome.out, HasSubstr("3-4. satırlar"));
    std::filesystem::remove(file("presva.log"));
    const Outcome unseen = asked({"--verify"});
    EXPECT_EQ(unseen.code, 0);
    EXPECT_THAT(unseen.out, HasSubstr("presva.log defterin sonunu hiç görmemiş"));
}

TEST_F(Weights, sayThatASlipIsOnItsWay)
{
    writeFile(file("Yag.mdb-slip"), "x");
    EXPECT_THAT(asked({"--verify"}).out, HasSubstr("Yolda bir fiş var"));
}

TEST_F(Weights, refuseWhatTheyDoNotKnow)
{
    for (const std::vector<std::string>& options : {std::vector<std::string>{"--day"},
                                                    {"--day", "20.11.2025"},
                                                    {"--day", "2025-11-31"},
                                                    {"--customer"},
                                                    {"another"},
                                                    {"--verify", "--day", "2025-11-20"}}) {
        const Outcome outcome = asked(options);
        EXPECT_EQ(outcome.code, 1);
        EXPECT_THAT(outcome.err, HasSubstr("presva-mdb: "));
        EXPECT_EQ(outcome.out, "");
    }
}

} // namespace
