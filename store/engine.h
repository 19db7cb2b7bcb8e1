#pragma once

#include "store/field_value.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

/// What the screen needs of a database engine. Nothing above this interface knows which engine stands behind it.
/// Failures are base::RuntimeError with the engine's own sentence.
namespace store {

/// A row's place in its table, for as long as the row lives. Four bytes, because every record set keeps one for each of
/// its rows: a listing of a million pressings is 4 MB.
using RowKey = std::uint32_t;

enum class FieldKind { text, number, money, date, boolean, other };

struct FieldInfo {
    QString name;
    FieldKind kind = FieldKind::other;
    int size = 0;                                          ///< characters that a text field takes
    bool whole = false;                                    ///< a number field without decimals
    double lowest = std::numeric_limits<double>::lowest(); ///< range of a number field
    double highest = std::numeric_limits<double>::max();
};

/// The rows that a record source names, in its order. Values are fetched when they are needed.
struct Listing {
    QString table;
    std::vector<FieldInfo> fields; ///< in the order of the source
    std::vector<RowKey> rows;
};

using Assignments = std::vector<std::pair<int, FieldValue>>; ///< field position, new value

class ChangeScope {
public:
    virtual ~ChangeScope() = default;
    virtual void commit() = 0;
};

/// The database as it stood at one moment: another thread copies it while the engine goes on.
class Snapshot {
public:
    virtual ~Snapshot() = default;
    /// Writes the copy, once: whole, synced and checked under its name, or not at all. `part` is its name meanwhile.
    /// `goOn` is asked now and then; when it says false the copy is given up with an exception.
    virtual void copyTo(const std::filesystem::path& to, const std::filesystem::path& part,
                        const std::function<bool()>& goOn) = 0;
};

class Engine {
public:
    virtual ~Engine() = default;

    /// A table name or a Select text of one table.
    virtual Listing open(const QString& source) = 0;
    /// Error 3167 when the row is gone. Positions are those of the listing.
    virtual FieldValue field(const Listing& listing, RowKey row, int position) = 0;
    virtual RowKey insert(const Listing& listing, const Assignments& values) = 0;
    virtual void update(const Listing& listing, RowKey row, const Assignments& values) = 0;
    virtual void erase(const Listing& listing, RowKey row) = 0;
    /// Rows of the listing's table that meet a condition such as Unvan='Ali', in no particular order.
    virtual std::vector<RowKey> matching(const Listing& listing, const QString& criteria) = 0;

    /// How many rows a table has; reads none where the engine knows it.
    virtual std::size_t countRows(const QString& table) { return open(table).rows.size(); }

    /// An action SQL text; returns the number of rows that it took away.
    virtual std::size_t execute(const QString& sql) = 0;
    /// The one row of an aggregate query.
    virtual QList<FieldValue> aggregate(const QString& sql) = 0;

    /// Everything done until its commit() is one change; leaving without takes all of it back. Scopes nest: the
    /// outermost one decides.
    virtual std::unique_ptr<ChangeScope> change() = 0;

    /// Inside a change: it is what the slip of this identity leaves behind, terms and pressing. An engine that hands
    /// changes on to others hands it on under that name, so that nobody does it twice, however often it is stored;
    /// another need not know. An empty identity is none.
    virtual void nameChange(const QString& /*slip*/) {}

    /// Begins with what the first search by first letters of that field would wait for, and has most of it done by
    /// another thread; true when nothing is left of it. Searches answer meanwhile.
    virtual bool prepareSearch(const QString& /*table*/, const QString& /*field*/) { return true; }

    /// Learns a part of what questions for exactly one text of that field would each read the table for, some
    /// milliseconds of work; true when nothing is left of it.
    virtual bool prepareMatching(const QString& /*table*/, const QString& /*field*/) { return true; }

    /// Why no row of that table can be stored or changed, in a sentence for people; nothing when it can. The first
    /// question takes time (the first change would ask it otherwise): the whole table is read and compared.
    virtual std::optional<QString> whyReadOnly(const QString& /*table*/) { return std::nullopt; }
    /// Why a whole table may not be emptied from here, in a sentence for people; nothing when it may.
    virtual std::optional<QString> whyNotEmptied() { return std::nullopt; }

    /// The first call begins to find out, on a thread of its own, what whyReadOnly() tells of these tables; true when
    /// that is done. Then that question is quick, if nothing was written meanwhile.
    virtual bool prepareWriting(const QStringList& /*tables*/) { return true; }

    /// Whether there is a table of that name beside the mill's own. An engine that knows of no others says no.
    virtual bool hasTable(const QString& /*table*/) { return false; }

    /// What is committed now. Outside a change. An engine that makes no copies throws error 5.
    virtual std::unique_ptr<Snapshot> snapshot();
};

/// A change of several steps, all or nothing.
class Change {
public:
    explicit Change(Engine& engine) : scope_(engine.change()) {}
    void commit() { scope_->commit(); }

private:
    std::unique_ptr<ChangeScope> scope_;
};

/// Opens databases by path. All who open the same path share one engine for as long as one of them holds it.
class Databases {
public:
    virtual ~Databases() = default;
    virtual std::shared_ptr<Engine> open(const QString& path) = 0;
    /// The second way in, for aggregate queries: "Provider=...;Data Source=PATH".
    std::shared_ptr<Engine> connect(const QString& connection);
};

/// The connection text of a database, as connect() takes it.
QString connectionText(const QString& path);

} // namespace store
