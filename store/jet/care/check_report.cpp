#include "store/jet/care/check_report.h"

#include <algorithm>

namespace jet {

void CheckReport::add(std::vector<std::string>& list, std::uint64_t& leftOut, std::string sentence)
{
    if (list.size() < mostSentences)
        list.push_back(std::move(sentence));
    else
        ++leftOut;
}

void CheckReport::step(std::uint64_t count)
{
    done_ += count;
    const int percent = static_cast<int>(std::min<std::uint64_t>(99, done_ * 100 / std::max<std::uint64_t>(steps_, 1)));
    if (percent <= percent_) return;
    percent_ = percent;
    if (progress_) progress_(percent);
}

void CheckReport::finish()
{
    if (faultsLeftOut_ > 0) result_.faults.push_back("... ve " + std::to_string(faultsLeftOut_) + " hata daha.");
    if (warningsLeftOut_ > 0) result_.warnings.push_back("... ve " + std::to_string(warningsLeftOut_) + " uyarı daha.");
    if (progress_) progress_(100);
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
