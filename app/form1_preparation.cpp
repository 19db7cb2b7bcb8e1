// What the first letter, slip and dialog of the day would wait for, done beforehand.

#include "app/form1.h"
#include "base/pass_over.h"
#include "mill/queries.h"
#include "print/folder_target.h"
#include "print/header_file.h"
#include "print/slip.h"
#include "scale/frm_properties.h"

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace app {

void Form1::getReady()
{
    if (!DataCari.hasRecordSet()) return; // reported already
    const QStringList written{mill::customerTable, mill::journalTable};
    const auto whetherVerified = [this, written] {
        bool done = true;
        base::passOver([&] { done = DataCari.database().prepareWriting(written); });
        return done;
    };
    preparation_.add([this, whetherVerified] {
        bool done = true;
        const QString name = mill::text(mill::Cari::fields[mill::Cari::Unvan]);
        base::passOver([&] { done = DataCari.database().prepareSearch(mill::customerTable, name); });
        // Begins when the names are in order: on a machine with two cores two threads at once would take from the keys.
        if (done) whetherVerified();
        return done;
    });
    preparation_.addForLater(whetherVerified);
    const auto inOnePart = [this](const std::function<void()>& work) {
        preparation_.addForLater([work] {
            base::passOver(work);
            return true;
        });
    };
    const auto reasons = std::make_shared<QStringList>();
    for (const QString& table : written)
        inOnePart([this, table, reasons] {
            // A table that is not there is reported by what opens it.
            if (const std::optional<QString> why = DataCari.database().whyReadOnly(table)) *reasons << *why;
        });
    // Before a slip and a report the totals rows are looked for; where they are the engine remembers.
    inOnePart([this] { DataCari.database().open(mill::pressingsWhere(mill::totalsCriteria)); });
    preparation_.addForLater([this, reasons] {
        if (!reasons->isEmpty()) note(reasons->join(u"\n\n"_s));
        return true;
    });
    inOnePart([this] { composeSampleSlip(); });
    preparation_.addForLater([this] {
        surroundings_.prompt.getReady();
        return true;
    });
    inOnePart([this] { drawSampleDialogs(); });
    preparation_.begin();
}

void Form1::composeSampleSlip()
{
    // For a folder, so that no printer is asked; it writes nothing before a job is created.
    print::FolderTarget nowhere(surroundings_.directory);
    print::Printer printer(nowhere, surroundings_.now);
    print::Slip sample;
    sample.pressing = {mill::customerPrompt, u"1"_s, u"1"_s, u"1"_s, u"1"_s, u"1"_s, {}};
    sample.handedOver = u"1"_s;
    sample.now = surroundings_.now();
    sample.font = printFont();
    sample.headerItems = print::headerItems(surroundings_.directory);
    sample.countContainers = [] { return mill::Litre{5}; };
    print::composeSlip(printer, sample, surroundings_.regional);
    printer.takeDoc();
}

void Form1::drawSampleDialogs()
{
    dbListe1->grab();
    scale::frmProperties port(*TeraziComm, propertiesDoors(), this);
    port.Form_Load();
    port.grab();
}

} // namespace app
