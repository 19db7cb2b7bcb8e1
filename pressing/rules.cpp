#include "pressing/rules.h"

#include "base/pass_over.h"
#include "mill/queries.h"
#include "pressing/containers.h"
#include "pressing/displays.h"
#include "pressing/fraction.h"
#include "pressing/kept_displays.h"

#include <QScopeGuard>

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
    show(screen, display, station, amount, isFractional(amount) ? fractionalPattern : base::wholePattern);
    return amount;
}

/// The mill's share of a station's oil.
Kilogram share(const StationScreen& screen, int station)
{
    const Kilogram oil = read(screen, displays::oil, station);
    return oil * read(screen, displays::percentage, station);
}

/// What is left for the customer.
void showHandedOver(StationScreen& screen, int station)
{
    const Kilogram oil = read(screen, displays::oil, station);
    show(screen, displays::handedOver, station, handedOutFor(oil - read(screen, displays::entitlement, station)));
}

/// An empty fee is 0, and so is every fee while the mill takes oil: a record carries one pay.
void onePay(StationScreen& screen, int station)
{
    zeroIfEmpty(screen, Field::NakitLbl, station);
    if (screen.entitlementShown(station)) screen.setCaption(Field::NakitLbl, station, zero);
}

/// What was typed becomes a percentage: five characters, two digits before the mark.
void cutToPercentage(StationScreen& screen)
{
    if (screen.activeCaption().isEmpty()) screen.setActiveCaption(zero);
    if (screen.activeCaption().size() > 5) screen.setActiveCaption(screen.activeCaption().left(5));
    const auto unfinished =
        unfinishedFraction(screen.activeCaption(), percentageDecimals, percentPattern, screen.regional());
    if (unfinished && unfinished->whole.size() <= 2) return screen.setActiveCaption(unfinished->shown);

    const Percent typed{base::displayValue(screen.activeCaption(), screen.regional())};
    if (!isFractional(typed) && screen.activeCaption().size() > 2)
        screen.setActiveCaption(screen.activeCaption().left(2));
    const QString text = screen.activeCaption();
    const bool hasMark = text.contains(u'.') || text.contains(u',');
    screen.setActiveCaption(
        formatWithoutMark(text, hasMark ? percentFractionPattern : percentPattern, screen.regional()));
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
    const Kilogram oil = reformat(screen, displays::oil, station, fractionPattern);
    if (!isFractional(oil)) screen.setCaption(Field::HakTut, station, zero);
    showHandedOver(screen, station); // the entitlement may have been 0 before

    if (!entitlementOfCurrent(screen) || !screen.entitlementShown(station)) return;
    const int current = screen.currentStation();
    const bool nothingPressed = read(screen, displays::olives, current) <= Kilogram{0};
    show(screen, displays::entitlement, station, nothingPressed ? Kilogram{0} : share(screen, current));
}

void percentageChanged(StationScreen& screen, int station)
{
    if (!screen.isHighlighted(Field::Haklbl, station)) return;

    cutToPercentage(screen);
    // One pay for each record: nothing typed gives the mill oil that it does not take.
    if (!screen.entitlementShown(station)) return screen.setCaption(Field::HakTut, station, zero);

    const int current = screen.currentStation();
    const Kilogram oil = read(screen, displays::oil, current);
    const bool noOil = oil <= Kilogram{0};
    show(screen, displays::entitlement, station,
         noOil ? Kilogram{0} : oil * read(screen, displays::percentage, current));
}

void entitlementChanged(StationScreen& screen, int station) { showHandedOver(screen, station); }

void feeChanged(StationScreen& screen, int station)
{
    onePay(screen, station);

    const QString fee = screen.caption(Field::NakitLbl, station);
    const bool typedHere = screen.isHighlighted(Field::NakitLbl, station);
    if (typedHere)
        if (const auto unfinished = unfinishedFraction(fee, feeDecimals, base::wholePattern, screen.regional()))
            return screen.setActiveCaption(unfinished->shown);

    const bool fractional = isFractional(read(screen, displays::fee, station));
    screen.setActiveCaption(formatWithoutMark(screen.activeCaption(), fractional ? fractionPattern : base::wholePattern,
                                              screen.regional()));
}

void feeRecalled(StationScreen& screen, int station) { onePay(screen, station); }

QString shareMark(const StationScreen& screen, int station)
{
    if (!screen.entitlementShown(station)) return {};
    QString expected;
    const auto notANumber = base::passOver([&] {
        if (read(screen, displays::olives, station) <= Kilogram{0} ||
            read(screen, displays::oil, station) <= Kilogram{0})
            return;
        expected = base::formatNumber(share(screen, station).value, base::wholePattern, screen.regional());
    });
    const QString shown = screen.caption(Field::HakTut, station);
    if (notANumber || expected.isEmpty() || expected == (shown.isEmpty() ? zero : shown)) return {};
    return u"hak ediş yüzdeye uymuyor"_s;
}

void shareWorkedOut(StationScreen& screen, int station)
{
    show(screen, displays::entitlement, station, share(screen, station));
}

namespace {

void flipEntitlement(StationScreen& screen, int station)
{
    // HakVar follows the frame only when the rule ends (also by an error): the captions that change on the way are
    // worked out under the mode before the press.
    const auto followFrame =
        qScopeGuard([&] { screen.setEntitlementTaken(station, screen.entitlementShown(station)); });

    if (screen.entitlementCaption(station) == entitlementOff) {
        screen.setEntitlementCaption(station, entitlementOn);
        screen.showEntitlement(station, true);
        screen.setCaption(Field::NakitLbl, screen.currentStation(), zero);
        shareWorkedOut(screen, station);
    } else {
        screen.setCaption(Field::HakTut, station, zero);
        screen.setEntitlementCaption(station, entitlementOff);
        screen.showEntitlement(station, false);
        // What is edited must be seen: the other pay takes its place.
        if (screen.isHighlighted(Field::Haklbl, station)) screen.edit(Field::NakitLbl, station);
    }
}

} // namespace

void entitlementSwitched(StationScreen& screen, int station)
{
    allOrNothing(screen, [&] { flipEntitlement(screen, station); });
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
    screen.setCaption(Field::Label4, station, containerCaption(0, screen.regional()));
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
