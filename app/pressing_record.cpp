#include "app/pressing_record.h"

#include "app/resume_next.h"
#include "mill/queries.h"

using namespace Qt::StringLiterals;

namespace app {
namespace {

using mill::Cari, mill::Hareket;

void storeTerms(store::RecordSet& customers, const store::SlipNote& slip, const base::Regional& regional)
{
    // No current record, or one that is gone, counts as another customer: the name is added.
    bool another = true;
    resumeNext([&] { another = customers.field(Cari::Unvan).text() != slip.customer; });
    if (another) {
        resumeNext([&] { customers.addNew(); });
        resumeNext([&] { customers.setField(Cari::Unvan, slip.customer, regional); });
    } else {
        resumeNext([&] { customers.edit(); });
    }
    resumeNext([&] { customers.setField(Cari::Yuzde, slip.percentage, regional); });
    resumeNext([&] { customers.setField(Cari::Kap, slip.container, regional); });
    resumeNext([&] { customers.setField(Cari::Nakit, slip.fee, regional); });
    resumeNext([&] {
        customers.update();
        // The same name again must find this row, without recalling what it just stored.
        if (another) customers.makeAddedCurrent();
    });
}

bool storeJournal(store::RecordSet& journal, const store::SlipNote& slip, const base::Regional& regional)
{
    resumeNext([&] { journal.addNew(); });
    resumeNext([&] { journal.setField(Hareket::Tarih, store::DateDays{slip.moment}); });
    resumeNext([&] { journal.setField(Hareket::Zeytin, slip.olives, regional); });
    resumeNext([&] { journal.setField(Hareket::Yağ, slip.oil, regional); });
    resumeNext([&] { journal.setField(Hareket::Yuzde, slip.percentage, regional); });
    resumeNext([&] { journal.setField(Hareket::HakTut, slip.entitlement, regional); });
    resumeNext([&] { journal.setField(Hareket::Nakit, slip.fee, regional); });
    resumeNext([&] { journal.setField(Hareket::CariHar, slip.customer, regional); });
    bool stored = false;
    resumeNext([&] {
        journal.update();
        stored = true;
    });
    return stored;
}

} // namespace

bool storePressing(store::DataSource& customers, store::DataSource& journal, const store::SlipNote& slip,
                   const base::Regional& regional)
{
    bool stored = false;
    resumeNext([&] {
        store::Change change(customers.database());
        bool added = false;
        resumeNext([&] { storeTerms(customers.recordSet(), slip, regional); });
        resumeNext([&] { added = storeJournal(journal.recordSet(), slip, regional); });
        change.commit();
        stored = added;
    });
    return stored;
}

void settleOpenSlip(store::Databases& databases, const QString& database, store::SlipNotes& notes,
                    print::PrintTarget& printer, const base::Regional& regional,
                    const std::function<void(const QString&)>& log)
{
    const std::optional<store::SlipNote> slip = notes.open();
    if (!slip) return notes.strike();

    const QString what = u"fiş %1 (%2, %3 kg)"_s.arg(slip->job).arg(slip->customer, slip->olives);
    if (!printer.taken(slip->job)) {
        printer.cancel(slip->job);
        notes.strike();
        return log(what + u": yazıcıya ulaşmamış, iptal edildi; kayıt yapılmadı"_s);
    }
    const std::shared_ptr<store::Engine> engine = databases.open(database);
    if (store::pressingsAt(*engine, slip->customer, slip->moment) > slip->sameBefore) {
        notes.strike();
        return log(what + u": basılmış ve kaydedilmiş"_s);
    }
    store::DataSource customers(databases);
    customers.setDatabaseName(database);
    customers.setRecordSource(mill::customerNamed(slip->customer));
    customers.refresh();
    store::DataSource journal(databases);
    journal.setDatabaseName(database);
    journal.setRecordSource(mill::journalTable);
    journal.refresh();
    storePressing(customers, journal, *slip, regional);
    notes.strike();
    log(what + u": basılmış, kaydı şimdi yapıldı"_s);
}

} // namespace app
