#include "counter/slip_road.h"

#include "base/pass_over.h"
#include "mill/queries.h"
#include "print/header_file.h"

using namespace Qt::StringLiterals;

namespace counter {
namespace {

using base::passOver;
using mill::Cari, mill::Hareket;

void writeTerms(store::RecordSet& customers, const mill::Pressing& pressing, const base::Regional& regional)
{
    // No current record, or one that is gone, counts as another customer: the name is added.
    bool another = true;
    passOver([&] { another = customers.field(Cari::Unvan).text() != pressing.customer; });
    if (another) {
        passOver([&] { customers.addNew(); });
        passOver([&] { customers.setField(Cari::Unvan, pressing.customer, regional); });
    } else {
        passOver([&] { customers.edit(); });
    }
    passOver([&] { customers.setField(Cari::Yuzde, pressing.percentage, regional); });
    passOver([&] { customers.setField(Cari::Kap, pressing.container, regional); });
    passOver([&] { customers.setField(Cari::Nakit, pressing.fee, regional); });
    passOver([&] {
        customers.update();
        // The same name again must find this row, without recalling what it just stored.
        if (another) customers.makeAddedCurrent();
    });
}

bool writePressing(store::RecordSet& journal, const store::SlipNote& slip, const base::Regional& regional)
{
    const mill::Pressing& pressing = slip.pressing;
    passOver([&] { journal.addNew(); });
    passOver([&] { journal.setField(Hareket::Tarih, store::DateDays{slip.moment}); });
    const std::pair<Hareket::Field, const QString&> texts[] = {
        {Hareket::Zeytin, pressing.olives},      {Hareket::Yağ, pressing.oil},   {Hareket::Yuzde, pressing.percentage},
        {Hareket::HakTut, pressing.entitlement}, {Hareket::Nakit, pressing.fee}, {Hareket::CariHar, pressing.customer},
    };
    for (const auto& entry : texts) passOver([&] { journal.setField(entry.first, entry.second, regional); });
    return !passOver([&] { journal.update(); });
}

QString described(const store::SlipNote& slip)
{
    return u"fiş %1 (%2, %3 kg)"_s.arg(slip.job).arg(slip.pressing.customer, slip.pressing.olives);
}

} // namespace

bool book(store::DataSource& customers, store::DataSource& journal, const store::SlipNote& slip,
          const base::Regional& regional)
{
    bool booked = false;
    passOver([&] {
        store::Change change(customers.database());
        bool added = false;
        passOver([&] { writeTerms(customers.recordSet(), slip.pressing, regional); });
        passOver([&] { added = writePressing(journal.recordSet(), slip, regional); });
        change.commit();
        booked = added;
    });
    return booked;
}

bool SlipRoad::printAndBook(print::Slip slip)
{
    // The slip would leave and its pressing be lost.
    if (at_.journal.hasRecordSet())
        if (const std::optional<QString> why = at_.journal.database().whyReadOnly(mill::journalTable))
            throw base::RuntimeError(base::errors::readOnlyDatabase, *why);

    const std::optional<store::SlipNote> note = print(std::move(slip));
    if (!note) return false;
    if (book(at_.customers, at_.journal, *note, at_.regional)) passOver([&] { at_.notes.strike(); });
    return true;
}

std::optional<store::SlipNote> SlipRoad::print(print::Slip slip)
{
    print::Printer printer(at_.printer, at_.now);
    try {
        // Without an open journal the pressing would be lost: then no slip either.
        if (!at_.journal.hasRecordSet()) at_.journal.refresh();
        passOver([&] {
            if (at_.notes.open()) recover();
        });
        slip.now = at_.now();
        slip.headerItems = print::headerItems(at_.directory);
        print::composeSlip(printer, slip, at_.regional);
        const std::optional<print::Document> document = printer.takeDoc();
        if (!document) return std::nullopt;

        // The job comes first: its number stands in the note before a page leaves, so that a start after a crash can
        // ask the printer what became of the slip.
        store::SlipNote note = noteOf(slip.pressing);
        note.job = at_.printer.createJob(*document);
        try {
            at_.notes.write(note);
        } catch (const base::RuntimeError&) {
            at_.printer.cancel(note.job);
            throw;
        }
        try {
            at_.printer.sendAndFinish(note.job, *document);
        } catch (const base::RuntimeError&) {
            at_.notes.strike();
            throw;
        }
        return note;
    } catch (const base::RuntimeError&) {
        printer.killDoc();
        return std::nullopt;
    }
}

store::SlipNote SlipRoad::noteOf(const mill::Pressing& pressing)
{
    store::SlipNote note;
    note.pressing = pressing;
    note.moment = std::get<store::DateDays>(store::FieldValue::date(at_.now()).raw()).days;
    note.sameBefore = store::pressingsAt(at_.journal.database(), pressing.customer, note.moment);
    return note;
}

void SlipRoad::recover()
{
    const std::optional<store::SlipNote> slip = at_.notes.open();
    if (!slip) return at_.notes.strike();

    if (!at_.printer.taken(slip->job)) {
        at_.printer.cancel(slip->job);
        at_.notes.strike();
        return at_.log.write(described(*slip) + u": yazıcıya ulaşmamış, iptal edildi; kayıt yapılmadı"_s);
    }
    const QString database = at_.customers.databaseName();
    const std::shared_ptr<store::Engine> engine = at_.databases.open(database);
    if (store::pressingsAt(*engine, slip->pressing.customer, slip->moment) > slip->sameBefore) {
        at_.notes.strike();
        return at_.log.write(described(*slip) + u": basılmış ve kaydedilmiş"_s);
    }
    // Sources of its own: what the screen has searched is another customer's, and its place must stay.
    store::DataSource customers(at_.databases);
    store::DataSource journal(at_.databases);
    customers.setRecordSource(mill::customerNamed(slip->pressing.customer));
    journal.setRecordSource(mill::journalTable);
    for (store::DataSource* source : {&customers, &journal}) {
        source->setDatabaseName(database);
        source->refresh();
    }
    book(customers, journal, *slip, at_.regional);
    at_.notes.strike();
    at_.log.write(described(*slip) + u": basılmış, kaydı şimdi yapıldı"_s);
}

} // namespace counter
