#include "tests/doors/cutting_proxy.h"
#include "tests/postgres/server_mill.h"
#include "tests/support/text.h"

#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <functional>
#include <limits>
#include <random>

namespace {

using mill::Cari, mill::Hareket;
using testing::HasSubstr;
using testing::UnorderedElementsAreArray;
using Carry = ServerMill;

constexpr double minus = -1.0;

/// Values that a careless way there or back would change.
std::vector<std::vector<jet::Value>> hardCustomers()
{
    return {{u"Ali", 12.5, u"10 Litrelik Kap", 0.0},
            {u"Ali", 12.5, u"10 Litrelik Kap", 0.0}, // twice the same
            {u"Şükrü Ğ ı İ Çö", 0.1 + 0.2, u" 5 Litrelik Kap", 1e-300},
            {u"geri\\bölü\tsekme\nsatır\rbaş", std::numeric_limits<double>::denorm_min(), u"", -0.0},
            {u"\\N", std::numeric_limits<double>::max(), jet::Null{}, -5.0},
            {jet::Null{}, jet::Null{}, jet::Null{}, jet::Null{}},
            {u"", 1.0 / 3, u"\\", 123456789.123456789},
            {u"' ; drop table presva.cari; --", 1e22, u"🫒", 1e21},
            {std::u16string(100, u'ş'), 5e-324, std::u16string(50, u'K'), 9007199254740993.0}};
}

std::vector<std::vector<jet::Value>> hardPressings()
{
    return {{jet::DateTime{45981.58680555556}, 1000.5, 200.1, 12.5, 25.0125, 0.0, u"Ali"},
            {jet::DateTime{45981.58680555556}, 1000.5, 200.1, 12.5, 25.0125, 0.0, u"Ali"},
            {jet::DateTime{-0.75}, 0.1, 0.2, 0.3, 0.1 + 0.2, minus / 3, u"Şükrü"},
            {jet::Null{}, jet::Null{}, jet::Null{}, jet::Null{}, jet::Null{}, jet::Null{}, jet::Null{}},
            {jet::DateTime{2958465.99999}, 1e300, 1e-300, -0.0, 0.0, 3.0, u"toplamlar"}};
}

TEST_F(Carry, bringsEveryRowThereAndBackToTheBit)
{
    store(Cari::table, hardCustomers());
    store(Hareket::table, hardPressings());
    ASSERT_THAT(toServer(), succeeds("9 cari, 5 sıkım iki yerde de aynı; yazılan 14, silinen 0.\n"));
    EXPECT_EQ(sql("select numara, sayac from presva.hareket order by satir"),
              "10|Hat 1\n11|Hat 1\n12|Hat 1\n13|Hat 1\n14|Hat 1\n");

    ASSERT_THAT(fromServer(), succeeds());
    EXPECT_THAT(rowsOf(path("geri.mdb"), Cari::table), UnorderedElementsAreArray(rowsOf(file(), Cari::table)));
    EXPECT_THAT(rowsOf(path("geri.mdb"), Hareket::table), UnorderedElementsAreArray(rowsOf(file(), Hareket::table)));
    const auto negativeZeros = [](const std::vector<std::vector<jet::Value>>& rows) {
        int count = 0;
        for (const auto& row : rows)
            for (const auto& value : row)
                if (const auto* number = std::get_if<double>(&value)) count += *number == 0 && std::signbit(*number);
        return count;
    };
    EXPECT_EQ(negativeZeros(rowsOf(path("geri.mdb"), Cari::table)), 1) << "equal to zero, and another number";
    EXPECT_FALSE(std::filesystem::exists(path("geri.mdb.aktarim")));
}

TEST_F(Carry, bringsWhatIsNewAndChangedAtTheNextTime)
{
    store(Cari::table, {{u"Ali", 12.5, u"10 Litrelik Kap", 0.0}, {u"Veli", 10.0, u"20 Litrelik Kap", 0.0}});
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    EXPECT_THAT(toServer().out, HasSubstr("yazılan 0, silinen 0."));

    ASSERT_THAT(tool({"sql", file(), "Update Cari Set Yuzde = 11 Where Unvan = 'Veli'"}), succeeds());
    store(Hareket::table, {pressing(45982, u"Veli")});
    EXPECT_THAT(toServer().out, HasSubstr("2 cari, 2 sıkım iki yerde de aynı; yazılan 2, silinen 0."));
    EXPECT_EQ(sql("select unvan, yuzde from presva.cari order by satir"), "Ali|12.5\nVeli|11\n");
    EXPECT_EQ(sql("select ne, kullanan, sayac, eski->>'yuzde', yeni->>'yuzde' from presva.gecmis "
                  "where tablo = 'cari' order by sira"),
              "INSERT|sahip|Hat 1||12.5\nINSERT|sahip|Hat 1||10\nUPDATE|sahip|Hat 1|10|11\n");
    EXPECT_EQ(sql("select numara from presva.hareket order by satir"), "3\n4\n");
}

TEST_F(Carry, leavesTheSumsOfAReportBehind)
{
    store(Hareket::table, {pressing(45981, u"Ali"), pressing(45982, u"Toplamlar", 99999)});
    EXPECT_THAT(toServer().out, HasSubstr("0 cari, 1 sıkım"));
    EXPECT_EQ(sql("select carihar from presva.hareket"), "Ali\n");
    EXPECT_NE(server()
                  .psql("insert into presva.hareket (sayac, numara, carihar) values ('Hat 1', 9, 'Toplamlar')",
                        database(), "owner")
                  .code,
              0);
}

TEST_F(Carry, takesNothingAwayUnlessToldTo)
{
    store(Cari::table, {{u"Ali", 12.5, jet::Null{}, 0.0}});
    store(Hareket::table, {pressing(45981, u"Ali"), pressing(45982, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    ASSERT_EQ(tool({"sql", file(), "Delete From Hareket Where Tarih > #11/20/2025 12:00#"}).code, 0);
    EXPECT_THAT(toServer(), refuses(HasSubstr("Cari 0 satır, Hareket 1 satır")));
    EXPECT_EQ(sql("select count(*) from presva.hareket"), "2\n");
    const Outcome deleted = toServer({"--delete", "yes"});
    EXPECT_THAT(deleted.out, HasSubstr("yazılan 0, silinen 1.")) << deleted.err;
    EXPECT_EQ(sql("select count(*) from presva.hareket"), "1\n");
    EXPECT_EQ(sql("select eski->>'carihar' from presva.gecmis where ne = 'DELETE'"), "Ali\n");
}

TEST_F(Carry, keepsTheBooksOfEachCounterApart)
{
    store(Cari::table, {{u"Ali", 12.5, jet::Null{}, 0.0}});
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    name(server().folder(), "5432", "sahip", {}, "Hat 2");
    EXPECT_THAT(toServer().out, HasSubstr("1 cari, 1 sıkım iki yerde de aynı; yazılan 2"));
    store(Hareket::table, {pressing(45982, u"Ali")});
    EXPECT_THAT(toServer().out, HasSubstr("1 cari, 2 sıkım iki yerde de aynı; yazılan 1"));
    EXPECT_EQ(sql("select sayac, numara, tarih from presva.hareket order by satir"),
              "Hat 1|2|45981\nHat 2|2|45981\nHat 2|3|45982\n");
    name(server().folder(), "5432", "sahip");
    ASSERT_EQ(fromServer().code, 0);
    EXPECT_EQ(rowsOf(path("geri.mdb"), Hareket::table).size(), 1U);
    EXPECT_EQ(sql("select sayac, son_numara, aktarildi is not null from presva.sayaclar order by sayac"),
              "Hat 1|2|t\nHat 2|3|t\n");
}

TEST_F(Carry, givesNoNumberTwice)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    ASSERT_EQ(tool({"sql", file(), "Delete From Hareket"}).code, 0);
    ASSERT_EQ(toServer({"--delete", "yes"}).code, 0);
    store(Hareket::table, {pressing(45982, u"Veli")});
    ASSERT_EQ(toServer().code, 0);
    EXPECT_EQ(sql("select numara, carihar from presva.hareket"), "2|Veli\n");
}

TEST_F(Carry, readsTheFileWhileTheProgramHasItOpen)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    const auto held = jet::Database::open(platform::systemDisk(), file());
    held->table(Hareket::table).insert({{0, jet::DateTime{45982}}, {6, u"Veli"}});
    jet::Transaction unfinished(held->pager());
    held->table(Hareket::table).insert({{0, jet::DateTime{45983}}, {6, u"Selim"}});
    EXPECT_THAT(toServer().out, HasSubstr("0 cari, 2 sıkım"));
    EXPECT_EQ(sql("select carihar from presva.hareket order by satir"), "Ali\nVeli\n");
}

/// Enough rows for several changes, some of them equal.
void fill(const std::function<void(std::u16string_view, const std::vector<std::vector<jet::Value>>&)>& store, int rows)
{
    std::vector<std::vector<jet::Value>> customers, pressings;
    for (int i = 0; i < rows; ++i) {
        const std::u16string name = u"Müşteri " + jet::fromUtf8(std::to_string(i % (rows / 2)));
        customers.push_back({name, i % 7 * 1.5, u"10 Litrelik Kap", i % 3 * 100.0});
        pressings.push_back({jet::DateTime{45000 + i / 1000.0}, i * 1.1, i * 0.21, 12.5, i * 0.02, 0.0, name});
    }
    store(Cari::table, customers);
    store(Hareket::table, pressings);
}

TEST_F(Carry, goesOnWithTheFileThatItHadBegun)
{
    constexpr int rows = 6000;
    fill([this](auto table, const auto& lines) { store(table, lines); }, rows);
    ASSERT_EQ(toServer().code, 0);
    int begun = 0;
    const auto made = [&] { return std::filesystem::exists(path("geri.mdb")); };
    // The first kill comes before the first word to the server: a quick machine is through in a tenth of a second.
    for (double seconds = 0.005; !made() && seconds < 60; seconds *= 1.15) {
        const Outcome last = run({.program = "timeout",
                                  .arguments = {"-s", "KILL", std::to_string(seconds), PRESVA_MDB, "from-server",
                                                std::filesystem::path(file()).parent_path(), path("geri.mdb")},
                                  .environment = {{"LC_ALL", "C"}, {"PGPASSWORD", "sahip"}}});
        begun += last.code != 0 && std::filesystem::exists(path("geri.mdb.aktarim"));
        // A kill may come between the file's name and the program's end: the file is whole then, too.
        EXPECT_TRUE(made() || last.code != 0) << last.err;
    }
    ASSERT_TRUE(made());
    EXPECT_GT(begun, 0) << "there was nothing to go on with";
    std::printf("%d transfers left a file behind them\n", begun);
    EXPECT_THAT(rowsOf(path("geri.mdb"), Cari::table), UnorderedElementsAreArray(rowsOf(file(), Cari::table)));
    EXPECT_EQ(rowsOf(path("geri.mdb"), Hareket::table).size(), std::size_t{rows});
}

/// A transfer from an empty server to the end, disturbed once on its way and run again until it is through.
class DisturbedCarry : public ServerMill {
protected:
    static constexpr int rows = 400;

    DisturbedCarry()
    {
        fill([this](auto table, const auto& lines) { store(table, lines); }, rows);
    }
    /// `carry` makes a transfer over the line and disturbs it behind that many bytes. Not at a time: a busy machine
    /// would be through before, or not have begun.
    void disturb(int usual, const std::function<Outcome(CuttingProxy&, std::size_t)>& carry)
    {
        CuttingProxy line(server().folder(), 5433, 5432);
        useNewDatabase();
        name(server().folder(), "5433", "sahip");
        ASSERT_EQ(toServer().code, 0);
        const auto whole = static_cast<double>(line.passed());

        std::mt19937 chances(20011205);
        int disturbed = 0;
        const int all = numberFromEnvironment("PRESVA_SERVER_TRIALS", usual);
        for (int trial = 0; trial < all; ++trial) {
            useNewDatabase();
            name(server().folder(), "5433", "sahip");
            const double place = std::uniform_real_distribution(0.0, 1.0)(chances);
            Outcome last = carry(line, static_cast<std::size_t>(place * whole));
            disturbed += last.code != 0;
            for (int again = 0; last.code != 0 && again < 5; ++again) last = toServer();
            ASSERT_EQ(last.code, 0) << trial << ": " << last.err;
            ASSERT_EQ(sql("select (select count(*) from presva.cari), count(*), count(distinct numara), "
                          "(select count(*) from presva.gecmis) from presva.hareket"),
                      "400|400|400|800\n")
                << trial;
        }
        EXPECT_GT(disturbed, all / 3) << "hardly anything was tried";
        std::printf("%d transfers, %d of them disturbed\n", all, disturbed);
    }
};

TEST_F(DisturbedCarry, storesEachRowOnceWhereverTheLineIsCut)
{
    disturb(10, [&](CuttingProxy& line, std::size_t bytes) {
        line.cutBehind(bytes);
        return toServer();
    });
}

TEST_F(DisturbedCarry, storesEachRowOnceWhenItIsKilled)
{
    disturb(10, [&](CuttingProxy& line, std::size_t bytes) {
        line.cutBehind(bytes, [&] { ::kill(std::stoi(textOfFile(path("process"))), SIGKILL); });
        return run({.program = "sh",
                    .arguments = {"-c", "echo $$ >\"$1\"; shift; exec \"$@\"", "sh", path("process"), PRESVA_MDB,
                                  "to-server", std::filesystem::path(file()).parent_path()},
                    .environment = {{"LC_ALL", "C"}, {"PGPASSWORD", "sahip"}}});
    });
}

TEST_F(DisturbedCarry, storesEachRowOnceWhenTheServerIsKilled)
{
    disturb(6, [&](CuttingProxy& line, std::size_t bytes) {
        std::atomic<bool> killed = false;
        line.cutBehind(bytes, [&] {
            server().kill();
            killed = true;
        });
        Outcome outcome = toServer();
        if (killed) server().start();
        return outcome;
    });
}

} // namespace
