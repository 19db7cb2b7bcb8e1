#include "reports/period.h"

#include "mill/queries.h"

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

QString reportCondition(const ReportQuestion& question)
{
    const bool ofAllCustomers = question.panelShown && question.reportSelected && question.nameFilter.isEmpty();
    const QString condition = mill::periodCondition(question.period.first, question.period.last);
    return ofAllCustomers ? condition : condition + mill::andOfCustomer(question.activeText);
}

} // namespace reports
