#include "pressing/keypad.h"

#include "base/letters.h"
#include "base/numbers.h"
#include "mill/queries.h"
#include "pressing/kept_displays.h"

using namespace Qt::StringLiterals;

namespace pressing {

const std::array<QString, keyCount>& keyCaptions()
{
    static const std::array<QString, keyCount> captions = {
        "A",       "B",  "C", "Ç", "D", "E", "F", "G", "Ğ", "H", "I", "İ", "J",   "K",  "L", "M", "N",
        "O",       "Ö",  "P", "R", "S", "Ş", "T", "U", "Ü", "V", "Y", "Z", "W",   "Q",  "X", ",", "Geri Sil",
        " Boşluk", "00", "0", "9", "8", "7", "6", "5", "4", "3", "2", "1", "Sil", "AB", "*"};
    return captions;
}

QString letterCaption(int key, const QString& now, bool capitals)
{
    if (key == keys::dotlessI) return capitals ? u"I"_s : u"ı"_s;
    if (key == keys::dottedI) return capitals ? u"İ"_s : u"i"_s;
    return capitals ? base::upperCase(now) : base::lowerCase(now);
}

QString caseKeyCaption(bool capitals) { return capitals ? u"AB"_s : u"ab"_s; }

namespace {

void press(StationScreen& screen, KeypadScreen& keypad, int key)
{
    if (!keypad.stationFrameEnabled() && !keypad.reportPanelShown()) return;

    if (base::trimBlanks(screen.activeCaption()) == mill::customerPrompt && !keypad.reportPanelShown())
        screen.setActiveCaption(QString());

    const QString keyText = keypad.keyCaption(key);
    const bool alwaysAccepted = key == keys::clear || key == keys::backspace || key == keys::doubleZero;
    // Told by the control's name: the two weights are Label2 and Label3, and take digits only.
    if (screen.activeName().contains("Label"_L1) && !alwaysAccepted && !base::isNumeric(keyText, screen.regional()))
        return;

    switch (key) {
    case keys::clear:
        screen.setActiveCaption(QString());
        break;
    case keys::letterCase:
        keypad.toggleCapitals();
        break;
    case keys::backspace: {
        const QString text = screen.activeCaption();
        if (!text.isEmpty()) screen.setActiveCaption(text.chopped(1));
        break;
    }
    case keys::space:
        screen.setActiveCaption(screen.activeCaption() + u' ');
        break;
    default:
        screen.setActiveCaption(screen.activeCaption() + keyText);
        break;
    }
    if (!keypad.capitals()) keypad.IlkHarfBuyut();
}

} // namespace

void keyPressed(StationScreen& screen, KeypadScreen& keypad, int key)
{
    allOrNothing(screen, [&] { press(screen, keypad, key); });
}

} // namespace pressing
