#include "store/postgres/shared_tables.h"
#include "tests/postgres/server_mill.h"

#include <chrono>
#include <thread>

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
    /// A file of numbers and texts shorter than the program's own takes its place.
    void makeNarrow() const
    {
        using jet::ColumnType;
        makeForeign({{u"Unvan", ColumnType::text, 50},
                     {u"Yuzde", ColumnType::singleFloat},
                     {u"Kap", ColumnType::text, 50},
                     {u"Nakit", ColumnType::currency}},
                    {{}, ColumnType::doubleFloat}, 50);
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
    ASSERT_THAT(toServer(), succeeds("1 cari, 1 sıkım iki yerde de aynı; yazılan 2, silinen 0.\n"));
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
    ASSERT_THAT(toServer(), succeeds());
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
    EXPECT_THAT(toServer(), refuses(HasSubstr("dosyada 1, sunucuda 2")));
    EXPECT_FALSE(placeOf(file()));
    EXPECT_EQ(counts(), "2|2|2\n");
    ASSERT_THAT(toServer({"--merge", "yes"}), succeeds());
    EXPECT_EQ(counts(), "2|3|3\n");
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 3U);
    EXPECT_EQ(sql("select yuzde from presva.cari where unvan = 'Ali'"), "12.5\n") << "the server's terms hold";
}

TEST_F(Joining, isNotDoneTwice)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    EXPECT_THAT(toServer(), refuses(HasSubstr("zaten")));
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

TEST_F(Joining, isRefusedToAFileOfAnotherRegister)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    const auto place = placeOf(file());
    for (const char* other : {"Defter=Degirmen\n", ""}) {
        name(server().folder(), "5432", "sahip", other);
        EXPECT_THAT(toServer(),
                    refuses(AllOf(HasSubstr("ortak bir defterde: Değirmen."), HasSubstr("leave-register"))));
    }
    EXPECT_EQ(placeOf(file()), place);
    EXPECT_EQ(sql("select count(*) from presva.hareket"), "1\n");
}

TEST_F(Joining, makesASecondRegisterOnlyWhenAsked)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    newFile();
    name(server().folder(), "5432", "sahip", "Defter=Degirmen\n", "Hat 2");
    EXPECT_THAT(toServer(), refuses(HasSubstr("Sunucuda Degirmen adında bir defter yok; olanlar: Değirmen")));
    EXPECT_EQ(sql("select sayac from presva.sayaclar"), "Değirmen\n");
    ASSERT_THAT(toServer({"--new", "yes"}), succeeds());
    EXPECT_EQ(placeOf(file())->name, "Degirmen");
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 0U);
}

TEST_F(Joining, countsNoPressingTwiceBesideACopyOfTheCounters)
{
    name(server().folder(), "5432", "sahip");
    store(Hareket::table, {pressing(45981, u"Ali")});
    store(Cari::table, {{u"Ali", 12.5, jet::Null{}, 0.0}});
    ASSERT_EQ(toServer().code, 0);
    EXPECT_EQ(counts(), "1|1|1\n");
    beCounter("Hat 1");
    EXPECT_THAT(toServer(), refuses(HasSubstr("kopyası da duruyor, 2 satır")));
    EXPECT_FALSE(placeOf(file()));
    EXPECT_EQ(counts(), "1|1|1\n");
    ASSERT_THAT(toServer({"--delete", "yes"}), succeeds());
    EXPECT_EQ(counts(), "1|1|1\n");
    EXPECT_EQ(sql("select sayac from presva.hareket"), "Değirmen\n");
}

/// As a program did that knew nothing of copies beside a register.
TEST_F(Joining, takesACopyAwayThatStandsBesideAFileOfTheRegister)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    store(Cari::table, {{u"Ali", 12.5, jet::Null{}, 0.0}});
    ASSERT_EQ(toServer().code, 0);
    const auto place = placeOf(file());
    for (const char* before : {"", "update presva.cari set yuzde = 20"}) { // the second time the file is behind
        sql(before);
        sql("insert into presva.sayaclar (sayac) values ('Hat 1') on conflict do nothing; "
            "insert into presva.hareket (sayac, numara, tarih, zeytin, yag, yuzde, haktut, nakit, carihar) "
            "select 'Hat 1', numara, tarih, zeytin, yag, yuzde, haktut, nakit, carihar from presva.hareket; "
            "insert into presva.cari (sayac, numara, unvan, unvan_sira, yuzde, kap, nakit) "
            "select 'Hat 1', numara, unvan, unvan_sira, yuzde, kap, nakit from presva.cari");
        EXPECT_THAT(toServer().err, HasSubstr("kopyası da duruyor, 2 satır"));
        ASSERT_THAT(toServer({"--delete", "yes"}),
                    succeeds("Bu sayacın sunucudaki kopyası silindi (geçmişte kalır), satır: 2.\n"));
        EXPECT_EQ(sql("select sayac from presva.hareket"), "Değirmen\n");
    }
    EXPECT_EQ(counts(), "1|1|1\n");
    EXPECT_EQ(placeOf(file()), place);
}

