#pragma once

#include <cstddef> // moc needs it ahead of <compare>

#include "base/error.h"
#include "files/memory_disk.h"
#include "mill/tables.h"
#include "store/data_source.h"
#include "store/jet/database/database.h"
#include "tests/joint/tried_databases.h"

#include <QStringList>
#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

/// A mill's database file in memory, opened the way the screen opens it.
class MillFile {
public:
    static inline const QString path = u"Yag.mdb"_s;

    MillFile()
    {
        make([](jet::Database& database) { mill::createTables(database, now); });
    }
    /// With tables of the caller's own.
    using Tables = std::function<void(jet::Database&)>;
    explicit MillFile(const Tables& tables) { make(tables); }

    static constexpr jet::DateTime now{45000};

    files::MemoryDisk disk;
    TriedDatabases databases{disk};

    std::shared_ptr<store::Engine> engine() { return databases.open(path); }

private:
    void make(const Tables& tables)
    {
        jet::Database::create(disk, path.toStdString(), jet::turkish, now);
        tables(*jet::Database::open(disk, path.toStdString()));
    }
};

/// A data source on the file, refreshed.
class OpenSource : public store::DataSource {
public:
    OpenSource(MillFile& file, const QString& recordSource) : store::DataSource(file.databases)
    {
        setDatabaseName(MillFile::path);
        setRecordSource(recordSource);
        refresh();
    }
};

/// Adds a row to a table through a source of its own, so that open sets do not see it; returns nothing of it.
inline void addRow(MillFile& file, const QString& table, const std::vector<store::FieldValue>& values)
{
    OpenSource source(file, table);
    source.recordSet().addNew();
    for (std::size_t i = 0; i < values.size(); ++i) source.recordSet().setField(static_cast<int>(i), values[i]);
    source.recordSet().update();
}

/// One field of all rows of a set, in its order; Null is "-", a row that is gone "#".
inline QStringList texts(store::RecordSet& set, int field)
{
    QStringList result;
    for (int row = 0; row < set.size(); ++row) {
        try {
            const store::FieldValue value = set.fieldAt(row, field);
            result << (value.isNull() ? u"-"_s : value.toCell(base::Regional::turkish()));
        } catch (const base::RuntimeError& error) {
            if (error.number() != base::errors::recordDeleted) throw;
            result << u"#"_s;
        }
    }
    return result;
}
