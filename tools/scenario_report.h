#pragma once

#include "store/engine.h"

#include <QAbstractItemModel>
#include <QDate>
#include <QString>

namespace scenario {

/// A report as somebody with paper and pencil would make it from the rows of `Hareket`, without a query: the pressings
/// from the first to the last day, of one customer unless the name is empty, in the order of their time, and under them
/// the sums. Compares it with what the grid shows, cell by cell under Turkish settings, and with the table, which must
/// hold just one totals row then, and none when the days have no pressings.
///
/// Returns what differs; empty when nothing does.
QString differenceFromReport(store::Engine& database, const QAbstractItemModel& grid, const QDate& first,
                             const QDate& last, const QString& customer);

} // namespace scenario
