#pragma once

#include "store/record_set.h"

namespace store {

/// A data source of the screen: a database file, a record source (table name or Select text) and its record set.
class DataSource {
public:
    explicit DataSource(Databases& databases) : databases_(databases) {}
    DataSource(const DataSource&) = delete;
    DataSource& operator=(const DataSource&) = delete;

    const QString& databaseName() const { return databaseName_; }
    void setDatabaseName(const QString& path);
    const QString& recordSource() const { return recordSource_; }
    void setRecordSource(const QString& source) { recordSource_ = source; }

    /// Runs the record source again. When that fails the set before it stays.
    void refresh();
    /// The same without a word about which row is current now: nothing is recalled by it.
    void refreshQuietly();
    bool hasRecordSet() const { return open_; }
    RecordSet& recordSet(); ///< error 91 before the first refresh

    /// The database by its path, for action texts and changes of several steps.
    Engine& database();

    /// After another row has become current, by a refresh too.
    void onReposition(std::function<void()> reposition);
    /// After the rows became others, before the first of them is announced as current: lists and grids refill here.
    void onRefresh(std::function<void()> refreshed) { refreshed_ = std::move(refreshed); }

private:
    Databases& databases_;
    QString databaseName_;
    QString recordSource_;
    std::shared_ptr<Engine> engine_;
    RecordSet records_;
    bool open_ = false;
    std::function<void()> reposition_;
    std::function<void()> refreshed_;
};

/// Refreshes a data source and makes its record count exact: pending events first (`processEvents`), then the query,
/// then, when there are rows, a move to the last one and back to the first.
void VeriYenile(DataSource& source, const std::function<void()>& processEvents);

} // namespace store
