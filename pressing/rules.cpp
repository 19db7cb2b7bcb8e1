#include "pressing/rules.h"

#include "base/numbers.h"
#include "base/patterns.h"
#include "mill/queries.h"
#include "pressing/containers.h"

namespace pressing {
namespace {

const QString zero = QStringLiteral("0");
const QString whole = QStringLiteral("#,##0");

double valueOf(const StationScreen& screen, Field field, int station)
{
    return base::displayValue(screen.caption(field, station), screen.regional());
}

void reformat(StationScreen& screen, Field field, int station, const QString& fractionalPattern)
{
    const QString pattern = base::isFractional(valueOf(screen, field, station)) ? fractionalPattern : whole;
    screen.setCaption(field, station, base::formatNumber(screen.caption(field, station), pattern, screen.regional()));
}

void setWhole(StationScreen& screen, Field field, int station, double value)
{
    screen.setCaption(field, station, base::formatNumber(value, whole, screen.regional()));
}

double share(const StationScreen& screen, int station)
{
    return valueOf(screen, Field::Label3, station) * valueOf(screen, Field::Haklbl, station) / 100.0;
}

} // namespace

void olivesChanged(StationScreen& screen, int station)
{
    if (screen.caption(Field::Label2, station).isEmpty()) screen.setCaption(Field::Label2, station, zero);
    reformat(screen, Field::Label2, station, QStringLiteral("#,##0.00"));
    if (valueOf(screen, Field::Label2, station) > 0)
        setWhole(screen, Field::Label3, station, valueOf(screen, Field::Label2, station) * oilPerOlives);
    screen.enablePrinting(station, valueOf(screen, Field::Label2, station) != 0);
}

void oilChanged(StationScreen& screen, int station)
{
    if (screen.caption(Field::Label3, station).isEmpty()) screen.setCaption(Field::Label3, station, zero);
    const bool fractional = base::isFractional(valueOf(screen, Field::Label3, station));
    reformat(screen, Field::Label3, station, QStringLiteral("#,##0.###"));
    if (!fractional) screen.setCaption(Field::HakTut, station, zero);

    if (!entitlementOfCurrent(screen)) return;
    const int current = screen.currentStation();
    if (valueOf(screen, Field::Label2, current) <= 0)
        screen.setCaption(Field::HakTut, station, zero);
    else
        setWhole(screen, Field::HakTut, station, share(screen, current));
}

void percentageChanged(StationScreen& screen, int station)
{
    if (!screen.isHighlighted(Field::Haklbl, station)) return;

    if (screen.activeCaption().isEmpty()) screen.setActiveCaption(zero);
    if (screen.activeCaption().size() > 5) screen.setActiveCaption(screen.activeCaption().left(5));
    if (!base::isFractional(base::displayValue(screen.activeCaption(), screen.regional())) &&
        screen.activeCaption().size() > 2)
        screen.setActiveCaption(screen.activeCaption().left(2));
    const QString text = screen.activeCaption();
    const bool hasMark = text.contains(QLatin1Char('.')) || text.contains(QLatin1Char(','));
    screen.setActiveCaption(
        base::formatNumber(text, hasMark ? QStringLiteral("#0.##") : QStringLiteral("#0"), screen.regional()));

    const int current = screen.currentStation();
    if (valueOf(screen, Field::Label3, current) <= 0)
        screen.setCaption(Field::HakTut, station, zero);
    else
        setWhole(screen, Field::HakTut, station, share(screen, current));
}

void entitlementChanged(StationScreen& screen, int station)
{
    setWhole(screen, Field::Verilen, station,
             valueOf(screen, Field::Label3, station) - valueOf(screen, Field::HakTut, station));
}

void feeChanged(StationScreen& screen, int station)
{
    if (screen.caption(Field::NakitLbl, station).isEmpty()) screen.setCaption(Field::NakitLbl, station, zero);
    const bool fractional = base::isFractional(valueOf(screen, Field::NakitLbl, station));
    screen.setActiveCaption(base::formatNumber(screen.activeCaption(), fractional ? QStringLiteral("#,##0.###") : whole,
                                               screen.regional()));
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
        setWhole(screen, Field::HakTut, station, share(screen, station));
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

} // namespace pressing
