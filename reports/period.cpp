#include "reports/period.h"

#include "base/patterns.h"
#include "store/customer_texts.h"

using namespace Qt::StringLiterals;

namespace reports {

Period ordered(Period period, Picker changed)
{
    if (period.first > period.last) {
        if (changed == Picker::first)
            period.last = period.first;
        else
            period.first = period.last;
    }
    return period;
}

QString periodCondition(const Period& period)
{
    return u"Tarih>="_s + base::dateLiteral(period.first, u"00:00:00") + u" And Tarih<="_s +
           base::dateLiteral(period.last, u"23:59:59");
}

QString reportCondition(const ReportQuestion& question)
{
    const bool ofAllCustomers = question.panelShown && question.reportSelected && question.nameFilter.isEmpty();
    const QString condition = periodCondition(question.period);
    return ofAllCustomers ? condition : condition + u" And CariHar="_s + store::quoted(question.activeText);
}

QString listingQuery(const QString& condition)
{
    return u"Select * From Hareket where "_s + condition + u" Order By Tarih Asc"_s;
}

QString totalsQuery(const QString& condition)
{
    return u"Select Sum(Zeytin),Sum(Yağ),Sum(HakTut),Sum(Nakit) FROM Hareket Where CariHar<>'Toplamlar' And "_s +
           condition;
}

} // namespace reports