TEST_F(Joining, takesACopyAwayWhosePressingsWereDeletedFromTheRegisterSince)
{
    store(Hareket::table, {pressing(45981, u"Ali"), pressing(45982, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    sql("insert into presva.sayaclar (sayac) values ('Hat 1'); "
        "insert into presva.hareket (sayac, numara, tarih, zeytin, yag, yuzde, haktut, nakit, carihar) "
        "select 'Hat 1', numara, tarih, zeytin, yag, yuzde, haktut, nakit, carihar from presva.hareket; "
        "delete from presva.hareket where sayac = 'Değirmen' and tarih = 45982");
    ASSERT_THAT(toServer({"--delete", "yes"}),
                succeeds("Bu sayacın sunucudaki kopyası silindi (geçmişte kalır), satır: 2.\n"));
    EXPECT_EQ(sql("select sayac from presva.hareket"), "Değirmen\n");
}

TEST_F(Joining, carriesNoPressingOverAsACopyThatARegisterHas)
{
    store(Cari::table, {{u"Ali", 12.5, jet::Null{}, 0.0}});
    store(Hareket::table, {pressing(45981, u"Ali"), pressing(45982.5, u"Ali", 0.1)});
    ASSERT_EQ(toServer().code, 0);
    ASSERT_EQ(tool({"leave-register", std::filesystem::path(file()).parent_path()}).code, 0);
    store(Hareket::table, {pressing(45990, u"Ali")});
    name(server().folder(), "5432", "sahip");
    for (const std::vector<std::string>& more :
         {std::vector<std::string>{}, std::vector<std::string>{"--delete", "yes"}}) {
        EXPECT_THAT(toServer(more), refuses(HasSubstr("ortak defterde de duran sıkımlar var: 2 (Değirmen)")));
    }
    EXPECT_EQ(counts(), "1|2|2\n");
    useNewDatabase();
    name(server().folder(), "5432", "sahip");
    ASSERT_EQ(toServer().code, 0);
    EXPECT_EQ(counts(), "1|3|3\n");
}

TEST_F(Joining, namesOnlyTheRegistersThatHaveThePressings)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    sql("insert into presva.sayaclar (sayac, ortak) values ('2027', true)");
    ASSERT_EQ(tool({"leave-register", std::filesystem::path(file()).parent_path()}).code, 0);
    name(server().folder(), "5432", "sahip");
    EXPECT_THAT(toServer().err, HasSubstr("ortak defterde de duran sıkımlar var: 1 (Değirmen)"));
}

TEST_F(Joining, aCopyThatWasRefusedLeavesNoNameThatARegisterCouldTake)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    ASSERT_EQ(tool({"leave-register", std::filesystem::path(file()).parent_path()}).code, 0);
    name(server().folder(), "5432", "sahip", "", "Hat 7");
    ASSERT_THAT(toServer(), refuses(HasSubstr("ortak defterde de duran")));
    EXPECT_EQ(sql("select sayac from presva.sayaclar"), "Değirmen\n");
    name(server().folder(), "5432", "sahip", "Defter=Hat 7\n", "Hat 7");
    sql("insert into presva.sayaclar (sayac) values ('Hat 7')"); // as a program did that knew nothing of this
    EXPECT_THAT(toServer(), refuses(HasSubstr("Sunucuda Hat 7 adında bir defter yok; olanlar: Değirmen")));
    EXPECT_FALSE(placeOf(file()));
    ASSERT_EQ(toServer({"--new", "yes"}).code, 0);
}

TEST_F(Joining, nothingIsWrittenIntoAFileOfTheRegisterThatNobodyWouldHearOf)
{
    store(Cari::table, {{u"Ali", 12.5, jet::Null{}, 0.0}});
    ASSERT_EQ(toServer().code, 0);
    const std::string before = textOfFile(file());
    writeFile(path("cari.csv"), "Unvan\nVeli\n");
    const std::vector<std::vector<std::string>> writing = {{"sql", file(), "Delete From Cari"},
                                                           {"sql", file(), "Update Cari Set Yuzde = 1"},
                                                           {"sql", file(), "Insert Into Cari (Unvan) Values ('Veli')"},
                                                           {"import", file(), "Cari", path("cari.csv")}};
    for (const auto& command : writing)
        EXPECT_THAT(tool(command), refuses(AllOf(HasSubstr("ortak bir defterde: Değirmen. Buradan yazılanı"),
                                                 HasSubstr("leave-register"))));
    EXPECT_EQ(textOfFile(file()), before);
    EXPECT_THAT(tool({"sql", file(), "Select Unvan From Cari"}), succeeds(HasSubstr("Ali")));
    ASSERT_EQ(tool({"leave-register", std::filesystem::path(file()).parent_path()}).code, 0);
    for (const auto& command : writing) EXPECT_THAT(tool(command), succeeds());
}

TEST_F(Joining, takesNoCopyAwayThatIsAllThatIsLeftOfItsRows)
{
    name(server().folder(), "5432", "sahip");
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    newFile();
    beCounter("Hat 1");
    EXPECT_THAT(toServer({"--delete", "yes"}), refuses(HasSubstr("defterde olmayan 1 sıkım var: kopya silinmedi")));
    EXPECT_FALSE(placeOf(file()));
    EXPECT_EQ(sql("select sayac from presva.hareket"), "Hat 1\n");
}

TEST_F(Joining, takesNoRegisterForTheCopyOfACounterOfItsName)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    newFile();
    name(server().folder(), "5432", "sahip", "Defter=2027\n", "Değirmen");
    for (const std::vector<std::string>& more :
         {std::vector<std::string>{"--new", "yes"}, std::vector<std::string>{"--new", "yes", "--delete", "yes"}}) {
        EXPECT_THAT(toServer(more),
                    refuses(HasSubstr("Sunucuda bu adda ortak bir defter var; sayaca başka bir ad verin")));
    }
    EXPECT_EQ(sql("select sayac from presva.hareket"), "Değirmen\n");
    EXPECT_EQ(sql("select sayac from presva.sayaclar"), "Değirmen\n");
}

