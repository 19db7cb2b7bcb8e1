#include "tests/postgres/server_mill.h"

namespace {

using mill::Cari, mill::Hareket;
using testing::HasSubstr;

class Rights : public ServerMill {
protected:
    Rights()
    {
        store(Cari::table, {{u"Ali", 12.5, jet::Null{}, 0.0}});
        store(Hareket::table, {pressing(45981, u"Ali")});
        EXPECT_EQ(toServer().code, 0);
    }
    bool may(const std::string& user, const std::string& statement) const
    {
        const Outcome outcome = server().psql(statement, database(), user);
        if (outcome.code != 0) {
            EXPECT_THAT(outcome.err, HasSubstr("denied")) << statement;
        }
        return outcome.code == 0;
    }
};

constexpr const char* anotherPressing =
    "insert into presva.hareket (sayac, numara, carihar) values ('Hat 1', 20, 'Ali')";

TEST_F(Rights, letACounterBookAndAnOfficeRead)
{
    EXPECT_TRUE(may("hat1", anotherPressing));
    EXPECT_TRUE(may("hat1", "update presva.cari set yuzde = 11"));
    EXPECT_FALSE(may("buro", "insert into presva.hareket (sayac, numara) values ('Hat 1', 3)"));
    for (const std::string table : {"cari", "hareket", "gecmis", "surum"})
        for (const std::string user : {"hat1", "buro"}) EXPECT_TRUE(may(user, "select * from presva." + table));
}

TEST_F(Rights, keepTheHistoryFromEverybody)
{
    for (const std::string user : {"hat1", "buro"}) {
        EXPECT_FALSE(may(user, "delete from presva.gecmis"));
        EXPECT_FALSE(may(user, "update presva.gecmis set kullanan = 'kimse'"));
        EXPECT_FALSE(may(user, "insert into presva.gecmis (tablo, ne, satir) values ('cari', 'INSERT', 1)"));
        EXPECT_FALSE(may(user, "truncate presva.hareket"));
        EXPECT_FALSE(may(user, "set role presva_sahip"));
    }
    EXPECT_TRUE(may("hat1", "update presva.cari set nakit = 5"));
    EXPECT_EQ(sql("select kullanan, ne, eski->>'nakit', yeni->>'nakit' from presva.gecmis order by sira desc limit 1"),
              "hat1|UPDATE|0|5\n");
}

TEST_F(Rights, letNobodyPutATableOfHisOwnInThePlaceOfTheHistory)
{
    const std::string lines = sql("select count(*) from presva.gecmis");
    EXPECT_TRUE(may("hat1", "create temp table gecmis (like presva.gecmis including all);"
                            "grant all on gecmis to public; delete from presva.hareket"));
    EXPECT_EQ(sql("select count(*) from presva.hareket"), "0\n");
    EXPECT_NE(sql("select count(*) from presva.gecmis"), lines);

    EXPECT_TRUE(may("hat1", "create temp table islenen (kimlik uuid, ozet text); grant all on islenen to public;"
                            "select presva.islet('Hat 1', 'Hat 1', '[{\"kimlik\": "
                            "\"b6b9e0a2-5a53-4d63-8d2c-2d54cb2f0d3c\", \"ne\": \"sikim\", \"carihar\": \"Ali\"}]')"));
    EXPECT_EQ(sql("select count(*) from presva.islenen"), "1\n");
}

TEST_F(Rights, letOnePressingBeStoredOnceOnly)
{
    EXPECT_TRUE(may("hat1", anotherPressing));
    const Outcome twice = server().psql(anotherPressing, database(), "hat1");
    EXPECT_NE(twice.code, 0);
    EXPECT_THAT(twice.err, HasSubstr("duplicate key"));
}

TEST_F(Rights, areEnoughForAnOfficeToTakeACopy)
{
    ASSERT_THAT(
        tool({"from-server", std::filesystem::path(file()).parent_path(), path("buro.mdb"), "--user", "buro"}, "buro"),
        succeeds());
    EXPECT_EQ(rowsOf(path("buro.mdb"), Hareket::table), rowsOf(file(), Hareket::table));
}

} // namespace
