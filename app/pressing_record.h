#pragma once

#include "base/regional.h"
#include "print/print_target.h"
#include "store/data_source.h"
#include "store/slip_note.h"

#include <QString>
#include <functional>

namespace app {

/// Writes what a printed slip leaves behind: the customer's terms into the register and the pressing into the journal,
/// in one change. A field that does not take its caption is passed over; the others are written. False when the
/// pressing is not in the journal afterwards.
bool storePressing(store::DataSource& customers, store::DataSource& journal, const store::SlipNote& slip,
                   const base::Regional& regional);

/// Settles the note that a stop in the middle of a slip has left: a slip that the printer took is stored, once; any
/// other job is cancelled and nothing is stored. Either way one line goes to `log`, and the note is gone.
void settleOpenSlip(store::Databases& databases, const QString& database, store::SlipNotes& notes,
                    print::PrintTarget& printer, const base::Regional& regional,
                    const std::function<void(const QString&)>& log);

} // namespace app