TEST_F(Joining, keepsRegistersAndCopiesOfOneNameApart)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    newFile();
    name(server().folder(), "5432", "sahip", "", "Değirmen");
    EXPECT_THAT(toServer({"--delete", "yes"}), refuses(HasSubstr("Sunucuda bu adda ortak bir defter var")));
    name(server().folder(), "5432", "sahip", "", "Hat 2");
    store(Hareket::table, {pressing(45982, u"Veli")});
    ASSERT_EQ(toServer().code, 0);
    name(server().folder(), "5432", "sahip", "Defter=Hat 2\n", "Hat 3");
    EXPECT_THAT(toServer({"--new", "yes"}), refuses(HasSubstr("Sunucuda bu adda bir sayacın kopyası var")));
    EXPECT_EQ(counts(), "0|2|1\n");
}

TEST_F(Joining, givesAFileOfNarrowColumnsTheRoadToANewOne)
{
    makeNarrow();
    store(Cari::table, {{u"Ali", 12.5F, jet::Null{}, jet::Currency{1234567}}});
    store(Hareket::table, {pressing(45981, u"Ali"), pressing(45982, u"Ali")});
    for (int i = 0; i < 2; ++i) {
        EXPECT_THAT(toServer(), refuses(HasSubstr("Cari, Unvan: bu sütun öteki sayaçların yazacaklarını almaz.")));
        EXPECT_FALSE(placeOf(file()));
        EXPECT_EQ(counts(), "1|2|2\n");
    }
    ASSERT_EQ(fromServer().code, 0);
    EXPECT_TRUE(placeOf(path("geri.mdb")));
    EXPECT_EQ(rowsOf(path("geri.mdb"), Hareket::table).size(), 2U);
    EXPECT_EQ(rowsOf(path("geri.mdb"), Cari::table),
              (std::vector<std::vector<jet::Value>>{{u"Ali", 12.5, jet::Null{}, 123.4567}}));
}

TEST_F(Joining, aFileWhoseColumnsBecameNarrowBringsItsRowsAllTheSame)
{
    store(Cari::table, {{u"Ali", 12.5, jet::Null{}, 0.0}});
    ASSERT_EQ(toServer().code, 0);
    const postgres::Place place = *placeOf(file());
    makeNarrow();
    {
        const auto open = jet::Database::open(platform::systemDisk(), file());
        jet::Transaction change(open->pager());
        postgres::putPlace(*open, place, jet::DateTime{45000});
        change.commit();
    }
    store(Cari::table, {{u"Ali", 12.5F, jet::Null{}, jet::Currency{0}}});
    store(Hareket::table, {pressing(45981, u"Ali")});
    EXPECT_THAT(toServer({"--merge", "yes"}), refuses(HasSubstr("Dosyadaki satırlar deftere girdi")));
    EXPECT_EQ(counts(), "1|1|1\n");
}

TEST_F(Joining, isNotHeldUpByTheServersWayOfWritingDates)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    const auto place = placeOf(file());
    server().sql("alter database " + database() + " set datestyle = 'SQL, DMY'");
    ASSERT_EQ(fromServer().code, 0);
    EXPECT_EQ(placeOf(path("geri.mdb")), place);
}

TEST_F(Joining, asksWhatBecomesOfRowsThatTheRegisterHadAndHasNoMore)
{
    store(Cari::table, {{u"Ali", 12.5, jet::Null{}, 0.0}, {u"Veli", 9.0, jet::Null{}, 0.0}});
    store(Hareket::table, {pressing(45981, u"Ali"), pressing(45982.3, u"Ali", 12345.678), pressing(45983, u"Veli")});
    std::filesystem::copy_file(file(), path("eski.mdb"));
    ASSERT_EQ(toServer().code, 0);
    sql("delete from presva.hareket where carihar = 'Ali'; delete from presva.cari where unvan = 'Ali'; "
        "update presva.hareket set zeytin = 7");
    std::filesystem::rename(path("eski.mdb"), file());
    EXPECT_THAT(toServer({"--merge", "yes"}), refuses(HasSubstr("silinmiş kayıtlar var: 1 cari, 3 sıkım")));
    EXPECT_FALSE(placeOf(file()));
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 3U);
    EXPECT_EQ(counts(), "1|1|1\n");
    std::filesystem::copy_file(file(), path("eski.mdb"));

    ASSERT_THAT(toServer({"--deleted", "drop"}), succeeds());
    EXPECT_EQ(counts(), "1|1|1\n");
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 1U);
    EXPECT_EQ(rowsOf(file(), Cari::table).size(), 1U);

    std::filesystem::rename(path("eski.mdb"), file());
    ASSERT_EQ(toServer({"--deleted", "keep", "--merge", "yes"}).code, 0);
    EXPECT_EQ(counts(), "2|4|4\n");
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 4U);
}

