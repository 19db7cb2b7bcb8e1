#include "tests/postgres/server_mill.h"

#include <chrono>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using mill::Cari, mill::Hareket;
using testing::HasSubstr;
using Refused = ServerMill;

TEST_F(Refused, isAFolderWithoutAServer)
{
    std::filesystem::remove(path("Sunucu.ini"));
    EXPECT_THAT(toServer(), refuses(HasSubstr("Sunucu.ini")));
}

struct Settings {
    std::string text;
    std::string sentence;
};

TEST_F(Refused, areSettingsThatSayNothingKnown)
{
    const std::string good = "[Sunucu]\nAdres=/tmp\nVeritabani=d\nKullanici=k\nSayac=Hat 1\n";
    const std::vector<Settings> all = {
        {"Adres=/tmp\nKullanici=k\nSayac=Hat 1\n", "Veritabani satırı eksik ya da boş"},
        {good + "Parola=gizli\n", "6. satır: parola bu dosyada durmaz; onu ~/.pgpass"},
        {good + "Host=x\n", "6. satır: anlaşılmadı; bilinen adlar: Adres"},
        {good + "neresi\n", "6. satır: anlaşılmadı"},
        {good + "Sayac=Hat 2\n", "6. satır: bu ad ikinci kez yazılmış"},
        {good + "Port=70000\n", "Port 1 ile 65535 arasında"},
        {good + "Port=beş\n", "Port 1 ile 65535 arasında"},
        {good + "TLS=belki\n", "TLS dogrula ya da kapali olmalı"},
        {"Adres=192.168.1.10\nVeritabani=d\nKullanici=k\nSayac=Hat 1\nTLS=kapali\n", "yalnız aynı makinedeki"},
        {"Adres=a\nVeritabani=d\nKullanici=k\nSayac=" + std::string(41, 'x') + "\n", "en çok 40 harf"},
    };
    for (const auto& [text, sentence] : all) {
        writeFile(path("Sunucu.ini"), text);
        EXPECT_THAT(toServer(), refuses(HasSubstr(sentence)));
    }
}

TEST_F(Refused, isAWrongPassword)
{
    EXPECT_THAT(tool({"to-server", std::filesystem::path(file()).parent_path()}, "yanlış"),
                refuses(AllOf(HasSubstr("Kullanıcı adı ya da parola yanlış; ~/.pgpass"), HasSubstr("28P01"))));
}

TEST_F(Refused, isNoPasswordAtAll)
{
    EXPECT_THAT(run({.program = PRESVA_MDB,
                     .arguments = {"to-server", std::filesystem::path(file()).parent_path()},
                     .environment = {{"LC_ALL", "C"}, {"PGPASSFILE", path("yok")}}}),
                refuses(HasSubstr("Sunucu parola istiyor: ~/.pgpass")));
}

TEST_F(Refused, isADatabaseThatIsNotThere)
{
    writeFile(path("Sunucu.ini"),
              "Adres=" + server().folder().string() + "\nVeritabani=yok\nKullanici=sahip\nSayac=Hat 1\n");
    EXPECT_THAT(toServer().err, HasSubstr("Sunucuda bu adda bir veritabanı yok"));
}

TEST_F(Refused, isAServerThatIsNotThere)
{
    name("/tmp", "1", "sahip");
    EXPECT_THAT(toServer().err, HasSubstr("Sunucuya bağlanılamadı; Sunucu.ini'yi, ağı ve sunucuyu denetleyin."));
}

TEST_F(Refused, isAServerThatSaysNothing)
{
    const int silent = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string place = server().folder() / ".s.PGSQL.5499";
    std::copy(place.begin(), place.end(), address.sun_path);
    ASSERT_EQ(::bind(silent, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(silent, 1), 0);
    name(server().folder(), "5499", "sahip");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(toServer().err, HasSubstr("Sunucu yanıt vermiyor; adresini (Sunucu.ini) ve ağı denetleyin."));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15));
    ::close(silent);
    ::unlink(place.c_str());
}

TEST_F(Refused, isTheSchemaOfANewerProgram)
{
    ASSERT_EQ(toServer().code, 0);
    sql("insert into presva.surum (surum) values (99)");
    store(Cari::table, {{u"Ali", 1.0, jet::Null{}, 0.0}});
    for (const Outcome& outcome : {toServer(), fromServer()}) {
        EXPECT_EQ(outcome.code, 1);
        EXPECT_THAT(outcome.err, HasSubstr("Sunucudaki tablolar bu programdan yeni (sürüm 99); programı güncelleyin."));
    }
    EXPECT_EQ(sql("select count(*) from presva.cari"), "0\n");
}

TEST_F(Refused, isAServerWithoutTables)
{
    const Outcome outcome = fromServer();
    EXPECT_THAT(outcome.err, HasSubstr("Sunucuda değirmenin tabloları yok; önce presva-mdb to-server ile aktarın."));
    EXPECT_FALSE(std::filesystem::exists(path("geri.mdb")));
}

