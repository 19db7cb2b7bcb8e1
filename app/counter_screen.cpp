#include "app/counter_screen.h"

#include "app/form1.h"

namespace app {
namespace {

using pressing::Field;

CaptionLabel& labelOf(const Form1& form, Field field, int station)
{
    if (field == Field::Label4) return *form.Label4[station];
    // In the order of the fields.
    static constexpr ControlArray<FieldLabel, 2> Form1::*displays[] = {&Form1::TxtLbl,  &Form1::Label2,  &Form1::Label3,
                                                                       nullptr,         &Form1::Haklbl,  &Form1::HakTut,
                                                                       &Form1::Verilen, &Form1::NakitLbl};
    static_assert(std::size(displays) == pressing::allFields.size());
    return *(form.*displays[static_cast<std::size_t>(field)])[station];
}

} // namespace

const base::Regional& CounterScreen::regional() const { return form_.surroundings().regional; }

QString CounterScreen::caption(Field field, int station) const { return labelOf(form_, field, station).caption(); }

void CounterScreen::setCaption(Field field, int station, const QString& text)
{
    labelOf(form_, field, station).setCaption(text);
}

void CounterScreen::putBack(Field field, int station, const QString& text)
{
    labelOf(form_, field, station).showCaption(text);
}

const pressing::WeightOrigins& CounterScreen::origins() const { return form_.origins(); }
void CounterScreen::putBack(const pressing::WeightOrigins& origins) { form_.origins() = origins; }

bool CounterScreen::isHighlighted(Field field, int station) const
{
    return labelOf(form_, field, station).backColor() == colour::cyan;
}

QString CounterScreen::activeName() const { return Form1::controlName(form_.AktifLbl); }
QString CounterScreen::activeCaption() const { return form_.AktifLbl->caption(); }
void CounterScreen::setActiveCaption(const QString& text) { form_.AktifLbl->setCaption(text); }
void CounterScreen::edit(Field field, int station) { form_.activate(&labelOf(form_, field, station)); }
int CounterScreen::currentStation() const { return form_.station(); }
bool CounterScreen::printingEnabled(int station) const { return form_.YazCmd[station]->enabled(); }
void CounterScreen::enablePrinting(int station, bool enabled) { form_.YazCmd[station]->setEnabled(enabled); }
QString CounterScreen::entitlementCaption(int station) const { return form_.HakCmd[station]->caption(); }

void CounterScreen::setEntitlementCaption(int station, const QString& text) { form_.HakCmd[station]->setCaption(text); }

bool CounterScreen::entitlementShown(int station) const { return form_.Frame3[station]->visible(); }
void CounterScreen::showEntitlement(int station, bool shown) { form_.Frame3[station]->setVisible(shown); }
bool CounterScreen::entitlementTaken(int station) const { return form_.HakVar.at(static_cast<std::size_t>(station)); }

void CounterScreen::setEntitlementTaken(int station, bool taken)
{
    form_.HakVar.at(static_cast<std::size_t>(station)) = taken;
    // The press has flipped the button already; a rule that failed may have left the entitlement as it was.
    form_.HakCmd[station]->showValue(taken);
}

int CounterScreen::containerKind(int station) const { return form_.Combo1[station]->listIndex(); }
void CounterScreen::setContainerKind(int station, int kind) { form_.Combo1[station]->setListIndex(kind); }
float CounterScreen::containers(int station) const { return form_.kapSayisi(station); }
void CounterScreen::setContainers(int station, float count) { form_.kapSayisi(station) = count; }

void CounterScreen::centreContainerCaption(int station)
{
    // Both frames have the same size; the first one's width serves both.
    form_.Label4[station]->setLeft((form_.KapFrm[0]->Width() - form_.Label4[station]->Width()) / 2.0);
}

void CounterScreen::showContainerPanel(int station, bool shown) { form_.KapFrm[station]->setVisible(shown); }

QString CounterScreen::keyCaption(int key) const { return form_.Label1[key]->caption(); }
bool CounterScreen::stationFrameEnabled() const { return form_.Frame1[form_.station()]->enabled(); }
bool CounterScreen::reportPanelShown() const { return form_.Frame4->visible(); }
bool CounterScreen::capitals() const { return form_.CapsDurum; }
void CounterScreen::toggleCapitals() { form_.toggleCapitals(); }
void CounterScreen::IlkHarfBuyut() { form_.IlkHarfBuyut(); }

} // namespace app
