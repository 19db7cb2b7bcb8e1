// What always holds between two actions of the form. Our own bug where it does not: only builds with asserts look.

#include "app/form1.h"
#include "base/numbers.h"
#include "base/patterns.h"
#include "mill/queries.h"
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
    const base::Regional& regional = surroundings_.regional;
    const auto shown = [&](const FieldLabel* display) -> std::optional<double> {
        const QString& text = display->caption();
        if (!text.isEmpty() && !base::isNumeric(text, regional)) return std::nullopt;
        return base::displayValue(text, regional);
    };
    const auto oil = shown(Label3[Index]), entitlement = shown(HakTut[Index]), left = shown(Verilen[Index]);
    const auto fee = shown(NakitLbl[Index]);

    // 8
    if (oil && entitlement && left)
        assert(*left ==
               base::displayValue(base::formatNumber(*oil - *entitlement, base::wholePattern, regional), regional));

    // 9
    if (Frame3[Index]->visible()) assert(!fee || *fee == 0);
    if (!Frame3[Index]->visible()) assert(!entitlement || *entitlement == 0);
#endif
}

} // namespace app
