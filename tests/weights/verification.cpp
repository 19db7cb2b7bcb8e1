#include "weights/verification.h"
#include "files/memory_disk.h"
#include "mill/tables.h"
#include "store/jet/database/database.h"
#include "tests/weights/season.h"
#include "weights/book_history.h"

#include <gmock/gmock.h>

using namespace weights;
using files::MemoryDisk;
using testing::AllOf;
using testing::Contains;
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
        season::store(*jet::Database::open(disk, database), season::pressing(moment, jet::toUtf8(customer), olives, 1));
    }
    Findings findings(const std::vector<LoggedHead>& heads = {})
    {
        return differences(allLines(disk, folder), heads, jet::Database::open(disk, database)->table(u"Hareket"));
    }
    std::vector<std::string> found(const std::vector<LoggedHead>& heads = {}) { return findings(heads).faults; }
    LoggedHead head() { return {"", book.head().number, book.head().seal}; }
    void erase(const std::u16string& customer, double from = 0)
    {
        season::erase(*jet::Database::open(disk, database), customer, from);
    }

    MemoryDisk disk;
    WeightBook book{disk, folder};
};

struct Verified : testing::Test {
    Mill mill;
};

TEST_F(Verified, agreesWithEqualPressingsInOneSecond)
{
    for (const int job : {1, 2, 3}) mill.line(season::pressing(noon, "Ali", job == 3 ? 700 : 500, job));
    mill.row(noon, u"Ali", 700);
    mill.row(noon, u"Ali", 500);
    EXPECT_THAT(mill.found(), ElementsAre(HasSubstr("2. satırı var")));
    mill.row(noon, u"Ali", 500);
    EXPECT_THAT(mill.found(), ElementsAre());
    mill.row(noon, u"Ali", 500);
    EXPECT_THAT(mill.found(), ElementsAre("20.11.2025 12:00:00 Ali: defterde var, tartım satırı yok."));
}

TEST_F(Verified, namesTheFieldAndBothFigures)
{
    mill.line(season::pressing(noon, "Ali", 500, 1));
    mill.row(noon, u"Ali", 501);
    EXPECT_THAT(mill.found(), ElementsAre("20.11.2025 12:00:00 Ali: 1. satırıyla uyuşmuyor; Zeytin defterde 501, "
                                          "satırda 500."));
}

TEST_F(Verified, passesOverTheTotalsOfAReport)
{
    mill.line(season::pressing(noon, "Ali", 500, 1));
    mill.row(noon, u"Ali", 500);
    mill.row(noon + 0.5, u"Toplamlar", 500);
    EXPECT_THAT(mill.found(), ElementsAre());
}

TEST_F(Verified, letsGoWhatTheProgramDeleted)
{
    mill.line(season::pressing(noon, "Ali", 500, 1));
    mill.line(season::pressing(noon, "ali", 500, 2));
    mill.line(Deletion{noon + 1, "Ali", 1, 0});
    mill.line(season::pressing(noon + 2, "Ali", 500, 3));
    mill.row(noon, u"ali", 500);
    EXPECT_THAT(mill.found(), ElementsAre("22.11.2025 12:00:00 Ali: 4. satırı var, sıkımı defterde yok; programla "
                                          "silinmedi."));
    mill.erase(u"ali");
    mill.line(Deletion{noon + 3, {}, 2, 0});
    EXPECT_THAT(mill.found(), ElementsAre());
    // A deletion that was announced and then did not come to be takes nothing away.
    mill.row(noon, u"ali", 500);
    mill.row(noon + 2, u"Ali", 502);
    EXPECT_THAT(mill.found(), ElementsAre(HasSubstr("4. satırıyla uyuşmuyor")));
}