TEST_F(Joining, aDeletedCustomerComesWithWhatIsNew)
{
    store(Cari::table, {{u"Ali", 12.5, jet::Null{}, 0.0}});
    store(Hareket::table, {pressing(45981, u"Ali")});
    std::filesystem::copy_file(file(), path("eski.mdb"));
    ASSERT_EQ(toServer().code, 0);
    sql("delete from presva.hareket; delete from presva.cari");
    std::filesystem::rename(path("eski.mdb"), file());
    store(Hareket::table, {pressing(45990, u"Ali")});
    EXPECT_THAT(toServer().err, HasSubstr("0 cari, 1 sıkım"));
    ASSERT_EQ(toServer({"--deleted", "drop"}).code, 0);
    EXPECT_EQ(counts(), "1|1|1\n");
    EXPECT_EQ(sql("select tarih from presva.hareket"), "45990\n");
}

TEST_F(Joining, comparesAFileThatIsInTheRegister)
{
    store(Cari::table, {{u"Ali", 12.5, jet::Null{}, 0.0}});
    store(Hareket::table, {pressing(45981, u"Ali"), pressing(45982, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    EXPECT_THAT(toServer().err, HasSubstr("zaten, her satırı aynı"));
    {
        const auto open = jet::Database::open(platform::systemDisk(), file());
        jet::Table& journal = open->table(Hareket::table);
        jet::Transaction change(open->pager());
        std::optional<jet::RowId> one;
        journal.forEachRow([&](jet::RowId row, const jet::RowView&) {
            one = row;
            return false;
        });
        journal.erase(*one);
        change.commit();
    }
    EXPECT_THAT(toServer(), refuses(HasSubstr("yalnız dosyada olan 0, yalnız sunucuda olan 1")));
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 1U);
    ASSERT_EQ(toServer({"--merge", "yes"}).code, 0);
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 2U);
    EXPECT_EQ(counts(), "1|2|2\n");

    sql("update presva.cari set yuzde = 20"); // now the file is behind: that is no difference
    EXPECT_THAT(toServer({"--merge", "yes"}), refuses(HasSubstr("defterde zaten;")));
}

TEST_F(Joining, isRefusedToAFileWhoseIndexesKeepRowsOut)
{
    using jet::ColumnType;
    makeForeign({{u"Unvan", ColumnType::text, 100},
                 {u"Yuzde", ColumnType::doubleFloat},
                 {u"Kap", ColumnType::text, 50},
                 {u"Nakit", ColumnType::doubleFloat}},
                {{}, ColumnType::doubleFloat}, 100, {{.name = u"Ad", .columns = {{u"Unvan", true}}, .unique = true}});
    EXPECT_THAT(toServer().err, HasSubstr("Cari, Unvan: bu sütun öteki sayaçların yazacaklarını almaz."));
    EXPECT_FALSE(placeOf(file()));
}

TEST_F(Joining, goesOnWhereAFirstOneWasCutOff)
{
    ASSERT_EQ(toServer().code, 0);
    newFile();
    sql("update presva.sayaclar set ortak = false"); // that much was written
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_THAT(toServer(), succeeds());
    EXPECT_EQ(sql("select ortak from presva.sayaclar"), "t\n");
}

TEST_F(Joining, aCopyThatIsPutBackSaysWhatItDoesNotDo)
{
    const std::string folder = std::filesystem::path(file()).parent_path();
    std::filesystem::create_directory(path("Yedek"));
    std::filesystem::copy_file(file(), path("Yedek/Yag-2025-11-20.mdb"));
    ASSERT_EQ(toServer().code, 0);
    std::filesystem::copy_file(file(), path("Yedek/Yag-2025-11-21.mdb"));
    EXPECT_THAT(tool({"restore", folder, "2025-11-21"}),
                succeeds(HasSubstr("Silinmiş bir müşteri presva-mdb undelete ile geri gelir.")));
    EXPECT_THAT(tool({"restore", folder, "2025-11-20"}), succeeds(HasSubstr("Kopya ortak bir defteri bilmiyor")));
}

/// A customer of a register whom somebody deleted.
class Undeleting : public Joining {
protected:
    Undeleting()
    {
        store(Cari::table, {{u"Şükrü O'Hara", 12.5, u"10 Litrelik Kap", 1.5}, {u"Veli", 9.0, jet::Null{}, 0.0}});
        store(Hareket::table, {pressing(45981.25, u"Şükrü O'Hara", 12345.678), pressing(45982, u"Veli"),
                               pressing(45983, u"Şükrü O'Hara", 1)});
        EXPECT_EQ(toServer().code, 0);
    }
    Outcome undelete(const std::string& customer, const std::vector<std::string>& options = {}) const
    {
        std::vector<std::string> arguments = {"undelete", std::filesystem::path(file()).parent_path(), customer};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return tool(arguments);
    }
    /// The file with all its rows, as it would be had it never joined.
    int leaveForACopy() const { return tool({"leave-register", std::filesystem::path(file()).parent_path()}).code; }
    std::string all() const
    {
        return sql("select tarih, zeytin, yag, yuzde, haktut, nakit, carihar, giren from presva.hareket order by 1; "
                   "select unvan, unvan_sira, yuzde, kap, nakit from presva.cari order by 1");
    }
    void erase() const
    {
        sql("select presva.islet('Değirmen', 'Hat 2', jsonb_build_array("
            "jsonb_build_object('kimlik', gen_random_uuid(), 'ne', 'sikimlar-sil', 'carihar', 'Şükrü O''Hara', "
            "'gorulen', 1000000, 'kendi', '[]'::jsonb), "
            "jsonb_build_object('kimlik', gen_random_uuid(), 'ne', 'cari-sil', 'unvan', 'Şükrü O''Hara', "
            "'gorulen', 1000000, 'kendi', '[]'::jsonb)))");
    }
};

TEST_F(Undeleting, bringsBackWhatADeletionTookOnce)
{
    const std::string before = all();
    erase();
    ASSERT_EQ(counts(), "1|1|1\n");
    ASSERT_THAT(undelete("Şükrü O'Hara"),
                succeeds(AllOf(HasSubstr("Şükrü O'Hara: 1 cari, 2 sıkım geri geldi"), HasSubstr("UTC, Hat 2."))));
    EXPECT_EQ(all(), before);
    EXPECT_THAT(undelete("Şükrü O'Hara"), refuses(HasSubstr("zaten geri getirildi")));
    EXPECT_EQ(all(), before);
}

TEST_F(Undeleting, bringsBackTheLastDeletionAlone)
{
    erase();
    sql("insert into presva.cari (sayac, numara, unvan, unvan_sira) values ('Değirmen', 90, 'Şükrü O''Hara', '\\x01')");
    erase();
    ASSERT_EQ(undelete("Şükrü O'Hara").code, 0);
    EXPECT_EQ(counts(), "2|1|1\n");
}

TEST_F(Undeleting, bringsBackTheDeletionThatIsNamedAndNoOther)
{
    const auto deletedAt = [&](const std::string& moment) {
        erase();
        sql("set session_replication_role = replica; update presva.gecmis set zaman = '" + moment +
            "+00' where zaman > '2026-01-01' and ne = 'DELETE'");
    };
    const auto again = [&](int number, double olives) {
        sql("insert into presva.cari (sayac, numara, unvan, unvan_sira, yuzde) values ('Değirmen', " +
            std::to_string(number) + ", 'Şükrü O''Hara', '\\x01', " + std::to_string(number) + ")");
        sql("insert into presva.hareket (sayac, numara, zeytin, carihar) values ('Değirmen', " +
            std::to_string(number) + ", " + std::to_string(olives) + ", 'Şükrü O''Hara')");
    };
    deletedAt("2025-11-20 04:30:20");
    again(90, 500);
    deletedAt("2025-11-21 05:00:00");
    again(91, 700);
    deletedAt("2025-11-21 05:00:40");
    ASSERT_THAT(undelete("Şükrü O'Hara"),
                succeeds(AllOf(HasSubstr("1 cari, 1 sıkım geri geldi"),
                               HasSubstr("Daha önceki silmeleri, --deletion ile: 2025-11-21 05:00:00 (1 sıkım), "
                                         "2025-11-20 04:30:20 (2 sıkım) UTC."))));
    EXPECT_THAT(undelete("Şükrü O'Hara"), refuses(HasSubstr("zaten geri getirildi (2025-11-21 05:00:40 UTC). Daha")));
    EXPECT_THAT(undelete("Şükrü O'Hara", {"--deletion", "2025-11-21 05:00:01"}),
                refuses(HasSubstr("tek bir silmesi yok")));
    EXPECT_THAT(undelete("Şükrü O'Hara", {"--deletion", "dün"}).err, HasSubstr("gibi bir an olmalı"));
    EXPECT_EQ(undelete("Şükrü O'Hara", {"--deletion", "2025-13-40 99:99:99"}).code, 1);
    EXPECT_EQ(counts(), "2|2|2\n");
    const std::string olives = "select round(zeytin) from presva.hareket where carihar like 'Ş%' order by 1";
    EXPECT_EQ(sql(olives), "700\n");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(undelete("Şükrü O'Hara", {"--deletion", "2025-11-21 05:00:00"}).code, i);
        EXPECT_EQ(sql(olives), "500\n700\n");
    }
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(undelete("Şükrü O'Hara", {"--deletion", "2025-11-20 04:30:20"}).code, i);
        EXPECT_EQ(sql(olives), "1\n500\n700\n12346\n");
    }
}

