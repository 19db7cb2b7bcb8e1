#pragma once

#include "store/engine.h"
#include "store/postgres/shared_line.h"

#include <QHash>
#include <QStringList>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace shared {

/// What one slice of the history has brought into the file.
struct Taken {
    std::size_t lines = 0; ///< of those that were given, from the first on
    int pressings = 0;     ///< of other counters
    int gone = 0;          ///< pressings that stood in the file
    bool deletions = false;
    /// Sentences for the log: a pressing that went elsewhere, and that this file has not, though nobody here deleted
    /// it.
    QStringList notFound{};
};

/// The engine of a file whose register several counters share. Everything is answered by the file; a change of the two
/// tables is noted in the file in the same transaction, to be brought to the server, and what others have done is taken
/// in. The sums of a report are no change: they stay this counter's own.
///
/// What holds, wherever the program stops: a row of this counter and the note of its change are both in the file or
/// neither; a note leaves the file in the transaction in which the file comes to know that the server has done it.
/// So the file is always: the history up to its place, and on top of it this counter's changes that wait.
class SharedEngine : public store::Engine {
public:
    /// A file without the tables of a shared register is error 3000.
    explicit SharedEngine(std::shared_ptr<store::Engine> file);

    store::Listing open(const QString& source) override { return file_->open(source); }
    store::FieldValue field(const store::Listing& listing, store::RowKey row, int position) override
    {
        return file_->field(listing, row, position);
    }
    store::RowKey insert(const store::Listing& listing, const store::Assignments& values) override;
    void update(const store::Listing& listing, store::RowKey row, const store::Assignments& values) override;
    void erase(const store::Listing& listing, store::RowKey row) override;
    std::vector<store::RowKey> matching(const store::Listing& listing, const QString& criteria) override
    {
        return file_->matching(listing, criteria);
    }
    std::size_t countRows(const QString& table) override { return file_->countRows(table); }
    std::size_t execute(const QString& sql) override;
    QList<store::FieldValue> aggregate(const QString& sql) override { return file_->aggregate(sql); }
    std::unique_ptr<store::ChangeScope> change() override;
    void nameChange(const QString& slip) override;
    bool prepareSearch(const QString& table, const QString& field) override
    {
        return file_->prepareSearch(table, field);
    }
    bool prepareMatching(const QString& table, const QString& field) override
    {
        return file_->prepareMatching(table, field);
    }
    bool prepareWriting(const QStringList& tables) override { return file_->prepareWriting(tables); }
    std::optional<QString> whyReadOnly(const QString& table) override { return file_->whyReadOnly(table); }
    std::optional<QString> whyNotEmptied() override;
    bool hasTable(const QString& table) override { return file_->hasTable(table); }
    std::unique_ptr<store::Snapshot> snapshot() override { return file_->snapshot(); }

    /// Where the file stands in the history.
    const postgres::Place& place() const { return place_; }
    /// This counter's changes that the server has not confirmed, in their order.
    std::vector<postgres::WaitingChange> waiting() const;
    int waitingPressings() const { return waitingPressings_; }
    qsizetype waitingChanges() const { return waiting_.size(); } ///< with those pressings
    /// Runs after each commit with what waits since.
    void onWaiting(std::function<void(const std::vector<postgres::WaitingChange>&)> told) { told_ = std::move(told); }

    /// Gets ready for take(), which looks up every customer by name: a part of some milliseconds; true when nothing is
    /// left to do. Without it take() reads a whole table for a name, and for the first line that it writes.
    bool getReady();
    /// Brings lines of the history into the file, all or none, outside of any other change. They follow one another
    /// from place() on, or from before it: what the file knows is passed over. After `longest` no further line is
    /// begun; the rest is for the next time.
    Taken take(std::span<const postgres::HistoryLine> lines, std::chrono::milliseconds longest = std::chrono::hours{1});

private:
    friend class SharedScope;
    struct Note {
        store::RowKey row = 0;
        double number = 0;
        QString identity;
        QString kind;
        QString customer;
        QByteArray json;
    };
    class Taking;

    void load();
    void requireLoaded();
    void keep(const Note& note);
    void drop(const QString& identity);
    static bool isOfRegister(const Note& note);
    /// A change of its own, or a part of the one that is open.
    template <class Work> auto within(const Work& work);
    void noteDown(const QString& kind, const QString& customer, const QJsonObject& what);
    QString identityOf(const QString& kind) const;
    bool isNoted(const QString& identity) const;
    void notePressing(store::RowKey row);
    void noteCustomer(const QString& name, const store::Assignments& values);
    QJsonObject deletionOf(const QString& field, const QString& customer) const;
    QString nameOf(const store::Listing& listing, store::RowKey row, int position) const;
    void committed();
    void takenBack();
    /// Some other change about that customer's row waits.
    bool customerWaits(const QString& name, const QString& except) const;
    /// This counter has deleted that customer's pressings, and the history does not say so yet.
    bool deletionWaits(const QString& name) const;

    std::shared_ptr<store::Engine> file_;
    store::Listing customers_, journal_, notes_, state_; ///< their fields; the last one its row, too
    bool loaded_ = false; ///< what stands below is what the file has; false behind a failure, until it was read anew
    postgres::Place place_;
    std::vector<Note> fresh_;              ///< of the change that is open
    QString slip_;                         ///< whose change that is; empty: of none
    QHash<QString, Note> waiting_;         ///< by identity
    QHash<QString, int> customersWaiting_; ///< how many of them are about that customer's row
    int waitingPressings_ = 0;
    double lastNumber_ = 0;
    int depth_ = 0; ///< of changes, one inside the other
    std::function<void(const std::vector<postgres::WaitingChange>&)> told_;
};

} // namespace shared
