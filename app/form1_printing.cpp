// The slip, which also stores the pressing; the print font; the counter switch.

#include "app/counter_screen.h"
#include "app/form1.h"
#include "app/setting_names.h"
#include "base/flag_text.h"
#include "base/numbers.h"
#include "base/pass_over.h"
#include "pressing/containers.h"
#include "pressing/fraction.h"
#include "pressing/rules.h"

using namespace Qt::StringLiterals;

namespace app {

print::PrintFont Form1::printFont() const
{
    const SettingsStore& settings = surroundings_.settings;
    return {settings.get(programTitle, propertiesSection, setting_keys::font, u"Arial"_s),
            settings.get(programTitle, propertiesSection, setting_keys::fontSize, u"8"_s),
            settings.get(programTitle, propertiesSection, setting_keys::bold, base::flagText(false)),
            settings.get(programTitle, propertiesSection, setting_keys::italic, base::flagText(false))};
}

void Form1::YazCmd_Click(int Index)
{
    const ButtonAtWork printing(*YazCmd[Index]);
    const int current = station();
    dbListe1->setVisible(false); // a name picked after the slip would be another one
    base::passOver([this] { pressing::finishFraction(*counter_); });
    print::Slip slip;
    slip.pressing = pressing::pressingAt(*counter_, current);
    slip.handedOver = Verilen[current]->caption();
    slip.shareInOil = pressing::entitlementOfCurrent(*counter_);
    slip.font = printFont();
    slip.countContainers = [this, current] { return pressing::countContainers(*counter_, current); };
    status->setNotice({});
    const counter::SlipOutcome outcome = slipRoad_.printAndBook(std::move(slip), origins_.of(current));
    if (outcome.printed) KapFrm[Index]->setVisible(Sayac->checked());
    captionKaydet(); // the name may have become a customer's
    status->setNotice(outcome.notice);
    showFacts();
}

void Form1::YazFont_Click()
{
    bool shown = false;
    try {
        const print::PrintFont stored = printFont();
        FontChoice choice;
        choice.name = stored.font;
        choice.size = base::toSingle(stored.size, surroundings_.regional);
        choice.bold = base::flagOf(stored.bold);
        choice.italic = base::flagOf(stored.italic);
        shown = true;
        const std::optional<FontChoice> chosen = surroundings_.prompt.chooseFont(choice);
        if (chosen) {
            SettingsStore& settings = surroundings_.settings;
            settings.save(programTitle, propertiesSection, setting_keys::font, chosen->name);
            settings.save(programTitle, propertiesSection, setting_keys::fontSize,
                          base::numberToText(chosen->size, surroundings_.regional));
            settings.saveFlag(programTitle, propertiesSection, setting_keys::bold, chosen->bold);
            settings.saveFlag(programTitle, propertiesSection, setting_keys::italic, chosen->italic);
        }
    } catch (const base::RuntimeError&) {
        // Any error ends the command where it is, as a cancel does.
    }
    if (shown) activated();
}

void Form1::Sayac_Click()
{
    Sayac->setChecked(!Sayac->checked());
    surroundings_.settings.saveFlag(programTitle, propertiesSection, setting_keys::countsContainers, Sayac->checked());
}

} // namespace app
