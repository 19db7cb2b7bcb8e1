#include "pressing/kept_displays.h"

#include "base/pass_over.h"
#include "pressing/rules.h"

namespace pressing {

KeptDisplays::KeptDisplays(const StationScreen& screen) : origins_(screen.origins())
{
    for (int station = 0; station < stationCount; ++station) {
        Station& kept = stations_[static_cast<std::size_t>(station)];
        for (std::size_t i = 0; i < allFields.size(); ++i) kept.captions[i] = screen.caption(allFields[i], station);
        kept.entitlementCaption = screen.entitlementCaption(station);
        kept.entitlementShown = screen.entitlementShown(station);
        kept.entitlementTaken = screen.entitlementTaken(station);
        kept.printing = screen.printingEnabled(station);
    }
}

void KeptDisplays::putBack(StationScreen& screen) const
{
    for (int station = 0; station < stationCount; ++station) {
        const Station& kept = stations_[static_cast<std::size_t>(station)];
        for (std::size_t i = 0; i < allFields.size(); ++i) screen.putBack(allFields[i], station, kept.captions[i]);
        screen.setEntitlementCaption(station, kept.entitlementCaption);
        screen.showEntitlement(station, kept.entitlementShown);
        screen.setEntitlementTaken(station, kept.entitlementTaken);
        screen.enablePrinting(station, kept.printing);
    }
    screen.putBack(origins_);
}

KeptTerms::KeptTerms(const StationScreen& screen)
{
    for (int station = 0; station < stationCount; ++station)
        stations_[static_cast<std::size_t>(station)] = {
            screen.caption(Field::Haklbl, station),  screen.caption(Field::NakitLbl, station),
            screen.caption(Field::Label3, station),  screen.caption(Field::HakTut, station),
            screen.caption(Field::Verilen, station), screen.containerKind(station)};
}

void KeptTerms::putBack(StationScreen& screen) const
{
    for (int station = 0; station < stationCount; ++station) {
        const Station& kept = stations_[static_cast<std::size_t>(station)];
        screen.putBack(Field::Haklbl, station, kept.percentage);
        screen.putBack(Field::NakitLbl, station, kept.fee);
        screen.setContainerKind(station, kept.container);
        if (screen.caption(Field::Label3, station) == kept.oil) {
            // The weight may have come and gone: its share was then worked out by the terms of whoever was searched.
            screen.putBack(Field::HakTut, station, kept.entitlement);
            screen.putBack(Field::Verilen, station, kept.left);
        } else if (screen.entitlementShown(station)) {
            base::passOver([&] { shareWorkedOut(screen, station); });
        }
    }
}

} // namespace pressing
