// The slip, which also stores the pressing; the print font; the counter switch.

#include "app/counter_screen.h"
#include "app/form1.h"
#include "app/pressing_record.h"
#include "app/resume_next.h"
#include "app/setting_names.h"
#include "base/numbers.h"
#include "mill/queries.h"
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

    const int current = station();
    // The slip would leave and its pressing be lost.
    if (DataHar.hasRecordSet())
        if (const std::optional<QString> why = DataHar.database().whyReadOnly(mill::journalTable))
            throw base::RuntimeError(base::errors::readOnlyDatabase, *why);
    if (const std::optional<store::SlipNote> slip = printSlip(current)) {
        // A pressing that the disk refused keeps its note: the next slip or the next start stores it.
        if (app::storePressing(DataCari, DataHar, *slip, surroundings_.regional))
            resumeNext([&] { surroundings_.slips.strike(); });
        if (surroundings_.backups) surroundings_.backups->pressingStored(DataHar.database(), surroundings_.now());
        KapFrm[Index]->setVisible(Sayac->checked());
    }
    showFacts();
}

std::optional<store::SlipNote> Form1::printSlip(int current)
{
    print::PrintTarget& target = surroundings_.printer;
    print::Printer printer(target, surroundings_.now);
    try {
        // Without an open journal the pressing would be lost: then no slip either.
        if (!DataHar.hasRecordSet()) DataHar.refresh();
        resumeNext([&] {
            if (surroundings_.slips.open()) settleOpenSlip();
        });
        composeSlip(printer, current);
        const std::optional<print::Document> document = printer.takeDoc();
        if (!document) return std::nullopt;

        // The job comes first: its number stands in the note before a page leaves, so that a start after a crash can
        // ask the printer what became of the slip.
        store::SlipNote slip = slipNote(current);
        slip.job = target.createJob(*document);
        try {
            surroundings_.slips.write(slip);
        } catch (const base::RuntimeError&) {
            target.cancel(slip.job);
            throw;
        }
        try {
            target.sendAndFinish(slip.job, *document);
        } catch (const base::RuntimeError&) {
            surroundings_.slips.strike();
            throw;
        }
        return slip;
    } catch (const base::RuntimeError&) {
        printer.killDoc();
        return std::nullopt;
    }
}

void Form1::composeSlip(print::Printer& printer, int current)
{
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
}

store::SlipNote Form1::slipNote(int current)
{
    store::SlipNote slip;
    slip.moment = std::get<store::DateDays>(store::FieldValue::date(surroundings_.now()).raw()).days;
    slip.olives = Label2[current]->caption();
    slip.oil = Label3[current]->caption();
    slip.percentage = Haklbl[current]->caption();
    slip.entitlement = HakTut[current]->caption();
    slip.fee = NakitLbl[current]->caption();
    slip.customer = TxtLbl[current]->caption();
    slip.container = Combo1[current]->text();
    slip.sameBefore = store::pressingsAt(DataHar.database(), slip.customer, slip.moment);
    return slip;
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
            settings.save(programTitle, propertiesSection, QStringLiteral("Font"), chosen->name);
            settings.save(programTitle, propertiesSection, QStringLiteral("Size"),
                          base::numberToText(chosen->size, surroundings_.regional));
            settings.saveFlag(programTitle, propertiesSection, QStringLiteral("Bold"), chosen->bold);
            settings.saveFlag(programTitle, propertiesSection, QStringLiteral("Ital"), chosen->italic);
        }
    } catch (const base::RuntimeError&) {
        // Any error ends the command where it is, as a cancel does.
    }
    if (shown) activated();
}

void Form1::Sayac_Click()
{
    Sayac->setChecked(!Sayac->checked());
    surroundings_.settings.saveFlag(programTitle, propertiesSection, QStringLiteral("Sayac"), Sayac->checked());
}

} // namespace app