TEST_F(Undeleting, bringsTheTermsOfTheDeletionThatIsNamed)
{
    erase();
    const std::string first = sql("select to_char(max(zaman) at time zone 'UTC', 'YYYY-MM-DD HH24:MI:SS') "
                                  "from presva.gecmis where ne = 'DELETE'");
    sql("insert into presva.cari (sayac, numara, unvan, unvan_sira, yuzde) values ('Değirmen', 90, 'Şükrü O''Hara', "
        "'\\x01', 20)");
    std::this_thread::sleep_for(std::chrono::milliseconds(1100)); // the moments are told to the second
    erase();
    ASSERT_THAT(undelete("Şükrü O'Hara", {"--deletion", first.substr(0, first.size() - 1)}),
                succeeds(HasSubstr("1 cari, 2 sıkım geri geldi")));
    EXPECT_EQ(sql("select yuzde from presva.cari where unvan like 'Ş%'"), "12.5\n");
}

TEST_F(Undeleting, doublesNoPressingsWhoseCustomerStayedAtFirst)
{
    sql("select presva.islet('Değirmen', 'Hat 2', jsonb_build_array(jsonb_build_object('kimlik', gen_random_uuid(), "
        "'ne', 'sikimlar-sil', 'carihar', 'Şükrü O''Hara', 'gorulen', 1000000, 'kendi', '[]'::jsonb)))");
    const std::string pressings = sql("select to_char(max(zaman) at time zone 'UTC', 'YYYY-MM-DD HH24:MI:SS') "
                                      "from presva.gecmis where ne = 'DELETE'");
    sql("update presva.cari set yuzde = 20 where unvan like 'Ş%'");
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    erase();
    ASSERT_THAT(undelete("Şükrü O'Hara"), succeeds(HasSubstr("1 cari, 0 sıkım geri geldi")));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(undelete("Şükrü O'Hara", {"--deletion", pressings.substr(0, pressings.size() - 1)}).code, i);
        EXPECT_EQ(counts(), "2|3|3\n");
    }
}

