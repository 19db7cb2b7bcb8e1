#include "store/customer_texts.h"

#include "base/error.h"

namespace store {

QString quoted(const QString& name)
{
    if (name.contains(QLatin1Char('\'')))
        throw base::RuntimeError(
            base::errors::querySyntax,
            QStringLiteral("“%1” adında kesme işareti (') var; bu adla arama ve kayıt yapılamaz. Adı "
                           "kesme işareti olmadan yazın.")
                .arg(name));
    return QLatin1Char('\'') + name + QLatin1Char('\'');
}

QString customerSearch(const QString& typed)
{
    return QStringLiteral("Select * From Cari where Unvan Like ") + quoted(typed).chopped(1) +
           QStringLiteral("*' Order By Unvan Asc");
}

QString customerCriteria(const QString& name) { return QStringLiteral("Unvan=") + quoted(name); }

QString deletePressingsOf(const QString& customer)
{
    return QStringLiteral("DELETE FROM Hareket Where CariHar=") + quoted(customer);
}

} // namespace store
