// What always holds between two actions of the form. Our own bug where it does not: only builds with asserts look.

#include "app/counter_screen.h"
#include "app/form1.h"
#include "base/pass_over.h"
#include "mill/queries.h"
#include "pressing/displays.h"
#include "pressing/rules.h"

#include <cassert>
#include <optional>

namespace app {

void Form1::checkInvariants() const
{
#ifndef NDEBUG
    // 1
    const bool activated = AktifLbl != nullptr;
    assert(activated ? AktifKontrol == 0 || AktifKontrol == 1 : AktifKontrol == 999);

    // 2
    for (int i = 0; activated && i < Frame1.size(); ++i) {
        const bool works = i == station();
        assert(Frame1[i]->enabled() == works);
        assert(Frame1[i]->backColor() == (works ? colour::green : colour::buttonFace));
    }

    // 3
    for (const FieldLabel* field : findChildren<const FieldLabel*>())
        assert((field->backColor() == colour::cyan) == (field == AktifLbl));
    if (activated && Frame4->visible()) {
        assert(AktifLbl == GünLbl);
        assert(GünLbl->visible() || GünLbl->caption().isEmpty());
    }
    for (int i = 0; i < Frame3.size(); ++i) assert(AktifLbl != Haklbl[i] || Frame3[i]->visible());
    if (activated && AktifLbl != GünLbl) assert(AktifLbl->visible());

    // 4
    for (int i = 0; i < Frame3.size(); ++i) {
        assert(HakVar[static_cast<std::size_t>(i)] == Frame3[i]->visible());
        assert((HakCmd[i]->caption() == pressing::entitlementOn) == Frame3[i]->visible());
    }

    // 5
    assert(Dosya->isEnabled() != Frame4->visible());

    // 6
    if (Kaydet->visible()) {
        const QString& name = TxtLbl[station()]->caption();
        assert(!Frame4->visible() && !name.isEmpty() && name != mill::customerPrompt);
    }

    // 7
    if (dbListe1->visible()) assert(AktifLbl == (Frame4->visible() ? GünLbl : TxtLbl[station()]));

    for (int i = 0; i < TxtLbl.size(); ++i) checkPay(i);
#endif
}

void Form1::checkPay([[maybe_unused]] int Index) const
{
#ifndef NDEBUG
    using namespace pressing;
    const auto shown = [&]<class Amount>(pressing::Display<Amount> display) {
        std::optional<Amount> amount; // nothing where the text is no number
        base::passOver([&] { amount = read(*counter_, display, Index); });
        return amount;
    };
    const auto oil = shown(displays::oil), entitlement = shown(displays::entitlement);
    const auto left = shown(displays::handedOver);
    const auto fee = shown(displays::fee);

    // 8
    if (oil && entitlement && left) {
        const base::Regional& regional = surroundings_.regional;
        const QString rounded =
            base::formatNumber(mill::handedOutFor(*oil - *entitlement).value, base::wholePattern, regional);
        assert(*left == Litre{base::displayValue(rounded, regional)});
    }

    // 9
    if (Frame3[Index]->visible()) assert(!fee || *fee == Lira{0});
    if (!Frame3[Index]->visible()) assert(!entitlement || *entitlement == Kilogram{0});
#endif
}

} // namespace app
