#include "app/pressing_record.h"

#include "app/resume_next.h"

using namespace Qt::StringLiterals;

namespace app {
namespace {

void storeTerms(store::RecordSet& customers, const store::SlipNote& slip, const base::Regional& regional)
{
    // No current record, or one that is gone, counts as another customer: the name is added.
    bool another = true;
    resumeNext([&] { another = customers.field(0).text() != slip.customer; });
    if (another) {
        resumeNext([&] { customers.addNew(); });
        resumeNext([&] { customers.setField(0, slip.customer, regional); });
    } else {
        resumeNext([&] { customers.edit(); });
    }
    resumeNext([&] { customers.setField(1, slip.percentage, regional); });
    resumeNext([&] { customers.setField(2, slip.container, regional); });
    resumeNext([&] { customers.setField(3, slip.fee, regional); });
    resumeNext([&] {
        customers.update();
        // The same name again must find this row, without recalling what it just stored.
        if (another) customers.makeAddedCurrent();
    });
}

bool storeJournal(store::RecordSet& journal, const store::SlipNote& slip, const base::Regional& regional)
{
    resumeNext([&] { journal.addNew(); });
    resumeNext([&] { journal.setField(0, store::DateDays{slip.moment}); });
    resumeNext([&] { journal.setField(1, slip.olives, regional); });
    resumeNext([&] { journal.setField(2, slip.oil, regional); });
    resumeNext([&] { journal.setField(3, slip.percentage, regional); });
    resumeNext([&] { journal.setField(4, slip.entitlement, regional); });
    resumeNext([&] { journal.setField(5, slip.fee, regional); });
    resumeNext([&] { journal.setField(6, slip.customer, regional); });
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
    customers.setRecordSource(u"Select * From Cari Where Unvan='%1'"_s.arg(
        QString(slip->customer).replace(QLatin1Char('\''), QLatin1String("''"))));
    customers.refresh();
    store::DataSource journal(databases);
    journal.setDatabaseName(database);
    journal.setRecordSource(u"Hareket"_s);
    journal.refresh();
    storePressing(customers, journal, *slip, regional);
    notes.strike();
    log(what + u": basılmış, kaydı şimdi yapıldı"_s);
}

} // namespace app
