#pragma once

#include <QDate>
#include <QString>

/// The texts that the report panel asks the database with. No window and no database here.
namespace reports {

using namespace Qt::StringLiterals;

/// First and last day of a report, both whole: from midnight to one second before the next.
struct Period {
    QDate first;
    QDate last;
    bool operator==(const Period&) const = default;
};

/// The picker that the operator changed.
enum class Picker { first, last };

/// The period with its days in order: where the first is later than the last, the day of the picker that did not
/// change takes the day of the one that did.
Period ordered(Period period, Picker changed);

/// The name that no customer may have: the row that carries it in the journal holds the sums of the last report.
inline const QString totalsName = u"Toplamlar"_s;

inline const QString customerTable = u"Cari"_s;
inline const QString journalTable = u"Hareket"_s;
inline const QString wholeJournal = u"Select * From Hareket Order By Tarih Asc;"_s;
inline const QString deleteTotals = u"DELETE FROM Hareket WHERE CariHar='Toplamlar'"_s;
inline const QString totalsCriteria = u"CariHar='Toplamlar'"_s;

/// What a report reads from the screen.
struct ReportQuestion {
    Period period;
    bool panelShown = false;     ///< `Frame4`
    bool reportSelected = false; ///< `Option1(1)`
    QString nameFilter;          ///< caption of `GünLbl`
    QString activeText;          ///< text of the active label: the name that a customer's report is of
};

/// "Tarih>=#11/05/2024 00:00:00# And Tarih<=#11/06/2024 23:59:59#": month first, whatever the regional settings say.
QString periodCondition(const Period& period);

/// The period and, unless the panel's report is of all customers, the name of the active label between quotes, as it
/// was typed. Error 3075 for a name with an apostrophe.
QString reportCondition(const ReportQuestion& question);

QString listingQuery(const QString& condition);
/// The four sums in the order of the journal's fields; the totals row of an earlier report never counts.
QString totalsQuery(const QString& condition);

} // namespace reports
