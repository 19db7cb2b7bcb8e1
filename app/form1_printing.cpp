// The slip, which also stores the pressing; the print font; the counter switch.

#include "app/counter_screen.h"
#include "app/form1.h"
#include "app/resume_next.h"
#include "app/setting_names.h"
#include "base/numbers.h"
#include "pressing/rules.h"
#include "print/header_file.h"
#include "print/slip.h"

#include <QCoreApplication>

namespace app {

print::PrintFont Form1::printFont() const
{
    const SettingsStore& settings = surroundings_.settings;
    return {settings.get(programTitle, propertiesSection, QStringLiteral("Font"), QStringLiteral("Arial")),
            settings.get(programTitle, propertiesSection, QStringLiteral("Size"), QStringLiteral("8")),
            settings.get(programTitle, propertiesSection, QStringLiteral("Bold"), QStringLiteral("False")),
            settings.get(programTitle, propertiesSection, QStringLiteral("Ital"), QStringLiteral("False"))};
}

void Form1::YazCmd_Click(int Index)
{
    YazCmd[Index]->setEnabled(false);
    // Whatever happens below, the button comes back; taps made meanwhile meet it disabled and are dropped.
    struct ButtonBack {
        CommandButton& button;
        ~ButtonBack()
        {
            QCoreApplication::processEvents();
            button.setEnabled(true);
        }
    } buttonBack{*YazCmd[Index]};

    if (printSlip(station())) {
        storePressing(station());
        KapFrm[Index]->setVisible(Sayac->checked());
    }
    showFacts();
}

bool Form1::printSlip(int current)
{
    print::Printer printer(surroundings_.printer, surroundings_.now);
    try {
        print::Slip slip;
        slip.customer = TxtLbl[current]->caption();
        slip.olives = Label2[current]->caption();
        slip.oil = Label3[current]->caption();
        slip.percent = Haklbl[current]->caption();
        slip.entitlement = HakTut[current]->caption();
        slip.fee = NakitLbl[current]->caption();
        slip.handedOver = Verilen[current]->caption();
        slip.shareInOil = pressing::entitlementOfCurrent(*counter_);
        slip.containerKind = Combo1[current]->listIndex();
        slip.now = surroundings_.now();
        slip.font = printFont();
        slip.headerItems = print::headerItems(surroundings_.directory);
        slip.countContainers = [this, current](const print::Containers& containers) {
            kapSayisi(current) = containers.count;
            Label4[current]->setCaption(containers.display);
        };
        print::composeSlip(printer, slip, surroundings_.regional);
        printer.endDoc();
        return true;
    } catch (const base::RuntimeError&) {
        printer.killDoc();
        return false;
    }
}

void Form1::storePressing(int current)
{
    const base::Regional& regional = surroundings_.regional;
    // Both rows reach the disk together or not at all; which field of them fails is passed over.
    resumeNext([&] {
        store::Change change(DataCari.database());
        storeTerms(current);
        store::RecordSet* journal = nullptr;
        resumeNext([&] { journal = &DataHar.recordSet(); });
        if (journal) {
            resumeNext([&] { journal->addNew(); });
            resumeNext([&] { journal->setField(0, store::FieldValue::date(surroundings_.now())); });
            resumeNext([&] { journal->setField(1, Label2[current]->caption(), regional); });
            resumeNext([&] { journal->setField(2, Label3[current]->caption(), regional); });
            resumeNext([&] { journal->setField(3, Haklbl[current]->caption(), regional); });
            resumeNext([&] { journal->setField(4, HakTut[current]->caption(), regional); });
            resumeNext([&] { journal->setField(5, NakitLbl[current]->caption(), regional); });
            resumeNext([&] { journal->setField(6, TxtLbl[current]->caption(), regional); });
            resumeNext([&] { journal->update(); });
        }
        change.commit();
    });
}

void Form1::storeTerms(int current)
{
    const base::Regional& regional = surroundings_.regional;
    const QString name = TxtLbl[current]->caption();
    store::RecordSet* customers = nullptr;
    if (!resumeNext([&] { customers = &DataCari.recordSet(); })) return;

    // No current record, or one that is gone, counts as another customer: the name is added.
    bool another = true;
    resumeNext([&] { another = customers->field(0).text() != name; });
    if (another) {
        resumeNext([&] { customers->addNew(); });
        resumeNext([&] { customers->setField(0, name, regional); });
    } else {
        resumeNext([&] { customers->edit(); });
    }
    resumeNext([&] { customers->setField(1, Haklbl[current]->caption(), regional); });
    resumeNext([&] { customers->setField(2, Combo1[current]->text(), regional); });
    resumeNext([&] { customers->setField(3, NakitLbl[current]->caption(), regional); });
    resumeNext([&] {
        customers->update();
        // The same name again must find this row, without recalling what it just stored.
        if (another) customers->makeAddedCurrent();
    });
}

void Form1::YazFont_Click()
{
    FontChoice choice;
    try {
        const print::PrintFont stored = printFont();
        choice.name = stored.font;
        choice.size = base::toSingle(stored.size, surroundings_.regional);
        choice.bold = print::storedFlag(stored.bold);
        choice.italic = print::storedFlag(stored.italic);
        const std::optional<FontChoice> chosen = surroundings_.prompt.chooseFont(choice);
        if (chosen) {
            SettingsStore& settings = surroundings_.settings;
            settings.save(programTitle, propertiesSection, QStringLiteral("Font"), chosen->name);
            settings.save(programTitle, propertiesSection, QStringLiteral("Size"),
                          base::numberToText(chosen->size, surroundings_.regional));
            settings.saveFlag(programTitle, propertiesSection, QStringLiteral("Bold"), chosen->bold);
            settings.saveFlag(programTitle, propertiesSection, QStringLiteral("Ital"), chosen->italic);
        }
    } catch (const base::RuntimeError&) {
        // Any error ends the command where it is, as a cancel does.
    }
    activated();
}

void Form1::Sayac_Click()
{
    Sayac->setChecked(!Sayac->checked());
    surroundings_.settings.saveFlag(programTitle, propertiesSection, QStringLiteral("Sayac"), Sayac->checked());
}

} // namespace app
