#pragma once

#include "mill/names.h"

#include <QDate>
#include <QString>

/// Every text that the mill's database is asked with. No database here.
///
/// The screen's own questions splice a name in between single quotes as it stands. One that holds an apostrophe would
/// end the quote and say something else, in the worst case reach other customers' rows: such a text is refused here
/// with the same error that a broken statement gives (3075), so nothing is read and nothing is changed. The questions
/// about a printed slip double the apostrophe instead: they must be answered for every name that a slip can carry.
namespace mill {

using namespace Qt::StringLiterals;

/// One of the names of mill/names.h as Qt holds texts.
inline QString text(std::u16string_view name) { return QStringView(name).toString(); }

inline const QString customerTable = text(Cari::table);
inline const QString journalTable = text(Hareket::table);
inline const QString totalsName = text(reserved::totals);
inline const QString customerPrompt = text(reserved::prompt);

// ---- The register ----

QString customerSearch(const QString& typed);      ///< names that begin with what was typed, in name order; refuses
QString customerCriteria(const QString& customer); ///< Unvan='name'; refuses
QString customerNamed(const QString& customer);    ///< the rows of exactly that name; doubles
inline const QString deleteCustomers = u"DELETE FROM "_s + customerTable;

// ---- The journal ----

inline const QString wholeJournal =
    u"Select * From "_s + journalTable + u" Order By "_s + text(Hareket::fields[Hareket::Tarih]) + u" Asc;"_s;
QString deletePressingsOf(const QString& customer); ///< refuses
inline const QString deletePressings = u"DELETE FROM "_s + journalTable;

// ---- The report ----

/// "Tarih>=#11/05/2024 00:00:00# And Tarih<=#11/06/2024 23:59:59#": both days whole, month first, whatever the regional
/// settings say.
QString periodCondition(QDate first, QDate last);
QString andOfCustomer(const QString& customer); ///< " And CariHar='name'"; refuses
QString pressingsWhere(const QString& condition);
/// The sums of Hareket::summed; the totals row of an earlier report never counts.
QString sumsWhere(const QString& condition);
inline const QString totalsCriteria = text(Hareket::fields[Hareket::CariHar]) + u"='"_s + totalsName + u'\'';
inline const QString deleteTotals = deletePressings + u" WHERE "_s + totalsCriteria;

} // namespace mill
