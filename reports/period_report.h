#pragma once

#include "reports/period.h"
#include "store/data_source.h"
#include <QDateTime>

namespace reports {

/// What a report needs beside the question.
struct ReportTools {
    store::DataSource& listing; ///< `GünData`, the source behind the grid
    store::Databases& databases;
    QDateTime now; ///< the totals row is dated with it
    /// Called before the listing is opened. It must keep the operator's input back: a report begun inside this one
    /// would leave the other's question in the listing.
    std::function<void()> processEvents;
};

/// `RaporYenile`: lists the pressings that the question asks for and writes the row with their sums.
///
/// Afterwards the listing holds the pressings in the order of their time and, unless there are none, the totals row as
/// the last one; the first row is current. The journal holds no other totals row, and no other row of it has changed.
/// The old totals row goes and the new one comes in one change of the database: what fails in between, a power cut
/// included, leaves the old one.
///
/// Throws base::RuntimeError; a name with an apostrophe is error 3075 and has changed nothing.
void RaporYenile(const ReportQuestion& question, const ReportTools& tools);

} // namespace reports
