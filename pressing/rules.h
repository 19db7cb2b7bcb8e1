#pragma once

#include "mill/pressing.h"
#include "pressing/station_screen.h"

/// How the quantities of a pressing follow from one another. One function for each display that can change; each is
/// called when that display's caption has changed. Texts that are not numbers raise error 13 and leave the captions
/// set so far as they are; an empty display counts as 0. A product that is too large is error 6.
namespace pressing {

using namespace Qt::StringLiterals;

inline const QString entitlementOff = u"Hak Ediş Yok"_s;
inline const QString entitlementOn = u"Hak Ediş Var"_s;

/// Kilograms of oil preset for each kilogram of olives; the operator types the real figure over it.
inline constexpr double oilPerOlives = 0.9;

/// `Label2`: reformats the weight, presets the oil, enables printing when there is something to press.
void olivesChanged(StationScreen& screen, int station);
/// `Label3`: a whole oil figure clears the entitlement and a fractional one keeps it, until the mill's share, where it
/// is taken in oil, is worked out afresh. What is left for the customer follows at every step.
void oilChanged(StationScreen& screen, int station);
/// `Haklbl`: only while it is being edited. Cuts what was typed to a percentage, where a fraction may be unfinished,
/// and works out the entitlement; "0" where none is taken.
void percentageChanged(StationScreen& screen, int station);
/// `HakTut`: what is left for the customer; negative when the mill's share exceeds the oil.
void entitlementChanged(StationScreen& screen, int station);
/// `NakitLbl`: decides by the fee, reformats the label being edited, whichever it is. A fee whose fraction is being
/// typed stays as it is, and none stands beside an entitlement that is taken.
void feeChanged(StationScreen& screen, int station);
/// `NakitLbl` set by a recall. As feeChanged(), but what is edited meanwhile is a name and stays as it was written: one
/// that reads as a number is no amount.
void feeRecalled(StationScreen& screen, int station);
/// What the status line says of a station whose entitlement is not that of its oil and percentage: a percentage that is
/// recalled changes nothing else. Empty where they agree, and where none is taken.
QString shareMark(const StationScreen& screen, int station);
/// The entitlement by the oil and the percentage that stand there.
void shareWorkedOut(StationScreen& screen, int station);
/// `HakCmd` pressed: the mill takes oil instead of money, or no longer does. Where the percentage was being edited and
/// goes out of sight, the fee is edited instead. Overflow changes nothing.
void entitlementSwitched(StationScreen& screen, int station);
/// `HakCmd` set to off by the program: runs the switch's own rule when it is on.
void switchEntitlementOff(StationScreen& screen, int station);

/// `HakVar`: the entitlement of the current station. False while no station is current.
bool entitlementOfCurrent(const StationScreen& screen);

/// The station's displays go back to empty because its customer was cleared: weight, switch, entitlement, fee,
/// containers and printing. What else is on the screen (list, save button) is the caller's.
void customerCleared(StationScreen& screen, int station);

/// The click on an olive or oil display asks for a customer first: true when the name has been put back to the prompt
/// and the caller must make the name display the active one.
bool wantsCustomerFirst(const StationScreen& screen, int station);

/// What stands at a station, as it is printed and booked.
mill::Pressing pressingAt(const StationScreen& screen, int station);

} // namespace pressing
