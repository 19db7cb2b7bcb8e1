#include "store/backups.h"

#include "base/error.h"
#include "files/disk.h"
#include "files/error.h"
#include "files/own_bug.h"
#include "store/copy_names.h"
#include "store/engine.h"

#include <QThread>
#include <exception>

using namespace Qt::StringLiterals;

namespace store {
namespace {

constexpr qint64 secondsToNextTry = 3600;

CopyTime timeOfDay(const QDate& day) { return {day.year(), day.month(), day.day()}; }

CopyTime timeOfMoment(const QDateTime& moment)
{
    const QDate day = moment.date();
    const QTime time = moment.time();
    return {day.year(), day.month(), day.day(), false, time.hour(), time.minute(), time.second()};
}

/// Why there is no copy: the disk's or the engine's own sentence, or one that says that the program is to blame.
QString reasonOf(const std::exception& error)
{
    const bool expected = dynamic_cast<const files::Error*>(&error) != nullptr ||
                          dynamic_cast<const base::RuntimeError*>(&error) != nullptr;
    return QString::fromUtf8(expected ? std::string(error.what()) : files::ownBug("yedek alma", error));
}

QString shown(const std::filesystem::path& path) { return QString::fromStdU16String(path.u16string()); }

} // namespace

Backups::Backups(files::Disk& disk, std::filesystem::path directory) : disk_(disk), folder_(std::move(directory))
{
    folder_ /= copyFolder;
}

Backups::~Backups() { giveUp(); }

void Backups::giveUp()
{
    told_ = nullptr;
    if (worker_) worker_->requestInterruption();
    wait();
}

void Backups::wait()
{
    if (!worker_) return;
    worker_->wait();
    worker_.reset();
}

std::filesystem::path Backups::dayCopy(const QDate& day) const { return folder_ / copyName(timeOfDay(day)); }

void Backups::pressingStored(Engine& engine, const QDateTime& now)
{
    if (worker_ && worker_->isRunning()) return;
    wait();
    if (failedAt_ && failedAt_->secsTo(now) >= 0 && failedAt_->secsTo(now) < secondsToNextTry) return;
    try {
        const std::filesystem::path to = dayCopy(now.date());
        if (disk_.exists(to)) return;
        std::shared_ptr<Snapshot> snapshot = engine.snapshot();
        worker_.reset(QThread::create([this, snapshot, to, now] {
            try {
                make(*snapshot, to, [] { return !QThread::currentThread()->isInterruptionRequested(); });
            } catch (const std::exception& error) {
                if (QThread::currentThread()->isInterruptionRequested()) return;
                QMetaObject::invokeMethod(&receiver_, [this, now, reason = reasonOf(error)] {
                    failedAt_ = now;
                    failed(reason);
                });
            }
        }));
        // What the operator does comes first, also on a machine with one core.
        worker_->start(QThread::IdlePriority);
    } catch (const std::exception& error) {
        failedAt_ = now;
        failed(reasonOf(error));
    }
}

void Backups::beforeDeletion(Engine& engine, const QDateTime& now)
{
    wait();
    try {
        std::filesystem::path to = dayCopy(now.date());
        for (QDateTime moment = now; disk_.exists(to); moment = moment.addSecs(1))
            to = folder_ / copyName(timeOfMoment(moment));
        make(*engine.snapshot(), to, [] { return true; });
    } catch (const std::exception& error) {
        failed(reasonOf(error));
    }
}

void Backups::make(Snapshot& snapshot, const std::filesystem::path& to, const std::function<bool()>& goOn)
{
    disk_.makeFolder(folder_);
    // One name for every copy in the making: what a power cut leaves is taken away by the next copy.
    snapshot.copyTo(to, folder_ / "yedek.part", goOn);
    try {
        for (const std::filesystem::path& old : copiesToRemove(disk_.names(folder_), to.filename()))
            disk_.remove(folder_ / old);
    } catch (const files::Error&) {
        // The copy is there. An old one too many goes with the next.
    }
}

void Backups::failed(const QString& reason)
{
    if (failureTold_) return;
    failureTold_ = true;
    const QString sentence =
        u"Yedek alınamadı: %1\n\nKlasör: %2\nProgram çalışmaya devam eder, ancak sorun giderilene kadar "
        "yeni yedek olmayacak. Diskte yer olduğunu ve klasöre yazılabildiğini denetleyin."_s.arg(reason,
                                                                                                 shown(folder_));
    // Queued: the operator's action comes to its end first.
    QMetaObject::invokeMethod(
        &receiver_,
        [this, sentence] {
            if (told_) told_(sentence);
        },
        Qt::QueuedConnection);
}

} // namespace store
