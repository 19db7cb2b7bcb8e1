#include "reports/period_report.h"

#include "base/error.h"

namespace reports {

namespace {

/// Positions in the journal.
enum JournalField { Tarih, Zeytin, Yağ, Yuzde, HakTut, Nakit, CariHar };

/// The totals row of the record set: found, or added at its end.
void writeTotals(store::RecordSet& rows, const QDateTime& now, const QList<store::FieldValue>& sums)
{
    rows.findFirst(totalsCriteria);
    if (rows.noMatch()) {
        rows.addNew();
        rows.setField(CariHar, store::FieldValue(totalsName));
    } else {
        rows.edit();
    }
    rows.setField(Tarih, store::FieldValue::date(now));
    rows.setField(Zeytin, sums.at(0));
    rows.setField(Yağ, sums.at(1));
    rows.setField(HakTut, sums.at(2));
    rows.setField(Nakit, sums.at(3));
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
    rows.leaveOut(totalsCriteria);
    database->execute(deleteTotals);
    if (rows.recordCount() != 0)
        writeTotals(rows, tools.now, tools.databases.connect(connection)->aggregate(totalsQuery(condition)));
    change.commit();
}

} // namespace

void RaporYenile(const ReportQuestion& question, const ReportTools& tools)
{
    store::DataSource& listing = tools.listing;
    const QString condition = reportCondition(question);
    listing.setRecordSource(listingQuery(condition));
    store::VeriYenile(listing, tools.processEvents);

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