TEST_F(Undeleting, bringsNothingThatAFileHasBroughtBackBefore)
{
    ASSERT_EQ(leaveForACopy(), 0);
    const std::string before = all();
    erase();
    ASSERT_EQ(toServer({"--deleted", "keep"}).code, 0);
    ASSERT_EQ(counts(), "2|3|3\n");
    EXPECT_THAT(undelete("Şükrü O'Hara"), refuses(HasSubstr("giden her şey zaten defterde")));
    EXPECT_EQ(all(), before);
    erase(); // what was refused has used nothing up
    ASSERT_THAT(undelete("Şükrü O'Hara"), succeeds(HasSubstr("1 cari, 2 sıkım geri geldi")));
    EXPECT_EQ(all(), before);
}

TEST_F(Undeleting, bringsOfEqualPressingsThoseThatAreNotThereAgain)
{
    const std::string equal =
        "insert into presva.hareket (sayac, numara, tarih, zeytin, yag, yuzde, haktut, nakit, carihar, giren) "
        "select 'Değirmen', 900 + n, 45990, 700, null, 12.5, 17.5, 0, 'Şükrü O''Hara', 'Hat ' || n "
        "from generate_series(";
    sql(equal + "1, 3) n");
    erase();
    sql(equal + "4, 4) n");
    ASSERT_EQ(counts(), "1|2|2\n");
    ASSERT_THAT(undelete("Şükrü O'Hara"),
                succeeds(AllOf(HasSubstr("1 cari, 4 sıkım geri geldi"), HasSubstr("Zaten defterde olan sıkım: 1."))));
    EXPECT_EQ(sql("select zeytin, count(*) from presva.hareket where carihar like 'Ş%' group by 1 order by 1"),
              "1|1\n700|3\n12345.678|1\n");
    EXPECT_THAT(undelete("Şükrü O'Hara"), refuses(HasSubstr("zaten geri getirildi")));
}

/// An equal pressing that the deletion did not mean is none of those that come back.
TEST_F(Undeleting, countsNoPressingAsBackThatStoodThereBeforeTheDeletion)
{
    sql("insert into presva.hareket (sayac, numara, tarih, zeytin, carihar) "
        "select 'Değirmen', n, 45990, 700, 'Şükrü O''Hara' from generate_series(900, 901) n; "
        "delete from presva.hareket where numara = 901");
    ASSERT_THAT(undelete("Şükrü O'Hara"), succeeds(HasSubstr("0 cari, 1 sıkım geri geldi")));
    EXPECT_EQ(sql("select count(*) from presva.hareket where zeytin = 700"), "2\n");
}

TEST_F(Undeleting, refusesWhoWasNotDeletedAndWhoMayNot)
{
    EXPECT_THAT(undelete("Veli").err, HasSubstr("Veli: bu defterden bu adda kimse silinmemiş"));
    erase();
    name(server().folder(), "5432", "hat1", "Defter=Değirmen\n");
    EXPECT_EQ(tool({"undelete", std::filesystem::path(file()).parent_path(), "Şükrü O'Hara"}, "hat1").code, 1);
    EXPECT_EQ(counts(), "1|1|1\n");
    name(server().folder(), "5432", "sahip");
    EXPECT_THAT(undelete("Şükrü O'Hara").err, HasSubstr("Defter satırı yok"));
}

/// A file on its way out of its register.
class Leaving : public Joining {
protected:
    Outcome leave(std::vector<std::string> options = {}) const
    {
        options.insert(options.begin(), {"leave-register", std::filesystem::path(file()).parent_path()});
        return tool(options);
    }
    void noteThatWaits() const
    {
        store(mill::Giden::table, {{1.0, u"b6b9e0a2-5a53-4d63-8d2c-2d54cb2f0d3c", u"sikim", u"Ali", u"{}"},
                                   {2.0, u"4c0d9f9e-2f0b-4d55-9d4f-3f3f4f8b7a11", u"cari", u"Ali", u"{}"}});
    }
};

TEST_F(Leaving, keepsTheRowsAndAsksNoServer)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    name("/tmp", "1", "sahip", "Defter=Değirmen\n");
    ASSERT_THAT(leave(),
                succeeds("Değirmen defterinden ayrıldı; satırlar dosyada. Defterin duymayacağı değişiklik: 0.\n"));
    EXPECT_FALSE(placeOf(file()));
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 1U);
    EXPECT_THAT(leave().err, HasSubstr("ortak bir deftere bağlı değil"));
}

