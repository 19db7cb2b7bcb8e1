#include "tests/postgres/server_mill.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace {

using mill::Hareket;
using testing::HasSubstr;

/// `to-server --every 1` beside the test, which ends it.
class Following : public ServerMill {
protected:
    Following()
    {
        store(Hareket::table, {pressing(45981, u"Ali")});
        EXPECT_EQ(toServer().code, 0);
        begin();
    }
    ~Following() override { end(); }
    void begin()
    {
        std::filesystem::remove(path("dur"));
        follower_ = std::thread([this] {
            constexpr const char* untilTold =
                R"("$0" to-server "$1" --every 1 & while [ ! -e "$1/dur" ]; do sleep 0.1; done; kill $!)";
            told_ = run({.program = "sh",
                         .arguments = {"-c", untilTold, PRESVA_MDB, std::filesystem::path(file()).parent_path()},
                         .environment = {{"LC_ALL", "C"}, {"PGPASSWORD", "sahip"}},
                         .limit = std::chrono::seconds(300)});
        });
    }
    const Outcome& end()
    {
        writeFile(path("dur"), "");
        if (follower_.joinable()) follower_.join();
        return told_;
    }
    /// Whether the server comes to have so many pressings.
    bool arrive(int pressings) const
    {
        for (int attempt = 0; attempt < 600; ++attempt) {
            if (sql("select count(*) from presva.hareket") == std::to_string(pressings) + "\n") return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        return false;
    }

    /// Returns when the helper knows that so many are there, and has had time to say so.
    void known(int pressings) const
    {
        for (int attempt = 0; attempt < 600; ++attempt) {
            if (std::filesystem::exists(path("Sunucu.son")) &&
                textOfFile(path("Sunucu.son")) == std::to_string(pressings))
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }

private:
    std::thread follower_;
    Outcome told_;
};

TEST_F(Following, bringsWhatIsBookedWhileItRuns)
{
    store(Hareket::table, {pressing(45982, u"Veli")});
    EXPECT_TRUE(arrive(2));
    store(Hareket::table, {pressing(45983, u"Selim")});
    EXPECT_TRUE(arrive(3));
    known(3);
    EXPECT_EQ(end().out, "Sunucu: bütün kayıtlar aktarıldı\n") << "said once";
    EXPECT_EQ(end().err, "");
}

TEST_F(Following, goesOnWhenTheServerIsThereAgain)
{
    store(Hareket::table, {pressing(45982, u"Selim")});
    EXPECT_TRUE(arrive(2));
    known(2);
    server().kill();
    store(Hareket::table, {pressing(45982, u"Veli"), pressing(45982, u"Veli")});
    std::this_thread::sleep_for(std::chrono::seconds(3));
    server().start();
    EXPECT_TRUE(arrive(4));
    known(4);
    EXPECT_EQ(end().out, "Sunucu: bütün kayıtlar aktarıldı\nSunucu: 2 sıkım bekliyor\n"
                         "Sunucu: bütün kayıtlar aktarıldı\n");
    const std::string& told = end().err;
    EXPECT_THAT(told, HasSubstr("Sunucuya bağlanılamadı"));
    // Tried three times and more; a server that is just starting may say something else.
    EXPECT_LE(std::ranges::count(told, '\n'), 2) << told;
    EXPECT_EQ(sql("select count(*), count(distinct numara) from presva.hareket"), "4|4\n");
}

TEST_F(Following, knowsWhatWaitsAfterARestartWithoutAServer)
{
    EXPECT_TRUE(arrive(1));
    known(1);
    end();
    server().kill();
    store(Hareket::table, {pressing(45982, u"Veli"), pressing(45983, u"Toplamlar"), pressing(45984, u"Ali")});
    begin();
    std::this_thread::sleep_for(std::chrono::seconds(5));
    EXPECT_EQ(end().out, "Sunucu: 2 sıkım bekliyor\n");
    server().start();
}

} // namespace
