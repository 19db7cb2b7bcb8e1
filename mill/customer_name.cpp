#include "mill/customer_name.h"

#include "mill/queries.h"

using namespace Qt::StringLiterals;

namespace mill {

std::optional<QString> whyNoCustomer(const QString& name)
{
    const QString words = name.trimmed();
    if (words.isEmpty()) return u"Müşterinin adı boş. Adı yazın ya da listeden seçin."_s;
    if (words == customerPrompt) return u"Müşteri seçilmedi. Adı yazın ya da listeden seçin."_s;
    if (words.compare(totalsName, Qt::CaseInsensitive) == 0)
        return u"“%1” raporun toplam satırının adıdır, bir müşterinin adı olamaz. Başka bir ad yazın."_s.arg(name);
    return std::nullopt;
}

} // namespace mill
