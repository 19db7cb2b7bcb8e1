#include "store/jet/sql/sql.h"
#include "store/jet/values/sort_key.h"
#include "tests/postgres/server_mill.h"

#include <algorithm>

namespace {

using mill::Cari;
using testing::HasSubstr;
using Order = ServerMill;

/// All texts of one and two of the signs that names are made of.
std::vector<std::u16string> shortNames()
{
    const std::u16string signs = u"abcçdefgğhıijklmnoöpqrsştuüvwxyzâîûABCÇDEFGĞHIİJKLMNOÖPRSŞTUÜVYZ0123456789 -'";
    std::vector<std::u16string> names;
    for (const char16_t first : signs) {
        names.emplace_back(1, first);
        for (const char16_t second : signs) names.push_back({first, second});
    }
    return names;
}

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1)
        lines.push_back(text.substr(at, text.find('\n', at) - at));
    return lines;
}

TEST_F(Order, isTheCountersForAllShortNames)
{
    const std::vector<std::u16string> names = shortNames();
    std::vector<std::vector<jet::Value>> rows;
    rows.reserve(names.size());
    for (const std::u16string& name : names) rows.push_back({name, 1.0, jet::Null{}, 0.0});
    store(Cari::table, rows);
    ASSERT_EQ(toServer().code, 0);

    // Names that are the same in order come as they were stored; the file's places say that, the server's numbers too.
    std::vector<std::string> counters;
    const auto database = jet::Database::open(platform::systemDisk(), file(), jet::Pager::Mode::readOnly);
    const jet::Table& customers = database->table(Cari::table);
    for (const jet::RowId row : jet::select(*database, u"Select * From Cari Order By Unvan Asc").rows)
        counters.push_back(jet::toUtf8(std::get<std::u16string>(customers.row(row)->value(0))) + "|");
    ASSERT_GT(counters.size(), 4500U);
    EXPECT_EQ(linesOf(sql("select unvan || '|' from presva.cari order by unvan_sira, satir")), counters);
}

TEST_F(Order, isKeptWhenANameIsChangedByHand)
{
    store(Cari::table, {{u"Ali", 1.0, jet::Null{}, 0.0}});
    ASSERT_EQ(toServer().code, 0);
    const Outcome refused = server().psql("update presva.cari set unvan = 'Veli'", database());
    EXPECT_NE(refused.code, 0);
    EXPECT_THAT(refused.err, HasSubstr("unvan yalnız unvan_sira ile birlikte değiştirilir"));
}

TEST_F(Order, searchesNamesWithoutTheirCase)
{
    std::vector<std::vector<jet::Value>> rows;
    for (char16_t letter = 1; letter < 0x180; ++letter)
        rows.push_back({std::u16string(1, letter), 1.0, jet::Null{}, 0.0});
    store(Cari::table, rows);
    ASSERT_EQ(toServer().code, 0);
    EXPECT_EQ(sql("select count(*) from presva.cari"), std::to_string(rows.size()) + "\n");
    for (const std::string& line : linesOf(sql("select ascii(unvan) || ' ' || ascii(unvan_kucuk) from presva.cari"))) {
        const auto letter = static_cast<char16_t>(std::stoi(line));
        EXPECT_EQ(std::stoi(line.substr(line.find(' '))), jet::foldTurkish(letter)) << line;
    }
}

} // namespace
