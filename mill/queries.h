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

inline const QString customerTable = QString::fromStdU16String(std::u16string(Cari::table));
inline const QString journalTable = QString::fromStdU16String(std::u16string(Hareket::table));
inline const QString totalsName = QString::fromStdU16String(std::u16string(reserved::totals));
inline const QString customerPrompt = QString::fromStdU16String(std::u16string(reserved::prompt));

// ---- The register ----

QString customerSearch(const QString& typed);  ///< names that begin with what was typed, in name order; refuses
QString customerCriteria(const QString& name); ///< Unvan='name'; refuses
QString customerNamed(const QString& name);    ///< the rows of exactly that name; doubles
inline const QString deleteCustomers = u"DELETE FROM Cari"_s;

// ---- The journal ----

inline const QString wholeJournal = u"Select * From Hareket Order By Tarih Asc;"_s;
QString deletePressingsOf(const QString& customer); ///< refuses
inline const QString deletePressings = u"DELETE FROM Hareket"_s;

// ---- The report ----

/// "Tarih>=#11/05/2024 00:00:00# And Tarih<=#11/06/2024 23:59:59#": both days whole, month first, whatever the regional
/// settings say.
QString periodCondition(QDate first, QDate last);
QString andOfCustomer(const QString& name); ///< " And CariHar='name'"; refuses
QString pressingsWhere(const QString& condition);
/// The four sums in the order of the journal's fields; the totals row of an earlier report never counts.
QString sumsWhere(const QString& condition);
inline const QString deleteTotals = u"DELETE FROM Hareket WHERE CariHar='Toplamlar'"_s;
inline const QString totalsCriteria = u"CariHar='Toplamlar'"_s;

} // namespace mill
