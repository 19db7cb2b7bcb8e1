#include "weights/verification.h"
#include "files/memory_disk.h"
#include "mill/tables.h"
#include "store/jet/database/database.h"
#include "tests/weights/season.h"

#include <gmock/gmock.h>

using namespace weights;
using files::MemoryDisk;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const std::filesystem::path folder = "degirmen";
const std::filesystem::path database = folder / "Yag.mdb";
const double noon = season::day(2025, 11, 20);

/// A mill's folder, written by the test.
struct Mill {
    Mill() { mill::createDatabase(disk, database, jet::turkish, jet::DateTime{45000}); }

    void line(const Fact& fact) { season::write(book, fact); }
    void row(double moment, const std::u16string& customer, double olives)
    {
        jet::Database::open(disk, database)
            ->table(u"Hareket")
            .insert({{0, jet::DateTime{moment}},
                     {1, olives},
                     {2, olives * 0.9},
                     {3, 12.75},
                     {4, 108.0},
                     {5, 0.0},
                     {6, customer}});
    }
    std::vector<std::string> found()
    {
        return differences(allLines(disk, folder), jet::Database::open(disk, database)->table(u"Hareket"));
    }

    MemoryDisk disk;
    WeightBook book{disk, folder};
};

TEST(Verification, agreesWithEqualPressingsInOneSecond)
{
    Mill mill;
    for (const int job : {1, 2, 3}) mill.line(season::pressing(noon, "Ali", job == 3 ? 700 : 500, job));
    mill.row(noon, u"Ali", 700);
    mill.row(noon, u"Ali", 500);
    EXPECT_THAT(mill.found(), ElementsAre(HasSubstr("2. satırı var")));
    mill.row(noon, u"Ali", 500);
    EXPECT_THAT(mill.found(), ElementsAre());
    mill.row(noon, u"Ali", 500);
    EXPECT_THAT(mill.found(), ElementsAre("2025-11-20T12:00:00 Ali: defterde var, tartım satırı yok."));
}

TEST(Verification, namesTheFieldAndBothFigures)
{
    Mill mill;
    mill.line(season::pressing(noon, "Ali", 500, 1));
    mill.row(noon, u"Ali", 501);
    EXPECT_THAT(mill.found(), ElementsAre("2025-11-20T12:00:00 Ali: 1. satırıyla uyuşmuyor; Zeytin defterde 501, "
                                          "satırda 500."));
}

TEST(Verification, passesOverTheTotalsOfAReport)
{
    Mill mill;
    mill.line(season::pressing(noon, "Ali", 500, 1));
    mill.row(noon, u"Ali", 500);
    mill.row(noon + 0.5, u"Toplamlar", 500);
    EXPECT_THAT(mill.found(), ElementsAre());
}

TEST(Verification, letsGoWhatTheProgramDeleted)
{
    Mill mill;
    mill.line(season::pressing(noon, "Ali", 500, 1));
    mill.line(season::pressing(noon, "ali", 500, 2));
    mill.line(Deletion{noon + 1, "Ali"});
    mill.line(season::pressing(noon + 2, "Ali", 500, 3));
    mill.row(noon, u"ali", 500);
    EXPECT_THAT(mill.found(), ElementsAre("2025-11-22T12:00:00 Ali: 4. satırı var, sıkımı defterde yok; programla "
                                          "silinmedi."));
    mill.line(Deletion{noon + 3, {}});
    EXPECT_THAT(mill.found(), ElementsAre());
    // A deletion that was announced and then did not come to be takes nothing away.
    mill.row(noon + 2, u"Ali", 502);
    EXPECT_THAT(mill.found(), ElementsAre(HasSubstr("4. satırıyla uyuşmuyor")));
}

TEST(Verification, countsWhatWasThereBeforeTheBook)
{
    Mill mill;
    mill.row(noon - 10, u"Ali", 100);
    mill.row(noon - 11, u"Ali", 100);
    Pressing first = season::pressing(noon, "Ali", 500, 1);
    first.before = 2;
    mill.line(first);
    mill.row(noon, u"Ali", 500);
    EXPECT_THAT(mill.found(), ElementsAre());
    mill.row(noon - 9, u"Ali", 100);
    EXPECT_THAT(mill.found(), ElementsAre(HasSubstr("önceki sıkımlar: 2 olmalı, 3 var")));
}

TEST(Verification, hasNothingToSayWithoutABook)
{
    Mill mill;
    mill.row(noon, u"Ali", 500);
    EXPECT_THAT(mill.found(), ElementsAre());
    EXPECT_FALSE(firstFault(allLines(mill.disk, folder)));
}

TEST(Verification, readsTheEndsOfTheBookOutOfALog)
{
    const std::string log = "2025-11-20T08:00:00 fiş 1 (Ali, 5 kg): basılmış ve kaydedilmiş\n2025-11-21T08:00:00 " +
                            logLine(12, noSeal) + "\n2025-11-22T08:00:00 " + logLine(7, "x") + "\n" +
                            "2025-11-23 tartım defterinin sonu: satır çok\n2025-11-24 " + logLine(9, "y");
    const auto heads = loggedHeads(log);
    ASSERT_EQ(heads.size(), 3U);
    EXPECT_EQ(heads[0].moment, "2025-11-21T08:00:00");
    EXPECT_EQ(heads[0].number, 12U);
    EXPECT_EQ(heads[0].seal, noSeal);
    EXPECT_EQ(heads[2].number, 9U);
}

TEST(Verification, tellsTheWholeBookFromAnotherByTheLog)
{
    Mill mill, other;
    std::vector<LoggedHead> heads;
    for (int job = 1; job <= 9; ++job) {
        mill.line(season::pressing(noon + job, "Ali", 500, job));
        other.line(season::pressing(noon + job, "Ali", job < 5 ? 500 : 400, job));
        if (job % 3 == 0) heads.push_back({"", mill.book.head().number, mill.book.head().seal});
    }
    EXPECT_FALSE(firstFault(allLines(mill.disk, folder), heads));
    const auto lines = allLines(other.disk, folder);
    EXPECT_FALSE(firstFault(lines));
    const auto fault = firstFault(lines, heads);
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->kind, ChainFault::Kind::rewritten);
    EXPECT_EQ(fault->first, 4U);
    EXPECT_EQ(fault->last, 6U);
    EXPECT_EQ(sentence(*fault), "4-6. satırlar (\"Tartim.jsonl\", dosyanın 6. satırı): presva.log'un gördüğü satırlar "
                                "değil, yeniden yazılmış.");
}

} // namespace
