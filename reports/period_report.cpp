#include "reports/period_report.h"

#include "base/error.h"
#include "mill/queries.h"

namespace reports {

namespace {

using mill::Hareket;

/// The totals row of the record set: found, or added at its end.
void writeTotals(store::RecordSet& rows, const QDateTime& now, const QList<store::FieldValue>& sums)
{
    rows.findFirst(mill::totalsCriteria);
    if (rows.noMatch()) {
        rows.addNew();
        rows.setField(Hareket::CariHar, store::FieldValue(mill::totalsName));
    } else {
        rows.edit();
    }
    rows.setField(Hareket::Tarih, store::FieldValue::date(now));
    for (qsizetype i = 0; const Hareket::Field field : Hareket::summed) rows.setField(field, sums.at(i++));
    rows.update();
}

/// The old totals row goes, the new one comes, both or neither.
void replaceTotals(const QString& condition, const ReportTools& tools)
{
    const std::shared_ptr<store::Engine> database = tools.databases.open(tools.listing.databaseName());
    const QString connection = store::connectionText(tools.listing.databaseName());
    store::RecordSet& rows = tools.listing.recordSet();
    store::Change change(*database);
    // The listing was opened with the old totals row in it, if its moment lies in the period.
    rows.leaveOut(mill::totalsCriteria);
    database->execute(mill::deleteTotals);
    if (rows.recordCount() != 0)
        writeTotals(rows, tools.now, tools.databases.connect(connection)->aggregate(mill::sumsWhere(condition)));
    change.commit();
}

} // namespace

void RaporYenile(const ReportQuestion& question, const ReportTools& tools)
{
    store::DataSource& listing = tools.listing;
    const QString condition = reportCondition(question);
    const QString before = listing.recordSource();
    listing.setRecordSource(mill::pressingsWhere(condition));
    try {
        store::VeriYenile(listing, tools.processEvents);
    } catch (const base::RuntimeError&) {
        listing.setRecordSource(before); // what it lists still
        throw;
    }

    try {
        replaceTotals(condition, tools);
    } catch (const base::RuntimeError&) {
        // The database is as it was; the listing must say so too, if it still can be read.
        try {
            listing.refresh();
        } catch (const base::RuntimeError&) {
        }
        throw;
    }
}

} // namespace reports
