#pragma once

#include <QString>

/// The texts that the customer register sends to the engine, and the two captions of its button.
///
/// A name is spliced in between single quotes as it stands. One that holds an apostrophe would end the quote and say
/// something else, in the worst case reach other customers' rows: such a text is refused here with the same error that
/// a broken statement gives (3075), so nothing is read and nothing is changed.
namespace store {

inline const QString saveCustomerCaption = QStringLiteral("Kaydet");
inline const QString deleteCustomerCaption = QStringLiteral("Kaydı Sil");

/// 'name', or error 3075 for a name with an apostrophe.
QString quoted(const QString& name);

QString customerSearch(const QString& typed);  ///< names that begin with what was typed, in name order
QString customerCriteria(const QString& name); ///< Unvan='name'
QString deletePressingsOf(const QString& customer);

} // namespace store
