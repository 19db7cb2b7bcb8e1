#pragma once

#include <QDate>
#include <QString>

/// What a report asks for. No window and no database here.
namespace reports {

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

/// What a report reads from the screen.
struct ReportQuestion {
    Period period;
    bool panelShown = false;     ///< `Frame4`
    bool reportSelected = false; ///< `Option1(1)`
    QString nameFilter;          ///< caption of `GünLbl`
    QString activeText;          ///< text of the active label: the name that a customer's report is of
};

/// The period and, unless the panel's report is of all customers, the name of the active label between quotes, as it
/// was typed. Error 3075 for a name with an apostrophe.
QString reportCondition(const ReportQuestion& question);

} // namespace reports
