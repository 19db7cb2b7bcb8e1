#include "store/postgres/shared_tables.h"
#include "tests/postgres/server_mill.h"

namespace {

using mill::Cari, mill::Hareket;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

/// A file and a register that several counters share.
class Joining : public ServerMill {
protected:
    Joining() { beCounter("Hat 1"); }
    void beCounter(const std::string& counter) const
    {
        name(server().folder(), "5432", "sahip", "Defter=Değirmen\n", counter);
    }
    /// The file of another counter takes the place of this one.
    void newFile() const
    {
        std::filesystem::remove(file());
        mill::createDatabase(platform::systemDisk(), file(), jet::turkish, jet::DateTime{45000});
    }
    static std::optional<postgres::Place> placeOf(const std::string& file)
    {
        return postgres::placeIn(*jet::Database::open(platform::systemDisk(), file, jet::Pager::Mode::readOnly));
    }
    std::string counts() const
    {
        return sql("select (select count(*) from presva.cari), count(*), count(distinct numara) from presva.hareket");
    }
};

TEST_F(Joining, fillsANewRegisterFromTheFile)
{
    store(Cari::table, {{u"Ali", 12.5, u"10 Litrelik Kap", 0.0}});
    store(Hareket::table, {pressing(45981, u"Ali"), pressing(45982, u"Toplamlar", 99999)});
    const Outcome joined = toServer();
    ASSERT_EQ(joined.code, 0) << joined.err;
    EXPECT_EQ(joined.out, "1 cari, 1 sıkım iki yerde de aynı; yazılan 2, silinen 0.\n");
    EXPECT_EQ(sql("select sayac, carihar, giren from presva.hareket"), "Değirmen|Ali|Hat 1\n");
    const auto place = placeOf(file());
    ASSERT_TRUE(place);
    EXPECT_EQ(place->name, "Değirmen");
    EXPECT_EQ(std::to_string(place->number) + "|" + place->mark + "|" + place->identity + "\n",
              sql("set timezone = 'UTC'; select max(sira), max(zaman), (select kimlik from presva.sayaclar) from "
                  "presva.gecmis"));
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 2U) << "its own sums of a report stay";
}

TEST_F(Joining, givesAnEmptyFileEverything)
{
    store(Cari::table, {{u"Ali", 12.5, u"10 Litrelik Kap", 0.0}, {u"Şükrü", 10.0, jet::Null{}, 1.5}});
    store(Hareket::table, {pressing(45981, u"Ali"), pressing(45981, u"Ali"), pressing(45982.25, u"Şükrü")});
    ASSERT_EQ(toServer().code, 0);
    const auto customers = rowsOf(file(), Cari::table), journal = rowsOf(file(), Hareket::table);
    newFile();
    beCounter("Hat 2");
    const Outcome joined = toServer();
    ASSERT_EQ(joined.code, 0) << joined.err;
    EXPECT_THAT(rowsOf(file(), Cari::table), UnorderedElementsAreArray(customers));
    EXPECT_THAT(rowsOf(file(), Hareket::table), UnorderedElementsAreArray(journal));
    EXPECT_EQ(counts(), "2|3|3\n");
}

TEST_F(Joining, mergesTwoMillsBooksOnlyWhenAsked)
{
    store(Cari::table, {{u"Ali", 12.5, jet::Null{}, 0.0}});
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    newFile();
    beCounter("Hat 2");
    store(Cari::table, {{u"Ali", 9.0, jet::Null{}, 0.0}, {u"Veli", 8.0, jet::Null{}, 0.0}});
    store(Hareket::table, {pressing(45981, u"Ali"), pressing(45990, u"Veli")});
    ASSERT_EQ(toServer().code, 0) << "everything that the server has is in the file";
    newFile();
    beCounter("Hat 3");
    store(Hareket::table, {pressing(45991, u"Selim")});
    const Outcome refused = toServer();
    EXPECT_EQ(refused.code, 1);
    EXPECT_THAT(refused.err, HasSubstr("dosyada 1, sunucuda 2"));
    EXPECT_FALSE(placeOf(file()));
    EXPECT_EQ(counts(), "2|2|2\n");
    const Outcome merged = toServer({"--merge", "yes"});
    ASSERT_EQ(merged.code, 0) << merged.err;
    EXPECT_EQ(counts(), "2|3|3\n");
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 3U);
    EXPECT_EQ(sql("select yuzde from presva.cari where unvan = 'Ali'"), "12.5\n") << "the server's terms hold";
}

TEST_F(Joining, isNotDoneTwice)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    const Outcome again = toServer();
    EXPECT_EQ(again.code, 1);
    EXPECT_THAT(again.err, HasSubstr("zaten"));
    EXPECT_EQ(toServer({"--every", "1"}).code, 1);
    EXPECT_EQ(toServer({"--delete", "yes"}).code, 1);
    EXPECT_EQ(counts(), "0|1|1\n");
}

TEST_F(Joining, joinsAServerThatWasFilledAnew)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    useNewDatabase();
    beCounter("Hat 1");
    ASSERT_EQ(toServer().code, 0);
    EXPECT_EQ(counts(), "0|1|1\n");
    EXPECT_EQ(placeOf(file())->identity + "\n", sql("select kimlik from presva.sayaclar"));
}

TEST_F(Joining, aFileFromTheServerIsInTheRegister)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    const auto place = placeOf(file());
    ASSERT_EQ(fromServer().code, 0);
    EXPECT_EQ(placeOf(path("geri.mdb")), place);
    EXPECT_EQ(rowsOf(path("geri.mdb"), Hareket::table), rowsOf(file(), Hareket::table));
    EXPECT_THAT(rowsOf(path("geri.mdb"), mill::Giden::table), IsEmpty());
}

} // namespace
