#pragma once

#include "store/record_set.h"

namespace reports {

/// The rows of a statement: those of the listing that the grid shows, asked for anew, so that the grid stays where it
/// is. Sums that the grid shows as its last row come last here too, whatever their moment and whoever the listing is
/// of: asked for anew by period or name, they would be missing, or stand among the pressings.
class StatementRows {
public:
    /// `rows` is the listing asked for anew, `shown` the one of the grid. Both outlive this.
    StatementRows(store::RecordSet& rows, store::RecordSet& shown);

    /// Goes to the first row, at the next call to the second ...; false after the last.
    bool next();
    /// Of the present row; error 3265 if the listing has no such field.
    store::FieldValue value(const QString& field);
    /// Whether the present row is sums: those that come last, or old ones among the pressings.
    bool onSums();

private:
    enum class At { beginning, rows, sums, end };

    store::RecordSet& rows_;
    store::RecordSet& shown_;
    bool sumsLast_ = false;
    At at_ = At::beginning;
};

} // namespace reports
