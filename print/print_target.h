#pragma once

#include "base/error.h"
#include "print/layout.h"
#include "print/paper.h"
#include <QByteArray>
#include <QString>

namespace print {

/// A composed print job: what goes to the queue, whole.
struct Document {
    QByteArray pdf;
    QString title; ///< what the queue lists the job under
    PageSize page;
    Paper paper;        ///< what it was composed for
    Layout layout = {}; ///< the same pages for a printer that is drawn on
};

/// Whether a target has taken over the whole document of a job, printed yet or not.
enum class Taken {
    yes,
    no,      ///< it never had the whole of it, and prints nothing
    unknown, ///< it knows nothing of the job, or no longer: it may have printed it
};

/// Error 482 of a job of which nobody knows whether it was printed: the target does not know it, or cannot be asked.
class PerhapsPrinted : public base::RuntimeError {
public:
    using base::RuntimeError::RuntimeError;
};

/// Where print jobs go: the system's print queue, or a folder. Everything that fails here is base::RuntimeError 482.
///
/// A job has two steps so that its number can be written down before a single page leaves: createJob() makes the
/// number, sendAndFinish() sends the pages and returns only after the queue has taken the whole job over. Between the
/// two nothing is printed. After a failure of the second nobody knows: the answer alone may have been lost.
class PrintTarget {
public:
    virtual ~PrintTarget() = default;

    /// The paper of the next job. Throws if there is no printer or if it says beforehand that it cannot print.
    virtual Paper paper() = 0;

    /// A job without pages. `document` need not outlive the call. The number is positive.
    virtual int createJob(const Document& document) = 0;
    /// If it throws, taken() says whether the job arrived all the same, and it waits to be cancelled where it did not.
    virtual void sendAndFinish(int job, const Document& document) = 0;
    /// Takes back a job that was created, is being sent or waits in the queue. Never fails; an unknown number is
    /// ignored.
    virtual void cancel(int job) noexcept = 0;

    /// Asked after a failure, and after a crash about a number that an earlier run wrote down. Throws when that cannot
    /// be asked at the moment: whoever takes silence for a no would book nothing for a slip that is on the paper.
    virtual Taken taken(int job) = 0;

    /// What tells a job from others of its number, to be written down with it; empty where the number alone does.
    virtual QString markOf(int /*job*/) const { return {}; }
    /// Where such a job went, as people know it; empty where there is no choice, or nobody knows.
    virtual QString printerOf(int /*job*/) const { return {}; }
    /// Before cancel() and taken() are asked about a job of an earlier run.
    virtual void recall(int /*job*/, const QString& /*mark*/) {}
    /// What became of the job is booked, and nobody will ask about it any more. Never fails.
    virtual void settle(int /*job*/) noexcept {}

    /// What a status line can say about it, in the operator's language. Never fails.
    virtual QString stateText() noexcept = 0;

    /// Both steps at once. A job that did not arrive is cancelled, and the failure goes on; PerhapsPrinted where it may
    /// have.
    int submit(const Document& document);
};

} // namespace print
