#pragma once

#include "base/regional.h"

#include <QString>
#include <array>

/// The rules of a pressing as plain functions. They see the screen through StationScreen, so that they run the same
/// behind the window and in a test without one.
namespace pressing {

/// The displays of one station. Quantities live nowhere but in these captions.
enum class Field {
    TxtLbl,   ///< customer's name
    Label2,   ///< olives to press, kg
    Label3,   ///< oil pressed, kg on the screen, litres on the slip
    Label4,   ///< containers still to fill, "3 Kap"
    Haklbl,   ///< the mill's share, percent
    HakTut,   ///< the mill's share, kg of oil
    Verilen,  ///< oil handed to the customer, litres
    NakitLbl, ///< pressing fee, TL
};
inline constexpr std::array allFields = {Field::TxtLbl, Field::Label2, Field::Label3,  Field::Label4,
                                         Field::Haklbl, Field::HakTut, Field::Verilen, Field::NakitLbl};

/// The control's name without its index.
QString nameOf(Field field);

inline constexpr int stationCount = 2;

class WeightOrigins;

/// What the rules need of the screen.
///
/// setCaption and setActiveCaption run the changed label's own rule inside the assignment, to its end, and only when
/// the text differs. So a rule never keeps a caption in a variable across an assignment: it reads it afresh.
/// A station outside 0..1 is error 340.
class StationScreen {
public:
    virtual ~StationScreen() = default;

    virtual const base::Regional& regional() const = 0;

    virtual QString caption(Field field, int station) const = 0;
    virtual void setCaption(Field field, int station, const QString& text) = 0;
    /// Shows a caption as it was a moment ago; no rule runs.
    virtual void putBack(Field field, int station, const QString& text) = 0;
    /// Where the weights of both stations come from.
    virtual const WeightOrigins& origins() const = 0;
    virtual void putBack(const WeightOrigins& origins) = 0;
    /// The label is the cyan one, being edited.
    virtual bool isHighlighted(Field field, int station) const = 0;

    /// The label that the keypad edits (`AktifLbl`), whichever it is: a station's display or the report's name filter.
    virtual QString activeName() const = 0; ///< control name without index, such as "Label2"
    virtual QString activeCaption() const = 0;
    virtual void setActiveCaption(const QString& text) = 0;
    /// Makes a display the one that the keypad edits.
    virtual void edit(Field field, int station) = 0;

    virtual int currentStation() const = 0; ///< `AktifKontrol` as a whole number; 999 while none is current

    virtual bool printingEnabled(int station) const = 0; ///< `YazCmd`
    virtual void enablePrinting(int station, bool enabled) = 0;

    virtual QString entitlementCaption(int station) const = 0; ///< `HakCmd`
    virtual void setEntitlementCaption(int station, const QString& text) = 0;
    virtual bool entitlementShown(int station) const = 0; ///< `Frame3`'s own visibility
    virtual void showEntitlement(int station, bool shown) = 0;
    /// `HakVar`, one for each station; the one that counts is the current station's.
    virtual bool entitlementTaken(int station) const = 0;
    virtual void setEntitlementTaken(int station, bool taken) = 0;

    virtual int containerKind(int station) const = 0; ///< list position in `Combo1`; -1 when nothing is chosen
    virtual void setContainerKind(int station, int kind) = 0;
    virtual float containers(int station) const = 0; ///< `KapSayisi`
    virtual void setContainers(int station, float count) = 0;
    virtual void centreContainerCaption(int station) = 0;
    virtual void showContainerPanel(int station, bool shown) = 0; ///< `KapFrm`
};

} // namespace pressing
