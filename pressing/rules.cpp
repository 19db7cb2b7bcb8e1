#include "pressing/rules.h"

#include "mill/queries.h"
#include "pressing/containers.h"
#include "pressing/displays.h"

using namespace Qt::StringLiterals;

namespace pressing {
namespace {

const QString zero = u"0"_s;

void zeroIfEmpty(StationScreen& screen, Field field, int station)
{
    if (screen.caption(field, station).isEmpty()) screen.setCaption(field, station, zero);
}

/// The amount in its own display's pattern. What it was; the display may show it rounded now.
template <class Amount>
Amount reformat(StationScreen& screen, Display<Amount> display, int station, QStringView fractionalPattern)
{
    const Amount amount = read(screen, display, station);
    show(screen, display, station, amount, isFractional(amount) ? fractionalPattern : u"#,##0");
    return amount;
}

/// The mill's share of a station's oil.
Kilogram share(const StationScreen& screen, int station)
{
    const Kilogram oil = read(screen, displays::oil, station);
    return oil * read(screen, displays::percentage, station);
}

} // namespace

void olivesChanged(StationScreen& screen, int station)
{
    zeroIfEmpty(screen, Field::Label2, station);
    reformat(screen, displays::olives, station, u"#,##0.00");
    const Kilogram olives = read(screen, displays::olives, station);
    if (olives > Kilogram{0}) show(screen, displays::oil, station, olives * oilPerOlives);
    screen.enablePrinting(station, olives != Kilogram{0});
}

void oilChanged(StationScreen& screen, int station)
{
    zeroIfEmpty(screen, Field::Label3, station);
    const Kilogram oil = reformat(screen, displays::oil, station, u"#,##0.###");
    if (!isFractional(oil)) screen.setCaption(Field::HakTut, station, zero);

    if (!entitlementOfCurrent(screen)) return;
    const int current = screen.currentStation();
    const bool nothingPressed = read(screen, displays::olives, current) <= Kilogram{0};
    show(screen, displays::entitlement, station, nothingPressed ? Kilogram{0} : share(screen, current));
}

void percentageChanged(StationScreen& screen, int station)
{
    if (!screen.isHighlighted(Field::Haklbl, station)) return;

    if (screen.activeCaption().isEmpty()) screen.setActiveCaption(zero);
    if (screen.activeCaption().size() > 5) screen.setActiveCaption(screen.activeCaption().left(5));
    const Percent typed{base::displayValue(screen.activeCaption(), screen.regional())};
    if (!isFractional(typed) && screen.activeCaption().size() > 2)
        screen.setActiveCaption(screen.activeCaption().left(2));
    const QString text = screen.activeCaption();
    const bool hasMark = text.contains(u'.') || text.contains(u',');
    screen.setActiveCaption(base::formatNumber(text, hasMark ? u"#0.##" : u"#0", screen.regional()));

    const int current = screen.currentStation();
    const Kilogram oil = read(screen, displays::oil, current);
    const bool noOil = oil <= Kilogram{0};
    show(screen, displays::entitlement, station,
         noOil ? Kilogram{0} : oil * read(screen, displays::percentage, current));
}

void entitlementChanged(StationScreen& screen, int station)
{
    const Kilogram oil = read(screen, displays::oil, station);
    show(screen, displays::handedOver, station, handedOutFor(oil - read(screen, displays::entitlement, station)));
}

void feeChanged(StationScreen& screen, int station)
{
    zeroIfEmpty(screen, Field::NakitLbl, station);
    const bool fractional = isFractional(read(screen, displays::fee, station));
    screen.setActiveCaption(
        base::formatNumber(screen.activeCaption(), fractional ? u"#,##0.###" : u"#,##0", screen.regional()));
}

void entitlementSwitched(StationScreen& screen, int station)
{
    // HakVar follows the frame only when the rule ends (also by an error): the captions that change on the way are
    // worked out under the mode before the press.
    struct FollowFrame {
        StationScreen& screen;
        int station;
        ~FollowFrame() { screen.setEntitlementTaken(station, screen.entitlementShown(station)); }
    } followFrame{screen, station};

    if (screen.entitlementCaption(station) == entitlementOff) {
        screen.setEntitlementCaption(station, entitlementOn);
        screen.showEntitlement(station, true);
        screen.setCaption(Field::NakitLbl, screen.currentStation(), zero);
        show(screen, displays::entitlement, station, share(screen, station));
    } else {
        screen.setCaption(Field::HakTut, station, zero);
        screen.setEntitlementCaption(station, entitlementOff);
        screen.showEntitlement(station, false);
    }
}

void switchEntitlementOff(StationScreen& screen, int station)
{
    if (screen.entitlementCaption(station) == entitlementOn) entitlementSwitched(screen, station);
}

bool entitlementOfCurrent(const StationScreen& screen)
{
    const int current = screen.currentStation();
    return current >= 0 && current < stationCount && screen.entitlementTaken(current);
}

void customerCleared(StationScreen& screen, int station)
{
    screen.setCaption(Field::Label2, station, QString());
    switchEntitlementOff(screen, station);
    screen.setCaption(Field::HakTut, station, zero);
    screen.setCaption(Field::NakitLbl, station, zero);
    screen.showEntitlement(station, false);
    screen.setEntitlementTaken(station, false);
    screen.enablePrinting(station, false);
    screen.showContainerPanel(station, false);
    screen.setContainers(station, 0);
    screen.setCaption(Field::Label4, station, containerCaption(0));
}

bool wantsCustomerFirst(const StationScreen& screen, int station)
{
    const QString name = screen.caption(Field::TxtLbl, station);
    return name.isEmpty() || name == mill::customerPrompt;
}

mill::Pressing pressingAt(const StationScreen& screen, int station)
{
    const auto text = [&](Field field) { return screen.caption(field, station); };
    return {text(Field::TxtLbl),
            text(Field::Label2),
            text(Field::Label3),
            text(Field::Haklbl),
            text(Field::HakTut),
            text(Field::NakitLbl),
            containerName(screen.containerKind(station))};
}

} // namespace pressing
