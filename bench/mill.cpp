#include "bench/mill.h"

#include "store/jet/values/value.h"

#include <array>
#include <cmath>
#include <numeric>
#include <string_view>

namespace long_mill {
namespace {

constexpr std::array<std::u16string_view, 50> firstNames{
    u"Ahmet",  u"Ali",   u"Ayşe",   u"Aysel",  u"Bekir",  u"Cemal",   u"Çetin",  u"Dilek",   u"Durmuş",  u"Elif",
    u"Emine",  u"Fatma", u"Ferhat", u"Gülsüm", u"Güler",  u"Hasan",   u"Hatice", u"Hüseyin", u"Işıl",    u"İbrahim",
    u"İsmail", u"Kadir", u"Kâmil",  u"Kemal",  u"Leyla",  u"Mehmet",  u"Meryem", u"Murat",   u"Mustafa", u"Nazlı",
    u"Necati", u"Nuri",  u"Osman",  u"Ömer",   u"Özgür",  u"Ramazan", u"Recep",  u"Rıza",    u"Sabri",   u"Satı",
    u"Selim",  u"Şaban", u"Şerife", u"Şükrü",  u"Tahsin", u"Uğur",    u"Ümit",   u"Veli",    u"Yusuf",   u"Zeynep"};
constexpr std::array<std::u16string_view, 50> surnames{
    u"Acar",   u"Akın",   u"Aksoy", u"Arslan", u"Avcı",    u"Aydın", u"Bulut", u"Can",    u"Çakır",  u"Çelik",
    u"Çetin",  u"Demir",  u"Doğan", u"Erdem",  u"Ergün",   u"Güneş", u"Gür",   u"Işık",   u"İnce",   u"Kaplan",
    u"Kara",   u"Kaya",   u"Kılıç", u"Koç",    u"Korkmaz", u"Kurt",  u"Oğuz",  u"Öz",     u"Özcan",  u"Özdemir",
    u"Özkan",  u"Öztürk", u"Polat", u"Sarı",   u"Sezer",   u"Şahin", u"Şen",   u"Şimşek", u"Taş",    u"Tekin",
    u"Toprak", u"Tunç",   u"Turan", u"Uçar",   u"Uğurlu",  u"Ünal",  u"Yavuz", u"Yıldız", u"Yılmaz", u"Zorlu"};
constexpr std::array<std::u16string_view, 40> villages{
    u"Akçaova",  u"Alanlı",    u"Bağarası", u"Beyköy",  u"Bozköy",   u"Ceyhan",   u"Çamlık",    u"Çeşme",
    u"Çiftlik",  u"Dereköy",   u"Doğanbey", u"Elmalı",  u"Eskice",   u"Fındıklı", u"Gökçe",     u"Güzelköy",
    u"Hacılar",  u"Hisar",     u"Ilıca",    u"İncirli", u"Karaağaç", u"Kavaklı",  u"Kızılca",   u"Koçarlı",
    u"Kuşadası", u"Köprübaşı", u"Mersinli", u"Narlı",   u"Ortaköy",  u"Ovacık",   u"Pınarbaşı", u"Sazlı",
    u"Söğüt",    u"Şirince",   u"Taşlıca",  u"Tepeköy", u"Uluköy",   u"Üçpınar",  u"Yeniköy",   u"Zeytinli"};
constexpr std::array<std::u16string_view, 4> containers{u" 5 Litrelik Kap", u"10 Litrelik Kap", u"15 Litrelik Kap",
                                                        u"20 Litrelik Kap"};
static_assert(firstNames.size() * surnames.size() * villages.size() >= customerCount);

constexpr unsigned seasons = 10;
constexpr double firstOctober = 41548; // 2013-10-01
constexpr double seasonDays = 120;

/// Shares of std::mt19937 are the same everywhere; distributions of the library are not.
double between(std::mt19937& random, double low, double high)
{
    return low + (high - low) * (static_cast<double>(random()) / 4294967296.0);
}

} // namespace

std::vector<Customer> customers()
{
    std::mt19937 random(1);
    std::vector<std::uint32_t> order(firstNames.size() * surnames.size() * villages.size());
    std::iota(order.begin(), order.end(), 0U);
    for (std::size_t i = order.size() - 1; i > 0; --i) std::swap(order[i], order[random() % (i + 1)]);
    std::vector<Customer> all;
    for (std::size_t i = 0; i < customerCount; ++i) {
        Customer customer;
        std::size_t n = order[i];
        customer.name.append(firstNames[n % firstNames.size()]).append(u" ");
        n /= firstNames.size();
        customer.name.append(surnames[n % surnames.size()]).append(u" / ");
        n /= surnames.size();
        customer.name.append(villages[n]);
        customer.share = static_cast<float>(10 + random() % 12 * 0.5);
        customer.container = containers[random() % containers.size()];
        customer.fee = random() % 3 == 0 ? static_cast<std::int64_t>(random() % 900 + 100) * 10000 : 0;
        all.push_back(std::move(customer));
    }
    return all;
}

Pressing nextPressing(std::mt19937& random, double moment)
{
    Pressing pressing;
    pressing.moment = std::round(moment * 86400) / 86400;
    pressing.olives = std::round(between(random, 80, 4000) * 10) / 10;
    pressing.oil = std::round(pressing.olives * between(random, 0.15, 0.25) * 10) / 10;
    pressing.share = static_cast<float>(10 + random() % 12 * 0.5);
    if (random() % 4 == 0)
        pressing.fee = static_cast<std::int64_t>(pressing.olives) * 10000;
    else
        pressing.entitlement = std::round(pressing.oil * pressing.share / 100);
    pressing.customer = random() % customerCount;
    return pressing;
}

void pressings(const std::function<void(const Pressing&)>& visit)
{
    std::mt19937 random(2);
    constexpr std::size_t perSeason = pressingCount / seasons;
    for (unsigned season = 0; season < seasons; ++season) {
        const double begin = firstOctober + std::floor(season * 365.25);
        for (std::size_t i = 0; i < perSeason; ++i)
            visit(nextPressing(random, begin + seasonDays * static_cast<double>(i) / perSeason));
    }
}

std::string utf8(const std::u16string& text) { return jet::toUtf8(text); }

} // namespace long_mill
