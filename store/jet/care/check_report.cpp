#include "store/jet/care/check_report.h"

namespace jet {

void CheckReport::finish()
{
    const auto tell = [](const Sentences& sentences, std::vector<std::string>& into, const char* what) {
        into = sentences.list();
        if (sentences.leftOut() > 0) into.push_back("... ve " + std::to_string(sentences.leftOut()) + what);
    };
    tell(faults_, result_.faults, " hata daha.");
    tell(warnings_, result_.warnings, " uyarı daha.");
    progress_.finish();
}

PageOwners::Owner PageOwners::add(std::string what)
{
    // More than a file of that many tables could name: the last name then stands for all further ones.
    if (names_.size() < severalMaps) names_.push_back(std::move(what));
    return static_cast<Owner>(names_.size() - 1);
}

std::string PageOwners::nameOf(Owner owner) const { return owner == severalMaps ? "sayfa haritaları" : names_[owner]; }

void PageOwners::claim(Owner owner, PageNo page)
{
    if (page >= PageNo(owners_.size())) {
        report_.fault("Dosyada olmayan " + std::to_string(page.number()) + ". sayfaya başvuruluyor: " + nameOf(owner) +
                      ".");
        return;
    }
    if (owners_[page.number()] != nobody) {
        report_.fault(std::to_string(page.number()) + ". sayfanın iki sahibi var: " + nameOf(owners_[page.number()]) +
                      " ve " + nameOf(owner) + ".");
        return;
    }
    owners_[page.number()] = owner;
}

void PageOwners::claim(Owner owner, MapRef map)
{
    const auto [place, isNew] = maps_.try_emplace(map, owner);
    if (!isNew)
        report_.fault(std::to_string(map.page.number()) + ". sayfadaki bir haritanın iki sahibi var: " +
                      nameOf(place->second) + " ve " + nameOf(owner) + ".");
    if (map.page >= PageNo(owners_.size()) || owners_[map.page.number()] != severalMaps) claim(severalMaps, map.page);
}

void PageOwners::compareWithFree(const std::vector<PageNo>& free)
{
    std::vector<bool> isFree(owners_.size());
    for (const PageNo page : free) {
        isFree[page.number()] = true;
        if (owners_[page.number()] != nobody)
            report_.fault(std::to_string(page.number()) +
                          ". sayfa hem boş görünüyor hem sahibi var: " + nameOf(owners_[page.number()]) + ".");
    }
    constexpr std::size_t named = 8;
    std::size_t lost = 0;
    std::string some;
    for (PageNo page = 0; page < PageNo(owners_.size()); ++page) {
        if (owners_[page.number()] != nobody || isFree[page.number()]) continue;
        if (++lost <= named) some += (some.empty() ? "" : ", ") + std::to_string(page.number());
    }
    if (lost > 0)
        report_.warning(std::to_string(lost) + " sayfa ne boş ne de birinin (" + some + (lost > named ? ", ..." : "") +
                        "); yer kaplar, zararı yoktur, sıkıştırınca kalkar.");
}

} // namespace jet