TEST_F(Leaving, isRefusedWhileChangesWaitUnlessTheyAreGivenUp)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    const auto place = placeOf(file());
    noteThatWaits();
    EXPECT_THAT(leave(), refuses(HasSubstr("sunucunun daha duymadığı 2 değişiklik bekliyor (1 sıkım)")));
    EXPECT_EQ(placeOf(file()), place);
    EXPECT_EQ(rowsOf(file(), mill::Giden::table).size(), 2U);
    EXPECT_EQ(leave({"--waiting", "yes"}).code, 1);
    ASSERT_THAT(leave({"--waiting", "drop"}), succeeds());
    EXPECT_FALSE(placeOf(file()));
    EXPECT_EQ(rowsOf(file(), mill::Giden::table).size(), 2U) << "it joins again with the slips' identities";
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 1U);
}

/// The page of the table's last row is no page any more.
void spoilLastPageOf(std::u16string_view table, const std::string& path)
{
    jet::RowId last;
    jet::Database::open(platform::systemDisk(), path, jet::Pager::Mode::readOnly)
        ->table(table)
        .forEachRow([&](jet::RowId id, const jet::RowView&) {
            last = id;
            return true;
        });
    std::string bytes = textOfFile(path);
    bytes.replace(jet::positionOf(last.page), jet::pageSize, jet::pageSize, '\xff');
    writeFile(path, bytes);
}