TEST_F(Refused, isAUserWhoMayNotMakeTables)
{
    name(server().folder(), "5432", "hat1");
    EXPECT_THAT(tool({"to-server", std::filesystem::path(file()).parent_path()}, "hat1").err,
                HasSubstr("--user ile presva_sahip rolünden bir kullanıcı verin."));
    EXPECT_EQ(sql("select to_regclass('presva.cari')"), "\n");
    EXPECT_THAT(toServer({"--user", "sahip"}), succeeds());
}

TEST_F(Refused, isATextThatIsNotUtf8)
{
    server().sql("create database eski encoding 'LATIN5' template template0 owner presva_sahip");
    writeFile(path("Sunucu.ini"),
              "Adres=" + server().folder().string() + "\nVeritabani=eski\nKullanici=sahip\nSayac=Hat 1\n");
    EXPECT_THAT(toServer().err, HasSubstr("Sunucudaki veritabanı UTF8 değil"));
}

TEST_F(Refused, isATargetThatIsThere)
{
    ASSERT_EQ(toServer().code, 0);
    writeFile(path("geri.mdb"), "mine");
    EXPECT_THAT(fromServer().err, HasSubstr("zaten var; başka bir ad verin."));
    EXPECT_EQ(textOfFile(path("geri.mdb")), "mine");
}

TEST_F(Refused, areWordsThatAreNoCommand)
{
    for (const std::vector<std::string>& words : {std::vector<std::string>{"to-server"},
                                                  {"to-server", "a", "b"},
                                                  {"to-server", "a", "--delete", "no"},
                                                  {"from-server", "a"},
                                                  {"from-server", "a", "b", "--delete", "yes"}}) {
        EXPECT_THAT(tool(words), refuses(HasSubstr("presva-mdb: "), ""));
    }
}

/// A file of another maker: columns of other types, one of them with a value that a double cannot say.
class OtherTypes : public ServerMill {
protected:
    void make(const std::vector<std::vector<jet::Value>>& customers, bool oneMore = false) const
    {
        using jet::ColumnType;
        std::vector<jet::NewColumn> columns = {{u"Unvan", ColumnType::text, 255},
                                               {u"Yuzde", ColumnType::singleFloat},
                                               {u"Kap", ColumnType::memo},
                                               {u"Nakit", ColumnType::currency}};
        if (oneMore) columns.push_back({u"Telefon", ColumnType::text, 20});
        makeForeign(columns, {{}, ColumnType::numeric, 0, 18, 3}, 50);
        store(Cari::table, customers);
    }
};

TEST_F(OtherTypes, areCarriedByWhatTheyMean)
{
    make({{u"Ali", 0.1F, u"10 Litrelik Kap", jet::Currency{1234567}},
          {u"Veli", 12.75F, jet::Null{}, jet::Currency{-5}}});
    store(Hareket::table, {{jet::DateTime{45000.25}, 1000.125, 0.001, -2.5, 0.0, 99999.999, u"Ali"}});
    ASSERT_THAT(toServer(), succeeds());
    EXPECT_EQ(sql("select unvan, yuzde, kap, nakit from presva.cari order by satir"),
              "Ali|0.1|10 Litrelik Kap|123.4567\nVeli|12.75||-0.0005\n");
    EXPECT_EQ(sql("select tarih, zeytin, yag, yuzde, haktut, nakit from presva.hareket"),
              "45000.25|1000.125|0.001|-2.5|0|99999.999\n");
    ASSERT_EQ(fromServer().code, 0);
    EXPECT_EQ(rowsOf(path("geri.mdb"), Cari::table).size(), 2U);
}

TEST_F(OtherTypes, areRefusedWithTheirRowWhereTheyMeanMoreThanTheServerKeeps)
{
    const std::vector<std::pair<std::vector<jet::Value>, std::string>> all = {
        {{u"Ali", 1.0F, jet::Null{}, jet::Currency{9223372036854775807}}, "Cari, 2. satır, Nakit"},
        {{std::u16string(101, u'x'), 1.0F, jet::Null{}, jet::Null{}}, "Cari, 2. satır, Unvan"},
        {{std::u16string(1, char16_t(0xD800)), 1.0F, jet::Null{}, jet::Null{}}, "Cari, 2. satır, Unvan"},
        {{std::u16string(u"a\0b", 3), 1.0F, jet::Null{}, jet::Null{}}, "Cari, 2. satır, Unvan"},
        {{u"Ali", 1.0F, std::u16string(51, u'k'), jet::Null{}}, "Cari, 2. satır, Kap"},
        {{u"Ali", 1.0F, jet::Null{}, jet::Null{}, u"0532"}, "Cari, 2. satır, Telefon"},
    };
    for (const auto& [row, place] : all) {
        make({{u"Veli", 1.0F, jet::Null{}, jet::Null{}}, row}, true);
        EXPECT_THAT(toServer(), refuses(HasSubstr(place + ": bu değer sunucuda olduğu gibi saklanamaz")));
        EXPECT_EQ(sql("select count(*) from presva.cari"), "0\n");
    }
}

} // namespace
