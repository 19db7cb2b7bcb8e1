#include "store/data_source.h"

#include "base/error.h"

namespace store {

void DataSource::setDatabaseName(const QString& path)
{
    if (databaseName_ == path) return;
    databaseName_ = path;
    engine_.reset();
}

Engine& DataSource::database()
{
    if (!engine_) engine_ = databases_.open(databaseName_);
    return *engine_;
}

void DataSource::refresh()
{
    refreshQuietly();
    if (records_.size() > 0 && reposition_) reposition_();
}

void DataSource::refreshQuietly()
{
    Listing listing = database().open(recordSource_);
    records_.open(engine_, std::move(listing));
    open_ = true;
    if (refreshed_) refreshed_();
}

RecordSet& DataSource::recordSet()
{
    if (!open_) throw base::runtimeError(base::errors::notSet);
    return records_;
}

void DataSource::onReposition(std::function<void()> reposition)
{
    reposition_ = reposition;
    records_.onReposition(std::move(reposition));
}

void VeriYenile(DataSource& source, const std::function<void()>& processEvents)
{
    if (processEvents) processEvents();
    source.refresh();
    RecordSet& records = source.recordSet();
    if (records.recordCount() == 0) return;
    if (!records.bof()) records.moveLast();
    if (!records.eof()) records.moveFirst();
}

} // namespace store
