#include "reports/statement_rows.h"

#include "base/error.h"
#include "mill/queries.h"

namespace reports {

namespace {

int fieldNamed(const store::RecordSet& rows, const QString& name)
{
    for (std::size_t i = 0; i < rows.fields().size(); ++i)
        if (rows.fields()[i].name == name) return static_cast<int>(i);
    throw base::runtimeError(base::errors::noSuchField);
}

using mill::Hareket;

/// Customers are no pressings, and have no name of sums.
bool listsPressings(const store::RecordSet& rows) { return rows.fields().size() > Hareket::CariHar; }

bool endsWithSums(store::RecordSet& shown)
{
    if (shown.size() == 0 || !listsPressings(shown)) return false;
    return shown.fieldAt(shown.size() - 1, Hareket::CariHar).text() == mill::totalsName;
}

} // namespace

StatementRows::StatementRows(store::RecordSet& rows, store::RecordSet& shown)
    : rows_(rows), shown_(shown), sumsLast_(endsWithSums(shown))
{
    if (sumsLast_) rows_.leaveOut(mill::totalsCriteria);
}

bool StatementRows::next()
{
    if (at_ == At::rows) rows_.moveNext();
    if (at_ == At::beginning || at_ == At::rows)
        at_ = !rows_.eof() ? At::rows : sumsLast_ ? At::sums : At::end;
    else
        at_ = At::end;
    return at_ != At::end;
}

store::FieldValue StatementRows::value(const QString& field)
{
    if (at_ == At::sums) return shown_.fieldAt(shown_.size() - 1, fieldNamed(shown_, field));
    return rows_.field(fieldNamed(rows_, field));
}

bool StatementRows::onSums()
{
    if (at_ != At::rows) return at_ == At::sums;
    return listsPressings(rows_) && rows_.field(Hareket::CariHar).text() == mill::totalsName;
}

} // namespace reports
