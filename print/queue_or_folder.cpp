#include "print/queue_or_folder.h"

#include "platform/print_queue.h"
#include "print/folder_target.h"
#include "print/queue_target.h"
#include <utility>

using platform::QueueCondition;

namespace print {

QueueOrFolder::QueueOrFolder(std::unique_ptr<PrintTarget> queue, std::unique_ptr<PrintTarget> folder,
                             std::function<bool()> hasQueue)
    : queue_(std::move(queue)), folder_(std::move(folder)), hasQueue_(std::move(hasQueue))
{
}

PrintTarget& QueueOrFolder::present()
{
    if (!queueSeen_) queueSeen_ = hasQueue_();
    return queueSeen_ ? *queue_ : *folder_;
}

PrintTarget& QueueOrFolder::targetOf(int job) const { return job >= firstFolderJob ? *folder_ : *queue_; }

int QueueOrFolder::ownNumber(int job) { return job >= firstFolderJob ? job - firstFolderJob : job; }

Paper QueueOrFolder::paper()
{
    PrintTarget& target = present();
    intoFolder_ = &target == folder_.get();
    return target.paper();
}

int QueueOrFolder::createJob(const Document& document)
{
    return intoFolder_ ? firstFolderJob + folder_->createJob(document) : queue_->createJob(document);
}

void QueueOrFolder::sendAndFinish(int job, const Document& document)
{
    targetOf(job).sendAndFinish(ownNumber(job), document);
}

void QueueOrFolder::cancel(int job) noexcept { targetOf(job).cancel(ownNumber(job)); }

Taken QueueOrFolder::taken(int job) { return targetOf(job).taken(ownNumber(job)); }

QString QueueOrFolder::markOf(int job) const { return targetOf(job).markOf(ownNumber(job)); }

QString QueueOrFolder::printerOf(int job) const { return targetOf(job).printerOf(ownNumber(job)); }

void QueueOrFolder::recall(int job, const QString& mark) { targetOf(job).recall(ownNumber(job), mark); }

void QueueOrFolder::settle(int job) noexcept { targetOf(job).settle(ownNumber(job)); }

QString QueueOrFolder::stateText() noexcept { return present().stateText(); }

std::unique_ptr<PrintTarget> queueOrFolder(const QString& folder)
{
    return std::make_unique<QueueOrFolder>(
        std::make_unique<QueueTarget>(),
        std::make_unique<FolderTarget>(folder, Paper::slipRoll80(), FolderTarget::Make::yes),
        [queue = std::shared_ptr<platform::PrintQueue>(platform::systemPrintQueue())] {
            const QueueCondition condition = queue->state().condition;
            return condition != QueueCondition::noScheduler && condition != QueueCondition::noQueue;
        });
}

} // namespace print