TEST_F(Verified, countsWhatWasThereBeforeTheBook)
{
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

TEST_F(Verified, takesAJournalWithoutABookForAnOlderOneUpToTheBooksOwnDay)
{
    mill.row(noon, u"Ali", 500);
    mill.row(season::day(2026, 11, 22, 23, 59), u"Ali", 500);
    EXPECT_THAT(mill.found(), ElementsAre());
    EXPECT_THAT(mill.findings().remarks, ElementsAre("Hareket tablosundaki 2 sıkım tartım defterinden eski."));
    EXPECT_FALSE(firstFault(allLines(mill.disk, folder)));
    mill.row(season::day(2026, 11, 23, 0), u"Ali", 500);
    mill.row(season::day(2027, 1, 1), u"Toplamlar", 500);
    EXPECT_THAT(mill.found(), ElementsAre(AllOf(HasSubstr("1 sıkım var"), HasSubstr("silinmiş ya da boşaltılmış"))));
}

TEST_F(Verified, takesABookForEmptiedThatTheLogHasSeen)
{
    mill.line(season::pressing(noon, "Ali", 500, 1));
    const LoggedHead head = mill.head();
    mill.disk.remove(folder / "Tartim.jsonl");
    const auto fault = firstFault(allLines(mill.disk, folder), {head});
    ASSERT_TRUE(fault);
    EXPECT_EQ(sentence(*fault), "1. satır (\"Tartim.jsonl\", dosyanın 1. satırı): eksik.");
}

TEST_F(Verified, excusesByADeletionNoMoreThanItTookAway)
{
    for (int i = 0; i < 3; ++i) mill.row(noon - 10 + i, i < 2 ? u"Ali" : u"Veli", 100);
    Pressing first = season::pressing(noon, "Veli", 500, 1);
    first.before = 3;
    mill.line(first);
    mill.row(noon, u"Veli", 500);
    mill.erase(u"Ali");
    EXPECT_THAT(mill.found(), ElementsAre(HasSubstr("3 olmalı, 1 var")));
    mill.line(Deletion{noon + 1, "Ali", 2, 1});
    EXPECT_THAT(mill.found(), ElementsAre());
    mill.erase(u"Veli");
    mill.row(noon, u"Veli", 500);
    EXPECT_THAT(mill.found(), ElementsAre(HasSubstr("1 olmalı, 0 var")));
    // One that was announced and not done takes nothing away; what is gone then is gone without the program.
    mill.line(Deletion{noon + 2, {}, 1, 0});
    EXPECT_THAT(mill.found(), ElementsAre(HasSubstr("bu silmeden önce 1 sıkım"), HasSubstr("1 olmalı, 0 var")));
}

TEST_F(Verified, doesNotTakeADeletionForDoneOfWhichPressingsAreLeft)
{
    for (const int job : {1, 2, 3}) mill.line(season::pressing(noon + job, "Ali", 500, job));
    for (const int job : {1, 3}) mill.row(noon + job, u"Ali", 500);
    mill.line(Deletion{noon + 4, "Ali", 3, 0}); // forged, to excuse the second
    EXPECT_THAT(mill.found(), ElementsAre(HasSubstr("Ali: 2. satırı var, sıkımı defterde yok; 4. satırdaki silme hiç "
                                                    "yapılmamış")));
}

TEST_F(Verified, believesNoDeletionThatTheLogHasNotSeen)
{
    mill.line(season::pressing(noon, "Ali", 500, 1));
    const LoggedHead first = mill.head();
    mill.line(Deletion{noon + 4, "Ali", 1, 0});
    EXPECT_THAT(mill.found({first, mill.head()}), ElementsAre());
    EXPECT_THAT(mill.found({first}), ElementsAre(HasSubstr("2. satırdaki silmeyi presva.log görmemiş")));
}

TEST_F(Verified, findsARowThatWasTakenOutBeforeItsCustomerWasDeleted)
{
    for (const int job : {1, 2, 3}) mill.line(season::pressing(noon + job, "Ali", 500, job));
    mill.line(Deletion{noon + 4, "Ali", 2, 0}); // the program counted two
    EXPECT_THAT(mill.found(), ElementsAre(HasSubstr("4. satır: bu silmeden önce 1 sıkım")));
}

TEST(Verification, namesARestoredCopyAndExcusesWhatCameAfterIt)
{
    for (const bool isDone : {true, false}) {
        Mill mill;
        mill.row(noon - 3, u"Eski", 500);
        Pressing first = season::pressing(noon, "Ali", 500, 1);
        first.before = 1;
        mill.line(first);
        mill.row(noon, u"Ali", 500);
        mill.line(season::pressing(noon + 1, "Veli", 500, 2));
        mill.line(Deletion{noon + 2, "Veli", 1, 1});
        const auto journal = jet::Database::open(mill.disk, database);
        const auto restore =
            restoreOf(allLines(mill.disk, folder), journal->table(u"Hareket"), noon + 4, "Yag-2025-11-22.mdb");
        ASSERT_TRUE(restore);
        EXPECT_EQ(restore->upTo, 3U); // behind the deletion: the copy has nothing of Veli's
        EXPECT_EQ(restore->before, 1U);
        mill.line(season::pressing(noon + 3, "Ali", 700, 3));
        if (!isDone) mill.row(noon + 3, u"Ali", 700);
        mill.line(*restore);
        EXPECT_THAT(mill.found(), ElementsAre());
        if (isDone) {
            EXPECT_THAT(mill.findings().remarks,
                        Contains("5. satır: 24.11.2025 12:00:00 yedekten dönüldü (Yag-2025-11-22.mdb); satırı olan 1 "
                                 "sıkım bu yedekte yoktu."));
        }
        mill.line(season::pressing(noon + 5, "Ali", 800, 4));
        EXPECT_THAT(mill.found(), ElementsAre(HasSubstr("6. satırı var, sıkımı defterde yok; programla silinmedi")));
        mill.row(noon + 5, u"Ali", 800);
        EXPECT_THAT(mill.found(), ElementsAre());
        mill.erase(u"Ali", noon + 5);
        EXPECT_THAT(mill.found(), ElementsAre(HasSubstr("6. satırı var")));
    }
}

TEST_F(Verified, excusesByACopyNothingWhereWhatCameAfterItIsStillThere)
{
    for (const int job : {1, 2, 3}) mill.line(season::pressing(noon + job, "Ali", 500, job));
    mill.line(Restore{noon + 4, "Yag-2025-11-22.mdb", 1, 0});
    mill.row(noon + 1, u"Ali", 500);
    EXPECT_THAT(mill.found(), ElementsAre()); // two went with the copy
    mill.row(noon + 3, u"Ali", 500);          // the file from before was laid back, and one row taken out
    EXPECT_THAT(mill.found(), ElementsAre(HasSubstr("4. satırdaki geri yükleme hiç yapılmamış")));
}

TEST_F(Verified, findsALogThatSaysTwoThingsOfOneLine)
{
    mill.line(season::pressing(noon, "Ali", 500, 1));
    const LoggedHead truth = mill.head();
    LoggedHead forged = truth;
    std::ranges::reverse(forged.seal);
    for (const auto& heads : {std::vector{truth, forged}, {forged, truth}})
        EXPECT_TRUE(firstFault(allLines(mill.disk, folder), heads));
    EXPECT_FALSE(firstFault(allLines(mill.disk, folder), {truth, truth}));
}

TEST_F(Verified, findsTheLineThatACopyGoesUpTo)
{
    const auto copiedNow = [&] {
        return restoreOf(allLines(mill.disk, folder), jet::Database::open(mill.disk, database)->table(u"Hareket"), noon,
                         "x")
            ->upTo;
    };
    std::vector<std::uint64_t> copies;
    for (const int job : {1, 2, 3}) {
        const std::u16string customer = job == 2 ? u"Veli" : u"Ali";
        mill.line(season::pressing(noon + job, jet::toUtf8(customer), 500, job));
        mill.row(noon + job, customer, 500);
        copies.push_back(copiedNow());
    }
    mill.line(Deletion{noon + 4, "Ali", 2, 0});
    mill.erase(u"Ali");
    copies.push_back(copiedNow());
    mill.line(Deletion{noon + 5, {}, 1, 0});
    mill.erase(u"Veli");
    copies.push_back(copiedNow());
    EXPECT_THAT(copies, ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(Verified, remarksAClockThatWasPutBack)
{
    for (const double moment : {noon, noon + 1, noon + 0.5, noon + 2}) {
        mill.line(season::pressing(moment, "Ali", 500, 1));
        mill.row(moment, u"Ali", 500);
    }
    EXPECT_THAT(mill.findings().remarks, ElementsAre(HasSubstr("3. satır: bilgisayarın saati geri alınmış")));
    EXPECT_THAT(mill.found(), ElementsAre());
}

TEST_F(Verified, findsLinesTakenOutOfTheLog)
{
    std::vector<LoggedHead> heads;
    for (int job = 1; job <= 60; ++job) {
        mill.line(season::pressing(noon + job, "Ali", 500, job));
        mill.row(noon + job, u"Ali", 500);
        if (job == 1 || job % linesToALoggedHead == 0) heads.push_back(mill.head());
    }
    const auto found = [&](const std::vector<LoggedHead>& seen) {
        return verify(allLines(mill.disk, folder), seen, jet::Database::open(mill.disk, database)->table(u"Hareket"))
            .faults;
    };
    EXPECT_THAT(found(heads), ElementsAre());
    EXPECT_THAT(found({}), ElementsAre(HasSubstr("presva.log yok")));
    EXPECT_THAT(found({heads.begin() + 1, heads.end()}), ElementsAre(HasSubstr("presva.log 1-9. satırların")));
    EXPECT_THAT(found({heads.begin(), heads.begin() + 4}), ElementsAre(HasSubstr("presva.log 31-60. satırların")));
    // One head alone is what a power cut may take.
    std::vector<LoggedHead> some = heads;
    some.erase(some.begin() + 3);
    EXPECT_THAT(found(some), ElementsAre());
    some.erase(some.begin() + 3);
    EXPECT_THAT(found(some), ElementsAre(HasSubstr("presva.log 21-49. satırların")));
}

TEST(Verification, readsTheEndsOfTheBookOutOfALog)
{
    const std::string log = "2025-11-20T08:00:00 fiş 1 (Ali, 5 kg): basılmış ve kaydedilmiş\n2025-11-21T08:00:00 " +
                            logLine(12, noSeal) + "\n2025-11-22T08:00:00 " + logLine(7, "x") + "\n" +
                            "half of one: " + logLine(8, "ab") +
                            "2025-11-23 tartım defterinin sonu: satır çok\n2025-11-24 " + logLine(9, noSeal) + "\r\n";
    const auto heads = loggedHeads(log);
    ASSERT_EQ(heads.size(), 2U); // what has no whole seal is half of one
    EXPECT_EQ(heads[0].moment, "2025-11-21T08:00:00");
    EXPECT_EQ(heads[0].number, 12U);
    EXPECT_EQ(heads[0].seal, noSeal);
    EXPECT_EQ(heads[1].number, 9U);
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
