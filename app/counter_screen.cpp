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

class FormScreen final : public CounterScreen {
public:
    explicit FormScreen(Form1& form) : form_(form) {}

    const base::Regional& regional() const override { return form_.surroundings().regional; }
    QString caption(Field field, int station) const override { return labelOf(form_, field, station).caption(); }
    void setCaption(Field field, int station, const QString& text) override
    {
        labelOf(form_, field, station).setCaption(text);
    }
    void putBack(Field field, int station, const QString& text) override
    {
        labelOf(form_, field, station).showCaption(text);
    }
    const pressing::WeightOrigins& origins() const override { return form_.origins(); }
    void putBack(const pressing::WeightOrigins& origins) override { form_.origins() = origins; }
    bool isHighlighted(Field field, int station) const override
    {
        return labelOf(form_, field, station).backColor() == colour::cyan;
    }
    QString activeName() const override { return Form1::controlName(form_.AktifLbl); }
    QString activeCaption() const override { return form_.AktifLbl->caption(); }
    void setActiveCaption(const QString& text) override { form_.AktifLbl->setCaption(text); }
    void edit(Field field, int station) override { form_.activate(&labelOf(form_, field, station)); }
    int currentStation() const override { return form_.station(); }
    bool printingEnabled(int station) const override { return form_.YazCmd[station]->enabled(); }
    void enablePrinting(int station, bool enabled) override { form_.YazCmd[station]->setEnabled(enabled); }
    QString entitlementCaption(int station) const override { return form_.HakCmd[station]->caption(); }
    void setEntitlementCaption(int station, const QString& text) override { form_.HakCmd[station]->setCaption(text); }
    bool entitlementShown(int station) const override { return form_.Frame3[station]->visible(); }
    void showEntitlement(int station, bool shown) override { form_.Frame3[station]->setVisible(shown); }
    bool entitlementTaken(int station) const override { return form_.HakVar.at(static_cast<std::size_t>(station)); }
    void setEntitlementTaken(int station, bool taken) override
    {
        form_.HakVar.at(static_cast<std::size_t>(station)) = taken;
        // The press has flipped the button already; a rule that failed may have left the entitlement as it was.
        form_.HakCmd[station]->showValue(taken);
    }
    int containerKind(int station) const override { return form_.Combo1[station]->listIndex(); }
    void setContainerKind(int station, int kind) override { form_.Combo1[station]->setListIndex(kind); }
    float containers(int station) const override { return form_.kapSayisi(station); }
    void setContainers(int station, float count) override { form_.kapSayisi(station) = count; }
    void centreContainerCaption(int station) override
    {
        // Both frames have the same size; the first one's width serves both.
        form_.Label4[station]->setLeft((form_.KapFrm[0]->Width() - form_.Label4[station]->Width()) / 2.0);
    }
    void showContainerPanel(int station, bool shown) override { form_.KapFrm[station]->setVisible(shown); }
    QString keyCaption(int key) const override { return form_.Label1[key]->caption(); }
    bool stationFrameEnabled() const override { return form_.Frame1[form_.station()]->enabled(); }
    bool reportPanelShown() const override { return form_.Frame4->visible(); }
    bool capitals() const override { return form_.CapsDurum; }
    void toggleCapitals() override { form_.toggleCapitals(); }
    void IlkHarfBuyut() override { form_.IlkHarfBuyut(); }

private:
    Form1& form_;
};

} // namespace

std::unique_ptr<CounterScreen> counterScreenOf(Form1& form) { return std::make_unique<FormScreen>(form); }

} // namespace app
