// What always holds between two actions of the form. Our own bug where it does not: only builds with asserts look.

#include "app/form1.h"

#include "pressing/rules.h"

#include <cassert>

namespace app {

void Form1::checkInvariants() const
{
#ifndef NDEBUG
    // 1
    assert(AktifKontrol == 0 || AktifKontrol == 1 || AktifKontrol == 999);

    // 2
    for (int i = 0; i < Frame1.size(); ++i) assert(Frame1[i]->enabled() || Frame1[i]->backColor() != colour::green);
    assert(Frame1[0]->enabled() || Frame1[1]->enabled());

    // 3
    for (const FieldLabel* field : findChildren<const FieldLabel*>())
        assert((field->backColor() == colour::cyan) == (field == AktifLbl));

    // 4
    for (int i = 0; i < Frame3.size(); ++i) {
        assert(HakVar[static_cast<std::size_t>(i)] == Frame3[i]->visible());
        assert((HakCmd[i]->caption() == pressing::entitlementOn) == Frame3[i]->visible());
    }

    // 5
    assert(Dosya->isEnabled() != Frame4->visible());
#endif
}

} // namespace app