TEST_F(Leaving, isWhatARescueWithLossesDoes)
{
    for (int i = 0; i < 400; ++i) store(Hareket::table, {pressing(45981 + i, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    spoilLastPageOf(Hareket::table, file());
    EXPECT_THAT(tool({"rescue", file(), path("saglam.mdb")}), ends(2, HasSubstr("to-server ile yeniden bağlayın")));
    EXPECT_FALSE(placeOf(path("saglam.mdb")));
    std::filesystem::rename(path("saglam.mdb"), file());
    ASSERT_EQ(toServer().code, 0);
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 400U);
    EXPECT_EQ(counts(), "0|400|400\n");
}

/// A slip that waited in a file that joined again, and a copy of the file that brings it once more.
class JoiningWithSlips : public Leaving {
protected:
    const std::string slip =
        "{\"carihar\":\"Ali\",\"haktut\":\"25\",\"kimlik\":\"7d3cf1f0-5b3e-4d0b-9c77-111111111111\","
        "\"nakit\":\"0\",\"ne\":\"sikim\",\"tarih\":\"45990.25\",\"yag\":\"200\","
        "\"yuzde\":\"12.5\",\"zeytin\":\"1000\"}";

    JoiningWithSlips()
    {
        store(Hareket::table, {pressing(45981, u"Ali")});
        EXPECT_EQ(toServer().code, 0);
    }
    void print() const
    {
        store(Hareket::table, {pressing(45990.25, u"Ali", 1000)});
        note(slip);
    }
    void note(const std::string& json) const
    {
        store(mill::Giden::table,
              {{1.0, u"7d3cf1f0-5b3e-4d0b-9c77-111111111111", u"sikim", u"Ali", jet::fromUtf8(json)}});
    }
    /// What a counter's line does with the note of a copy.
    std::string bringOnceMore() const { return sql("select presva.islet('Değirmen', 'Hat 1', '[" + slip + "]')"); }
};

TEST_F(JoiningWithSlips, aSlipThatWasLeftBehindIsTheSameOne)
{
    print();
    ASSERT_EQ(leave({"--waiting", "drop"}).code, 0);
    ASSERT_THAT(toServer(), succeeds("0 cari, 2 sıkım iki yerde de aynı; yazılan 1, silinen 0.\n"));
    EXPECT_THAT(rowsOf(file(), mill::Giden::table), IsEmpty());
    EXPECT_EQ(sql("select giren from presva.hareket where tarih = 45990.25"), "Hat 1\n");
    bringOnceMore();
    EXPECT_EQ(counts(), "0|2|2\n");
}

TEST_F(JoiningWithSlips, aSlipOfARescuedFileIsTheSameOne)
{
    print();
    spoilLastPageOf(mill::Durum::table, file());
    EXPECT_THAT(tool({"rescue", file(), path("saglam.mdb")}), ends(2, HasSubstr("to-server ile yeniden bağlayın")));
    std::filesystem::rename(path("saglam.mdb"), file());
    ASSERT_EQ(toServer().code, 0);
    EXPECT_EQ(counts(), "0|2|2\n");
    bringOnceMore();
    EXPECT_EQ(counts(), "0|2|2\n");
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 2U);
}

TEST_F(JoiningWithSlips, aSlipThatTheRegisterHasAsARowIsNotBrought)
{
    print();
    sql("insert into presva.hareket (sayac, numara, tarih, zeytin, yag, yuzde, haktut, nakit, carihar) "
        "values ('Değirmen', 900, 45990.25, 1000, 200, 12.5, 25, 0, 'Ali')");
    ASSERT_EQ(leave({"--waiting", "drop"}).code, 0);
    ASSERT_EQ(toServer().code, 0);
    EXPECT_EQ(counts(), "0|2|2\n");
}

TEST_F(JoiningWithSlips, aSlipWhosePressingWasDeletedHereIsNotBrought)
{
    note(slip);
    ASSERT_EQ(leave({"--waiting", "drop"}).code, 0);
    ASSERT_EQ(toServer().code, 0);
    EXPECT_EQ(counts(), "0|1|1\n");
}

TEST_F(JoiningWithSlips, aSlipThatIsDoneAndDeletedComesBackAsARowWhenThatIsSaid)
{
    print();
    bringOnceMore();
    sql("delete from presva.hareket where tarih = 45990.25");
    ASSERT_EQ(leave({"--waiting", "drop"}).code, 0);
    EXPECT_THAT(toServer(), refuses(HasSubstr("0 cari, 1 sıkım")));
    ASSERT_THAT(toServer({"--deleted", "keep"}), succeeds(HasSubstr("yazılan 1")));
    EXPECT_EQ(counts(), "0|2|2\n");
}

TEST_F(JoiningWithSlips, aNoteThatCannotBeReadKeepsNoPressingOut)
{
    store(Hareket::table, {pressing(45990.25, u"Ali", 1000)});
    for (const char* json : {"", "{", "{}", "[7]"}) note(json);
    ASSERT_EQ(leave({"--waiting", "drop"}).code, 0);
    ASSERT_EQ(toServer().code, 0);
    EXPECT_EQ(counts(), "0|2|2\n");
}

/// A copy, and what waits since.
class PuttingBack : public Leaving {
protected:
    PuttingBack()
    {
        store(Hareket::table, {pressing(45981, u"Ali")});
        EXPECT_EQ(toServer().code, 0);
        std::filesystem::create_directory(path("Yedek"));
    }
    void copyFile() const { std::filesystem::copy_file(file(), path("Yedek/Yag-2025-11-20.mdb")); }
    Outcome restore(std::vector<std::string> options = {}) const
    {
        options.insert(options.begin(), {"restore", std::filesystem::path(file()).parent_path(), "2025-11-20"});
        return tool(options);
    }
    std::string aside() const
    {
        for (const auto& each : std::filesystem::directory_iterator(std::filesystem::path(file()).parent_path()))
            if (each.path().filename().string().starts_with("Yag-onceki-")) return each.path();
        return {};
    }
};

TEST_F(PuttingBack, isRefusedWhereOnlyTheFileThatGoesHasWhatWaits)
{
    copyFile();
    noteThatWaits();
    const std::string before = textOfFile(file());
    EXPECT_THAT(restore(), refuses(AllOf(HasSubstr("2 değişiklik (1 sıkım) bekliyor"), HasSubstr("--waiting drop"))));
    EXPECT_EQ(textOfFile(file()), before);
    EXPECT_EQ(aside(), "");
    const Outcome done = restore({"--waiting", "drop"});
    ASSERT_THAT(done, succeeds(HasSubstr("2 değişiklik (1 sıkım) yalnız şurada: " + aside() + "\n")));
    EXPECT_EQ(rowsOf(aside(), mill::Giden::table).size(), 2U);
    EXPECT_THAT(rowsOf(file(), mill::Giden::table), IsEmpty());
}

TEST_F(PuttingBack, isRefusedWhereOnlyTheCopyIsInARegister)
{
    copyFile();
    noteThatWaits();
    ASSERT_EQ(leave({"--waiting", "drop"}).code, 0);
    std::filesystem::remove(path("Sunucu.ini"));
    EXPECT_THAT(restore(), refuses(HasSubstr("2 değişiklik (1 sıkım) bekliyor")));
}

TEST_F(PuttingBack, isNotRefusedWhereTheCopyBringsWhatWaits)
{
    noteThatWaits();
    copyFile();
    EXPECT_THAT(restore(), succeeds(Not(HasSubstr("yalnız şurada"))));
    store(mill::Giden::table, {{3.0, u"0b6e12c4-8f0f-4a4e-9a55-0f6b3b1f9a20", u"sikim", u"Ali", u"{}"}});
    EXPECT_THAT(restore(), refuses(HasSubstr("1 değişiklik (1 sıkım) bekliyor")));
}

TEST_F(PuttingBack, saysThatNobodyKnowsWhatAFileHasThatCannotBeRead)
{
    copyFile();
    writeFile(file(), "x");
    EXPECT_THAT(restore(), succeeds(HasSubstr("Önceki dosya okunamadı: sunucunun duymadığı sıkımlar varsa")));
}

TEST_F(PuttingBack, aNewFileFromTheServerWarnsOfWhatItLacks)
{
    EXPECT_THAT(fromServer("bir.mdb"), succeeds(Not(HasSubstr("Uyarı"))));
    noteThatWaits();
    EXPECT_THAT(fromServer("iki.mdb"), succeeds(AllOf(HasSubstr("Uyarı: sunucunun duymadığı 2 değişiklik (1 sıkım)"),
                                                      HasSubstr("Sunucu: bağlı"))));
    std::filesystem::remove(file());
    EXPECT_THAT(fromServer("Yag.mdb"), succeeds(Not(HasSubstr("Uyarı"))));
}

TEST_F(Leaving, oneWhoLeftMayJoinAgainAndNothingIsThereTwice)
{
    store(Hareket::table, {pressing(45981, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    ASSERT_EQ(leave().code, 0);
    store(Hareket::table, {pressing(45982, u"Ali")});
    ASSERT_EQ(toServer().code, 0);
    EXPECT_EQ(counts(), "0|2|2\n");
    EXPECT_EQ(rowsOf(file(), Hareket::table).size(), 2U);
}

} // namespace
