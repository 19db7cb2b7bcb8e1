#pragma once

#include "platform/print_queue.h"
#include "print/print_target.h"
#include <memory>
#include <string>

namespace print {

/// Prints through the system's print queue. A queue that does not exist, rejects jobs, is stopped, or says beforehand
/// that it has no paper, an open cover or is offline is error 482 before anything is composed.
///
/// The page is the queue's own paper. A queue has a roll when its paper is at most 112 mm wide (the widest common slip
/// and label rolls) and it accepts that width in any length, or has lengths of a metre and more for it; everything else
/// is sheets. Which paper lies ready is not asked: queues answer that with a guess. A queue that says nothing of its
/// paper is taken to have A4.
class QueueTarget : public PrintTarget {
public:
    explicit QueueTarget(std::unique_ptr<platform::PrintQueue> queue = platform::systemPrintQueue());

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
    void write(const QByteArray& pdf);

    std::unique_ptr<platform::PrintQueue> queue_;
    std::string name_; ///< of the queue that the paper came from: the job goes there, whatever the default is by then
};

/// The paper of a queue, in the measures of a job.
Paper paperOf(const platform::QueuePaper& paper);

} // namespace print
