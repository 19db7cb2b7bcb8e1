#pragma once

#include <QDateTime>
#include <QObject>
#include <QString>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

class QThread;

namespace files {
class Disk;
}

namespace store {

class Engine;
class Snapshot;

/// The copies that the counter makes of its database by itself: one a day, at the first stored pressing, and one before
/// rows are deleted (copy_names.h says how they are named and how many stay).
///
/// The day's copy is written by a thread of its own from a snapshot, so that the counter goes on meanwhile. A copy has
/// its name only when it is whole, synced and checked. A failure stops nothing; it is told once in the life of this
/// object. After one, the day's copy is tried again with a pressing an hour later.
class Backups {
public:
    /// `directory` is the program's; the folder of the copies is made in it with the first of them.
    Backups(files::Disk& disk, std::filesystem::path directory);
    /// Gives up a copy that is being made; nothing of it stays.
    ~Backups();
    Backups(const Backups&) = delete;
    Backups& operator=(const Backups&) = delete;

    /// Where the sentence of the first failure goes: from the event loop of the thread that made this object.
    void onFailure(std::function<void(const QString&)> told) { told_ = std::move(told); }

    /// A pressing was stored: begins the day's copy unless the day has one. Returns at once.
    void pressingStored(Engine& engine, const QDateTime& now);
    /// Rows are about to be deleted: returns when a copy of what stands now is complete, or has failed. It is the
    /// day's copy where the day has none yet.
    void beforeDeletion(Engine& engine, const QDateTime& now);

    /// Returns when no copy is being made.
    void wait();
    /// The screen goes: gives up a copy that is being made, and tells nobody any more.
    void giveUp();

private:
    std::filesystem::path dayCopy(const QDate& day) const;
    void make(Snapshot& snapshot, const std::filesystem::path& to, const std::function<bool()>& goOn);
    void failed(const QString& reason);

    files::Disk& disk_;
    std::filesystem::path folder_;
    std::function<void(const QString&)> told_;
    bool failureTold_ = false;
    std::optional<QDateTime> failedAt_; ///< when the day's copy failed last
    std::unique_ptr<QThread> worker_;
    QObject receiver_; ///< the worker's failures come through its thread
};

} // namespace store
