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
    if (page >= owners_.size()) {
        report_.fault("Dosyada olmayan " + std::to_string(page) + ". sayfaya başvuruluyor: " + nameOf(owner) + ".");
        return;
    }
    if (owners_[page] != nobody) {
        report_.fault(std::to_string(page) + ". sayfanın iki sahibi var: " + nameOf(owners_[page]) + " ve " +
                      nameOf(owner) + ".");
        return;
    }
    owners_[page] = owner;
}

void PageOwners::claim(Owner owner, MapRef map)
{
    const auto [place, isNew] = maps_.try_emplace(map, owner);
    if (!isNew)
        report_.fault(std::to_string(map.page) + ". sayfadaki bir haritanın iki sahibi var: " + nameOf(place->second) +
                      " ve " + nameOf(owner) + ".");
    if (map.page >= owners_.size() || owners_[map.page] != severalMaps) claim(severalMaps, map.page);
}

void PageOwners::compareWithFree(const std::vector<PageNo>& free)
{
    std::vector<bool> isFree(owners_.size());
    for (const PageNo page : free) {
        isFree[page] = true;
        if (owners_[page] != nobody)
            report_.fault(std::to_string(page) + ". sayfa hem boş görünüyor hem sahibi var: " + nameOf(owners_[page]) +
                          ".");
    }
    constexpr std::size_t named = 8;
    std::size_t lost = 0;
    std::string some;
    for (PageNo page = 0; page < owners_.size(); ++page) {
        if (owners_[page] != nobody || isFree[page]) continue;
        if (++lost <= named) some += (some.empty() ? "" : ", ") + std::to_string(page);
    }
    if (lost > 0)
        report_.warning(std::to_string(lost) + " sayfa ne boş ne de birinin (" + some + (lost > named ? ", ..." : "") +
                        "); yer kaplar, zararı yoktur, sıkıştırınca kalkar.");
}

} // namespace jet
