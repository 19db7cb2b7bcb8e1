#pragma once

#include "print/print_target.h"
#include <functional>
#include <memory>

namespace print {

/// The system's queue; on a machine that has none, a folder of PDF files.
///
/// Asked anew at the beginning of every job, so a print system that is late at the start of the day is used as soon as
/// it is there. Once a queue has been seen, the folder is out: a queue that goes away during the day is an error of the
/// job, as any printer that cannot print, and never a slip that nobody finds. So is a print system that every such
/// machine has and that does not answer.
///
/// The jobs of the folder carry numbers from `firstFolderJob` on, so that a number written down by an earlier run says
/// by itself whom to ask about it.
class QueueOrFolder : public PrintTarget {
public:
    static constexpr int firstFolderJob = 1'000'000'000; ///< far above what a print system counts to in its life

    /// `hasQueue` tells whether the print system answers and has a queue to print on; it never fails.
    QueueOrFolder(std::unique_ptr<PrintTarget> queue, std::unique_ptr<PrintTarget> folder,
                  std::function<bool()> hasQueue);

    Paper paper() override;
    int createJob(const Document& document) override;
    void sendAndFinish(int job, const Document& document) override;
    void cancel(int job) noexcept override;
    Taken taken(int job) override;
    QString markOf(int job) const override;
    QString printerOf(int job) const override;
    void recall(int job, const QString& mark) override;
    void settle(int job) noexcept override;
    QString stateText() noexcept override;

private:
    PrintTarget& present();
    PrintTarget& targetOf(int job) const;
    static int ownNumber(int job);

    std::unique_ptr<PrintTarget> queue_;
    std::unique_ptr<PrintTarget> folder_;
    std::function<bool()> hasQueue_;
    bool queueSeen_ = false;
    bool intoFolder_ = false; ///< the job that is being composed
};

/// The usual pair: the queue of this user, and that folder, which is made when the first slip goes into it.
std::unique_ptr<PrintTarget> queueOrFolder(const QString& folder);

} // namespace print
